#include "tools/web_host/Picture.h"

#include <gdk-pixbuf/gdk-pixbuf.h>

#include <memory>

#include "gtk2/OnDemand.h"

namespace web_host {
namespace {

struct Unref {
  void operator()(void* object) const { g_object_unref(object); }
};
struct Free {
  void operator()(void* memory) const { g_free(memory); }
};
using LoaderRef = std::unique_ptr<GdkPixbufLoader, Unref>;

[[noreturn]] void refuseSize() {
  throw PictureError("The picture is larger than " + std::to_string(Picture::kMostBytes) +
                     " bytes or " + std::to_string(Picture::kMostPixels) +
                     " pixels a side: the label stays.");
}

// Nothing of a picture that is too large is decoded.
void onSize(GdkPixbufLoader* loader, int width, int height, gpointer tooLarge) {
  if (width > Picture::kMostPixels || height > Picture::kMostPixels) {
    *static_cast<bool*>(tooLarge) = true;
    gdk_pixbuf_loader_set_size(loader, 1, 1);
  }
}

// As the type that browsers know it by; empty when they might not, or would show it otherwise than
// the module does.
std::string typeOf(GdkPixbufLoader* loader, GdkPixbuf* pixbuf, const std::string& bytes) {
  const std::unique_ptr<char, Free> name(
      gdk_pixbuf_format_get_name(gdk_pixbuf_loader_get_format(loader)));
  const std::string format = name.get();
  if (format == "png") {
    return bytes.find("acTL") == std::string::npos ? "image/png" : "";  // moves
  }
  const char* turned = gdk_pixbuf_get_option(pixbuf, "orientation");
  return format == "jpeg" && (turned == nullptr || std::string(turned) == "1") ? "image/jpeg" : "";
}

std::string pngOf(GdkPixbuf* pixbuf) {
  char* buffer = nullptr;
  gsize size = 0;
  GError* error = nullptr;
  if (gdk_pixbuf_save_to_buffer(pixbuf, &buffer, &size, "png", &error, nullptr) == FALSE) {
    const std::string reason = std::string("The picture cannot be shown: ") + error->message;
    g_error_free(error);
    throw PictureError(reason);
  }
  const std::unique_ptr<char, Free> owned(buffer);
  return std::string(buffer, size);
}

}  // namespace

std::optional<Picture> readPicture(const std::string& bytes) {
  if (!gtk2::load(nullptr)) {
    return std::nullopt;
  }
  const LoaderRef loader(gdk_pixbuf_loader_new());
  bool tooLarge = bytes.size() > Picture::kMostBytes;
  g_signal_connect(loader.get(), "size-prepared", G_CALLBACK(onSize), &tooLarge);
  const bool written =
      gdk_pixbuf_loader_write(loader.get(), reinterpret_cast<const guchar*>(bytes.data()),
                              bytes.size(), nullptr) != FALSE;
  const bool whole = gdk_pixbuf_loader_close(loader.get(), nullptr) != FALSE;
  GdkPixbuf* pixbuf = gdk_pixbuf_loader_get_pixbuf(loader.get());
  if (!written || pixbuf == nullptr) {
    return std::nullopt;
  }
  if (tooLarge) {
    refuseSize();
  }
  Picture picture;
  picture.type = whole ? typeOf(loader.get(), pixbuf, bytes) : "";
  picture.bytes = bytes;
  if (picture.type.empty()) {
    picture.type = "image/png";
    picture.bytes = pngOf(pixbuf);
  }
  if (picture.bytes.size() > Picture::kMostBytes) {
    refuseSize();
  }
  picture.width = gdk_pixbuf_get_width(pixbuf);
  picture.height = gdk_pixbuf_get_height(pixbuf);
  return picture;
}

}  // namespace web_host
