#ifndef OS_SRC_GLIB_GUARDS_H_
#define OS_SRC_GLIB_GUARDS_H_

#include <gtk/gtk.h>

#include <memory>

namespace Pellion::Web {

// Owners of what GLib and GTK hand out, each with the one way to give it back.

struct GFree {
  void operator()(void* memory) const { g_free(memory); }
};
struct GStrvFree {
  void operator()(gchar** texts) const { g_strfreev(texts); }
};
struct GErrorFree {
  void operator()(GError* error) const { g_error_free(error); }
};
struct GObjectUnref {
  void operator()(void* object) const { g_object_unref(object); }
};
struct ToplevelDestroy {
  void operator()(GtkWidget* window) const {
    gtk_widget_destroy(window);
    g_object_unref(window);
  }
};

template <typename Memory>
using GFreePtr = std::unique_ptr<Memory, GFree>;
using GStrvPtr = std::unique_ptr<gchar*[], GStrvFree>;
using GErrorPtr = std::unique_ptr<GError, GErrorFree>;
// One reference.
template <typename Object>
using GObjectRef = std::unique_ptr<Object, GObjectUnref>;
// A window that is destroyed with its owner; see ownToplevel().
using OwnedToplevel = std::unique_ptr<GtkWidget, ToplevelDestroy>;

// Takes over a window that was just made. A reference of its own keeps the record, also when
// somebody else destroys the window.
inline OwnedToplevel ownToplevel(GtkWidget* window) {
  g_object_ref(window);
  return OwnedToplevel(window);
}

}  // namespace Pellion::Web

#endif  // OS_SRC_GLIB_GUARDS_H_
