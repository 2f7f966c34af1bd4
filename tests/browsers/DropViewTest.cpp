#include <gtk/gtk.h>
#include <gtk/gtkplug.h>

#include <filesystem>
#include <memory>

#include "browsers/npapi_common/ovIOrvaneWebViewDelegate.h"
#include "browsers/npapi_common/ovOrvaneWebView.h"
#include "os/src/SaveFileDialog.h"
#include "ovlib/ovlog.h"
#include "tests/browsers/ShownPicture.h"
#include "tests/support/ChildProgram.h"
#include "tests/support/DisplaySandbox.h"
#include "tests/support/WaitFor.h"

namespace user = test_support::user;
using test_support::ChildProgram;
using Paths = std::vector<std::string>;

namespace {

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

}  // namespace

class DropView : public test_support::DisplaySandbox {
 protected:
  DropView() : _browser({SOCKET_WINDOW}), _socket(std::stoul(_browser.readLine())) {
    ov_log_init(OV_LOG_FILE, dataPath("var/log/orvane-pellion-browser-plugin.log").c_str());
    ov_dbg_set(3);
    ov_dbg_set_all(3);
    for (const char* name : {"a.txt", "b.txt", "bl ank:\\\"q\xc3\xa9.txt"}) {
      test_support::writeFile(path(name), name);
    }
    std::filesystem::create_directory(path("folder"));
  }

  ~DropView() override { ov_log_cleanup(); }

  void show(bool enableDrop, bool allowDirectories, bool allowMultiple) {
    _view = std::make_unique<ovOrvaneWebView>();
    _view->setDelegate(&_delegate);
    initWindow(enableDrop, allowDirectories, allowMultiple);
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

  static std::string uriOf(const std::string& path) {
    gchar* uri = g_filename_to_uri(path.c_str(), nullptr, nullptr);
    std::string result(uri);
    g_free(uri);
    return result;
  }

  // Drags the URIs onto the view; whether it took them.
  std::string dropUris(std::vector<std::string> uris) {
    uris.insert(uris.begin(), DRAG_SOURCE);
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

  std::string drop(const Paths& names) {
    std::vector<std::string> uris;
    for (const std::string& name : names) {
      uris.push_back(uriOf(path(name)));
    }
    return dropUris(uris);
  }

  std::unique_ptr<ovOrvaneWebView> _view;
  Delegate _delegate;
  ChildProgram _browser;

 private:
  const unsigned long _socket;
};

TEST_F(DropView, handsOverOneFileAndRefusesWhatIsNotAllowed) {
  show(true, false, false);
  EXPECT_EQ(drop({"a.txt"}), "accepted");
  EXPECT_EQ(_delegate.drops, std::vector<Paths>{{path("a.txt")}});
  _delegate.drops.clear();

  EXPECT_EQ(drop({"a.txt", "b.txt"}), "refused");
  EXPECT_EQ(logLines("LOG Multiple file drops disabled. Ignoring drop.").size(), 1u);
  EXPECT_EQ(drop({"folder"}), "refused");
  EXPECT_EQ(logLines("LOG Directory drops disabled. Ignoring drop.").size(), 1u);
  EXPECT_EQ(dropUris({"http://example.org/a"}), "refused");
  EXPECT_EQ(logLines("LOG Failed to convert URI to filename: ").size(), 1u);
  EXPECT_TRUE(_delegate.drops.empty());
}

TEST_F(DropView, refusesTheWholeDropForOneFolderAmongFiles) {
  show(true, false, true);
  EXPECT_EQ(drop({"a.txt", "folder", "b.txt"}), "refused");
  EXPECT_TRUE(_delegate.drops.empty());
}

TEST_F(DropView, handsOverSeveralItemsInOrderWithTheirRealNames) {
  show(true, true, true);
  const std::string odd = "bl ank:\\\"q\xc3\xa9.txt";
  EXPECT_EQ(drop({odd, "folder", "a.txt"}), "accepted");
  EXPECT_EQ(_delegate.drops, std::vector<Paths>({{path(odd), path("folder"), path("a.txt")}}));
}

TEST_F(DropView, deliversAUriThatNamesAHost) {
  show(true, false, false);
  EXPECT_EQ(dropUris({"file://some.host" + path("a.txt")}), "accepted");
  EXPECT_EQ(_delegate.drops, std::vector<Paths>{{path("a.txt")}});
  EXPECT_EQ(logLines("LOG URI hostname: some.host").size(), 1u);
}

TEST_F(DropView, takesNothingUnlessEnabled) {
  show(false, true, true);
  EXPECT_EQ(drop({"a.txt"}), "refused");
  EXPECT_TRUE(_delegate.drops.empty());
}

TEST_F(DropView, refreshesItsFlagsForTheSameWindow) {
  show(true, false, false);
  initWindow(true, true, true);
  EXPECT_EQ(logLines("Drag-n-Drop enabled").size(), 1u) << "the widgets are built once";
  EXPECT_EQ(drop({"a.txt", "folder"}), "accepted");
}

TEST_F(DropView, mayBeDestroyedInsideTheCall) {
  show(true, false, false);
  _delegate.destroyed = &_view;
  EXPECT_EQ(drop({"a.txt"}), "accepted");
  EXPECT_EQ(_view, nullptr);
}

TEST_F(DropView, takesDropsAfterADialogOverTheBrowsersWindow) {
  show(true, false, false);
  Pellion::Web::SaveFileDialog dialog(std::stoul(user::waitForWindow("Browser")), "", "", "");
  dialog.init("");
  test_support::UserThread thread([] { user::cancel("Save As"); });
  dialog.show();
  thread.join();
  EXPECT_EQ(drop({"a.txt"}), "accepted");
  EXPECT_EQ(_delegate.drops.size(), 1u);
}

TEST_F(DropView, showsThePictureAndTakesDropsOnIt) {
  show(true, false, false);
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
}

TEST_F(DropView, keepsTheLabelWithoutAWholePicture) {
  show(true, false, false);
  const std::string image = encodedPicture("png");
  _view->setImage(nullptr, 10);
  _view->setImage(image.data(), 0);
  EXPECT_EQ(logLines("ERROR: ").size(), 0u);
  const std::string noise(5000, 'x');
  _view->setImage(noise.data(), noise.size());
  EXPECT_EQ(logLines("LOG ERROR: Unable to write image data to loader.").size(), 1u);
  _view->setImage(image.data(), 20);
  EXPECT_EQ(logLines("LOG ERROR: Unable to load pixbuf from image.").size(), 1u);
  EXPECT_FALSE(showsPicture());
}

TEST_F(DropView, outlivesTheBrowsersWindow) {
  show(true, false, false);
  ASSERT_NE(shownWidget(), nullptr);
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

TEST_F(DropView, givesAllWindowsTheIcon) {
  show(false, false, false);
  GList* icons = gtk_window_get_default_icon_list();
  ASSERT_EQ(g_list_length(icons), 1u);
  EXPECT_EQ(gdk_pixbuf_get_width(GDK_PIXBUF(icons->data)), 64);
  g_list_free(icons);
}

TEST(DropViewWithoutScreen, buildsNothing) {
  unsetenv("DISPLAY");
  ovOrvaneWebView view;
  NPWindow window = {};
  window.window = reinterpret_cast<void*>(1234);
  EXPECT_TRUE(view.init(&window, nullptr, true, true, true));
  EXPECT_FALSE(view.init(nullptr, nullptr, true, true, true));
  view.setImage("x", 1);
  EXPECT_EQ(view.handleEvent(nullptr), 0);
}
