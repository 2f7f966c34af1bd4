#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>

#include "tests/support/WaitFor.h"
#include "tests/webkit/WebPage.h"

using test_support::readFile;
using test_support::waitFor;

// A browser that people use, with the same engine.
class Browser : public test_support::WebPage {
 protected:
  // The last word of a page, as it told the server.
  std::string lastWord() const {
    for (const std::string& requested : requestedPaths()) {
      if (requested.compare(0, 6, "/said/") == 0) {
        return requested.substr(6);
      }
    }
    return std::string();
  }
};

TEST_F(Browser, downloadsAFileForAPage) {
  if (std::system("command -v qutebrowser >/dev/null && "
                  "/usr/bin/python3 -c 'import PyQt5.QtWebKitWidgets' 2>/dev/null") != 0) {
    GTEST_SKIP() << "There is no qutebrowser with QtWebKit: install qutebrowser, "
                    "qutebrowser-qtwebkit and python3-pyqt5.qtwebkit";
  }
  makeFile("report.bin", 100000);
  test_support::ChildProgram browser({"qutebrowser", "--backend", "webkit", "--temp-basedir", "-s",
                                      "content.plugins", "true", httpAddress("browser.html")},
                                     {path("output"), path("output")});
  EXPECT_TRUE(
      waitFor([&] { return !lastWord().empty() || browser.hasEnded(); }, std::chrono::seconds(60)));
  EXPECT_EQ(std::system("import -window root " SCREENSHOT), 0);
  EXPECT_EQ(lastWord(), "0") << "see " SCREENSHOT;
  EXPECT_FALSE(browser.hasEnded());
  EXPECT_TRUE(readFile(path("Downloads/report.bin")) == readFile(path("files/report.bin")));
  // It quits in order, and says why.
  browser.signal(SIGTERM);
  EXPECT_EQ(browser.wait(), 128 + SIGTERM);
}
