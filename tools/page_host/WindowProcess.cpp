#include "tools/page_host/WindowProcess.h"

#include <glib-unix.h>
#include <gtk/gtk.h>

#include <string>

#include "tools/page_host/LinkProtocol.h"
#include "tools/page_host/PageWindow.h"

namespace page_host {
namespace {

// The page's requests, carried out in the window.
class WindowServer {
 public:
  explicit WindowServer(int descriptor)
      : _link(descriptor), _window([this] { _link.send({"closed"}); }) {
    _link.send({"window", std::to_string(_window.id())});
    g_unix_fd_add(descriptor, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP), readable, this);
  }
  WindowServer(const WindowServer&) = delete;
  WindowServer& operator=(const WindowServer&) = delete;

 private:
  static gboolean readable(gint, GIOCondition, gpointer self) {
    WindowServer* server = static_cast<WindowServer*>(self);
    const bool connected = server->_link.fill();
    Fields fields;
    while (server->_link.next(&fields)) {
      server->handle(fields);
    }
    if (!connected) {
      gtk_main_quit();
    }
    return connected;
  }

  void handle(const Fields& fields) {
    const std::string& request = fields[0];
    if (request == "title" && fields.size() == 2) {
      _window.setTitle(fields[1]);
    } else if (request == "status" && fields.size() == 2) {
      _window.setStatus(fields[1]);
    } else if (request == "area" && fields.size() == 4) {
      const unsigned long socket =
          _window.addArea(fields[1], std::stoi(fields[2]), std::stoi(fields[3]));
      _link.send({"area", fields[1], std::to_string(socket)});
    } else if (request == "remove" && fields.size() == 2) {
      _window.removeArea(fields[1]);
    } else if (request == "print" && fields.size() == 3) {
      _window.print(fields[1], fields[2]);
    } else if (request == "progress" && fields.size() == 4) {
      _window.setProgress(fields[1], g_ascii_strtod(fields[2].c_str(), nullptr), fields[3]);
    } else {
      g_printerr("orvane-page-host: the window does not know \"%s\"\n", request.c_str());
    }
  }

  LinkEnd _link;
  PageWindow _window;
};

}  // namespace

int runWindowProcess(int descriptor) {
  if (gtk_init_check(nullptr, nullptr) == FALSE) {
    return 1;
  }
  WindowServer server(descriptor);
  gtk_main();
  return 0;
}

}  // namespace page_host
