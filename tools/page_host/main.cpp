#include <curl/curl.h>

#include <cstdlib>
#include <string>

#include "tools/page_host/Options.h"
#include "tools/page_host/Page.h"
#include "tools/page_host/WindowProcess.h"

int main(int argc, char** argv) {
  if (argc == 3 && std::string(argv[1]) == page_host::kWindowProcessOption) {
    return page_host::runWindowProcess(std::atoi(argv[2]));
  }
  page_host::Options options;
  switch (page_host::parseOptions(argc, argv, &options)) {
    case page_host::ParseResult::kDone:
      return 0;
    case page_host::ParseResult::kBad:
      return page_host::kExitUsage;
    case page_host::ParseResult::kRun:
      break;
  }
  curl_global_init(CURL_GLOBAL_DEFAULT);
  int code;
  {
    page_host::Page page(options);
    code = page.run();
  }
  curl_global_cleanup();
  return code;
}
