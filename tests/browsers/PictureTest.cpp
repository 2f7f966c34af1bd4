#include <gtk/gtk.h>

#include "os/src/GtkSetup.h"
#include "tests/browsers/PluginFixture.h"
#include "tests/support/ChildProgram.h"
#include "tests/support/DisplaySandbox.h"

namespace {

class Picture : public PluginFixture<test_support::DisplaySandbox> {
 protected:
  static constexpr int kWidth = 40;
  static constexpr int kHeight = 30;
  static constexpr const char* kUrl = "http://x/a.png";

  Picture() : _browserWindow({SOCKET_WINDOW}) {
    Pellion::Web::ensureGtkInitialised();
    create({{"image", kUrl}});
    NPWindow window = {};
    window.window = reinterpret_cast<void*>(std::stoul(_browserWindow.readLine()));
    plugin->setWindow(&window, instance);
  }

  static std::string encoded() {
    GdkPixbuf* pixbuf = gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, kWidth, kHeight);
    gdk_pixbuf_fill(pixbuf, 0x3366ccff);
    gchar* bytes = nullptr;
    gsize size = 0;
    gdk_pixbuf_save_to_buffer(pixbuf, &bytes, &size, "png", nullptr, nullptr);
    std::string result(bytes, size);
    g_free(bytes);
    g_object_unref(pixbuf);
    return result;
  }

  void receive(const std::string& bytes, size_t offset, size_t length) {
    NPStream stream = {};
    stream.url = kUrl;
    EXPECT_EQ(
        static_cast<int32_t>(length),
        plugin->receiveOnStream(&stream, static_cast<int32_t>(offset), static_cast<int32_t>(length),
                                const_cast<char*>(bytes.data() + offset)));
  }
  void endStream(NPReason reason) {
    NPStream stream = {};
    stream.url = kUrl;
    EXPECT_TRUE(plugin->destroyStream(&stream, reason));
  }

  static bool isShown() {
    bool found = false;
    GList* windows = gtk_window_list_toplevels();
    for (GList* item = windows; item != nullptr; item = item->next) {
      GtkWidget* child = gtk_bin_get_child(GTK_BIN(item->data));
      if (GTK_IS_IMAGE(child)) {
        GdkPixbuf* pixbuf = gtk_image_get_pixbuf(GTK_IMAGE(child));
        found = gdk_pixbuf_get_width(pixbuf) == kWidth && gdk_pixbuf_get_height(pixbuf) == kHeight;
      }
    }
    g_list_free(windows);
    return found;
  }

 private:
  test_support::ChildProgram _browserWindow;
};

// The blocks of two streams, one over the other; the first stream that ends shows them.
TEST_F(Picture, isPutTogetherByOffset) {
  const std::string bytes = encoded();
  const size_t half = bytes.size() / 2;
  receive(bytes, 0, half);
  receive(bytes, 0, half / 2);
  receive(bytes, half / 2, half);
  receive(bytes, half, bytes.size() - half);
  EXPECT_FALSE(isShown());
  endStream(NPRES_NETWORK_ERR);
  EXPECT_TRUE(isShown());
  endStream(NPRES_DONE);
  EXPECT_TRUE(isShown());
  EXPECT_EQ(0u, logLines("ERROR: ").size());
}

TEST_F(Picture, isNotShownWhenItsEndIsMissing) {
  const std::string bytes = encoded();
  receive(bytes, 0, bytes.size());
  receive(bytes, 0, 20);  // A block ends the picture.
  endStream(NPRES_DONE);
  EXPECT_FALSE(isShown());
  EXPECT_EQ(1u, logLines("ERROR: Unable to load pixbuf from image.").size());
}

}  // namespace
