#ifndef TOOLS_WEB_HOST_X_ERROR_TRAP_H_
#define TOOLS_WEB_HOST_X_ERROR_TRAP_H_

#include <gdk/gdk.h>

namespace web_host {

// Other programs' windows may go at any moment: while one of these lives, the X server's errors do
// not end the process. Main thread only.
class XErrorTrap {
 public:
  XErrorTrap() { gdk_error_trap_push(); }
  // Waits for the server.
  ~XErrorTrap() {
    gdk_flush();
    gdk_error_trap_pop();
  }
  XErrorTrap(const XErrorTrap&) = delete;
  XErrorTrap& operator=(const XErrorTrap&) = delete;
};

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_X_ERROR_TRAP_H_
