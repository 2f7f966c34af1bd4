#include "tools/web_check/Options.h"

#include <getopt.h>

#include <cstdio>

namespace web_check {

namespace {

const char kHelp[] =
    R"(Usage: orvane-web-check [--fix] [--json]

Walks the chain from the browser plugin Orvane Web to the application Orvane Pellion and names the
broken link: the module and what it needs, your directories, the application's executable, its
address, and its answers. One line a check: ok, warning or failed, what was seen, and what to do.

  --fix       makes the directories that are missing (nothing else is changed)
  --json      prints one JSON object instead
  --version   prints the version and exits
  --help      prints this help and exits

Set MOZ_PLUGIN_PATH as your browser has it. Nothing is started. The exit code is 0 when all is well,
1 when there are warnings, 2 when a check failed or the command could not be carried out.
)";

}  // namespace

ParseResult parseOptions(int argc, char** argv, Options* options) {
  static const option kOptions[] = {{"fix", no_argument, nullptr, 'f'},
                                    {"help", no_argument, nullptr, 'h'},
                                    {"json", no_argument, nullptr, 'j'},
                                    {"version", no_argument, nullptr, 'v'},
                                    {nullptr, 0, nullptr, 0}};
  for (int code; (code = getopt_long(argc, argv, "", kOptions, nullptr)) != -1;) {
    switch (code) {
      case 'f':
        options->fix = true;
        break;
      case 'h':
        std::fputs(kHelp, stdout);
        return ParseResult::kDone;
      case 'j':
        options->json = true;
        break;
      case 'v':
        std::puts("orvane-web-check " ORVANE_VERSION);
        return ParseResult::kDone;
      default:
        std::fputs("orvane-web-check: see --help\n", stderr);
        return ParseResult::kBad;
    }
  }
  if (optind < argc) {
    std::fprintf(stderr, "orvane-web-check: unexpected argument \"%s\" (see --help)\n",
                 argv[optind]);
    return ParseResult::kBad;
  }
  return ParseResult::kRun;
}

}  // namespace web_check
