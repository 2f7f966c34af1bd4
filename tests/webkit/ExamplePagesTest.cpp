#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>

#include "tests/docs/Examples.h"
#include "tests/support/WaitFor.h"
#include "tests/webkit/WebPage.h"

namespace fs = std::filesystem;
namespace user = test_support::user;
using test_support::readFile;
using test_support::waitFor;

// The example pages, with a user who reads them and does what is to be done.
class ExamplePages : public test_support::WebPage {
 protected:
  ExamplePages() {
    makeFile("report.bin", 2000000);
    fs::create_directory(path("folder"));
  }

  void use(const std::string& address) {
    open(address, 60, "example_user.js");
    const std::string prefix = "user: ";
    for (std::string step; (step = waitForLine(prefix).substr(prefix.size())) != "done";) {
      act(step);
    }
    expectDone();
  }

  std::string source() const { return httpAddress("files/report.bin"); }

  void expectReceived(const std::string& name) {
    EXPECT_TRUE(waitFor([&] { return readFile(path(name)) == readFile(path("files/report.bin")); }))
        << name;
  }

 private:
  static void xdotool(const std::string& arguments) {
    ASSERT_EQ(std::system(("xdotool " + arguments).c_str()), 0) << arguments;
  }

  static void click(const std::string& place) {
    xdotool("mousemove --window " + user::waitForWindow("orvane-webkit-host") + " " + place +
            " click 1");
  }

  void act(const std::string& step) {
    const size_t blank = step.find(' ');
    const std::string what = step.substr(0, blank);
    const std::string object = step.substr(blank + 1);
    if (what == "click") {
      click(_clicked = object);
    } else if (what == "await") {
      // For each of the two, the picture comes in three pieces; had the plugin refused it, in one.
      EXPECT_TRUE(waitFor([&] { return logLines(object).size() == 6; }));
    } else if (what == "type") {
      user::key("ctrl+a");
      user::type(object);
    } else {
      // A click on the page has given it the keys.
      const size_t bar = object.find('|');
      const std::string title = object.substr(0, bar);
      // A click that comes while the dialog before is still going can be lost: users click again.
      if (!user::hasWindow(title, std::chrono::seconds(10))) {
        click(_clicked);
      }
      xdotool("windowfocus " + user::waitForWindow(title));
      what == "choose" ? user::choosePath(title, object.substr(bar + 1)) : user::cancel(title);
    }
  }

  std::string _clicked;
};

// What the documentation tells a new user to save and to open.
TEST_F(ExamplePages, letANewUserDownloadAFile) {
  test_support::writeFile(path("first.html"), docs::firstPage("docs/page-api.md"));
  use("file://" + path("first.html?source=") + source());
  expectReceived("Downloads/report.bin");
}

TEST_F(ExamplePages, openASessionAndSendRequests) {
  use(fileAddress("../../../examples/session.html"));
}

TEST_F(ExamplePages, showTheProgressOfTransfersToTheirEnd) {
  test_support::writeFile(dataPath("etc/orvanepellion.conf"), "rate_limit = 1000000\n");
  use(fileAddress("../../../examples/transfers.html?source=") + source() + "&target=file://" +
      path("folder/") + "&file=" + path("files/report.bin"));
  expectReceived("Downloads/report.bin");
  expectReceived("folder/report.bin");
}

TEST_F(ExamplePages, downloadToWhatWasChosenInDialogs) {
  use(httpAddress("examples/dialogs.html?source=") + source() + "&target=" + path("target.bin") +
      "&folder=" + path("folder") + "&file=" + path("files/report.bin"));
  expectReceived("folder/report.bin");
  expectReceived("target.bin");
}

TEST_F(ExamplePages, makeDropZonesWithAPicture) {
  use(httpAddress("examples/drop-zone.html?target=file://") + path("folder/"));
}

TEST_F(ExamplePages, sayWhatIsMissingWithoutThePlugin) {
  setenv("MOZ_PLUGIN_PATH", path("folder").c_str(), 1);
  if (fs::exists("/usr/lib/mozilla/plugins/nporvaneweb.so")) {
    GTEST_SKIP() << "The module is installed on this machine";
  }
  for (const char* name : {"session", "transfers", "dialogs", "drop-zone"}) {
    use(httpAddress("examples/") + name +
        ".html?missing=The%20Orvane%20Web%20plugin%20is%20missing.");
  }
}
