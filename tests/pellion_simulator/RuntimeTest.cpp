#include <gmock/gmock.h>
#include <signal.h>

#include <filesystem>

#include "tests/pellion_simulator/Simulator.h"
#include "tests/support/WaitFor.h"

namespace {

namespace fs = std::filesystem;
using test_support::readFile;
using test_support::Simulator;
using test_support::waitFor;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class SimulatorRuntime : public test_support::SimulatorTest {
 protected:
  // Of a copy that ends by itself.
  int runToEnd(const std::vector<std::string>& arguments) {
    return Simulator(arguments, errorFile()).wait();
  }
};

TEST_F(SimulatorRuntime, publishesItsAddressAndRemovesItOnASignal) {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    SCOPED_TRACE(signal);
    const auto simulator = start();
    EXPECT_EQ(readFile(dataPath("var/run/http.uri")),
              "http://127.0.0.1:" + std::to_string(port()) + "/");
    EXPECT_EQ(readFile(dataPath("var/run/process.pid")), std::to_string(simulator->pid()));
    EXPECT_THAT(request("GET", "/v4/pellion/version", ""), StartsWith("HTTP/1.1 200 OK\r\n"));
    simulator->signal(signal);
    EXPECT_EQ(simulator->wait(), 0);
    EXPECT_FALSE(fs::exists(dataPath("var/run/http.uri")));
    EXPECT_FALSE(fs::exists(dataPath("var/run/process.pid")));
  }
}

TEST_F(SimulatorRuntime, makesTheTreeInANewHome) {
  setenv("HOME", path("fresh/home").c_str(), 1);
  Simulator simulator({}, errorFile());
  const std::string tree = path("fresh/home/.orvane/pellion/");
  EXPECT_TRUE(waitFor([&] { return fs::exists(tree + "var/run/http.uri"); }));
  EXPECT_TRUE(fs::is_directory(tree + "etc"));
  EXPECT_TRUE(fs::exists(tree + "var/log/orvane-pellion.log"));
}

TEST_F(SimulatorRuntime, refusesASecondCopyAndStartsOverTheFilesOfAKilledOne) {
  const auto first = start();
  EXPECT_EQ(runToEnd({}), 1);
  EXPECT_EQ(readFile(errorFile()), "orvanepellion: Orvane Pellion runs already (process " +
                                       std::to_string(first->pid()) + ")\n");
  first->signal(SIGKILL);
  EXPECT_EQ(first->wait(), -SIGKILL);
  ASSERT_TRUE(fs::exists(dataPath("var/run/http.uri")));
  const auto next = start();
  EXPECT_THAT(request("GET", "/v4/pellion/version", ""), HasSubstr("Orvane Pellion"));
}

// The exit body is not JSON. What runs is cancelled and leaves nothing behind.
TEST_F(SimulatorRuntime, exitsOnRequestInTheMiddleOfTransfers) {
  const test_support::ScriptedServer server(test_support::httpResponse(std::string(200'000, 'x')));
  const auto simulator = start({"--rate-limit", "2000"});
  for (int i = 0; i < 5; ++i) {
    transfer({urlOf(server, "/file")}, "");
  }
  ASSERT_TRUE(waitFor([&] { return activity().transfers[0].written > 0; }));
  ASSERT_FALSE(filesBelow("Downloads").empty());
  EXPECT_THAT(request("POST", "/v4/pellion/exit",
                      "{'agent':'Orvane.Pellion', 'message' : 'Installing update!'}"),
              HasSubstr("\r\n\r\n{\"exiting\":true}"));
  EXPECT_EQ(simulator->wait(), 0);
  EXPECT_FALSE(fs::exists(dataPath("var/run/http.uri")));
  EXPECT_THAT(filesBelow("Downloads"), ElementsAre());
  EXPECT_THAT(ownLog(), HasSubstr(": cancelled\n"));
}

TEST_F(SimulatorRuntime, exitsWhileItLooksForTheFiles) {
  for (int i = 0; i < 500; ++i) {
    fs::create_directories(path("tree/" + std::to_string(i)));
  }
  const auto simulator = start();
  transfer(std::vector<std::string>(40'000, path("tree")), path("to/"));
  ASSERT_TRUE(waitFor([&] { return activity().transfers[0].status == "running"; }));
  simulator->signal(SIGTERM);
  EXPECT_EQ(simulator->wait(), 0);
  EXPECT_THAT(ownLog(), HasSubstr(": cancelled\n"));
}

TEST_F(SimulatorRuntime, movesToTheGivenPortAndTakesARequestThatAnnouncesNoBodyAsOneWithout) {
  auto simulator = start();
  const std::string wanted = std::to_string(port());
  simulator.reset();
  simulator = start({"--port", wanted, "--verbose"});
  EXPECT_EQ(std::to_string(port()), wanted);
  EXPECT_THAT(readFile(errorFile()), HasSubstr("listens on port " + wanted));
  EXPECT_THAT(exchange("PUT /v4/pellion/version HTTP/1.1\r\n\r\n"), HasSubstr(" 405 "));
  EXPECT_THAT(exchange("POST /v4/pellion/exit HTTP/1.1\r\n\r\n"), HasSubstr("{\"exiting\":true}"));
  EXPECT_EQ(simulator->wait(), 0);
}

TEST_F(SimulatorRuntime, checksItsCommandLine) {
  const auto first = start();
  const std::string usedPort = std::to_string(port());
  setenv("HOME", path("other").c_str(), 1);
  const struct {
    std::vector<std::string> arguments;
    int status;
    const char* output;
  } kCases[] = {
      {{"--help"}, 0, "Usage: orvanepellion"},
      {{"--version"}, 0, "orvanepellion 3.2.0\n"},
      {{"--port"}, 2, "a value is missing after --port\n"},
      {{"--port", "70000"}, 2, "--port takes a number from 0 to 65535, not '70000'\n"},
      {{"--port", usedPort}, 1, "cannot listen on port"},
      {{"--rate-limit", "fast"}, 2, "--rate-limit takes a number"},
      {{"--speed"}, 2, "unknown option --speed\n"},
      {{"more"}, 2, "unexpected argument more\n"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.output);
    EXPECT_EQ(runToEnd(c.arguments), c.status);
    EXPECT_THAT(readFile(errorFile()), HasSubstr(c.output));
  }
}

}  // namespace
