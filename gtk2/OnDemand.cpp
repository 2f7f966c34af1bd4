#include "gtk2/OnDemand.h"

#include <dlfcn.h>
#include <link.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string_view>

namespace {

// One for each function: see Calls.S.
struct Slot {
  void* target;
  const char* name;
};

}  // namespace

extern "C" {
extern Slot gtk2Slots[];
extern Slot gtk2SlotsEnd[];
[[gnu::visibility("hidden"), gnu::used]] void gtk2LoadOrEnd();
}

namespace gtk2 {
namespace {

constexpr char kLibrary[] = "libgtk-x11-2.0.so.0";

// Empty, or why it cannot be used. Stays loaded: its threads and atexit functions may run at any
// time.
std::string tryToLoad() {
  void* library = dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    return dlerror();
  }
  for (Slot* slot = gtk2Slots; slot != gtk2SlotsEnd; ++slot) {
    // Looks into the libraries that it brings along as well.
    void* function = dlsym(library, slot->name);
    if (function == nullptr) {
      return dlerror();
    }
    __atomic_store_n(&slot->target, function, __ATOMIC_RELEASE);
  }
  return std::string();
}

}  // namespace

bool load(std::string* error) {
  static std::mutex mutex;
  static bool loaded = false;  // guarded by the mutex
  const std::lock_guard<std::mutex> lock(mutex);
  const std::string reason = loaded ? std::string() : tryToLoad();
  loaded = reason.empty();
  if (error != nullptr) {
    *error = reason;
  }
  return reason.empty();
}

bool isLoaded() {
  // Not by dlopen(), which would look for the file.
  const auto isIt = [](dl_phdr_info* info, size_t, void*) -> int {
    const std::string_view name = info->dlpi_name;
    return name.substr(name.rfind('/') + 1) == kLibrary ? 1 : 0;
  };
  return dl_iterate_phdr(isIt, nullptr) != 0;
}

}  // namespace gtk2

void gtk2LoadOrEnd() {
  std::string error;
  if (!gtk2::load(&error)) {
    std::fprintf(stderr, "GTK 2 cannot be used: %s\n", error.c_str());
    std::abort();
  }
}
