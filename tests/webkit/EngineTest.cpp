#include <gmock/gmock.h>

#include <filesystem>
#include <regex>

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
    const size_t threads = countHostThreads();
    const size_t descriptors = countHostDescriptors();
    waitForLine("load " + std::to_string(loads));
    waitForLine("settled");
    EXPECT_LT(countHostThreads(), threads + 5);
    EXPECT_LT(countHostDescriptors(), descriptors + 10);
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

TEST_F(Engine, letsAUserChooseInDialogs) {
  makeFile("report.bin", 100000);
  fs::create_directories(path("chosen/below"));
  fs::create_directory(path("target"));
  for (const char* name : {"file.txt", "below/a", "below/b"}) {
    test_support::writeFile(path("chosen/") + name, "x");
  }
  const std::string below = path("chosen/below");
  const std::string target = path("target/new file.bin");
  open(httpAddress("dialogs.html?file=" + path("chosen/file.txt") + "&folder=" + below +
                   "&several=" + below + "/a:" + below + "/b&target=" + target +
                   "&source=" + httpAddress("files/report.bin")));
  waitForLine("dialog: choose the file");
  user::choosePath("Open", path("chosen/file.txt"));
  waitForLine("dialog: cancel opening");
  user::cancel("Open");
  waitForLine("dialog: choose all of the folder");
  user::chooseAllIn("Open", below);
  waitForLine("dialog: choose the folder");
  user::choosePath("Select Folder", below);
  waitForLine("dialog: save");
  user::choosePath("Save As", target);

  waitForLine("dialog: choose the file for the titled one");
  user::choosePath("Ein T\u00edtel", path("chosen/file.txt"));
  waitForLine("dialog: cancel opening again");
  user::cancel("Open");
  waitForLine("dialog: choose the folder again");
  user::choosePath("Select Folder", below);
  waitForLine("dialog: cancel saving");
  user::cancel("Save As");
  waitForLine("dialog: replace the file");
  user::choosePath("Save As", path("chosen/file.txt"));
  user::answerOverwrite(true);
  expectDone();
  for (const std::string& received : {below + "/report.bin", target}) {
    EXPECT_TRUE(waitFor([&] { return readFile(received) == readFile(path("files/report.bin")); }))
        << received;
  }
}

TEST_F(Engine, keepsInstancesApart) {
  runPage(fileAddress("instances.html"));
}

// Not inside a drop observer's call: the engine never shows the drop area. The tests of the
// documentation do that, with the page host.
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

TEST_F(Engine, survivesReloadsWithoutASession) {
  expectNothingStaysBehind(httpAddress("reloads.html?times=200"), 200, 100);
}

TEST_F(Engine, survivesReloadsWithASession) {
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
  test_support::writeFile(path("files/empty.png"), "");
  const std::string http = httpAddress("files/");
  const std::string file = "file://" + path("files/");
  const struct {
    const char* label;
    std::string page, src, image;
    const char* expected;
  } kRows[] = {
      {"the picture", httpAddress(""), http + "picture.png", http + "picture.png",
       "NewStream Write Write Write DestroyStream "},
      {"the picture, by a relative address", httpAddress(""), "files/picture.png",
       http + "picture.png", "NewStream Write Write Write DestroyStream "},
      {"a picture with a relative address", httpAddress(""), http + "picture.png",
       "files/picture.png", "NewStream Write DestroyStream "},
      {"a missing picture", httpAddress(""), http + "missing", http + "missing",
       "NewStream DestroyStream "},
      {"the picture in a file", fileAddress(""), file + "picture.png", file + "picture.png",
       "NewStream Write Write Write DestroyStream "},
      {"a picture without a byte", fileAddress(""), file + "empty.png", file + "empty.png",
       "NewStream DestroyStream "},
      {"a picture that is never asked for", httpAddress(""), "", http + "never.png", ""},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.label);
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

TEST_F(Engine, survivesItsRemovalInTheMiddleOfAStream) {
  const std::string endless = httpAddress("endless");
  open(httpAddress("streams.html?src=" + endless + "&image=" + endless +
                   "&told=" + httpAddress("told.js")));
  EXPECT_TRUE(waitFor([&] { return logLines("NPP_Write()").size() > 3; }));
  tell("finish()");
  expectDone();
}
