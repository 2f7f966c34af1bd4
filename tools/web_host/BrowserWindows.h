#ifndef TOOLS_WEB_HOST_BROWSER_WINDOWS_H_
#define TOOLS_WEB_HOST_BROWSER_WINDOWS_H_

#include <sys/types.h>

#include <vector>

namespace web_host {

// The toplevels of the browser that has started this program, on the X display that GTK is on. A
// browser that is no client of it (a Wayland one) has none. Main thread only; GTK must be
// initialised.
class BrowserWindows {
 public:
  // An X window; 0 is none.
  using Window = unsigned long;

  explicit BrowserWindows(pid_t browser) : _browser(browser) {}

  // The one that the user works in, else the topmost.
  Window active() const;
  // The topmost at the pointer.
  Window underPointer() const;

 private:
  bool isBrowsers(Window window) const;
  void walk(Window window, int depth, std::vector<Window>* found) const;
  std::vector<Window> all() const;

  const pid_t _browser;
};

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_BROWSER_WINDOWS_H_
