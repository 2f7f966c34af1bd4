#ifndef TOOLS_NPAPI_HOST_WINDOW_PROCESS_H_
#define TOOLS_NPAPI_HOST_WINDOW_PROCESS_H_

#include <functional>
#include <memory>

#include "tools/npapi_host/ServedWindow.h"

namespace npapi_host {

// How the program starts itself as the window's process; the option's argument is the descriptor of
// its end of the socket pair. A program that opens a WindowLink must serve this option.
constexpr char kWindowProcessOption[] = "--window-process";

// Makes the window, which must have its X window by then. `tell` takes messages of the program's
// own to the page's process.
using Tell = std::function<void(const Fields&)>;
using WindowMaker = std::function<std::unique_ptr<ServedWindow>(Tell tell)>;

// Whether these arguments start the window's process; then `descriptor` is its end of the pair.
bool isWindowProcess(int argc, char** argv, int* descriptor);

// Shows the window until the other end closes. Answers the process's exit code.
int runWindowProcess(int descriptor, const WindowMaker& makeWindow);

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_WINDOW_PROCESS_H_
