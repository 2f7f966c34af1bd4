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

#pragma GCC visibility push(default)
extern "C" {
// Nobody calls them.
int NP_Initialize, NP_Shutdown, NP_GetEntryPoints, NP_GetValue;

const char* NP_GetMIMEDescription() {
  return kLoaded ? "application/x-odd::Odd" : nullptr;
}
}
