#include <memory>

#include "tools/npapi_host/WindowProcess.h"
#include "tools/page_host/Options.h"
#include "tools/page_host/Page.h"
#include "tools/page_host/PageWindow.h"

int main(int argc, char** argv) {
  int descriptor = -1;
  if (npapi_host::isWindowProcess(argc, argv, &descriptor)) {
    return npapi_host::runWindowProcess(descriptor, [](const npapi_host::Tell&) {
      return std::make_unique<page_host::PageWindow>();
    });
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
  page_host::Page page(options);
  return page.run();
}
