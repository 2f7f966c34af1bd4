#include <gmock/gmock.h>

#include "tests/pellion_simulator/Simulator.h"
#include "tests/support/WaitFor.h"
#include "tests/support/XDisplay.h"

namespace {

namespace user = test_support::user;
using test_support::readFile;
using test_support::waitFor;

// With a screen of its own.
class SimulatorWindows : public test_support::SimulatorTest {
 private:
  test_support::XDisplay _display;
};

const char kPreferences[] = "Orvane Pellion .* Preferences";
const char kTransfers[] = "Orvane Pellion .* Transfers";

TEST_F(SimulatorWindows, showsEachAndHidesItAgain) {
  const auto simulator = start({"--rate-limit", "20000"});
  const test_support::ScriptedServer server(test_support::httpResponse(std::string(100'000, 'x')));
  transfer({urlOf(server, "/large.bin")}, "");
  transfer({"/no/such/file"}, "");
  for (int round = 0; round < 2; ++round) {
    request("GET", "/windows/about/", "");
    user::enter(user::waitForWindow("About Orvane Pellion"));
    user::key("Escape");
    user::waitForNoWindow("About Orvane Pellion");
  }
  request("GET", "/windows/transfer-manager/", "");
  user::waitForWindow(kTransfers);
}

TEST_F(SimulatorWindows, savesThePreferences) {
  const test_support::ScriptedServer server(test_support::httpResponse(std::string(100'000, 'x')));
  // What the command line says does not get into the file.
  const std::string conf = dataPath("etc/orvanepellion.conf");
  test_support::writeFile(conf, "rate_limit = 9999\n");
  auto simulator = start({"--rate-limit", "0"});
  request("GET", "/windows/preferences/", "");
  user::enter(user::waitForWindow(kPreferences));
  user::key("alt+s");
  user::waitForNoWindow(kPreferences);
  EXPECT_EQ(readFile(conf), "download_directory = \nrate_limit = 9999\n");

  request("GET", "/windows/preferences/", "");
  user::enter(user::waitForWindow(kPreferences));
  // The check box by its letter, the amount beside it, and the dialog's default button.
  user::key("alt+l");
  user::key("Tab");
  user::type("10");
  user::key("alt+s");
  user::waitForNoWindow(kPreferences);
  EXPECT_EQ(readFile(conf), "download_directory = \nrate_limit = 10240\n");

  // It holds at once, and for the next run.
  for (int run = 0; run < 2; ++run) {
    transfer({urlOf(server, "/slow")}, "");
    EXPECT_TRUE(waitFor([&] { return activity().transfers[0].rate > 0; }));
    EXPECT_LT(activity().transfers[0].rate, 30'000);
    simulator.reset();
    simulator = start();
  }
}

}  // namespace
