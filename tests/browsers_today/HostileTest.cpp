#include "tests/browsers_today/BrowserPage.h"

namespace test_support {
namespace {

class HostileToday : public BrowserPage {};

// The page's own checks say what it could not do; here, that it hurt nobody.
TEST_P(HostileToday, pagesReachNothingThatTheyCouldNotCallByRight) {
  allow("127.0.0.1");
  allow("a.localhost");
  open(address(
      "policy/hostile.html?policy=Content-Security-Policy-Report-Only%3Dconnect-src%20'none'"));
  waitForLine("begun");
  const auto hosts = running("orvane-web-host");
  EXPECT_EQ(hosts.size(), 1u);
  go();
  waitForLine("over");
  EXPECT_EQ(running("orvane-web-host"), hosts) << "the program beside the browser did not survive";
  go();
  expectDone();

  runPage("replaced.html");
  runPage("pinning.html?host=127.0.0.1");

  // Six documents of origins that nobody has allowed: the user is asked for each, and says no.
  PageServer other(path("others"), {PAGES});
  other.start();
  open(address("alike.html?other=" + other.origin("a.localhost"), "localhost"));
  for (int i = 0; i < 6; ++i) {
    answer("Escape");
  }
  expectDone();
}

INSTANTIATE_TEST_SUITE_P(Browsers, HostileToday, testing::Values("firefox", "chromium"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
}  // namespace test_support
