#include "tools/web_host/DragQuestion.h"

#include <X11/Xlib.h>
#include <gdk/gdkx.h>

#include <utility>

#include "tools/web_host/XErrorTrap.h"

namespace web_host {
namespace {

Display* display() {
  return gdk_x11_get_default_xdisplay();
}

Atom atom(const char* name) {
  return gdk_x11_get_xatom_by_name(name);
}

const char kProperty[] = "ORVANE_WEB_DRAG";

}  // namespace

DragQuestion::DragQuestion(unsigned long window, std::function<void(const std::string&)> answered)
    : _answered(std::move(answered)), _timer(g_timeout_add(kMilliseconds, onTimeout, this)) {
  ask(window);
}

DragQuestion::~DragQuestion() {
  if (_timer != 0) {
    g_source_remove(_timer);
  }
  const XErrorTrap trap;
  if (_window != nullptr) {
    gdk_window_remove_filter(_window, onEvent, this);
    g_object_unref(_window);
  }
  if (_requestor != 0) {
    XDestroyWindow(display(), _requestor);
  }
}

// When nobody can be asked, the time runs out at once.
void DragQuestion::ask(unsigned long window) {
  const XErrorTrap trap;
  if (window != 0 && XGetSelectionOwner(display(), atom("XdndSelection")) != None) {
    XSetWindowAttributes attributes = {};
    attributes.event_mask = PropertyChangeMask;
    _requestor = XCreateWindow(display(), window, -1, -1, 1, 1, 0, CopyFromParent, InputOnly,
                               nullptr, CWEventMask, &attributes);
    _window = gdk_window_foreign_new(static_cast<GdkNativeWindow>(_requestor));
  }
  if (_window == nullptr) {
    g_source_remove(_timer);
    _timer = g_timeout_add(0, onTimeout, this);
    return;
  }
  gdk_window_add_filter(_window, onEvent, this);
  XConvertSelection(display(), atom("XdndSelection"), atom("text/uri-list"), atom(kProperty),
                    _requestor, CurrentTime);
}

GdkFilterReturn DragQuestion::onEvent(GdkXEvent* event, GdkEvent*, gpointer self) {
  DragQuestion* question = static_cast<DragQuestion*>(self);
  const auto* message = static_cast<const XEvent*>(event);
  if (message->type == SelectionNotify) {
    question->takeAnswer(message->xselection.property);
  } else if (message->type == PropertyNotify && question->_inPieces &&
             message->xproperty.atom == atom(kProperty) &&
             message->xproperty.state == PropertyNewValue) {
    question->takePiece();
  }
  return GDK_FILTER_REMOVE;
}

void DragQuestion::takeAnswer(unsigned long property) {
  unsigned long type = None;
  if (_inPieces) {
    return;
  }
  if (property == None || !takeProperty(&_uris, &type)) {
    finish("");
  } else if (type == atom("INCR")) {
    _inPieces = true;
    _uris.clear();
  } else {
    finish(type == atom("text/uri-list") ? _uris : "");
  }
}

// A piece of no bytes is the last.
void DragQuestion::takePiece() {
  unsigned long type = None;
  std::string piece;
  if (!takeProperty(&piece, &type) || type != atom("text/uri-list") ||
      _uris.size() + piece.size() > kMostBytes) {
    finish("");
  } else if (piece.empty()) {
    finish(_uris);
  } else {
    _uris += piece;
  }
}

// Taking it tells the source that the next piece may come.
bool DragQuestion::takeProperty(std::string* bytes, unsigned long* type) {
  int format = 0;
  unsigned long count = 0;
  unsigned long left = 0;
  unsigned char* data = nullptr;
  const XErrorTrap trap;
  const int status = XGetWindowProperty(display(), _requestor, atom(kProperty), 0, kMostBytes / 4,
                                        True, AnyPropertyType, type, &format, &count, &left, &data);
  if (status == Success && format == 8 && left == 0) {
    bytes->assign(reinterpret_cast<const char*>(data), count);
  }
  if (data != nullptr) {
    XFree(data);
  }
  return status == Success && (format == 8 || *type == atom("INCR")) && left == 0;
}

gboolean DragQuestion::onTimeout(gpointer self) {
  DragQuestion* question = static_cast<DragQuestion*>(self);
  question->_timer = 0;
  question->finish("");
  return G_SOURCE_REMOVE;
}

// `answered` may destroy this.
void DragQuestion::finish(const std::string& uris) {
  if (_timer != 0) {
    g_source_remove(_timer);
    _timer = 0;
  }
  const std::string list = uris;
  const auto answered = _answered;
  answered(list);
}

}  // namespace web_host
