#include <gmock/gmock.h>
#include <signal.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/page_host/PageRunner.h"
#include "tests/support/WaitFor.h"
#include "tests/support/XDisplay.h"

// clang-format off
// After the others, whose names its macros would replace.
#include <X11/Xlib.h>
#include <X11/Xutil.h>
// clang-format on

namespace test_support {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

const char kTitle[] = "page.js - Orvane Page Host";

class PageWindow : public PageRunner {
 protected:
  PageWindow() : _connection(XOpenDisplay(nullptr)) {}
  ~PageWindow() override { XCloseDisplay(_connection); }

  // As a window manager asks it when the user clicks on the cross.
  void closeWindow() {
    XEvent event = {};
    event.xclient.type = ClientMessage;
    event.xclient.window = window();
    event.xclient.message_type = XInternAtom(_connection, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] =
        static_cast<long>(XInternAtom(_connection, "WM_DELETE_WINDOW", False));
    XSendEvent(_connection, event.xclient.window, False, NoEventMask, &event);
    XFlush(_connection);
  }

  // As another program does.
  void destroyWindow() {
    XDestroyWindow(_connection, window());
    XFlush(_connection);
  }

  // As xkill does.
  void killClient() {
    XKillClient(_connection, window());
    XFlush(_connection);
  }

  static Window window() { return std::stoul(user::waitForWindow(kTitle)); }

  // Red, green and blue of a point of the page's window.
  unsigned long colorAt(int x, int y) {
    XImage* image = XGetImage(_connection, window(), x, y, 1, 1, AllPlanes, ZPixmap);
    const unsigned long color = XGetPixel(image, 0, 0) & 0xFFFFFF;
    XDestroyImage(image);
    return color;
  }

  // The plugin areas in the window, as sizes, and which of them holds a plug.
  std::string areas() {
    std::string text;
    for (const Window area : children(window())) {
      XWindowAttributes at;
      XGetWindowAttributes(_connection, area, &at);
      if (at.width > 1) {
        text += std::to_string(at.width) + "x" + std::to_string(at.height) +
                (children(area).empty() ? " empty;" : ";");
      }
    }
    return text;
  }

  // The window's process; 0 when there is none.
  pid_t child() const {
    const std::string pid = std::to_string(process().pid());
    return std::atoi(readFile("/proc/" + pid + "/task/" + pid + "/children").c_str());
  }

  bool printed(const std::string& text) const { return output().find(text) != std::string::npos; }

 private:
  std::vector<Window> children(Window parent) {
    Window root;
    Window above;
    Window* list = nullptr;
    unsigned count = 0;
    XQueryTree(_connection, parent, &root, &above, &list, &count);
    const std::vector<Window> windows(list, list + count);
    XFree(list);
    return windows;
  }

  XDisplay _screen;
  Display* _connection;
};

TEST_F(PageWindow, embedsThePlugAndTellsTheModuleItsWindow) {
  startPage(
      "console.log(plugin.history()); console.log(plugin.describeBrowser());"
      "page.progress('a', 0.5, 'half'); console.log('ready', page.hasWindow);",
      {"--window", "--width", "300", "--height", "120"});
  ASSERT_TRUE(waitFor([&] { return printed("ready true"); }));
  EXPECT_THAT(output(), HasSubstr("SetWindow:window:300x120:screen\n"));
  EXPECT_THAT(output(), HasSubstr(" window " + std::to_string(window()) + "/0 "));
  EXPECT_TRUE(waitFor([&] { return areas() == "300x120;"; })) << areas();
  // The heading, the plug's own colour in the area, and the half of a bar that is done.
  EXPECT_EQ(colorAt(280, 5), 0x1e3a5fUL);
  EXPECT_TRUE(waitFor([&] { return colorAt(150, 70) == 0x00aa55; }));
  EXPECT_TRUE(waitFor([&] { return colorAt(60, 200) == 0x2f7de1; }));
  // The window's process has none of the page's files.
  const std::filesystem::directory_iterator files("/proc/" + std::to_string(child()) + "/fd");
  for (const auto& file : files) {
    EXPECT_NE(std::filesystem::read_symlink(file), path("page.js"));
  }
  closeWindow();
  const PageResult result = finishPage();
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
}

TEST_F(PageWindow, givesEachInstanceAnAreaOfItsOwn) {
  startPage(
      "setTimeout(() => { window.second = createPlugin({}); console.log('two'); }, 1);"
      "const poll = setInterval(() => { if (page.exists(page.args.go)) {"
      "  clearInterval(poll); destroyPlugin(plugin); console.log('one'); } }, 10);",
      {"--window", "--width", "200", "--height", "80", "--arg", "go=" + path("go")});
  ASSERT_TRUE(waitFor([&] { return areas() == "200x80;200x80;"; })) << areas();
  writeFile(path("go"), "");
  ASSERT_TRUE(waitFor([&] { return printed("one"); }));
  EXPECT_TRUE(waitFor([&] { return areas() == "200x80;"; })) << areas();
}

TEST_F(PageWindow, closesWithThePageOrStaysOpenWhenAsked) {
  const PageResult closed = runPage("setTimeout(() => quit(7), 50);", {"--window"});
  EXPECT_EQ(closed.code, 7);
  user::waitForNoWindow(kTitle);

  // The time limit is the page's, not the user's.
  startPage("console.log('done'); quit(7);", {"--window", "--keep-open", "--timeout", "1.5"});
  ASSERT_TRUE(waitFor([&] { return printed("done"); }));
  EXPECT_FALSE(waitFor([&] { return child() == 0; }, std::chrono::milliseconds(3700)));
  closeWindow();
  EXPECT_EQ(finishPage().code, 7);
}

TEST_F(PageWindow, endsThePageWithASentenceWhenItIsLost) {
  const struct {
    const char* what;
    std::function<void()> lose;
  } kRows[] = {
      {"the window's process has ended unexpectedly", [&] { kill(child(), SIGKILL); }},
      {"the window's process does not answer", [&] { kill(child(), SIGSTOP); }},
      {"another program has destroyed the window", [&] { destroyWindow(); }},
      {"another program has destroyed the window", [&] { killClient(); }},
  };
  setenv("PROBE_TRACE", "1", 1);
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.what);
    startPage("setInterval(() => { console.log('ready'.padEnd(5000)); }, 1);", {"--window"});
    ASSERT_TRUE(waitFor([&] { return printed("ready") && child() > 0; }));
    row.lose();
    const PageResult result = finishPage();
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.err, std::string("orvane-page-host: ") + row.what + "\n");
    EXPECT_THAT(result.out, HasSubstr("SetWindow:0:0x0\nDestroy\n"));
  }
}

TEST_F(PageWindow, goesWithAPageThatHangs) {
  const PageResult result = runPage("plugin.hang();", {"--window", "--timeout", "1"});
  EXPECT_EQ(result.code, 124);
  EXPECT_THAT(result.err,
              StartsWith("orvane-page-host: the page was still running after 1 second"));
  user::waitForNoWindow(kTitle);
}

}  // namespace
}  // namespace test_support
