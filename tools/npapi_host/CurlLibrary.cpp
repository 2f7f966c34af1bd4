#include "tools/npapi_host/CurlLibrary.h"

#include <dlfcn.h>

#include <cstdio>
#include <memory>

namespace npapi_host {

namespace {

class Loader {
 public:
  explicit Loader(void* library) : _library(library) {}

  template <typename Function>
  void find(const char* name, Function* function) {
    *function = _library != nullptr ? reinterpret_cast<Function>(dlsym(_library, name)) : nullptr;
    _complete = _complete && *function != nullptr;
  }
  bool complete() const { return _complete; }

 private:
  void* _library;
  bool _complete = true;
};

std::unique_ptr<const CurlLibrary> load() {
  auto curl = std::make_unique<CurlLibrary>();
  // Stays loaded: other threads may be in it until the process ends.
  Loader loader(dlopen("libcurl.so.4", RTLD_NOW | RTLD_LOCAL));
  loader.find("curl_easy_init", &curl->easyInit);
  loader.find("curl_easy_cleanup", &curl->easyCleanup);
  loader.find("curl_easy_setopt", &curl->easySetopt);
  loader.find("curl_easy_getinfo", &curl->easyGetinfo);
  loader.find("curl_multi_init", &curl->multiInit);
  loader.find("curl_multi_cleanup", &curl->multiCleanup);
  loader.find("curl_multi_wakeup", &curl->multiWakeup);
  loader.find("curl_multi_add_handle", &curl->multiAddHandle);
  loader.find("curl_multi_remove_handle", &curl->multiRemoveHandle);
  loader.find("curl_multi_perform", &curl->multiPerform);
  loader.find("curl_multi_poll", &curl->multiPoll);
  loader.find("curl_multi_info_read", &curl->multiInfoRead);
  decltype(&curl_global_init) globalInit = nullptr;
  loader.find("curl_global_init", &globalInit);
  if (!loader.complete() || globalInit(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
    const char* reason = dlerror();
    std::fprintf(stderr, "libcurl cannot be used: %s\n",
                 reason != nullptr ? reason : "it does not start");
    return nullptr;
  }
  return curl;
}

}  // namespace

const CurlLibrary* CurlLibrary::get() {
  static const std::unique_ptr<const CurlLibrary> curl = load();
  return curl.get();
}

}  // namespace npapi_host
