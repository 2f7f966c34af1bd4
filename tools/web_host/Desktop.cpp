#include "tools/web_host/Desktop.h"

#include <X11/Xutil.h>
#include <gdk/gdkx.h>
#include <unistd.h>

#include <string>

#include "tools/npapi_host/WindowLink.h"
#include "tools/web_host/XErrorTrap.h"

namespace web_host {
namespace {

guint realizeSignal() {
  return g_signal_lookup("realize", GTK_TYPE_WIDGET);
}

// A dialog without an owner on the screen: the plug that the module gives its choosers is never
// shown.
bool isOrphan(GtkWidget* widget) {
  if (!GTK_IS_WINDOW(widget) || GTK_IS_PLUG(widget) ||
      gtk_window_get_window_type(GTK_WINDOW(widget)) != GTK_WINDOW_TOPLEVEL) {
    return false;
  }
  GtkWindow* owner = gtk_window_get_transient_for(GTK_WINDOW(widget));
  return owner == nullptr || GTK_IS_PLUG(owner) || !gtk_widget_get_realized(GTK_WIDGET(owner));
}

}  // namespace

Desktop::Desktop() : _browser(getppid()) {}

Desktop::~Desktop() {
  if (_hook != 0) {
    g_signal_remove_emission_hook(realizeSignal(), _hook);
  }
}

bool Desktop::open() {
  std::string reason;
  if (_hook == 0 && npapi_host::WindowLink::openDisplay(&reason)) {
    g_type_class_unref(g_type_class_ref(GTK_TYPE_WIDGET));  // which makes the signal
    _hook = g_signal_add_emission_hook(realizeSignal(), 0, onRealize, this, nullptr);
  }
  return _hook != 0;
}

// The widget has its X window by now, which is not on the screen yet.
gboolean Desktop::onRealize(GSignalInvocationHint*, guint, const GValue* values, gpointer self) {
  GtkWidget* widget = GTK_WIDGET(g_value_get_object(values));
  if (isOrphan(widget)) {
    const BrowserWindows::Window owner = static_cast<Desktop*>(self)->_browser.active();
    if (owner != 0) {
      const XErrorTrap trap;
      XSetTransientForHint(gdk_x11_get_default_xdisplay(),
                           GDK_WINDOW_XID(gtk_widget_get_window(widget)), owner);
    }
  }
  return TRUE;  // for the next one as well
}

}  // namespace web_host
