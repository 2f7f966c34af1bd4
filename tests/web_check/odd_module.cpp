#include <unistd.h>

#include <cstdlib>
#include <string>

// A plugin of another kind; ODD_MODULE=crash and ODD_MODULE=hang make it fail while it is loaded.
namespace {

const bool kLoaded = [] {
  const char* const kind = std::getenv("ODD_MODULE");
  const std::string todo = kind != nullptr ? kind : "";
  if (todo == "crash") {
    std::abort();
  }
  while (todo == "hang") {
    pause();
  }
  return true;
}();

}  // namespace

#define ODD_EXPORT extern "C" __attribute__((visibility("default")))

ODD_EXPORT int NP_Initialize() {
  return 0;
}
ODD_EXPORT int NP_Shutdown() {
  return 0;
}
ODD_EXPORT int NP_GetEntryPoints() {
  return 0;
}
ODD_EXPORT int NP_GetValue() {
  return 0;
}
ODD_EXPORT const char* NP_GetMIMEDescription() {
  return kLoaded ? "application/x-odd::Odd" : nullptr;
}
