#ifndef TOOLS_WEB_HOST_OPTIONS_H_
#define TOOLS_WEB_HOST_OPTIONS_H_

#include <optional>

namespace web_host {

// What a person asked for on the command line, done and answered with the exit code: 0, 1 when it
// could not be done, 2 when it was not understood. Nothing when a browser has started the program:
// browsers name themselves and the extension in arguments that are no options.
std::optional<int> runOptions(int argc, char** argv);

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_OPTIONS_H_
