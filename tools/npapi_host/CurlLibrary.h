#ifndef TOOLS_NPAPI_HOST_CURL_LIBRARY_H_
#define TOOLS_NPAPI_HOST_CURL_LIBRARY_H_

#include <curl/curl.h>

namespace npapi_host {

// libcurl, loaded when a page first fetches something: it brings some thirty libraries along, which
// took as long to load as all else that a host program loads, and few pages fetch anything.
struct CurlLibrary {
  // Any thread. Null when it cannot be loaded, which stderr is told once.
  static const CurlLibrary* get();

  decltype(&curl_easy_init) easyInit;
  decltype(&curl_easy_cleanup) easyCleanup;
  decltype(&curl_easy_setopt) easySetopt;
  decltype(&curl_easy_getinfo) easyGetinfo;
  decltype(&curl_multi_init) multiInit;
  decltype(&curl_multi_cleanup) multiCleanup;
  decltype(&curl_multi_wakeup) multiWakeup;
  decltype(&curl_multi_add_handle) multiAddHandle;
  decltype(&curl_multi_remove_handle) multiRemoveHandle;
  decltype(&curl_multi_perform) multiPerform;
  decltype(&curl_multi_poll) multiPoll;
  decltype(&curl_multi_info_read) multiInfoRead;
};

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_CURL_LIBRARY_H_
