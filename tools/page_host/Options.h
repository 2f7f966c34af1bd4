#ifndef TOOLS_PAGE_HOST_OPTIONS_H_
#define TOOLS_PAGE_HOST_OPTIONS_H_

#include <string>

#include "tools/npapi_host/Element.h"

namespace page_host {

using npapi_host::NameValues;

// What the program's exit code tells besides the page's own `quit(code)`.
enum ExitCode {
  kExitPageError = 1,  // the page threw, or the module broke a rule of the interface
  kExitUsage = 2,      // bad options, no module, no script, no display
  kExitTimeout = 124   // the page did not end in time
};

// The command line, as parsed.
struct Options {
  std::string script;
  std::string modulePath;  // empty: search
  std::string hostname;
  std::string userAgent;
  NameValues params;
  NameValues args;
  double timeoutSeconds = 0;  // 0: none
  bool failFast = false;
  bool window = false;
  bool keepOpen = false;
  int width = 480;
  int height = 200;
};

enum class ParseResult { kRun, kDone, kBad };

// kDone after --help or --version (printed on standard output), kBad after a message on standard
// error that says what was wrong.
ParseResult parseOptions(int argc, char** argv, Options* options);

}  // namespace page_host

#endif  // TOOLS_PAGE_HOST_OPTIONS_H_
