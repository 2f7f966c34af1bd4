#ifndef TESTS_BROWSERS_SHOWN_PICTURE_H_
#define TESTS_BROWSERS_SHOWN_PICTURE_H_

#include <gtk/gtk.h>

#include <string>

// The picture that a page gives its drop area, and whether the area shows it.

constexpr int kPictureWidth = 40;
constexpr int kPictureHeight = 30;

// `format` is "png" or "jpeg".
inline std::string encodedPicture(const char* format) {
  GdkPixbuf* pixbuf = gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, kPictureWidth, kPictureHeight);
  gdk_pixbuf_fill(pixbuf, 0x3366ccff);
  gchar* bytes = nullptr;
  gsize size = 0;
  gdk_pixbuf_save_to_buffer(pixbuf, &bytes, &size, format, nullptr, nullptr);
  std::string result(bytes, size);
  g_free(bytes);
  g_object_unref(pixbuf);
  return result;
}

// The view's label or picture; null when there is no plug.
inline GtkWidget* shownWidget() {
  GtkWidget* found = nullptr;
  GList* windows = gtk_window_list_toplevels();
  for (GList* item = windows; item != nullptr; item = item->next) {
    if (GTK_IS_PLUG(item->data)) {
      found = gtk_bin_get_child(GTK_BIN(item->data));
    }
  }
  g_list_free(windows);
  return found;
}

inline bool showsPicture() {
  GtkWidget* widget = shownWidget();
  if (!GTK_IS_IMAGE(widget)) {
    return false;
  }
  GdkPixbuf* pixbuf = gtk_image_get_pixbuf(GTK_IMAGE(widget));
  return gdk_pixbuf_get_width(pixbuf) == kPictureWidth &&
         gdk_pixbuf_get_height(pixbuf) == kPictureHeight;
}

#endif  // TESTS_BROWSERS_SHOWN_PICTURE_H_
