#include "tools/npapi_host/WindowProcess.h"

#include <gdk/gdkx.h>
#include <glib-unix.h>
#include <gtk/gtk.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "tools/npapi_host/LinkProtocol.h"
#include "tools/npapi_host/LostWindows.h"

namespace npapi_host {
namespace {

// The page's requests, carried out in the window.
class WindowServer {
 public:
  WindowServer(int descriptor, const WindowMaker& makeWindow)
      : _link(descriptor),
        _window(makeWindow([this](const Fields& fields) { _link.send(fields); })) {
    theServer = this;
    XSetIOErrorHandler(cutOff);
    GtkWidget* toplevel = _window->toplevel();
    g_signal_connect(toplevel, "delete-event", G_CALLBACK(deleted), this);
    g_signal_connect(toplevel, "destroy-event", G_CALLBACK(destroyed), this);
    _link.send({"window", std::to_string(GDK_WINDOW_XID(gtk_widget_get_window(toplevel)))});
    g_unix_fd_add(descriptor, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP), readable, this);
  }
  WindowServer(const WindowServer&) = delete;
  WindowServer& operator=(const WindowServer&) = delete;

  ~WindowServer() { g_signal_handlers_disconnect_by_data(_window->toplevel(), this); }

 private:
  // The window is only hidden: the plugin inside is taken down by its own process first.
  static gboolean deleted(GtkWidget* toplevel, GdkEvent*, gpointer self) {
    gtk_widget_hide(toplevel);
    static_cast<WindowServer*>(self)->_link.send({"closed"});
    return TRUE;
  }

  // By another program. What is left of the window cannot be used any more.
  static gboolean destroyed(GtkWidget*, GdkEvent*, gpointer) {
    theServer->_link.send({"destroyed"});
    _exit(0);
  }

  // The same with this program's connection to the display, as xkill does it.
  static int cutOff(Display*) {
    destroyed(nullptr, nullptr, nullptr);
    return 0;
  }

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
      _window->setTitle(fields[1]);
    } else if (request == "status" && fields.size() == 2) {
      _window->setStatus(fields[1]);
    } else if (request == "area" && fields.size() == 4) {
      const unsigned long socket =
          _window->addArea(fields[1], std::stoi(fields[2]), std::stoi(fields[3]));
      _link.send({"area", fields[1], std::to_string(socket)});
    } else if (request == "remove" && fields.size() == 2) {
      _window->removeArea(fields[1]);
    } else if (!_window->carryOut(fields)) {
      g_printerr("%s: the window does not know \"%s\"\n", program_invocation_short_name,
                 request.c_str());
    }
  }

  static WindowServer* theServer;

  LinkEnd _link;
  std::unique_ptr<ServedWindow> _window;
};

WindowServer* WindowServer::theServer = nullptr;

gboolean keepSocket(GtkSocket*, gpointer) {
  return TRUE;
}

}  // namespace

GtkWidget* makePluginSocket(int width, int height) {
  GtkWidget* socket = gtk_socket_new();
  gtk_widget_set_size_request(socket, width, height);
  g_signal_connect(socket, "plug-removed", G_CALLBACK(keepSocket), nullptr);
  return socket;
}

bool isWindowProcess(int argc, char** argv, int* descriptor) {
  if (argc != 3 || std::string(argv[1]) != kWindowProcessOption) {
    return false;
  }
  *descriptor = std::atoi(argv[2]);
  return true;
}

int runWindowProcess(int descriptor, const WindowMaker& makeWindow) {
  if (gtk_init_check(nullptr, nullptr) == FALSE) {
    return 1;
  }
  tolerateLostWindows();
  WindowServer server(descriptor, makeWindow);
  gtk_main();
  return 0;
}

}  // namespace npapi_host
