#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <future>
#include <new>

#include "plugin/src/LaunchedProcess.h"
#include "plugin/src/Pellion.h"
#include "plugin/src/Url.h"
#include "tests/plugin/FailingMemory.h"
#include "tests/plugin/LoggedSandbox.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/WaitFor.h"

namespace {

using test_support::httpResponse;
using test_support::ScriptedServer;
using test_support::waitFor;
using test_support::writeFile;

class PellionApp : public LoggedSandbox {
 protected:
  using App = Pellion::Web::PellionApp;

  // An application that publishes the port, and stays until the test's home directory goes.
  void installScript(int port, const std::string& delay = "") const {
    writeFile(path("stay"), "");
    installApplication("#!/bin/sh\n" + delay + "printf http://127.0.0.1:" + std::to_string(port) +
                       "/ > \"$HOME/.orvane/pellion/var/run/http.uri\"\n"
                       "while [ -e \"$HOME/stay\" ]; do sleep 0.02; done\n");
  }
};

TEST_F(PellionApp, readsTheAddressUntilItIsValidAndThenKeepsIt) {
  EXPECT_FALSE(App::url().valid());
  EXPECT_EQ(
      logLines("Failed to read Orvane Pellion URL from " + dataPath("var/run/http.uri")).size(),
      1u);
  writeUrlFile("no address");
  EXPECT_FALSE(App::url().valid());
  for (const char* url : {"http://localhost:4001/", "http://localhost:4002/"}) {
    writeUrlFile(url);
    EXPECT_EQ(App::url().port(0), 4001);
  }
  EXPECT_EQ(logLines("Read Orvane Pellion URL: http://localhost:4001/").size(), 1u);
}

TEST_F(PellionApp, findsTheExecutableAndRemembersIt) {
  EXPECT_FALSE(App::launch());
  EXPECT_EQ(logLines("Failed to determine Orvane Pellion executable path").size(), 1u);
  EXPECT_TRUE(logLines("Launching Orvane Pellion").empty());
  // A path file that names a directory without it is no obstacle to the later directories, but the
  // user's own is not among them. So does an empty line.
  std::filesystem::create_directories(path("opt/orvane/pellion/bin"));
  const std::string own = path("opt/orvane/pellion/bin/orvanepellion");
  writeFile(own, "");
  writePathFile(path("nowhere"));
  EXPECT_EQ(App::binPath(), "");
  EXPECT_EQ(logLines("Pellion path in orvanepellion.path: " + path("nowhere")).size(), 1u);
  writePathFile("\n" + path("opt/orvane/pellion/bin"));
  EXPECT_EQ(App::binPath(), "");
  EXPECT_EQ(logLines("Pellion path in orvanepellion.path: ").size(), 2u);
  writePathFile("");
  EXPECT_EQ(App::binPath(), own);
  installApplication("");
  EXPECT_EQ(App::binPath(), own);
  EXPECT_EQ(logLines("Orvane Pellion executable path: " + own).size(), 1u);
}

TEST_F(PellionApp, followsTheApplicationToAnotherPortAndTakesAnyAnswer) {
  writeUrlFile(ScriptedServer("").port());
  EXPECT_FALSE(App::isRunning());
  ASSERT_TRUE(App::url().valid());
  ScriptedServer server(httpResponse("", "500 Broken"));
  writeUrlFile(server.port());
  EXPECT_TRUE(App::isRunning());
  EXPECT_TRUE(App::launch());
  EXPECT_EQ(App::url().port(0), server.port());
  EXPECT_EQ(server.requestCount(), 2u);
}

TEST_F(PellionApp, followsAlsoWhenAnotherThreadHasReadTheNewAddressFirst) {
  ScriptedServer moved(httpResponse("{}"));
  std::atomic<bool> otherFollowed{false};
  ScriptedServer leaving([&](int, const std::string&, size_t) {
    leaving.refuseFurther();
    writeUrlFile(moved.port());
    otherFollowed = App::isRunning();
  });
  writeUrlFile(leaving.port());
  EXPECT_TRUE(App::isRunning());
  EXPECT_TRUE(otherFollowed);
  EXPECT_EQ(moved.requestCount(), 2u);
}

TEST_F(PellionApp, withoutLaunchTimeStartsTheApplicationAndMakesNoCheck) {
  ScriptedServer server(httpResponse("{}"));
  installScript(server.port());
  App::setLaunchTimeoutMs(0);
  EXPECT_FALSE(App::launch());
  for (const std::string& line : {"Launching Orvane Pellion - Command: " + App::binPath(),
                                  std::string("Waiting 0ms for Orvane Pellion to launch"),
                                  std::string("Warning: Timed out waiting for Orvane Pellion")}) {
    EXPECT_EQ(logLines("LOG " + line).size(), 1u) << line;
  }
  EXPECT_EQ(logLines("Reading Orvane Pellion URL from").size(), 1u);
  EXPECT_TRUE(waitFor([&] { return App::url().valid(); }));
  EXPECT_EQ(server.requestCount(), 0u);
  EXPECT_TRUE(App::launch());
}

TEST_F(PellionApp, twoThreadsMayLaunchAtOnce) {
  ScriptedServer server(httpResponse("{}"));
  installScript(server.port(), "sleep 0.2\n");
  auto other = std::async(std::launch::async, [] { return App::launch(); });
  EXPECT_TRUE(App::launch());
  EXPECT_TRUE(other.get());
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
}

TEST_F(PellionApp, aLaunchWithoutMemoryIsAnExceptionAtMost) {
  const std::string command = "exit";
  bool failed = true;
  for (int allocation = 0; failed; ++allocation) {
    failing_memory::start(allocation);
    try {
      Pellion::Web::LaunchedProcess().start(command);
    } catch (const std::bad_alloc&) {
    }
    failed = failing_memory::stop();
  }
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
  const std::string sent = server.requests().front();
  EXPECT_EQ(sent.find("POST /v4/pellion/exit HTTP/1.1\r\n"), 0u);
  EXPECT_EQ(test_support::bodyOf(sent),
            "{'agent':'Orvane.Pellion', 'message' : 'Installing update!'}");
}

}  // namespace
