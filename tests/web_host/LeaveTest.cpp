#include <gmock/gmock.h>

#include <filesystem>
#include <string>

#include "tests/support/DisplaySandbox.h"
#include "tests/web_host/HostProcess.h"

namespace test_support {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

const char kAsk[] = "Orvane Web";

class LeaveQuestion : public DisplaySandbox {
 protected:
  LeaveQuestion() { setUpHost(home()); }

  static void begin(HostProcess* host, const std::string& origin, bool isPrivate = false) {
    host->greet(origin, origin + "/", isPrivate);
    host->send(makeElement());
    host->send(R"({"n":2,"op":"call","element":1,"name":"initSession","args":["a",""]})");
  }
  static void answer(const std::string& keys) { user::answer(kAsk, keys); }
  std::string sites() const { return readFile(path(".config/orvane-web/sites")); }
};

TEST_F(LeaveQuestion, isAskedBeforeAnythingIsMadeAndKeptAsAnswered) {
  const struct {
    const char *origin, *keys;
    bool isPrivate;
    const char *sites, *told;
    bool allowed;
  } kRows[] = {
      {"https://a.example", "Escape", false, "", nullptr, false},
      {"https://a.example", "alt+t", false, "", nullptr, true},
      {"https://a.example", "alt+t", true, "", nullptr, true},
      {"https://a.example", "alt+a", false, "allow https://a.example\n", "allow", true},
      {"https://a.example:8443", "alt+n", false,
       "allow https://a.example\ndeny https://a.example:8443\n", "deny", false},
      // No question any more.
      {"https://a.example", nullptr, false,
       "allow https://a.example\ndeny https://a.example:8443\n", "allow", true},
      {"https://a.example:8443", nullptr, true,
       "allow https://a.example\ndeny https://a.example:8443\n", "deny", false},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(std::string(row.origin) + " " + (row.keys != nullptr ? row.keys : ""));
    HostProcess host(path("stderr"));
    begin(&host, row.origin, row.isPrivate);
    if (row.keys != nullptr) {
      answer(row.keys);
    }
    std::string received = host.receive();
    if (row.told != nullptr) {
      EXPECT_EQ(received, R"({"tell":"leave","origin":")" + std::string(row.origin) +
                              R"(","leave":")" + row.told + "\"}");
      received = host.receive();
    }
    EXPECT_THAT(received,
                HasSubstr(row.allowed ? R"({"answer":1})"
                                      : R"({"answer":1,"error":"This site is not allowed to )"
                                        R"(use Orvane Web. To allow it, run: )"));
    EXPECT_THAT(host.receive(), HasSubstr(row.allowed ? R"({"answer":2,"value":)"
                                                      : R"({"answer":2,"error":"This site)"));
    EXPECT_EQ(sites(), row.sites);
  }
}

TEST_F(LeaveQuestion, isAskedOnceForAllPagesOfASite) {
  HostProcess first(path("stderr"));
  begin(&first, "https://a.example");
  user::waitForWindow(kAsk);
  HostProcess second(path("stderr"));
  begin(&second, "https://a.example");
  answer("alt+a");
  for (HostProcess* host : {&first, &second}) {
    EXPECT_THAT(host->receive(), HasSubstr(R"("leave":"allow")"));
    EXPECT_EQ(host->receive(), R"({"answer":1})");
  }
}

// The order itself holds 10,000; a call beyond is refused at once, and lets go of its function.
TEST_F(LeaveQuestion, isNoReasonToLoseAPageThatGoesOnCalling) {
  const int kHeld = 10'000;
  HostProcess host(path("stderr"));
  begin(&host, "https://a.example");
  user::waitForWindow(kAsk);
  for (int number = 3; number <= kHeld + 1; ++number) {
    host.send(R"({"n":)" + std::to_string(number) + R"(,"op":"skip"})");
  }
  for (const int number : {kHeld + 2, kHeld + 4}) {
    host.send(R"({"n":)" + std::to_string(number) + R"(,"op":"call","element":1,)" +
              R"("name":"queryVersion","args":[{"v":"object","id":9,"callable":true}]})");
    EXPECT_THAT(host.receive(), HasSubstr(R"("error":"Orvane Web: Too many calls wait)"));
    EXPECT_EQ(host.receive(), R"({"tell":"release","object":9,"mentions":1})");
    host.send(R"({"n":)" + std::to_string(number + 1) + R"(,"op":"end","element":1})");
  }
  answer("alt+t");
  EXPECT_EQ(host.receive(), R"({"answer":1})");
  EXPECT_THAT(host.receive(), HasSubstr(R"({"answer":2,"value":)"));
  for (int number = 3; number <= kHeld + 1; ++number) {
    ASSERT_EQ(host.receive(), R"({"answer":)" + std::to_string(number) + "}");
  }
  EXPECT_EQ(host.receive(), R"({"answer":)" + std::to_string(kHeld + 3) + "}");
  EXPECT_THAT(host.receive(), HasSubstr("The element has ended."));
}

TEST_F(LeaveQuestion, andEveryDialogEndWithTheBrowser) {
  fs::create_directories(path("etc/orvane-web"));
  writeFile(path("etc/orvane-web/sites"), "allow https://a.example\n");
  const struct {
    const char *origin, *window;
  } kRows[] = {{"https://b.example", kAsk}, {"https://a.example", "Open"}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.window);
    HostProcess host(path("stderr"));
    begin(&host, row.origin);
    host.send(R"({"n":3,"op":"call","element":1,"name":"runOpenFileDialog","args":[false,true]})");
    user::waitForWindow(row.window);
    host.closeInput();
    EXPECT_EQ(host.wait(), 0);
    user::waitForNoWindow(row.window);
  }
}

// A dialog blocks its call, not what comes after it.
TEST_F(LeaveQuestion, operationsGoOnBehindADialog) {
  // What the toolkit leaves behind is known by its libraries, which whole call stacks show only.
  addOption("ASAN_OPTIONS", "fast_unwind_on_malloc=0");
  fs::create_directories(path("etc/orvane-web"));
  writeFile(path("etc/orvane-web/sites"), "allow https://a.example\n");
  HostProcess host(path("stderr"));
  host.greet("https://a.example", "https://a.example/");
  host.send(makeElement());
  host.receive();
  host.receive();
  host.send(R"({"n":2,"op":"call","element":1,"name":"runOpenFileDialog","args":[false,true]})");
  user::waitForWindow("Open");
  host.send(R"({"n":3,"op":"make","element":2,"params":[],"width":1,"height":1})");
  host.receive();
  EXPECT_EQ(host.receive(), R"({"answer":3})");
  host.send(R"({"n":4,"op":"end","element":1})");
  EXPECT_EQ(host.receive(), R"({"answer":4})");
  user::cancel("Open");
  EXPECT_EQ(host.receive(), R"({"answer":2,"value":""})");
  host.send(R"({"n":5,"op":"call","element":2,"name":"queryVersion","args":[]})");
  EXPECT_THAT(host.receive(), HasSubstr(R"({"answer":5,"value":)"));
}

}  // namespace
}  // namespace test_support
