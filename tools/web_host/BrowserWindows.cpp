#include "tools/web_host/BrowserWindows.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <gdk/gdkx.h>

#include <algorithm>

#include "tools/web_host/XErrorTrap.h"

namespace web_host {
namespace {

const long kMostWindows = 10'000;
// A window manager that tells nothing puts its frames between the screen and the toplevels.
const int kDeepest = 4;

Display* display() {
  return gdk_x11_get_default_xdisplay();
}

Window root() {
  return DefaultRootWindow(display());
}

// A property that is a list of windows or numbers; empty when there is none.
std::vector<unsigned long> listProperty(Window window, const char* name, Atom type) {
  Atom actualType = None;
  int format = 0;
  unsigned long count = 0;
  unsigned long left = 0;
  unsigned char* data = nullptr;
  std::vector<unsigned long> list;
  if (XGetWindowProperty(display(), window, XInternAtom(display(), name, False), 0, kMostWindows,
                         False, type, &actualType, &format, &count, &left, &data) == Success &&
      actualType == type && format == 32) {
    const auto* items = reinterpret_cast<const unsigned long*>(data);
    list.assign(items, items + count);
  }
  if (data != nullptr) {
    XFree(data);
  }
  return list;
}

// On the screen and no menu.
bool isShown(Window window) {
  XWindowAttributes attributes;
  return XGetWindowAttributes(display(), window, &attributes) != 0 &&
         attributes.map_state == IsViewable && attributes.c_class == InputOutput &&
         attributes.override_redirect == False;
}

bool holdsPointer(Window window) {
  Window other = 0;
  int rootX = 0;
  int rootY = 0;
  int x = 0;
  int y = 0;
  unsigned state = 0;
  XWindowAttributes attributes;
  return XQueryPointer(display(), window, &other, &other, &rootX, &rootY, &x, &y, &state) != 0 &&
         XGetWindowAttributes(display(), window, &attributes) != 0 && x >= 0 && y >= 0 &&
         x < attributes.width && y < attributes.height;
}

}  // namespace

bool BrowserWindows::isBrowsers(Window window) const {
  const std::vector<unsigned long> process = listProperty(window, "_NET_WM_PID", XA_CARDINAL);
  return process.size() == 1 && process[0] == static_cast<unsigned long>(_browser) &&
         isShown(window);
}

void BrowserWindows::walk(Window window, int depth, std::vector<Window>* found) const {
  Window other = 0;
  Window* children = nullptr;
  unsigned count = 0;
  if (XQueryTree(display(), window, &other, &other, &children, &count) == 0) {
    return;
  }
  for (unsigned i = 0; i < count; ++i) {
    if (isBrowsers(children[i])) {
      found->push_back(children[i]);
    } else if (depth < kDeepest) {
      walk(children[i], depth + 1, found);
    }
  }
  if (children != nullptr) {
    XFree(children);
  }
}

// From the bottom to the top.
std::vector<BrowserWindows::Window> BrowserWindows::all() const {
  std::vector<Window> found;
  const std::vector<unsigned long> managed =
      listProperty(root(), "_NET_CLIENT_LIST_STACKING", XA_WINDOW);
  std::copy_if(managed.begin(), managed.end(), std::back_inserter(found),
               [this](Window window) { return isBrowsers(window); });
  if (managed.empty()) {
    walk(root(), 1, &found);
  }
  return found;
}

BrowserWindows::Window BrowserWindows::active() const {
  const XErrorTrap trap;
  const std::vector<unsigned long> active = listProperty(root(), "_NET_ACTIVE_WINDOW", XA_WINDOW);
  if (!active.empty() && active[0] != 0 && isBrowsers(active[0])) {
    return active[0];
  }
  const std::vector<Window> windows = all();
  return windows.empty() ? 0 : windows.back();
}

BrowserWindows::Window BrowserWindows::underPointer() const {
  const XErrorTrap trap;
  const std::vector<Window> windows = all();
  const auto found = std::find_if(windows.rbegin(), windows.rend(), holdsPointer);
  return found != windows.rend() ? *found : 0;
}

}  // namespace web_host
