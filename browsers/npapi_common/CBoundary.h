#ifndef BROWSERS_NPAPI_COMMON_C_BOUNDARY_H_
#define BROWSERS_NPAPI_COMMON_C_BOUNDARY_H_

#include <exception>

// Where C code (the browser, GTK) calls in: no exception, of whatever kind, leaves these calls. One
// that comes that far is logged at error level as "`where`: " and its text, or as its text alone
// when `where` is empty.
namespace CBoundary {

void logException(const char* where, const char* text);

// Answers what `body` answers, `failure` when it throws.
template <typename Result, typename Body>
Result call(const char* where, Result failure, Body body) noexcept {
  try {
    return body();
  } catch (const std::exception& e) {
    logException(where, e.what());
  } catch (...) {
    logException(where, "unknown exception");
  }
  return failure;
}

// The same for a `body` without an answer.
template <typename Body>
void run(const char* where, Body body) noexcept {
  call(where, 0, [&] {
    body();
    return 0;
  });
}

}  // namespace CBoundary

#endif  // BROWSERS_NPAPI_COMMON_C_BOUNDARY_H_
