#include <signal.h>

#include "tests/browsers_today/BrowserPage.h"
#include "tests/support/WaitFor.h"
#include "tests/support/XDisplay.h"

namespace test_support {
namespace {

// Which programs run beside pages that come, go and fail.
class LifeToday : public BrowserPage {
 protected:
  LifeToday() {
    allow("127.0.0.1");
    allow("localhost");
  }

  void expectHosts(size_t count) {
    EXPECT_TRUE(waitFor([&] { return hosts() == count; })) << hosts() << " and not " << count;
  }

  void killHosts() const {
    for (const pid_t host : running("orvane-web-host")) {
      kill(host, SIGKILL);
    }
  }
};

TEST_P(LifeToday, eachDocumentHasAProgramOfItsOwnAsLongAsItLives) {
  open(address("frames.html"));
  for (int i = 0; i < 4; ++i) {
    waitForLine("frame ");
  }
  expectHosts(5);
  go();
  waitForLine("frames removed");
  expectHosts(1);
  go();
  expectDone();

  open(address("tabs.html"));
  waitForLine("click me");
  user::click();
  EXPECT_EQ(waitForLine("frame "), "frame tab: 3.1");
  expectHosts(2);
  go();
  go();
  expectDone();
  expectHosts(0);

  runPage("reloads.html?times=10&session=yes");
  expectHosts(0);

  open(address("back.html"));
  waitForLine("away");
  expectHosts(0);
  go();
  expectDone();
}

TEST_P(LifeToday, nothingHangsAndNothingStaysWhenAProgramIsKilled) {
  open(address("killed.html"));
  waitForLine("kill between calls");
  expectHosts(1);
  killHosts();
  go();
  waitForLine("kill in a dialog");
  user::waitForWindow("Open");
  killHosts();
  waitForLine("kill the browser");
  user::waitForWindow("Open");
  endBrowser(SIGKILL);
  user::waitForNoWindow("Open");
}

INSTANTIATE_TEST_SUITE_P(Browsers, LifeToday, testing::Values("firefox", "chromium"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
}  // namespace test_support
