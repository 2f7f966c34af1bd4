#include "browsers/npapi_common/ovLinuxOrvaneWebViewImpl.h"

#include <gtk/gtkplug.h>

#include <utility>

#include "browsers/npapi_common/CBoundary.h"
#include "browsers/npapi_common/ovIOrvaneWebViewDelegate.h"
#include "os/src/GtkSetup.h"
#include "ovlib/ovfile.h"
#include "ovlib/ovlog.h"
#include "pellion_icon.h"

namespace {

// Magic, length, pixel type, row stride, width and height, then the pixels, then a zero byte.
static_assert(sizeof(PELLION_ICON) == 24 + 64 * 64 * 4 + 1, "the icon is 64 by 64 RGBA pixels");

const GtkTargetEntry kDropTargets[] = {{const_cast<gchar*>("text/uri-list"), 0, 0}};

void setDefaultIcon() {
  G_GNUC_BEGIN_IGNORE_DEPRECATIONS
  GdkPixbuf* icon = gdk_pixbuf_new_from_inline(sizeof(PELLION_ICON), PELLION_ICON, FALSE, nullptr);
  G_GNUC_END_IGNORE_DEPRECATIONS
  if (icon != nullptr) {
    gtk_window_set_default_icon(icon);
    g_object_unref(icon);
  }
}

// The picture in `bytes`, which the caller releases; null, with a log line, when there is none.
GdkPixbuf* loadPixbuf(const void* bytes, size_t length) {
  GdkPixbufLoader* loader = gdk_pixbuf_loader_new();
  GdkPixbuf* pixbuf = nullptr;
  if (!gdk_pixbuf_loader_write(loader, static_cast<const guchar*>(bytes), length, nullptr)) {
    ov_log("ERROR: Unable to write image data to loader.");
    gdk_pixbuf_loader_close(loader, nullptr);
  } else {
    gdk_pixbuf_loader_close(loader, nullptr);
    pixbuf = gdk_pixbuf_loader_get_pixbuf(loader);
    if (pixbuf == nullptr) {
      ov_log("ERROR: Unable to load pixbuf from image.");
    } else {
      g_object_ref(pixbuf);
    }
  }
  g_object_unref(loader);
  return pixbuf;
}

bool isDirectory(const std::string& path) {
  ov_file_status status;
  return ov_file_stat(path.c_str(), &status) == 0 && status.kind == OV_FILE_DIRECTORY;
}

// The dropped URIs, which the caller frees; null when the data is of another kind.
gchar** takeUris(GtkSelectionData* data, guint info) {
  if (data == nullptr || gtk_selection_data_get_length(data) < 0 ||
      gtk_selection_data_get_format(data) != 8 || info != 0) {
    return nullptr;
  }
  return gtk_selection_data_get_uris(data);
}

}  // namespace

ovLinuxOrvaneWebViewImpl::~ovLinuxOrvaneWebViewImpl() {
  destroyWidgets();
}

bool ovLinuxOrvaneWebViewImpl::init(NPWindow* window, NPP /*instance*/, bool enableDrop,
                                    bool allowDirectories, bool allowMultiple) {
  ov_trace("ovLinuxOrvaneWebViewImpl::init()");
  const bool haveGtk = Pellion::Web::ensureGtkInitialised();
  if (haveGtk) {
    setDefaultIcon();
  }
  _enableDrop = enableDrop;
  _allowDirectories = allowDirectories;
  _allowMultiple = allowMultiple;
  mX = window->x;
  mY = window->y;
  mWidth = window->width;
  mHeight = window->height;
  const auto nativeWindow = reinterpret_cast<unsigned long>(window->window);
  if (nativeWindow == mWindow || !haveGtk) {
    return true;
  }
  mWindow = nativeWindow;
  const auto* info = static_cast<const NPSetWindowCallbackStruct*>(window->ws_info);
  mDisplay = info != nullptr ? info->display : nullptr;
  buildWidgets();
  return true;
}

void ovLinuxOrvaneWebViewImpl::buildWidgets() {
  destroyWidgets();
  _windowPlug = gtk_plug_new(static_cast<GdkNativeWindow>(mWindow));
  g_object_ref(_windowPlug);
  _labelWidget = gtk_label_new("Drag Files Here");
  gtk_container_add(GTK_CONTAINER(_windowPlug), _labelWidget);
  gtk_widget_show(_labelWidget);
  gtk_widget_show(_windowPlug);
  if (_enableDrop) {
    ov_log("Drag-n-Drop enabled");
    makeDropDestination(_labelWidget);
  }
}

void ovLinuxOrvaneWebViewImpl::destroyWidgets() {
  if (_windowPlug != nullptr) {
    gtk_widget_destroy(_windowPlug);
    g_object_unref(_windowPlug);
    _windowPlug = nullptr;
    _labelWidget = nullptr;
  }
}

void ovLinuxOrvaneWebViewImpl::makeDropDestination(GtkWidget* widget) {
  gtk_drag_dest_set(widget, GTK_DEST_DEFAULT_ALL, kDropTargets, G_N_ELEMENTS(kDropTargets),
                    GDK_ACTION_COPY);
  g_signal_connect(widget, "drag-data-received", G_CALLBACK(drag_data_received), this);
}

void ovLinuxOrvaneWebViewImpl::setImage(const void* bytes, size_t length) {
  if (bytes == nullptr || length == 0 || _windowPlug == nullptr) {
    return;
  }
  GdkPixbuf* pixbuf = loadPixbuf(bytes, length);
  if (pixbuf == nullptr) {
    return;
  }
  // The browser may have closed the window already, and with it the plug's child.
  GtkWidget* child = gtk_bin_get_child(GTK_BIN(_windowPlug));
  if (child != nullptr) {
    // Removed alone, a label that a drop is on its way to would live on and call this object, which
    // may be gone by then.
    gtk_widget_destroy(child);
    _labelWidget = gtk_image_new_from_pixbuf(pixbuf);
    gtk_container_add(GTK_CONTAINER(_windowPlug), _labelWidget);
    gtk_widget_show(_labelWidget);
    gtk_widget_show(_windowPlug);
    gtk_widget_queue_resize(_windowPlug);
    if (_enableDrop) {
      makeDropDestination(_labelWidget);
    }
  }
  g_object_unref(pixbuf);
}

bool ovLinuxOrvaneWebViewImpl::collectPath(const gchar* uri,
                                           std::vector<std::string>& paths) const {
  gchar* hostname = nullptr;
  GError* error = nullptr;
  gchar* filename = g_filename_from_uri(uri, &hostname, &error);
  if (filename == nullptr) {
    ov_log("Failed to convert URI to filename: %s (%u)", error->message,
           static_cast<unsigned>(error->code));
    g_error_free(error);
    return false;
  }
  const std::string path(filename);
  g_free(filename);
  ov_log("File dropped: %s", path.c_str());
  if (hostname != nullptr) {
    ov_log("URI hostname: %s", hostname);
    g_free(hostname);
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
  gchar** uris = takeUris(data, info);
  const bool accepted = CBoundary::call("Error handling drop", false, [&] {
    return uris != nullptr && static_cast<ovLinuxOrvaneWebViewImpl*>(self)->drop(uris);
  });
  g_strfreev(uris);
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
