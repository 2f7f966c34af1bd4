#ifndef TOOLS_NPAPI_HOST_SERVED_WINDOW_H_
#define TOOLS_NPAPI_HOST_SERVED_WINDOW_H_

#include <gtk/gtk.h>

#include <string>

#include "tools/npapi_host/LinkProtocol.h"

namespace npapi_host {

// A program's window as the user sees it, in the window's process.
class ServedWindow {
 public:
  virtual ~ServedWindow() = default;

  // Borrowed. Closing it is the window's process's affair.
  virtual GtkWidget* toplevel() const = 0;
  virtual void setTitle(const std::string& title) = 0;
  virtual void setStatus(const std::string& text) = 0;
  // A plugin's area: answers the X window of its socket.
  virtual unsigned long addArea(const std::string& id, int width, int height) = 0;
  virtual void removeArea(const std::string& id) = 0;
  // Another request of the page's process. False when the window does not know it.
  virtual bool carryOut(const Fields& request) = 0;
};

// A socket for a plug, which stays when the plug goes; its X window is there once it is shown.
GtkWidget* makePluginSocket(int width, int height);

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_SERVED_WINDOW_H_
