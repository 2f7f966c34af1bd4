#include "browsers/npapi_common/ovLinuxOrvaneWebViewImpl.h"

#include <gtk/gtkplug.h>

#include <utility>

#include "browsers/npapi_common/CBoundary.h"
#include "browsers/npapi_common/ovIOrvaneWebViewDelegate.h"
#include "gtk2/OnDemand.h"
#include "os/src/GtkSetup.h"
#include "ovlib/ovfile.h"
#include "ovlib/ovlog.h"
#include "pellion_icon.h"

using Pellion::Web::GErrorPtr;
using Pellion::Web::GFreePtr;
using Pellion::Web::GObjectRef;
using Pellion::Web::GStrvPtr;
using Pellion::Web::ownToplevel;

namespace {

// Magic, length, pixel type, row stride, width and height, then the pixels, then a zero byte.
static_assert(sizeof(PELLION_ICON) == 24 + 64 * 64 * 4 + 1, "the icon is 64 by 64 RGBA pixels");

const GtkTargetEntry kDropTargets[] = {{const_cast<gchar*>("text/uri-list"), 0, 0}};

void setDefaultIcon() {
  G_GNUC_BEGIN_IGNORE_DEPRECATIONS
  const GObjectRef<GdkPixbuf> icon(
      gdk_pixbuf_new_from_inline(sizeof(PELLION_ICON), PELLION_ICON, FALSE, nullptr));
  G_GNUC_END_IGNORE_DEPRECATIONS
  if (icon) {
    gtk_window_set_default_icon(icon.get());
  }
}

// The picture in `bytes`; null, with a log line, when there is none.
GObjectRef<GdkPixbuf> loadPixbuf(const void* bytes, size_t length) {
  if (!gtk2::load(nullptr)) {
    ov_log("ERROR: Unable to load pixbuf from image.");
    return nullptr;
  }
  const GObjectRef<GdkPixbufLoader> loader(gdk_pixbuf_loader_new());
  if (!gdk_pixbuf_loader_write(loader.get(), static_cast<const guchar*>(bytes), length, nullptr)) {
    ov_log("ERROR: Unable to write image data to loader.");
    gdk_pixbuf_loader_close(loader.get(), nullptr);
    return nullptr;
  }
  gdk_pixbuf_loader_close(loader.get(), nullptr);
  GdkPixbuf* pixbuf = gdk_pixbuf_loader_get_pixbuf(loader.get());
  if (pixbuf == nullptr) {
    ov_log("ERROR: Unable to load pixbuf from image.");
    return nullptr;
  }
  return GObjectRef<GdkPixbuf>(GDK_PIXBUF(g_object_ref(pixbuf)));
}

bool isDirectory(const std::string& path) {
  ov_file_status status;
  return ov_file_stat(path.c_str(), &status) == 0 && status.kind == OV_FILE_DIRECTORY;
}

// The dropped URIs; null when the data is of another kind.
GStrvPtr takeUris(GtkSelectionData* data, guint info) {
  if (data == nullptr || gtk_selection_data_get_length(data) < 0 ||
      gtk_selection_data_get_format(data) != 8 || info != 0) {
    return nullptr;
  }
  return GStrvPtr(gtk_selection_data_get_uris(data));
}

}  // namespace

bool ovLinuxOrvaneWebViewImpl::init(NPWindow* window, NPP /*instance*/, bool enableDrop,
                                    bool allowDirectories, bool allowMultiple) {
  ov_trace("ovLinuxOrvaneWebViewImpl::init()");
  Pellion::Web::whenGtkIsInitialised(setDefaultIcon);
  _enableDrop = enableDrop;
  _allowDirectories = allowDirectories;
  _allowMultiple = allowMultiple;
  mX = window->x;
  mY = window->y;
  mWidth = window->width;
  mHeight = window->height;
  const auto nativeWindow = reinterpret_cast<unsigned long>(window->window);
  if (nativeWindow == mWindow || !Pellion::Web::ensureGtkInitialised()) {
    return true;
  }
  mWindow = nativeWindow;
  const auto* info = static_cast<const NPSetWindowCallbackStruct*>(window->ws_info);
  mDisplay = info != nullptr ? info->display : nullptr;
  buildWidgets();
  return true;
}

void ovLinuxOrvaneWebViewImpl::buildWidgets() {
  _windowPlug.reset();
  _windowPlug = ownToplevel(gtk_plug_new(static_cast<GdkNativeWindow>(mWindow)));
  showInPlug(gtk_label_new("Drag Files Here"));
  makeDropDestination();
}

void ovLinuxOrvaneWebViewImpl::showInPlug(GtkWidget* widget) {
  _labelWidget = widget;
  gtk_container_add(GTK_CONTAINER(_windowPlug.get()), widget);
  gtk_widget_show(widget);
  gtk_widget_show(_windowPlug.get());
}

void ovLinuxOrvaneWebViewImpl::makeDropDestination() {
  if (!_enableDrop) {
    return;
  }
  ov_log("Drag-n-Drop enabled");
  gtk_drag_dest_set(_labelWidget, GTK_DEST_DEFAULT_ALL, kDropTargets, G_N_ELEMENTS(kDropTargets),
                    GDK_ACTION_COPY);
  g_signal_connect(_labelWidget, "drag-data-received", G_CALLBACK(drag_data_received), this);
}

void ovLinuxOrvaneWebViewImpl::setImage(const void* bytes, size_t length) {
  if (bytes == nullptr || length == 0) {
    return;
  }
  const GObjectRef<GdkPixbuf> pixbuf = loadPixbuf(bytes, length);
  // The browser may have closed the window already, and with it the plug's child.
  GtkWidget* child =
      pixbuf && _windowPlug ? gtk_bin_get_child(GTK_BIN(_windowPlug.get())) : nullptr;
  if (child == nullptr) {
    return;
  }
  // Removed alone, a label that a drop is on its way to would live on and call this object, which
  // may be gone by then.
  gtk_widget_destroy(child);
  showInPlug(gtk_image_new_from_pixbuf(pixbuf.get()));
  gtk_widget_queue_resize(_windowPlug.get());
  makeDropDestination();
}

bool ovLinuxOrvaneWebViewImpl::collectPath(const gchar* uri,
                                           std::vector<std::string>& paths) const {
  gchar* uriHost = nullptr;
  GError* uriError = nullptr;
  const GFreePtr<gchar> filename(g_filename_from_uri(uri, &uriHost, &uriError));
  const GFreePtr<gchar> hostname(uriHost);
  const GErrorPtr error(uriError);
  if (!filename) {
    ov_log("Failed to convert URI to filename: %s (%u)", error->message,
           static_cast<unsigned>(error->code));
    return false;
  }
  const std::string path(filename.get());
  ov_log("File dropped: %s", path.c_str());
  if (hostname) {
    ov_log("URI hostname: %s", hostname.get());
  }
  if (!_allowDirectories && isDirectory(path)) {
    ov_log("Directory drops disabled. Ignoring drop.");
    return false;
  }
  paths.push_back(path);
  return true;
}

std::vector<std::string> ovLinuxOrvaneWebViewImpl::collectPaths(gchar** uris) const {
  std::vector<std::string> paths;
  for (size_t i = 0; uris[i] != nullptr; ++i) {
    ov_trace("URI dropped: %s", uris[i]);
    if (i > 0 && !_allowMultiple) {
      ov_log("Multiple file drops disabled. Ignoring drop.");
      return {};
    }
    if (!collectPath(uris[i], paths)) {
      return {};
    }
  }
  return paths;
}

void ovLinuxOrvaneWebViewImpl::drag_data_received(GtkWidget* /*widget*/, GdkDragContext* context,
                                                  gint /*x*/, gint /*y*/, GtkSelectionData* data,
                                                  guint info, guint time, gpointer self) {
  ov_trace("ovLinuxOrvaneWebViewImpl::drag_data_received_hand1()");
  const GStrvPtr uris = takeUris(data, info);
  const bool accepted = CBoundary::call("Error handling drop", false, [&] {
    return uris && static_cast<ovLinuxOrvaneWebViewImpl*>(self)->drop(uris.get());
  });
  gtk_drag_finish(context, accepted ? TRUE : FALSE, FALSE, time);
  if (!accepted && data != nullptr) {
    // GTK's default drop behaviour finishes the drag once more, with success unless there is no
    // data.
    data->length = -1;
  }
}

bool ovLinuxOrvaneWebViewImpl::drop(gchar** uris) {
  std::vector<std::string> paths = collectPaths(uris);
  if (paths.empty() || _delegate == nullptr) {
    return false;
  }
  // The page may remove the plugin in the call: nothing of the view is touched after it.
  _delegate->doDrop(std::move(paths));
  return true;
}
