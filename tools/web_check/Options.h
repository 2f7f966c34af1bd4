#ifndef TOOLS_WEB_CHECK_OPTIONS_H_
#define TOOLS_WEB_CHECK_OPTIONS_H_

#include "tools/web_check/Browser.h"

namespace web_check {

// The command line, as parsed.
struct Options {
  bool fix = false;
  bool json = false;
  const Browser* browser = nullptr;  // null: each that is installed
};

enum class ParseResult { kRun, kDone, kBad };

// kDone after --help or --version (printed on standard output), kBad after a message on standard
// error that says what was wrong.
ParseResult parseOptions(int argc, char** argv, Options* options);

}  // namespace web_check

#endif  // TOOLS_WEB_CHECK_OPTIONS_H_
