#include <gtk/gtk.h>
#include <gtk/gtkplug.h>

#include <filesystem>
#include <memory>

#include "browsers/npapi_common/ovIOrvaneWebViewDelegate.h"
#include "browsers/npapi_common/ovOrvaneWebView.h"
#include "os/src/SaveFileDialog.h"
#include "tests/browsers/PluginFixture.h"
#include "tests/support/ChildProgram.h"
#include "tests/support/DisplaySandbox.h"

namespace user = test_support::user;
using test_support::ChildProgram;
using Paths = std::vector<std::string>;

namespace {

// The picture that a page gives its drop area, and whether the area shows it.

constexpr int kPictureWidth = 40;

// `format` is "png" or "jpeg".
std::string encodedPicture(const char* format) {
  GdkPixbuf* pixbuf = gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, kPictureWidth, 30);
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
GtkWidget* shownWidget() {
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

bool showsPicture() {
  GtkWidget* widget = shownWidget();
  return GTK_IS_IMAGE(widget) &&
         gdk_pixbuf_get_width(gtk_image_get_pixbuf(GTK_IMAGE(widget))) == kPictureWidth;
}

// Keeps what was dropped; on request it destroys the view inside the call, as a page can.
class Delegate : public ovIOrvaneWebViewDelegate {
 public:
  void doDrop(Paths paths) override {
    drops.push_back(std::move(paths));
    if (destroyed != nullptr) {
      destroyed->reset();
    }
  }

  std::vector<Paths> drops;
  std::unique_ptr<ovOrvaneWebView>* destroyed = nullptr;
};

bool handlesDrops(GtkWidget* widget) {
  const guint signal = g_signal_lookup("drag-data-received", GTK_TYPE_WIDGET);
  return g_signal_handler_find(widget, G_SIGNAL_MATCH_ID, signal, 0, nullptr, nullptr, nullptr) !=
         0;
}

class DropView : public PluginFixture<test_support::DisplaySandbox> {
 protected:
  DropView() : _browser({SOCKET_WINDOW}), _socket(std::stoul(_browser.readLine())) {
    test_support::writeFile(path("a.txt"), "");
    std::filesystem::create_directory(path("folder"));
  }

  void show(bool enableDrop = true) {
    _view = std::make_unique<ovOrvaneWebView>();
    _view->setDelegate(&_delegate);
    initWindow(enableDrop, false, false);
  }

  void initWindow(bool enableDrop, bool allowDirectories, bool allowMultiple) {
    NPSetWindowCallbackStruct info = {};
    NPWindow window = {};
    window.window = reinterpret_cast<void*>(_socket);
    window.width = 300;
    window.height = 200;
    window.ws_info = &info;
    EXPECT_TRUE(_view->init(&window, nullptr, enableDrop, allowDirectories, allowMultiple));
  }

  // Drags files of the sandbox, or what has a scheme, onto the view; whether it took them.
  std::string drop(const Paths& items) {
    std::vector<std::string> uris = {DRAG_SOURCE};
    for (const std::string& item : items) {
      const bool isUri = item.find("://") != std::string::npos;
      gchar* uri = isUri ? nullptr : g_filename_to_uri(path(item).c_str(), nullptr, nullptr);
      uris.emplace_back(isUri ? item.c_str() : uri);
      g_free(uri);
    }
    ChildProgram source(uris);
    source.readLine();
    std::string outcome;
    bool done = false;
    test_support::UserThread thread([&] {
      user::drag(user::waitForWindow("Drag source"), user::waitForWindow("Browser"));
      outcome = source.readLine();
      if (outcome == "accepted") {
        // Once from the view, once from GTK's default behaviour; they must agree.
        outcome = _browser.readLine();
        const std::string second = _browser.readLine();
        EXPECT_EQ(second, outcome);
      }
      g_idle_add([](gpointer flag) -> gboolean { return *static_cast<bool*>(flag) = true, FALSE; },
                 &done);
    });
    while (!done) {
      gtk_main_iteration();
    }
    thread.join();
    return outcome;
  }

  std::unique_ptr<ovOrvaneWebView> _view;
  Delegate _delegate;
  ChildProgram _browser;
  const unsigned long _socket;
};

TEST_F(DropView, handsOverWhatIsAllowedAndRefusesTheWholeDropOtherwise) {
  const std::string odd = "bl ank:\\\"q\xc3\xa9.txt";
  const struct {
    bool allowDirectories, allowMultiple;
    Paths dropped;
    Paths handedOver;
    std::string line;
  } cases[] = {
      {false, false, {"a.txt"}, {"a.txt"}, "File dropped: " + path("a.txt")},
      {false, false, {"a.txt", "b.txt"}, {}, "Multiple file drops disabled. Ignoring drop."},
      {true, false, {"folder"}, {"folder"}, "File dropped: " + path("folder")},
      {false, true, {"a.txt", "folder", "b.txt"}, {}, "Directory drops disabled. Ignoring drop."},
      {false, true, {"http://example.org/a"}, {}, "Failed to convert URI to filename: "},
      {false, false, {"file://some.host" + path("a.txt")}, {"a.txt"}, "URI hostname: some.host"},
      {true, true, {odd, "folder"}, {odd, "folder"}, "File dropped: " + path(odd)}};
  show();
  for (const auto& row : cases) {
    SCOPED_TRACE(row.line);
    initWindow(true, row.allowDirectories, row.allowMultiple);
    _delegate.drops.clear();
    const size_t lines = logLines("LOG " + row.line).size();
    EXPECT_EQ(drop(row.dropped), row.handedOver.empty() ? "refused" : "accepted");
    EXPECT_EQ(logLines("LOG " + row.line).size(), lines + 1);
    Paths expected;
    for (const std::string& name : row.handedOver) {
      expected.push_back(path(name));
    }
    EXPECT_EQ(_delegate.drops,
              expected.empty() ? std::vector<Paths>() : std::vector<Paths>{expected});
  }
  EXPECT_EQ(logLines("Drag-n-Drop enabled").size(), 1u) << "the widgets are built once";
}

TEST_F(DropView, takesNothingUnlessEnabled) {
  show(false);
  EXPECT_EQ(drop({"a.txt"}), "refused");
  EXPECT_TRUE(_delegate.drops.empty());
}

TEST_F(DropView, mayBeDestroyedInsideTheCall) {
  show();
  _delegate.destroyed = &_view;
  EXPECT_EQ(drop({"a.txt"}), "accepted");
  EXPECT_EQ(_view, nullptr);
}

TEST_F(DropView, takesDropsAfterADialogOverTheBrowsersWindow) {
  show();
  Pellion::Web::SaveFileDialog dialog(std::stoul(user::waitForWindow("Browser")), "", "", "");
  dialog.init("");
  test_support::UserThread thread([] { user::cancel("Save As"); });
  dialog.show();
  thread.join();
  EXPECT_EQ(drop({"a.txt"}), "accepted");
  EXPECT_EQ(_delegate.drops.size(), 1u);
}

TEST_F(DropView, showsThePictureAndTakesDropsOnIt) {
  show();
  for (const char* format : {"png", "jpeg"}) {
    GtkWidget* replaced = GTK_WIDGET(g_object_ref(shownWidget()));
    EXPECT_TRUE(handlesDrops(replaced));
    const std::string image = encodedPicture(format);
    _view->setImage(image.data(), image.size());
    EXPECT_TRUE(showsPicture()) << format;
    EXPECT_FALSE(handlesDrops(replaced)) << "a drop on its way would reach a view that may be gone";
    g_object_unref(replaced);
  }
  EXPECT_EQ(drop({"a.txt"}), "accepted");
  EXPECT_EQ(_delegate.drops.size(), 1u);
  EXPECT_TRUE(logged({"Drag-n-Drop enabled", "Last message repeated 2 times"}))
      << "by two pictures";
}

TEST_F(DropView, keepsTheLabelWithoutAWholePicture) {
  show();
  const std::string image = encodedPicture("png");
  _view->setImage(nullptr, 10);
  _view->setImage(image.data(), 0);
  EXPECT_EQ(logLines("ERROR: ").size(), 0u);
  const std::string noise(5000, 'x');
  _view->setImage(noise.data(), noise.size());
  EXPECT_EQ(logLines("LOG ERROR: Unable to write image data to loader.").size(), 1u);
  EXPECT_FALSE(showsPicture());
}

TEST_F(DropView, outlivesTheBrowsersWindow) {
  show();
  ASSERT_NE(shownWidget(), nullptr);
  GList* icons = gtk_window_get_default_icon_list();
  EXPECT_EQ(g_list_length(icons), 1u);
  g_list_free(icons);
  _browser.finish();
  EXPECT_TRUE(test_support::waitFor([] {
    gtk_main_iteration_do(FALSE);
    return shownWidget() == nullptr;
  }));
  const std::string image = encodedPicture("png");
  _view->setImage(image.data(), image.size());
  initWindow(true, true, true);
  _view.reset();
}

using DropViewWithoutScreen = PluginSandbox;

TEST_F(DropViewWithoutScreen, buildsNothing) {
  unsetenv("DISPLAY");
  ovOrvaneWebView view;
  NPWindow window = {};
  window.window = reinterpret_cast<void*>(1234);
  EXPECT_TRUE(view.init(&window, nullptr, true, true, true));
  EXPECT_FALSE(view.init(nullptr, nullptr, true, true, true));
  view.setImage("x", 1);
  EXPECT_EQ(logLines("LOG ERROR: Unable to load pixbuf from image.").size(), 1u);
  EXPECT_EQ(view.handleEvent(nullptr), 0);
}

class Picture : public DropView {
 protected:
  Picture() {
    _stream.url = "http://x/a.png";
    create({{"image", _stream.url}});
    NPWindow window = {};
    window.window = reinterpret_cast<void*>(_socket);
    plugin->setWindow(&window, instance);
  }

  void receive(const std::string& bytes, size_t offset, size_t length) {
    const auto size = static_cast<int32_t>(length);
    EXPECT_EQ(size, plugin->receiveOnStream(&_stream, static_cast<int32_t>(offset), size,
                                            const_cast<char*>(bytes.data() + offset)));
  }
  void endStream(NPReason reason) { EXPECT_TRUE(plugin->destroyStream(&_stream, reason)); }

 private:
  NPStream _stream = {};
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
