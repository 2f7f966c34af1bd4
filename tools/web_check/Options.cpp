#include "tools/web_check/Options.h"

#include <getopt.h>

#include <cstdio>

namespace web_check {

namespace {

const char kHelp[] =
    R"(Usage: orvane-web-check [--fix] [--json] [--browser firefox|chromium]

Walks the chain from the browser plugin Orvane Web to the application Orvane Pellion and names the
broken link: the module and what it needs, your directories, the application's executable, its
address, and its answers. Then the chain in Firefox and Chromium: the extension, the program beside
the browser, and the file that leads from the one to the other. One line a check: ok, warning or
failed, what was seen, and what to do.

  --browser BROWSER  only this one, firefox or chromium, even if it has no extension; without it each
                     that is installed and has the extension, or a file that leads to the program
  --fix              makes the directories that are missing, and your own file that leads a browser to
                     the program, where it is missing or wrong (nothing else is changed)
  --json             prints one JSON object instead
  --version          prints the version and exits
  --help             prints this help and exits

Set MOZ_PLUGIN_PATH as your browser has it. Nothing is started but orvane-web-host, for a moment. The
exit code is 0 when all is well, 1 when there are warnings, 2 when a check failed or the command could
not be carried out.
)";

}  // namespace

ParseResult parseOptions(int argc, char** argv, Options* options) {
  static const option kOptions[] = {
      {"browser", required_argument, nullptr, 'b'}, {"fix", no_argument, nullptr, 'f'},
      {"help", no_argument, nullptr, 'h'},          {"json", no_argument, nullptr, 'j'},
      {"version", no_argument, nullptr, 'v'},       {nullptr, 0, nullptr, 0}};
  for (int code; (code = getopt_long(argc, argv, "", kOptions, nullptr)) != -1;) {
    switch (code) {
      case 'b':
        options->browser = findBrowser(optarg);
        if (options->browser == nullptr) {
          std::fprintf(stderr, "orvane-web-check: there is no browser \"%s\" (see --help)\n",
                       optarg);
          return ParseResult::kBad;
        }
        break;
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
