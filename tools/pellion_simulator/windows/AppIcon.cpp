#include "tools/pellion_simulator/windows/AppIcon.h"

#include <gtk/gtk.h>

#include <cmath>

namespace pellion_simulator {

namespace {

// All lengths are parts of a square with sides of 1.
void drawPlate(cairo_t* cr) {
  const double radius = 0.2;
  const double low = 0.04 + radius;
  const double high = 0.96 - radius;
  cairo_new_path(cr);
  cairo_arc(cr, high, low, radius, -M_PI / 2, 0);
  cairo_arc(cr, high, high, radius, 0, M_PI / 2);
  cairo_arc(cr, low, high, radius, M_PI / 2, M_PI);
  cairo_arc(cr, low, low, radius, M_PI, 3 * M_PI / 2);
  cairo_close_path(cr);
  cairo_pattern_t* shade = cairo_pattern_create_linear(0, 0, 0, 1);
  cairo_pattern_add_color_stop_rgb(shade, 0, 0.20, 0.50, 0.85);
  cairo_pattern_add_color_stop_rgb(shade, 1, 0.08, 0.28, 0.58);
  cairo_set_source(cr, shade);
  cairo_fill(cr);
  cairo_pattern_destroy(shade);
}

void drawArrow(cairo_t* cr, double x, double tail, double head) {
  const double wing = tail < head ? -0.15 : 0.15;
  cairo_move_to(cr, x, tail);
  cairo_line_to(cr, x, head);
  cairo_move_to(cr, x - 0.14, head + wing);
  cairo_line_to(cr, x, head);
  cairo_line_to(cr, x + 0.14, head + wing);
  cairo_stroke(cr);
}

// Cairo's premultiplied native-endian words become the bytes of a pixbuf.
void copyPixels(cairo_surface_t* surface, GdkPixbuf* pixbuf, int size) {
  const size_t fromStride = static_cast<size_t>(cairo_image_surface_get_stride(surface));
  const size_t toStride = static_cast<size_t>(gdk_pixbuf_get_rowstride(pixbuf));
  for (size_t y = 0; y < static_cast<size_t>(size); ++y) {
    const auto* from =
        reinterpret_cast<const guint32*>(cairo_image_surface_get_data(surface) + y * fromStride);
    guchar* to = gdk_pixbuf_get_pixels(pixbuf) + y * toStride;
    for (int x = 0; x < size; ++x, to += 4) {
      const guint32 alpha = from[x] >> 24;
      for (int channel = 0; channel < 3; ++channel) {
        const guint32 value = (from[x] >> (16 - 8 * channel)) & 0xff;
        to[channel] = static_cast<guchar>(alpha == 0 ? 0 : value * 255 / alpha);
      }
      to[3] = static_cast<guchar>(alpha);
    }
  }
}

}  // namespace

GdkPixbuf* drawAppIcon(int size) {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, size, size);
  cairo_t* cr = cairo_create(surface);
  cairo_scale(cr, size, size);
  drawPlate(cr);
  cairo_set_source_rgb(cr, 1, 1, 1);
  cairo_set_line_width(cr, 0.09);
  cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
  cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
  drawArrow(cr, 0.33, 0.24, 0.76);
  drawArrow(cr, 0.67, 0.76, 0.24);
  cairo_destroy(cr);
  cairo_surface_flush(surface);
  GdkPixbuf* pixbuf = gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, size, size);
  copyPixels(surface, pixbuf, size);
  cairo_surface_destroy(surface);
  return pixbuf;
}

void setDefaultWindowIcon() {
  GdkPixbuf* icon = drawAppIcon(48);
  gtk_window_set_default_icon(icon);
  g_object_unref(icon);
}

}  // namespace pellion_simulator
