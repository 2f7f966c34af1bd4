// An element with a session and an event handler, and nothing to do: the processor time and the
// wake-ups of all its threads, beside a bare thread that sends one request a second at the same
// time. Argument: for how many seconds.

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "bench/BareExchange.h"
#include "bench/BenchHome.h"
#include "bench/ProcessFigures.h"
#include "bench/ServerProcess.h"
#include "bench/SmallBrowser.h"

namespace {

using bench::BenchServer;
using bench::ServerProcess;
using bench::SmallBrowser;

constexpr char kIdleAnswer[] = "{\"iteration_token\":\"1\",\"transfers\":[]}";
constexpr char kPoll[] =
    "{\"iteration_token\":\"1\",\"orvane_pellion_settings\":{\"app_id\":\"\"}}";

struct Usage {
  double nanoseconds = 0;
  double wakeUps = 0;
};

Usage operator-(const Usage& a, const Usage& b) {
  return {a.nanoseconds - b.nanoseconds, a.wakeUps - b.wakeUps};
}

Usage usageOf(const std::filesystem::path& task) {
  Usage usage;
  std::ifstream(task / "schedstat") >> usage.nanoseconds;
  // Each time that a thread had waited. That it lost the processor to another one is no wake-up.
  std::ifstream status(task / "status");
  for (std::string key; status >> key;) {
    if (key == "voluntary_ctxt_switches:") {
      status >> usage.wakeUps;
    }
  }
  return usage;
}

// Of all threads but one.
Usage usageWithout(pid_t thread) {
  Usage all;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
    if (task.path().filename() != std::to_string(thread)) {
      const Usage usage = usageOf(task.path());
      all.nanoseconds += usage.nanoseconds;
      all.wakeUps += usage.wakeUps;
    }
  }
  return all;
}

// One request a second, as bare as can be.
class BarePoller {
 public:
  explicit BarePoller(const ServerProcess& server) : _thread([this, &server] { run(server); }) {
    while (_id == 0) {
      std::this_thread::yield();
    }
  }
  ~BarePoller() {
    _stopped = true;
    _thread.join();
  }

  pid_t id() const { return _id; }
  Usage usage() const { return usageOf("/proc/self/task/" + std::to_string(_id)); }

 private:
  void run(const ServerProcess& server) {
    _id = gettid();
    const std::string request = bench::requestText("POST", "/v4/transfers/activity", kPoll);
    while (!_stopped) {
      std::this_thread::sleep_for(std::chrono::seconds(1));
      if (bench::bareExchange(server.port(), request, server.responseSize()).empty()) {
        std::abort();
      }
    }
  }

  std::atomic<pid_t> _id{0};
  std::atomic<bool> _stopped{false};
  std::thread _thread;
};

void printUsage(const std::string& whose, const Usage& usage, double seconds) {
  bench::printFigure((whose + "_cpu").c_str(), usage.nanoseconds / 1e9 / seconds);
  bench::printFigure((whose + "_wakeups").c_str(), usage.wakeUps / seconds);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    return 2;
  }
  const ServerProcess application([] { return std::make_unique<BenchServer>(kIdleAnswer); });
  bench::BenchHome::get().publish(application.port());
  SmallBrowser browser;
  const NPP element = browser.open();
  NPObject* object = browser.scriptObject(element);
  SmallBrowser::call(object, "initSession", {"bench", "example.org"});
  SmallBrowser::setProperty(object, "eventHandler", browser.function());
  const BarePoller bare(application);
  browser.runUntilCalled(1);

  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  const Usage oursBefore = usageWithout(bare.id());
  const Usage otherBefore = bare.usage();
  browser.runUntilCalled(std::strtoul(argv[1], nullptr, 10));
  const Usage ours = usageWithout(bare.id()) - oursBefore;
  const Usage other = bare.usage() - otherBefore;
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  if (ours.nanoseconds <= 0 || ours.wakeUps <= 0) {
    throw std::runtime_error("the kernel does not count what threads use");
  }
  printUsage("ours", ours, seconds);
  printUsage("bare", other, seconds);
  browser.close(element);
  return 0;
}
