#include "tools/page_host/Options.h"

#include <getopt.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace page_host {
namespace {

const char kHelp[] =
    R"(Usage: orvane-page-host [options] SCRIPT.js

A small browser for one page script: loads an NPAPI plugin module, makes one instance of it, and
runs the script with that instance's script object as `plugin`.

  --module PATH         the module; without it nporvaneweb.so is searched beside this program, in
                        ../lib, in the directories of MOZ_PLUGIN_PATH, in ~/.mozilla/plugins,
                        ../lib/mozilla/plugins and /usr/lib/mozilla/plugins
  --param NAME=VALUE    a parameter of the embed element (repeatable)
  --hostname NAME       the page's host name, for window.location (default: none, a local file)
  --user-agent TEXT     what the browser calls itself
  --arg NAME=VALUE      page.args.NAME for the script (repeatable)
  --timeout SECONDS     ends a page that is still running then, whatever it does (exit code 124);
                        it has 2 seconds more to end in order
  --fail-fast           ends the page at its first uncaught exception
  --window              shows a window: the plugin's area, progress bars and the page's output
  --width N --height N  size of the plugin's area (default 480 by 200)
  --keep-open           leaves the window open after quit() until the user closes it
  --help, --version

In the script: plugin, createPlugin(params), destroyPlugin(plugin), quit(code), console.log/warn/
error, setTimeout, setInterval and their clear functions, promises, JSON, window.location, and
  page.args, page.env(name), page.write(text), page.isTerminal, page.columns, page.hasWindow,
  page.exists(path), page.fileSize(path), page.readFile(path), page.sameFiles(a, b),
  page.progress(id, fraction, text), page.heldObjects()
Relative addresses that the plugin fetches are taken from the page's: the script's directory, or the
host of --hostname. With a host name the page is one from the network, and gets no file: addresses.

Like a page in a browser, the script's page lives until quit() is called, its window is closed, or
the time is over; a script that throws while it is being loaded ends it as well. The exit code is
that of quit(code); 1 when a page exception was not caught, the module broke a rule of the
interface or the window was lost, 2 for wrong options or when the page could not be set up.
)";

bool fail(const std::string& message) {
  std::fprintf(stderr, "orvane-page-host: %s (see --help)\n", message.c_str());
  return false;
}

bool addNameValue(const char* option, const std::string& text, NameValues* list) {
  const size_t equals = text.find('=');
  if (equals == std::string::npos || equals == 0) {
    return fail(std::string(option) + " needs NAME=VALUE, not \"" + text + "\"");
  }
  list->emplace_back(text.substr(0, equals), text.substr(equals + 1));
  return true;
}

bool readNumber(const char* option, const char* text, double smallest, double largest,
                double* number) {
  char* end = nullptr;
  errno = 0;
  *number = std::strtod(text, &end);
  if (errno != 0 || end == text || *end != '\0' || !std::isfinite(*number) || *number < smallest ||
      *number > largest) {
    return fail(std::string(option) + " does not take \"" + text + "\"");
  }
  return true;
}

bool readSize(const char* option, const char* text, int* size) {
  double number = 0;
  if (!readNumber(option, text, 1, 4000, &number)) {
    return false;
  }
  *size = static_cast<int>(number);
  return true;
}

enum : int { kModule = 256, kParam, kHostname, kUserAgent, kArg, kTimeout, kFailFast, kWindow };
enum : int { kWidth = 300, kHeight, kKeepOpen, kHelpOption, kVersion };

const option kOptions[] = {{"module", required_argument, nullptr, kModule},
                           {"param", required_argument, nullptr, kParam},
                           {"hostname", required_argument, nullptr, kHostname},
                           {"user-agent", required_argument, nullptr, kUserAgent},
                           {"arg", required_argument, nullptr, kArg},
                           {"timeout", required_argument, nullptr, kTimeout},
                           {"fail-fast", no_argument, nullptr, kFailFast},
                           {"window", no_argument, nullptr, kWindow},
                           {"width", required_argument, nullptr, kWidth},
                           {"height", required_argument, nullptr, kHeight},
                           {"keep-open", no_argument, nullptr, kKeepOpen},
                           {"help", no_argument, nullptr, kHelpOption},
                           {"version", no_argument, nullptr, kVersion},
                           {nullptr, 0, nullptr, 0}};

bool take(int code, Options* options) {
  switch (code) {
    case kModule:
      options->modulePath = optarg;
      return true;
    case kParam:
      return addNameValue("--param", optarg, &options->params);
    case kHostname:
      options->hostname = optarg;
      return true;
    case kUserAgent:
      options->userAgent = optarg;
      return true;
    case kArg:
      return addNameValue("--arg", optarg, &options->args);
    case kTimeout:
      return readNumber("--timeout", optarg, 0.01, 1e6, &options->timeoutSeconds);
    case kFailFast:
      options->failFast = true;
      return true;
    case kWindow:
      options->window = true;
      return true;
    case kWidth:
      return readSize("--width", optarg, &options->width);
    case kHeight:
      return readSize("--height", optarg, &options->height);
    case kKeepOpen:
      options->keepOpen = true;
      return true;
    default:
      return fail("unknown or incomplete option");
  }
}

}  // namespace

ParseResult parseOptions(int argc, char** argv, Options* options) {
  options->userAgent = "Mozilla/5.0 (X11; Linux x86_64) OrvanePageHost/" ORVANE_VERSION;
  int code;
  while ((code = getopt_long(argc, argv, "", kOptions, nullptr)) != -1) {
    if (code == kHelpOption) {
      std::fputs(kHelp, stdout);
      return ParseResult::kDone;
    }
    if (code == kVersion) {
      std::puts("orvane-page-host " ORVANE_VERSION);
      return ParseResult::kDone;
    }
    if (!take(code, options)) {
      return ParseResult::kBad;
    }
  }
  if (argc - optind != 1) {
    fail(argc == optind ? "which page script?" : "one page script only");
    return ParseResult::kBad;
  }
  options->script = argv[optind];
  return ParseResult::kRun;
}

}  // namespace page_host
