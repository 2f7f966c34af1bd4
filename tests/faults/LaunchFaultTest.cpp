#include <cstdlib>
#include <filesystem>

#include "tests/faults/FaultPage.h"
#include "tests/support/WaitFor.h"

namespace {

using test_support::httpResponse;
using test_support::ScriptedServer;
using test_support::waitFor;

// What every script may use. $GOOD, $CLOSED, $CLOSED2 and $SILENT are addresses.
const char kFunctions[] =
    "#!/bin/sh\n"
    "uri=\"$HOME/.orvane/pellion/var/run/http.uri\"\n"
    "publish() { printf %s \"$1\" > \"$uri\"; }\n"
    "await() { until [ -e \"$HOME/$1\" ]; do sleep 0.02; done; }\n"
    "stay() { while [ -e \"$HOME/stay\" ]; do sleep 0.02; done; }\n"
    "letters() { head -c $1 /dev/zero | tr '\\0' h; }\n";

const char kLong[] = "20000";
const char kSoon[] = "600";
const char kAnswered[] = "\"good\"";

struct LaunchFault {
  const char* label;
  const char* script;
  std::vector<std::string> log;
  const char* timeoutMs = kLong;
  const char* page = "the error document";

  friend std::ostream& operator<<(std::ostream& out, const LaunchFault& f) {
    return out << f.label;
  }
};

class LaunchFaults : public FaultPage, public testing::WithParamInterface<LaunchFault> {
 protected:
  static void publishAs(const char* variable, int port) {
    setenv(variable, ("http://127.0.0.1:" + std::to_string(port) + "/").c_str(), 1);
  }
  // The next launch reaps what ended since the last one.
  void endChildren() {
    std::filesystem::remove(path("stay"));
    EXPECT_TRUE(waitFor([] { return childStates().find_first_not_of('Z') == std::string::npos; }));
    serveNothing();
    installApplication("#!/bin/sh\n");
    EXPECT_EQ("the error document", ask(Way::kWaiting));
  }
};

TEST_P(LaunchFaults, reachThePageAs) {
  const LaunchFault& fault = GetParam();
  open(fault.timeoutMs);
  test_support::writeFile(path("stay"), "");
  installApplication(kFunctions + std::string(fault.script));
  std::string first;
  {
    ScriptedServer good(httpResponse("good"));
    ScriptedServer silent([](int, const std::string&, size_t) {
      std::this_thread::sleep_for(std::chrono::seconds(2));
    });
    publishAs("GOOD", good.port());
    publishAs("SILENT", silent.port());
    publishAs("CLOSED", ScriptedServer("").port());
    publishAs("CLOSED2", ScriptedServer("").port());
    first = ask(Way::kWaiting);
    EXPECT_EQ(fault.page, first);
    expectLogged(fault.log);
    // Only some wait for this.
    test_support::writeFile(path("later"), "");
    if (std::string(fault.script).find("await later") != std::string::npos) {
      EXPECT_TRUE(waitFor([&] { return ask(Way::kQueued) == "\"good\""; }));
      first += ", \"good\" when asked again";
    }
  }
  endChildren();
  close(std::string("launched, ") + fault.label, first);
}

const char kExited[] = "LOG Warning: Orvane Pellion process exited (";
const char kTimedOut[] = "LOG Warning: Timed out waiting for Orvane Pellion to launch";
const char kEnd[] = "ERR recv() returned 0";
const char kRefused[] = "LOG Connection failed for socket";
const char kWaited[] = "ms for Pellion to launch and write URL file";
const char kHugeHost[] =
    "{ printf http://; letters 15728640; printf :1/; } > \"$uri.new\"; mv \"$uri.new\" \"$uri\"; "
    "stay";
const char kMoves[] =
    "publish $CLOSED; sleep 0.3; publish $CLOSED2; sleep 0.3; publish $GOOD; stay";
const char kRuns[] =
    "i=0; while [ $i -lt 2000 ]; do publish $CLOSED; publish $CLOSED2; i=$((i+1)); done; "
    "publish $GOOD; stay";

const LaunchFault kFaults[] = {
    {"exits with 0", "", {std::string(kExited) + "0)"}},
    {"exits with 3 a little later", "sleep 0.3; exit 3", {std::string(kExited) + "3)"}},
    // The shell between tells of the end, unless it has become the application.
    {"crashes", "ulimit -c 0; kill -SEGV $$", {"Orvane Pellion process "}},
    {"publishes and crashes", "publish $CLOSED; kill -KILL $$", {"Orvane Pellion process "}},
    {"hangs", "stay", {kTimedOut}, kSoon},
    {"hangs with five children", "for i in 1 2 3 4 5; do stay & done; stay", {kTimedOut}, kSoon},
    {"listens and is silent for two seconds", "publish $SILENT; stay", {kTimedOut, kEnd}, kSoon},
    {"forks and exits; the child answers",
     "(await later; publish $GOOD; stay) &",
     {std::string(kExited) + "0)"}},
    {"closes its descriptors",
     "exec <&- >&- 2>&-; publish $GOOD; stay",
     {kWaited},
     kLong,
     kAnswered},
    {"publishes garbage",
     "printf '\\377\\376%%n%%s\\001\\n' > \"$uri\"; stay",
     {"ERR Invalid URL: \xff\xfe%n%s\x01\n", kTimedOut},
     kSoon},
    {"publishes garbage, then its address",
     "printf '%%s%%n ://' > \"$uri\"; sleep 0.3; publish $GOOD; stay",
     {"Read Orvane Pellion URL: %s%n ://", kWaited},
     kLong,
     kAnswered},
    {"publishes 17 MiB",
     "letters 17825792 > \"$uri\"; stay",
     {"Failed to read Orvane Pellion URL from ", kTimedOut},
     kSoon},
    {"publishes a host name of 15 MiB",
     kHugeHost,
     {"LOG ERROR: Unable to resolve IP address"},
     kSoon},
    {"publishes a port, then another", kMoves, {kRefused, kWaited}, kLong, kAnswered},
    {"changes its port all the time for a while", kRuns, {kRefused, kWaited}, kLong, kAnswered},
};

INSTANTIATE_TEST_SUITE_P(, LaunchFaults, testing::ValuesIn(kFaults),
                         [](const auto& suite) { return nameOfRow(suite.param.label); });

}  // namespace
