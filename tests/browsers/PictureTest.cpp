#include <gtk/gtk.h>

#include "os/src/GtkSetup.h"
#include "tests/browsers/PluginFixture.h"
#include "tests/browsers/ShownPicture.h"
#include "tests/support/ChildProgram.h"
#include "tests/support/DisplaySandbox.h"

namespace {

class Picture : public PluginFixture<test_support::DisplaySandbox> {
 protected:
  static constexpr const char* kUrl = "http://x/a.png";

  Picture() : _browserWindow({SOCKET_WINDOW}) {
    Pellion::Web::ensureGtkInitialised();
    create({{"image", kUrl}});
    NPWindow window = {};
    window.window = reinterpret_cast<void*>(std::stoul(_browserWindow.readLine()));
    plugin->setWindow(&window, instance);
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

 private:
  test_support::ChildProgram _browserWindow;
};

// The blocks of two streams, one over the other; the first stream that ends shows them.
TEST_F(Picture, isPutTogetherByOffset) {
  const std::string bytes = encodedPicture("png");
  const size_t half = bytes.size() / 2;
  receive(bytes, 0, half);
  receive(bytes, 0, half / 2);
  receive(bytes, half / 2, half);
  receive(bytes, half, bytes.size() - half);
  EXPECT_FALSE(showsPicture());
  endStream(NPRES_NETWORK_ERR);
  EXPECT_TRUE(showsPicture());
  endStream(NPRES_DONE);
  EXPECT_TRUE(showsPicture());
  EXPECT_EQ(0u, logLines("ERROR: ").size());
}

TEST_F(Picture, isNotShownWhenItsEndIsMissing) {
  const std::string bytes = encodedPicture("png");
  receive(bytes, 0, bytes.size());
  receive(bytes, 0, 20);  // A block ends the picture.
  endStream(NPRES_DONE);
  EXPECT_FALSE(showsPicture());
  EXPECT_EQ(1u, logLines("ERROR: Unable to load pixbuf from image.").size());
}

}  // namespace
