#include "tests/browsers_today/BrowserPage.h"
#include "tests/support/WaitFor.h"

namespace test_support {
namespace {

std::string outputOf(const std::string& command) {
  return ChildProgram({"sh", "-c", command}).readLine();
}

class AreaToday : public BrowserPage {
 protected:
  AreaToday() { allow("127.0.0.1"); }

  // How many pixels of the screen have a colour that nothing but the picture has.
  static std::string pixelsOfThePicture() {
    return outputOf(
        "import -window root -depth 8 rgb:- | python3 -c 'import sys; "
        "screen = sys.stdin.buffer.read(); "
        "print([screen[i:i + 3] for i in range(0, len(screen), 3)].count(b\"\\x12\\xab\\x34\"))'");
  }
};

TEST_P(AreaToday, followsItsBoxShowsThePictureAndTakesADrop) {
  ASSERT_EQ(
      outputOf("convert -size 100x100 'xc:#12AB34' " + path("files/picture.png") + "; echo $?"),
      "0");
  writeFile(path("notes.txt"), "noted");
  open(address("area.html"));
  waitForLine("ready");
  EXPECT_TRUE(waitFor([] { return pixelsOfThePicture() == std::to_string(60 * 40); },
                      std::chrono::seconds(20)))
      << pixelsOfThePicture();
  ChildProgram source({DRAG_SOURCE, "file://" + path("notes.txt")});
  ASSERT_EQ(source.readLine(), "ready");
  user::drag(user::waitForWindow("Drag source"),
             outputOf("xdotool search --onlyvisible --name '^Take a drop'"),
             [this] { takeScreenshot("over-the-area"); });
  EXPECT_EQ(source.readLine(), "accepted");
  EXPECT_EQ(waitForLine("dropped "), "dropped " + path("notes.txt"));
  expectDone();
}

INSTANTIATE_TEST_SUITE_P(Browsers, AreaToday, testing::Values("firefox", "chromium"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
}  // namespace test_support
