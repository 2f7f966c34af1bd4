#include <cstdio>
#include <exception>
#include <string>

#include "tools/web_check/Checks.h"
#include "tools/web_check/Options.h"

namespace {

constexpr int kFailedStatus = static_cast<int>(web_check::Status::kFailed);

int run(int argc, char** argv) {
  web_check::Options options;
  const web_check::ParseResult parsed = web_check::parseOptions(argc, argv, &options);
  int status = parsed == web_check::ParseResult::kBad ? kFailedStatus : 0;
  if (parsed == web_check::ParseResult::kRun) {
    const web_check::Report report = web_check::runChecks(options.fix, options.browser);
    std::fputs((options.json ? report.json() : report.text()).c_str(), stdout);
    status = static_cast<int>(report.status());
  }
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    std::perror("orvane-web-check: cannot write");
    return kFailedStatus;
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "orvane-web-check: %s\n", e.what());
    return kFailedStatus;
  }
}
