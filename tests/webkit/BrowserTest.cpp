#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "tests/support/WaitFor.h"
#include "tests/webkit/WebPage.h"

namespace fs = std::filesystem;
using test_support::readFile;
using test_support::waitFor;

// A browser that people use, with the same engine.
class Browser : public test_support::WebPage {
 protected:
  ~Browser() override { end(); }

  void start(const std::string& address) {
    _process = fork();
    if (_process == 0) {
      execlp("qutebrowser", "qutebrowser", "--backend", "webkit", "--temp-basedir", "-s",
             "content.plugins", "true", address.c_str(), nullptr);
      _exit(127);
    }
  }

  bool isRunning() { return _process > 0 && waitpid(_process, &_status, WNOHANG) == 0; }

  // Its exit status; negative after a signal.
  int end() {
    if (_process > 0) {
      kill(_process, SIGTERM);
      if (!waitFor([this] { return !isRunning(); })) {
        kill(_process, SIGKILL);
        waitpid(_process, &_status, 0);
      }
      _process = -1;
    }
    return WIFEXITED(_status) ? WEXITSTATUS(_status) : -WTERMSIG(_status);
  }

  // The last word of a page, as it told the server.
  std::string lastWord() const {
    for (const std::string& requested : requestedPaths()) {
      if (requested.compare(0, 6, "/said/") == 0) {
        return requested.substr(6);
      }
    }
    return std::string();
  }

 private:
  pid_t _process = -1;
  int _status = 0;
};

TEST_F(Browser, downloadsAFileForAPage) {
  if (std::system("command -v qutebrowser >/dev/null && "
                  "/usr/bin/python3 -c 'import PyQt5.QtWebKitWidgets' 2>/dev/null") != 0) {
    GTEST_SKIP() << "There is no qutebrowser with QtWebKit: install qutebrowser, "
                    "qutebrowser-qtwebkit and python3-pyqt5.qtwebkit";
  }
  makeFile("report.bin", 100000);
  start(httpAddress("browser.html"));
  EXPECT_TRUE(
      waitFor([this] { return !lastWord().empty() || !isRunning(); }, std::chrono::seconds(60)));
  EXPECT_EQ(std::system("import -window root " SCREENSHOT), 0);
  EXPECT_EQ(lastWord(), "0") << "see " SCREENSHOT;
  EXPECT_TRUE(isRunning());
  EXPECT_TRUE(readFile(path("Downloads/report.bin")) == readFile(path("files/report.bin")));
  // It quits in order, and says why.
  EXPECT_EQ(end(), 128 + SIGTERM);
}
