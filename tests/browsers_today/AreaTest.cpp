#include <filesystem>

#include "tests/browsers_today/BrowserPage.h"
#include "tests/support/WaitFor.h"

namespace test_support {
namespace {

namespace fs = std::filesystem;

const char kTitle[] = "Take drops.*";

class AreaToday : public BrowserPage {
 protected:
  AreaToday() {
    allow("127.0.0.1");
    allow("localhost");
    for (const char* folder : {"received", "managed", "a folder"}) {
      fs::create_directories(path(folder));
    }
    for (const char* name : {"notes.txt", "qt.txt", "managed/managed.txt", "\u00e4 9:30\n.txt"}) {
      writeFile(path(name), name);
    }
  }

  // Waits for the page's next scene.
  void next() { waitForLine("ready"); }
  std::string uri(const std::string& name) const { return "file://" + path(name); }
  // What the observer hears, and then the event; as JSON.
  static std::string dropped(const std::string& observed, const std::string& event) {
    return "dropped [\"" + observed + R"(","drop","[\")" + event + R"(\"]"])";
  }
  void dropNotes(const std::function<void()>& over = nullptr) {
    drop({DRAG_SOURCE, uri("notes.txt")}, kTitle, over);
  }
  void expectNotes() {
    EXPECT_EQ(waitForLine("dropped"), dropped(path("notes.txt"), path("notes.txt")));
  }
  // A browser overhears clicks that come too soon after a drop.
  static void clickUntil(const std::string& command) {
    ASSERT_TRUE(waitFor([&] {
      user::click();
      return std::system((command + " >/dev/null").c_str()) == 0;
    })) << command;
  }
  void dropFromFileManager(const std::string& folder);
  void dropFromThreeKindsOfPrograms();
  void dropAtOneOfTwo();
  void dropOnAZoomedPage();
  void dropOnTheWholeScreen();
  void dropOnAWindow();
};

// The folder's only file, from the window that shows it.
void AreaToday::dropFromFileManager(const std::string& folder) {
  fs::create_directories(path(".config/pcmanfm/default"));
  writeFile(path(".config/pcmanfm/default/pcmanfm.conf"),
            "[ui]\nwin_width=320\nwin_height=240\nside_pane_mode=hidden;places\n");
  const ChildProgram manager({"pcmanfm", path(folder)}, {path("pcmanfm.log"), path("pcmanfm.log")});
  const user::Point file = {50, 95};
  user::drag(user::waitForWindow(folder), user::waitForWindow(kTitle), nullptr, &file);
  EXPECT_EQ(waitForLine("send"), "send " + path("received/managed.txt"));
}

void AreaToday::dropFromThreeKindsOfPrograms() {
  next();
  EXPECT_TRUE(waitFor([] { return pixels("\\xE1\\xEC\\xF7") > 10000; }));
  takeScreenshot("area");
  dropNotes([this] { takeScreenshot("area-over"); });
  EXPECT_EQ(waitForLine("send"), "send " + path("received/notes.txt"));
  next();
  drop({QT_DRAG_SOURCE, uri("qt.txt")}, kTitle);
  EXPECT_EQ(waitForLine("send"), "send " + path("received/qt.txt"));
  next();
  dropFromFileManager("managed");
  takeScreenshot("area-after");
}

// By a drag that left for the other one and comes back. What is dropped beside them is the page's.
void AreaToday::dropAtOneOfTwo() {
  next();
  dropNotes([] {
    EXPECT_EQ(std::system("xdotool mousemove_relative -- 0 -200 sleep 0.1 "
                          "mousemove_relative 0 200 sleep 0.2"),
              0);
  });
  expectNotes();
  next();
  dropNotes();
  EXPECT_EQ(waitForLine("the page's"), "the page's notes.txt");
}

// At 150 %, in a scroller, and in a frame of another site.
void AreaToday::dropOnAZoomedPage() {
  while (waitForLine("") == "zoom") {
    user::key("ctrl+plus");
  }
  drop({DRAG_SOURCE, uri("a%20folder"), uri("%C3%A4%209:30%0A.txt")}, kTitle);
  EXPECT_EQ(waitForLine("dropped"),
            dropped(path("a folder") + ":" + path("\u00e4 9\\\\:30\\n.txt"),
                    path("a folder") + R"(\",\")" + path("\u00e4 9:30\\n.txt")));
  next();
  dropNotes([this] { takeScreenshot("area-in-frame"); });
  expectNotes();
}

void AreaToday::dropOnTheWholeScreen() {
  next();
  clickUntil("xprop -id " + user::waitForWindow(kTitle) + " _NET_WM_STATE | grep FULLSCREEN");
  next();
  dropNotes([this] { takeScreenshot("area-fullscreen"); });
  expectNotes();
}

// From a program that does not say what it drags: the area offers the window instead.
void AreaToday::dropOnAWindow() {
  next();
  drop({DRAG_SOURCE, "--silent", uri("notes.txt")}, kTitle);
  clickUntil("xdotool search --onlyvisible --name ' - Orvane Web$'");
  takeScreenshot("area-window");
  drop({DRAG_SOURCE, uri("notes.txt")}, "http.* - Orvane Web");
  expectNotes();
  // It ends with the element.
  user::waitForNoWindow(".* - Orvane Web");
}

TEST_P(AreaToday, followsItsBoxShowsThePictureAndTakesDrops) {
  ASSERT_EQ(
      std::system(("convert -size 100x100 'xc:#12AB34' " + path("files/picture.png")).c_str()), 0);
  open(address("area.html"));
  next();
  EXPECT_TRUE(
      waitFor([] { return pixels("\\x12\\xAB\\x34") == 60 * 40; }, std::chrono::seconds(20)));
  go();
  expectDone();
  // The scenes of the page, in its order.
  open(address("drops.html?target=file://" + path("received/")));
  dropFromThreeKindsOfPrograms();
  dropAtOneOfTwo();
  dropOnAZoomedPage();
  dropOnTheWholeScreen();
  dropOnAWindow();
  expectDone();
}

INSTANTIATE_TEST_SUITE_P(Browsers, AreaToday, testing::Values("firefox", "chromium"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
}  // namespace test_support
