#include <gmock/gmock.h>

#include "tests/browsers_today/BrowserPage.h"
#include "tests/support/WaitFor.h"
#include "tests/support/XDisplay.h"

namespace test_support {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class LeaveToday : public BrowserPage {};

TEST_P(LeaveToday, isAskedOfTheUserBeforeAnythingHappensForASite) {
  open(address("leave.html"));
  waitForLine("asking");
  user::waitForWindow("Orvane Web");
  EXPECT_EQ(hosts(), 1u);
  takeScreenshot("question");
  answer("Escape");
  EXPECT_THAT(waitForLine("answer: "),
              StartsWith("answer: Error: This site is not allowed to use Orvane Web."));
  EXPECT_EQ(waitForLine("list: "), "list: 0");
  expectDone();
  EXPECT_TRUE(running("orvanepellion").empty());

  open(address("leave.html"));
  waitForLine("asking");
  answer("alt+a");
  EXPECT_EQ(waitForLine("answer: "), "answer: 3.2.0");
  expectDone();
  EXPECT_EQ(running("orvanepellion").size(), 1u);
  EXPECT_EQ(readFile(path(".config/orvane-web/sites")),
            "allow " + address("").substr(0, address("").size() - 1) + "\n");

  // Kept, and the plugin is listed from now on.
  open(address("leave.html"));
  EXPECT_EQ(waitForLine("answer: "), "answer: 3.2.0");
  EXPECT_EQ(waitForLine("list: "), "list: 1");
  expectDone();
}

// What a page's server may forbid, and what then becomes of a call.
TEST_P(LeaveToday, doesNotNeedThePolicyOfAPage) {
  allow("127.0.0.1");
  const std::string forbidden =
      "Error: Orvane Web: this page forbids synchronous requests (its Content-Security-Policy or "
      "Permissions-Policy). Use the methods that end in Async.";
  const std::string none =
      "Content-Security-Policy=default-src 'none'; script-src 'unsafe-inline' 'self'; "
      "img-src 'self'";
  const struct {
    std::string policy, firefox, chromium;
  } kRows[] = {
      {none, forbidden, "3.1"},
      {"Content-Security-Policy=default-src 'self' 'unsafe-inline'", "3.1", "3.1"},
      {"Permissions-Policy=sync-xhr=()", "3.1", forbidden},
      {"Content-Security-Policy=sandbox allow-scripts; img-src *",
       "Error: This site is not allowed to use Orvane Web: ",
       "Error: This site is not allowed to use Orvane Web: "},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.policy);
    open(address("policy/policy.html?policy=" + httplib::detail::encode_query_param(row.policy)));
    const std::string& first = isFirefox() ? row.firefox : row.chromium;
    EXPECT_THAT(waitForLine("answer: "), StartsWith("answer: " + first));
    // A page may make its policy stricter at any time, which Chromium's extension does not mind.
    if (first == "3.1") {
      EXPECT_EQ(waitForLine("with 'self': "), "with 'self': 3.1");
      EXPECT_EQ(waitForLine("with 'none': "), "with 'none': " + (isFirefox() ? forbidden : first));
    }
    EXPECT_THAT(waitForLine("later: "), HasSubstr("Orvane"));
    expectDone();
  }
}

INSTANTIATE_TEST_SUITE_P(Browsers, LeaveToday, testing::Values("firefox", "chromium"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
}  // namespace test_support
