#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <future>

#include "plugin/src/LaunchedProcess.h"
#include "plugin/src/Pellion.h"
#include "plugin/src/Url.h"
#include "plugin/src/Utils.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/WaitFor.h"

namespace {

using test_support::httpResponse;
using test_support::readFile;
using test_support::ScriptedServer;
using test_support::waitFor;
using test_support::writeFile;

const char kVersionRequest[] =
    "GET /v4/pellion/version HTTP/1.1\r\n"
    "Connection: close\r\n"
    "Content-Length: 0\r\n"
    "Content-Type: application/vnd.orvane.xferreq+json\r\n"
    "User-Agent: Orvane Pellion\r\n"
    "\r\n";

// Shell lines of launched scripts. A script that stays ends with the test's home directory.
const char kStay[] = "while [ -e \"$HOME/stay\" ]; do sleep 0.02; done\n";

int closedPort() {
  return ScriptedServer(std::string()).port();
}

class PellionApp : public test_support::Sandbox {
 protected:
  using App = Pellion::Web::PellionApp;

  PellionApp() {
    Pellion::Web::Utils::logInit();
    writeFile(path("stay"), "");
  }
  ~PellionApp() override { Pellion::Web::Utils::logCleanup(); }

  void installScript(const std::string& lines) const { installApplication("#!/bin/sh\n" + lines); }
  static std::string publish(int port) {
    return "printf http://127.0.0.1:" + std::to_string(port) +
           "/ > \"$HOME/.orvane/pellion/var/run/http.uri\"\n";
  }
  // State letter of a child of this test; 0 when it is gone.
  static char childState(const std::string& pid) {
    const std::string status = readFile("/proc/" + pid + "/stat");
    const size_t name = status.rfind(") ");
    return name == std::string::npos ? '\0' : status[name + 2];
  }
  static std::string onlyChild() {
    const std::string self = std::to_string(getpid());
    std::string child;
    std::ifstream("/proc/self/task/" + self + "/children") >> child;
    return child;
  }
};

TEST_F(PellionApp, readsTheAddressUntilItIsValidAndThenKeepsIt) {
  EXPECT_FALSE(App::url().valid());
  EXPECT_EQ(
      logLines("Failed to read Orvane Pellion URL from " + dataPath("var/run/http.uri")).size(),
      1u);
  writeUrlFile("no address");
  EXPECT_FALSE(App::url().valid());
  writeUrlFile("http://localhost:4001/");
  EXPECT_EQ(App::url().port(0), 4001);
  writeUrlFile("http://localhost:4002/");
  EXPECT_EQ(App::url().port(0), 4001);
  EXPECT_EQ(logLines("Read Orvane Pellion URL: http://localhost:4001/").size(), 1u);
}

TEST_F(PellionApp, findsTheExecutableAndRemembersIt) {
  EXPECT_EQ(App::binPath(), "");
  EXPECT_EQ(logLines("Failed to determine Orvane Pellion executable path").size(), 1u);
  // A path file that names a directory without it is no obstacle to the later directories, but the
  // user's own is not among them.
  ASSERT_EQ(system("mkdir -p \"$HOME/opt/orvane/pellion/bin\""), 0);
  const std::string own = path("opt/orvane/pellion/bin/orvanepellion");
  writeFile(own, "");
  writePathFile(path("nowhere"));
  EXPECT_EQ(App::binPath(), "");
  EXPECT_EQ(logLines("Pellion path in orvanepellion.path: " + path("nowhere")).size(), 1u);
  writePathFile("");
  EXPECT_EQ(App::binPath(), own);
  installScript("");
  EXPECT_EQ(App::binPath(), own);
  EXPECT_EQ(logLines("Orvane Pellion executable path: " + own).size(), 1u);
}

TEST_F(PellionApp, takesTheFirstLineOfThePathFile) {
  installScript("");
  writePathFile(path("application") + "\nsecond line\n");
  EXPECT_EQ(App::binPath(), path("application/orvanepellion"));
}

TEST_F(PellionApp, anyAnswerMeansRunning) {
  EXPECT_FALSE(App::isRunning());
  ScriptedServer server(httpResponse("", "500 Broken"));
  writeUrlFile(server.port());
  EXPECT_TRUE(App::isRunning());
  EXPECT_TRUE(App::launch());
  EXPECT_EQ(server.requests(), std::vector<std::string>(2, kVersionRequest));
}

TEST_F(PellionApp, followsTheApplicationToAnotherPort) {
  writeUrlFile(closedPort());
  EXPECT_FALSE(App::isRunning());
  ASSERT_TRUE(App::url().valid());
  ScriptedServer server(httpResponse("{}"));
  writeUrlFile(server.port());
  EXPECT_TRUE(App::isRunning());
  EXPECT_EQ(App::url().port(0), server.port());
  EXPECT_EQ(server.requestCount(), 1u);
}

TEST_F(PellionApp, launchWithoutAnExecutableFailsQuietly) {
  EXPECT_FALSE(App::launch());
  EXPECT_TRUE(logLines("Launching Orvane Pellion").empty());
}

struct Outcome {
  const char* label;
  std::string script;
  int timeoutMs;
  const char* line;

  friend std::ostream& operator<<(std::ostream& out, const Outcome& o) { return out << o.label; }
};

class PellionAppLaunch : public PellionApp, public testing::WithParamInterface<Outcome> {};

TEST_P(PellionAppLaunch, failsAndSaysWhy) {
  installScript(GetParam().script);
  App::setLaunchTimeoutMs(GetParam().timeoutMs);
  EXPECT_FALSE(App::launch());
  EXPECT_EQ(logLines("Launching Orvane Pellion - Command: " + App::binPath()).size(), 1u);
  EXPECT_EQ(logLines("Waiting " + std::to_string(GetParam().timeoutMs) +
                     "ms for Orvane Pellion to launch")
                .size(),
            1u);
  EXPECT_EQ(logLines(GetParam().line).size(), 1u) << logText();
  EXPECT_EQ(logLines("arning: ").size() + logLines("terminated").size(), 1u) << logText();
}

INSTANTIATE_TEST_SUITE_P(
    , PellionAppLaunch,
    testing::Values(
        Outcome{"exitsWithZero", "exit 0\n", 20000, "Warning: Orvane Pellion process exited (0)"},
        Outcome{"exitsWithThree", "exit 3\n", 20000, "Warning: Orvane Pellion process exited (3)"},
        Outcome{"exitsLater", "sleep 0.3\n", 20000, "Warning: Orvane Pellion process exited (0)"},
        // The shell that started it tells, unless it has become the application.
        Outcome{"isKilled", "kill -9 $$\n", 20000, "Orvane Pellion process "},
        Outcome{"neverAnswers", kStay, 300,
                "Warning: Timed out waiting for Orvane Pellion to launch"},
        Outcome{"hasNoTime", kStay, 0, "Warning: Timed out waiting for Orvane Pellion to launch"}),
    [](const auto& suite) { return suite.param.label; });

TEST_F(PellionApp, withoutLaunchTimeStartsTheApplicationAndMakesNoCheck) {
  ScriptedServer server(httpResponse("{}"));
  installScript(publish(server.port()) + kStay);
  App::setLaunchTimeoutMs(0);
  EXPECT_FALSE(App::launch());
  EXPECT_EQ(logLines("Reading Orvane Pellion URL from").size(), 1u);
  EXPECT_TRUE(waitFor([&] { return !readFile(dataPath("var/run/http.uri")).empty(); }));
  EXPECT_EQ(server.requestCount(), 0u);
  EXPECT_TRUE(App::launch());
}

TEST_F(PellionApp, waitsForASlowApplicationOnANewPort) {
  ScriptedServer server(httpResponse("{}"));
  writeUrlFile(closedPort());
  installScript("sleep 0.3\n" + publish(server.port()) + kStay);
  EXPECT_TRUE(App::launch());
  EXPECT_EQ(server.requestCount(), 1u);
  EXPECT_EQ(logLines("ms for Pellion to launch and write URL file").size(), 1u);
  EXPECT_EQ(logLines("Waiting 20000ms for Orvane Pellion to launch").size(), 1u);
}

TEST_F(PellionApp, twoThreadsMayLaunchAtOnce) {
  ScriptedServer server(httpResponse("{}"));
  installScript("sleep 0.2\n" + publish(server.port()) + kStay);
  auto other = std::async(std::launch::async, [] { return App::launch(); });
  EXPECT_TRUE(App::launch());
  EXPECT_TRUE(other.get());
}

TEST_F(PellionApp, reapsAnEarlierLaunchAtTheNext) {
  installScript(kStay);
  App::setLaunchTimeoutMs(0);
  EXPECT_FALSE(App::launch());
  const std::string first = onlyChild();
  ASSERT_NE(childState(first), '\0') << first;
  remove(path("stay").c_str());
  ASSERT_TRUE(waitFor([&] { return childState(first) == 'Z'; }));
  EXPECT_FALSE(App::launch());
  EXPECT_EQ(childState(first), '\0');
}

TEST_F(PellionApp, noticesTheEndOfItsProcess) {
  const std::pair<const char*, const char*> cases[] = {
      {"exit 7", "LOG Warning: Orvane Pellion process exited (7)"},
      {"kill -9 $$", "ERR Orvane Pellion process terminated unexpectedly"}};
  for (const auto& [command, line] : cases) {
    Pellion::Web::LaunchedProcess process;
    ASSERT_TRUE(process.start(command));
    EXPECT_TRUE(waitFor([&] { return !process.isActive(); }));
    EXPECT_EQ(logLines(line).size(), 1u) << command;
  }
  EXPECT_EQ(onlyChild(), "");
}

TEST_F(PellionApp, readsTheProcessId) {
  EXPECT_EQ(App::pid(), 0);
  const std::pair<const char*, int> cases[] = {
      {"4711\n", 4711}, {"", 0}, {"none", 0}, {"12 34", 12}};
  for (const auto& [content, expected] : cases) {
    writeFile(dataPath("var/run/process.pid"), content);
    EXPECT_EQ(App::pid(), expected) << content;
  }
}

TEST_F(PellionApp, terminateFailsOnlyWhenTheApplicationRefuses) {
  EXPECT_TRUE(App::terminate());
  // 404 also runs a kill by name, which no shell carries out.
  const std::vector<std::pair<std::string, bool>> cases = {
      {"200 OK", true}, {"403 Forbidden", false}, {"404 Not Found", true}, {"", true}};
  ScriptedServer server([&](int connection, const std::string&, size_t index) {
    const std::string status = cases[index].first;
    test_support::sendAll(connection, status.empty() ? "" : httpResponse("", status));
  });
  writeUrlFile(server.port());
  for (const auto& [status, expected] : cases) {
    EXPECT_EQ(App::terminate(), expected) << status;
  }
  EXPECT_EQ(server.requests().front(),
            "POST /v4/pellion/exit HTTP/1.1\r\n"
            "Connection: close\r\n"
            "Content-Length: 60\r\n"
            "Content-Type: application/vnd.orvane.xferreq+json\r\n"
            "User-Agent: Orvane Pellion\r\n"
            "\r\n"
            "{'agent':'Orvane.Pellion', 'message' : 'Installing update!'}");
}

}  // namespace
