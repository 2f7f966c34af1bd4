#include "tools/web_host/AreaWindows.h"

#include <X11/Xutil.h>
#include <gdk/gdkx.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "tools/web_host/XErrorTrap.h"

namespace web_host {
namespace {

const int kAside = -20'000;
const int kLeastWidth = 320;
const int kLeastHeight = 160;

// Pages name any size, and pictures have any: a window larger than the way aside would lie over the
// whole screen.
int sizeOf(int wanted, int least, int screen) {
  return std::max(least, std::min(wanted, std::min(screen, -kAside / 2)));
}

GdkWindow* windowOf(GtkWidget* widget) {
  return gtk_widget_get_window(widget);
}

Display* display() {
  return gdk_x11_get_default_xdisplay();
}

// Over the middle of the owner, where there is one.
void place(GtkWidget* window, unsigned long owner) {
  int width = 0;
  int height = 0;
  gtk_window_get_size(GTK_WINDOW(window), &width, &height);
  int x = (gdk_screen_width() - width) / 2;
  int y = (gdk_screen_height() - height) / 2;
  const XErrorTrap trap;
  XWindowAttributes around;
  if (owner != 0 && XGetWindowAttributes(display(), owner, &around) != 0) {
    Window other = 0;
    XTranslateCoordinates(display(), owner, around.root, (around.width - width) / 2,
                          (around.height - height) / 2, &x, &y, &other);
    XSetTransientForHint(display(), GDK_WINDOW_XID(windowOf(window)), owner);
  }
  gtk_window_move(GTK_WINDOW(window), std::max(x, 0), std::max(y, 0));
}

const char* wordOf(PlugDrag::Result result) {
  switch (result) {
    case PlugDrag::Result::kAccepted:
      return "accepted";
    case PlugDrag::Result::kRefused:
      return "refused";
    case PlugDrag::Result::kSilent:
      break;
  }
  return "silent";
}

}  // namespace

AreaWindows::AreaWindows(npapi_host::Tell tell)
    : _tell(std::move(tell)), _leader(gtk_window_new(GTK_WINDOW_POPUP)) {
  gtk_widget_realize(_leader);
}

AreaWindows::~AreaWindows() {
  _drag.reset();
  for (const auto& each : _areas) {
    gtk_widget_destroy(each.second->window);
  }
  gtk_widget_destroy(_leader);
}

unsigned long AreaWindows::addArea(const std::string& id, int width, int height) {
  auto area = std::make_unique<Area>(Area{this, id, gtk_window_new(GTK_WINDOW_TOPLEVEL),
                                          npapi_host::makePluginSocket(1, 1), false});
  gtk_window_set_default_size(GTK_WINDOW(area->window),
                              sizeOf(width, kLeastWidth, gdk_screen_width()),
                              sizeOf(height, kLeastHeight, gdk_screen_height()));
  gtk_container_add(GTK_CONTAINER(area->window), area->socket);
  g_signal_connect(area->window, "delete-event", G_CALLBACK(onDelete), area.get());
  gtk_widget_show(area->socket);
  gtk_widget_realize(area->window);
  putAside(*area);
  const unsigned long socket = gtk_socket_get_id(GTK_SOCKET(area->socket));
  _areas[id] = std::move(area);
  return socket;
}

// Shown beside the screen, without the window manager's help, so that all in it has its size.
void AreaWindows::putAside(const Area& area) {
  gtk_widget_hide(area.window);
  gdk_window_set_override_redirect(windowOf(area.window), TRUE);
  gtk_window_move(GTK_WINDOW(area.window), kAside, kAside);
  gtk_widget_show(area.window);
}

void AreaWindows::removeArea(const std::string& id) {
  const auto found = _areas.find(id);
  if (found == _areas.end()) {
    return;
  }
  if (found->second->open) {
    _tell({"open", id, "0"});
  }
  gtk_widget_destroy(found->second->window);
  _areas.erase(found);
  const bool under = !_drops.empty() && _drops.front().area == id;
  if (under) {
    dropped("silent");
  }
}

bool AreaWindows::carryOut(const npapi_host::Fields& request) {
  if (request[0] == "open" && request.size() == 4) {
    const auto found = _areas.find(request[1]);
    if (found != _areas.end()) {
      open(found->second.get(), request[2], std::strtoul(request[3].c_str(), nullptr, 10));
    }
    return true;
  }
  if (request[0] == "drop" && request.size() == 4) {
    _drops.push_back({request[1], request[2], request[3]});
    if (_drops.size() == 1) {
      dropNext();
    }
    return true;
  }
  return false;
}

void AreaWindows::open(Area* area, const std::string& title, unsigned long owner) {
  if (!area->open) {
    area->open = true;
    gtk_window_set_title(GTK_WINDOW(area->window), title.c_str());
    gtk_widget_hide(area->window);
    gdk_window_set_override_redirect(windowOf(area->window), FALSE);
    gtk_window_set_keep_above(GTK_WINDOW(area->window), owner == 0);
    place(area->window, owner);
  }
  gtk_window_present(GTK_WINDOW(area->window));
  _tell({"open", area->id, "1"});
}

gboolean AreaWindows::onDelete(GtkWidget*, GdkEvent*, gpointer area) {
  Area* closed = static_cast<Area*>(area);
  closed->windows->close(closed);
  return TRUE;
}

void AreaWindows::close(Area* area) {
  area->open = false;
  putAside(*area);
  _tell({"open", area->id, "0"});
}

// There is one selection of that kind on a display, so there is one drag at a time.
void AreaWindows::dropNext() {
  const auto found = _areas.find(_drops.front().area);
  GdkWindow* plug = found != _areas.end()
                        ? gtk_socket_get_plug_window(GTK_SOCKET(found->second->socket))
                        : nullptr;
  if (plug == nullptr) {
    return dropped("silent");
  }
  _drag = std::make_unique<PlugDrag>(GDK_WINDOW_XID(plug), _drops.front().uris,
                                     [this](PlugDrag::Result result) { dropped(wordOf(result)); });
}

void AreaWindows::dropped(const std::string& result) {
  _drag.reset();
  _tell({"dropped", _drops.front().number, result});
  _drops.pop_front();
  if (!_drops.empty()) {
    dropNext();
  }
}

}  // namespace web_host
