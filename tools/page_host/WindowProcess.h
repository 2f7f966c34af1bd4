#ifndef TOOLS_PAGE_HOST_WINDOW_PROCESS_H_
#define TOOLS_PAGE_HOST_WINDOW_PROCESS_H_

namespace page_host {

// How the program starts itself as the window's process; the option's argument is the descriptor of
// its end of the socket pair.
constexpr char kWindowProcessOption[] = "--window-process";

// Shows the page's window until the other end closes. Answers the process's exit code.
int runWindowProcess(int descriptor);

}  // namespace page_host

#endif  // TOOLS_PAGE_HOST_WINDOW_PROCESS_H_
