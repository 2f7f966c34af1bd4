#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <regex>

#include "tests/docs/Examples.h"
#include "tests/support/WaitFor.h"
#include "tests/webkit/WebPage.h"

namespace fs = std::filesystem;
namespace user = test_support::user;
using test_support::readFile;
using test_support::waitFor;

class Engine : public test_support::WebPage {
 protected:
  // What the engine called for streams, in order.
  std::string streamCalls() const {
    static const std::regex kCall("NPP_(NewStream|Write|DestroyStream)\\(\\)");
    const std::string log = logText();
    std::string calls;
    for (std::sregex_iterator call(log.begin(), log.end(), kCall), end; call != end; ++call) {
      calls += call->str(1) + " ";
    }
    return calls;
  }

  void clearLog() const {
    for (const auto& entry : fs::directory_iterator(dataPath("var/log"))) {
      fs::remove(entry);
    }
  }

  // A reload more or less must not show in the process.
  void expectNothingStaysBehind(const std::string& address, int loads, int seconds) {
    open(address, seconds);
    waitForLine("load 5");
    const size_t threads = countOfHost("task");
    const size_t descriptors = countOfHost("fd");
    waitForLine("load " + std::to_string(loads));
    waitForLine("settled");
    EXPECT_LT(countOfHost("task"), threads + 5);
    EXPECT_LT(countOfHost("fd"), descriptors + 10);
    expectDone();
  }
};

TEST_F(Engine, offersThePluginsWholeSurfaceToAPage) {
  runPage(fileAddress("surface.html"));
  runPage(httpAddress("surface.html"));
}

TEST_F(Engine, pinsApplicationIdsToThePagesHost) {
  runPage(fileAddress("pinning.html?host=localhost"));
  runPage(httpAddress("pinning.html?host=127.0.0.1"));
  runPage(httpAddress("pinning.html?host=localhost", "localhost"));
}

TEST_F(Engine, passesRequestsThroughAndTellsThePageOfTransfers) {
  for (const char* name : {"one.bin", "two.bin", "three.bin"}) {
    makeFile(name, 200000);
  }
  fs::create_directory(path("received"));
  for (const auto& address : {fileAddress("requests.html"), httpAddress("requests.html")}) {
    runPage(address + "?source=" + httpAddress("files/") + "&upload=" + path("files/one.bin") +
            "&target=file://" + path("received/"));
    EXPECT_EQ(readFile(path("received/one.bin")), readFile(path("files/one.bin")));
    for (const char* name : {"one.bin", "two.bin", "three.bin"}) {
      EXPECT_EQ(readFile(path("Downloads/") + name), readFile(path("files/") + name)) << name;
    }
    fs::remove_all(path("Downloads"));
    fs::remove(path("received/one.bin"));
    endApplication();
  }
  EXPECT_THAT(requestedPaths(), testing::Not(testing::Contains("/files/never.bin")));
}

// Made a plain script as the documentation says: the engine knows neither modules nor `await`.
TEST_F(Engine, runsTheModuleWithPromises) {
  const std::string module = docs::readProjectFile("web/orvane-web.mjs");
  test_support::writeFile(path("files/orvane-web.js"),
                          std::regex_replace(module, std::regex("\nexport "), "\n"));
  makeFile("one.bin", 30000);
  fs::create_directory(path("received"));
  open(httpAddress("promises.html?source=") + httpAddress("files/one.bin") +
       "&upload=" + path("files/one.bin") + "&target=file://" + path("received/"));
  waitForLine("dialog");
  user::cancel("Save");
  expectDone();
}

TEST_F(Engine, keepsInstancesApart) {
  runPage(fileAddress("instances.html"));
}

// Not inside a drop observer's call: the engine never shows the drop area.
TEST_F(Engine, survivesTheRemovalOfItsElementAtAnyMoment) {
  open(httpAddress("removal.html"));
  waitForLine("dialog: save for the dead");
  user::choosePath("Save As", path("new"));
  waitForLine("dialog: choose for the dead");
  user::cancel("Second");
  user::waitForNoWindow("Second");
  user::choosePath("Late", path("files"));
  expectDone();
}

TEST_F(Engine, survivesReloads) {
  expectNothingStaysBehind(httpAddress("reloads.html?times=200"), 200, 100);
  expectNothingStaysBehind(fileAddress("reloads.html?times=20&session=yes"), 20, 100);
}

TEST_F(Engine, survivesAPageThatThrowsInEveryCallback) {
  runPage(httpAddress("throwing.html"));
}

TEST_F(Engine, keepsWhatItsGettersAnswerAlive) {
  runPage(fileAddress("getters.html"));
}

// The engine hands over what `src` names; it never asks for the picture of an area it cannot show.
TEST_F(Engine, takesOnlyTheStreamThatIsItsPicture) {
  makeFile("picture.png", 20000);
  const std::string picture = httpAddress("files/picture.png");
  const std::string file = "file://" + path("files/picture.png");
  const std::string taken = "NewStream Write Write Write DestroyStream ";
  const struct {
    std::string page, src, image, expected;
  } kRows[] = {
      {httpAddress(""), "files/picture.png", picture, taken},
      {httpAddress(""), picture, "files/picture.png", "NewStream Write DestroyStream "},
      {httpAddress(""), httpAddress("missing"), "missing", "NewStream DestroyStream "},
      {fileAddress(""), file, file, taken},
      {httpAddress(""), "", httpAddress("files/never.png"), ""},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.src + " for " + row.image);
    clearLog();
    open(row.page + "streams.html?src=" + row.src + "&image=" + row.image +
         "&told=" + httpAddress("told.js"));
    EXPECT_TRUE(waitFor([&] { return streamCalls() == row.expected; })) << streamCalls();
    tell("finish()");
    expectDone();
    EXPECT_EQ(streamCalls(), row.expected);
  }
  EXPECT_THAT(requestedPaths(), testing::Not(testing::Contains("/files/never.png")));
}

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
