#include "tools/web_host/PlugDrag.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <gdk/gdkx.h>

#include <cstring>
#include <utility>

#include "tools/web_host/XErrorTrap.h"

namespace web_host {
namespace {

// The module may be busy with another request.
const guint kMostMilliseconds = 60'000;
const guint kTurnMilliseconds = 50;
const long kXdndVersion = 5;
const char kUriList[] = "text/uri-list";

Display* display() {
  return gdk_x11_get_default_xdisplay();
}

Atom atom(const char* name) {
  return gdk_x11_get_xatom_by_name(name);
}

// The middle of a window, on the screen: x in the upper half.
long middleOf(Window window) {
  Window other = 0;
  int x = 0;
  int y = 0;
  unsigned width = 0;
  unsigned height = 0;
  unsigned ignored = 0;
  XGetGeometry(display(), window, &other, &x, &y, &width, &height, &ignored, &ignored);
  XTranslateCoordinates(display(), window, DefaultRootWindow(display()),
                        static_cast<int>(width / 2), static_cast<int>(height / 2), &x, &y, &other);
  return static_cast<long>((static_cast<unsigned long>(x & 0xFFFF) << 16) |
                           static_cast<unsigned long>(y & 0xFFFF));
}

// A button is down and something else is being dragged: that has the selection until it ends.
bool userDrags() {
  Window other = 0;
  int ignored = 0;
  unsigned state = 0;
  XQueryPointer(display(), DefaultRootWindow(display()), &other, &other, &ignored, &ignored,
                &ignored, &ignored, &state);
  return (state & (Button1Mask | Button2Mask | Button3Mask)) != 0 &&
         XGetSelectionOwner(display(), atom("XdndSelection")) != None;
}

}  // namespace

PlugDrag::PlugDrag(unsigned long plug, std::string uris, std::function<void(Result)> done)
    : _plug(plug), _uris(std::move(uris)), _done(std::move(done)), _source(gtk_invisible_new()) {
  gtk_widget_realize(_source);
  GdkWindow* window = gtk_widget_get_window(_source);
  gdk_window_set_events(window, GDK_PROPERTY_CHANGE_MASK);  // for the server's time
  gdk_window_add_filter(window, onEvent, this);
  _timer = g_timeout_add(kMostMilliseconds, onTimeout, this);
  enter();
}

PlugDrag::~PlugDrag() {
  for (const guint timer : {_timer, _turn}) {
    if (timer != 0) {
      g_source_remove(timer);
    }
  }
  leave();
  gdk_window_remove_filter(gtk_widget_get_window(_source), onEvent, this);
  gtk_widget_destroy(_source);  // and with it the selection goes
}

unsigned long PlugDrag::source() const {
  return GDK_WINDOW_XID(gtk_widget_get_window(_source));
}

void PlugDrag::send(const char* message, const long (&data)[4]) {
  XEvent event = {};
  event.xclient.type = ClientMessage;
  event.xclient.window = _plug;
  event.xclient.message_type = atom(message);
  event.xclient.format = 32;
  event.xclient.data.l[0] = static_cast<long>(source());
  for (int i = 0; i < 4; ++i) {
    event.xclient.data.l[i + 1] = data[i];
  }
  const XErrorTrap trap;
  XSendEvent(display(), _plug, False, NoEventMask, &event);
}

void PlugDrag::enter() {
  long at = 0;
  {
    const XErrorTrap trap;
    at = middleOf(_plug);
  }
  _entered = true;
  send("XdndEnter", {kXdndVersion << 24, static_cast<long>(atom(kUriList)), 0, 0});
  send("XdndPosition", {0, at, CurrentTime, static_cast<long>(atom("XdndActionCopy"))});
}

void PlugDrag::leave() {
  if (_entered && !_dropped) {
    _entered = false;
    send("XdndLeave", {0, 0, 0, 0});
  }
}

GdkFilterReturn PlugDrag::onEvent(GdkXEvent* event, GdkEvent*, gpointer self) {
  PlugDrag* drag = static_cast<PlugDrag*>(self);
  const auto* message = static_cast<const XEvent*>(event);
  if (message->type == SelectionRequest) {
    drag->serve(&message->xselectionrequest);
    return GDK_FILTER_REMOVE;
  }
  if (message->type != ClientMessage ||
      static_cast<unsigned long>(message->xclient.data.l[0]) != drag->_plug) {
    return GDK_FILTER_CONTINUE;
  }
  const bool yes = (message->xclient.data.l[1] & 1) != 0;
  if (message->xclient.message_type == atom("XdndStatus")) {
    drag->onStatus(yes);
  } else if (message->xclient.message_type == atom("XdndFinished") && drag->_dropped) {
    drag->finish(yes ? Result::kAccepted : Result::kRefused);
  }
  return GDK_FILTER_REMOVE;
}

void PlugDrag::onStatus(bool welcome) {
  if (_dropped || _turn != 0) {
    return;
  }
  if (!welcome) {
    finish(Result::kRefused);
  } else if (userDrags()) {
    _turn = g_timeout_add(kTurnMilliseconds, onTurn, this);
  } else {
    drop();
  }
}

gboolean PlugDrag::onTurn(gpointer self) {
  PlugDrag* drag = static_cast<PlugDrag*>(self);
  if (userDrags()) {
    return G_SOURCE_CONTINUE;
  }
  drag->_turn = 0;
  drag->drop();
  return G_SOURCE_REMOVE;
}

void PlugDrag::drop() {
  const guint32 time = gdk_x11_get_server_time(gtk_widget_get_window(_source));
  XSetSelectionOwner(display(), atom("XdndSelection"), source(), time);
  _dropped = true;
  send("XdndDrop", {0, static_cast<long>(time), 0, 0});
}

bool PlugDrag::putList(unsigned long window, unsigned long property) {
  const long largest = XExtendedMaxRequestSize(display()) * 4 - 100;
  if (largest < 0 || _uris.size() > static_cast<size_t>(largest)) {
    return false;
  }
  XChangeProperty(display(), window, property, atom(kUriList), 8, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(_uris.data()),
                  static_cast<int>(_uris.size()));
  return true;
}

bool PlugDrag::putTypes(unsigned long window, unsigned long property) {
  const Atom types[] = {atom("TARGETS"), atom(kUriList)};
  XChangeProperty(display(), window, property, XA_ATOM, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(types), 2);
  return true;
}

void PlugDrag::serve(const void* request) {
  const auto& asked = *static_cast<const XSelectionRequestEvent*>(request);
  XEvent answer = {};
  answer.xselection.type = SelectionNotify;
  answer.xselection.requestor = asked.requestor;
  answer.xselection.selection = asked.selection;
  answer.xselection.target = asked.target;
  answer.xselection.time = asked.time;
  const Atom property = asked.property != None ? asked.property : asked.target;
  const XErrorTrap trap;
  const bool put = asked.target == atom(kUriList)
                       ? putList(asked.requestor, property)
                       : asked.target == atom("TARGETS") && putTypes(asked.requestor, property);
  answer.xselection.property = put ? property : None;
  XSendEvent(display(), asked.requestor, False, NoEventMask, &answer);
}

gboolean PlugDrag::onTimeout(gpointer self) {
  PlugDrag* drag = static_cast<PlugDrag*>(self);
  drag->_timer = 0;
  drag->finish(Result::kSilent);
  return G_SOURCE_REMOVE;
}

// `done` destroys this.
void PlugDrag::finish(Result result) {
  const auto done = _done;
  done(result);
}

}  // namespace web_host
