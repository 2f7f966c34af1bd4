#ifndef TOOLS_WEB_HOST_DESKTOP_H_
#define TOOLS_WEB_HOST_DESKTOP_H_

#include <gtk/gtk.h>

#include "tools/web_host/BrowserWindows.h"

namespace web_host {

// The user's screen, where the browser's windows are as well. From open() on, whatever dialog this
// process shows, the module's included, belongs to the window of the browser that is in use then:
// the window manager keeps it above, and hides the two together. Main thread only.
class Desktop {
 public:
  Desktop();
  ~Desktop();
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;

  // Initialises GTK, the first time. False when there is no display.
  bool open();
  const BrowserWindows& browser() const { return _browser; }

 private:
  static gboolean onRealize(GSignalInvocationHint* hint, guint count, const GValue* values,
                            gpointer self);

  const BrowserWindows _browser;
  gulong _hook = 0;
};

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_DESKTOP_H_
