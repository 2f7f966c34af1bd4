// The start of the application by a page, and of any process.

#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/BenchHome.h"
#include "bench/ProcessFigures.h"
#include "bench/Samples.h"
#include "bench/SmallBrowser.h"
#include "ovlib/overrno.h"
#include "ovlib/ovprocess.h"

namespace {

using bench::BenchHome;
using bench::SmallBrowser;
using test_support::readFile;

// A home where the application is installed. It leaves there when it began to answer.
class ApplicationHome : public BenchHome {
 public:
  static ApplicationHome& get() {
    static ApplicationHome home;
    return home;
  }

  // Nanoseconds of the steady clock.
  double answersAt() const { return std::stod(readFile(run("answers.at"))); }

  // The module reaps its shell at the next launch.
  void endApplication() const {
    siginfo_t ended = {};
    if (kill(std::stoi(readFile(run("process.pid"))), SIGTERM) != 0 ||
        waitid(P_ALL, 0, &ended, WEXITED | WNOWAIT) != 0 || unlink(run("http.uri").c_str()) != 0) {
      throw std::runtime_error("the application does not end");
    }
  }

 private:
  ApplicationHome() {
    installApplication("#!/bin/sh\nexec '" + bench::programDirectory() + "/bench_application'\n");
  }
  std::string run(const std::string& file) const { return dataPath("var/run/" + file); }
};

// How long the page waits for its first answer after the application has begun to answer.
double launch(SmallBrowser& browser, int delayMs) {
  setenv("ORVANE_BENCH_DELAY_MS", std::to_string(delayMs).c_str(), 1);
  const NPP element = browser.open();
  SmallBrowser::call(browser.scriptObject(element), "queryPellionVersion");
  const double now =
      static_cast<double>(std::chrono::steady_clock::now().time_since_epoch().count());
  const double waited = now - ApplicationHome::get().answersAt();
  browser.close(element);
  ApplicationHome::get().endApplication();
  return waited;
}

// Applications that take so long to start that every part of the launcher's poll step is met.
void launches(benchmark::State& state) {
  ApplicationHome::get();
  static SmallBrowser browser;
  std::vector<double> waits;
  for (auto _ : state) {
    const int step = bench::quick() ? 50 : 10;
    for (int delayMs = 0; delayMs < 100; delayMs += step) {
      waits.push_back(launch(browser, delayMs));
    }
  }
  state.counters["worst"] = *std::max_element(waits.begin(), waits.end());
  state.counters["median"] = bench::median(waits);
}

void limitDescriptors(rlim_t descriptors) {
  rlimit limit = {};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = std::min(descriptors, limit.rlim_max);
  setrlimit(RLIMIT_NOFILE, &limit);
}

// From the call until the process has ended.
double startProcess() {
  ov_process_t process = {};
  bool ended = false;
  const double elapsed = bench::nanoseconds([&] {
    ended = ov_process_create(&process, ":") == OV_OK && waitpid(process.pid, nullptr, 0) != -1;
  });
  return ended ? elapsed : throw std::runtime_error("no process");
}

// At both limits in turn.
void processes(benchmark::State& state) {
  std::vector<double> hard;
  std::vector<double> usual;
  for (auto _ : state) {
    limitDescriptors(RLIM_INFINITY);
    hard.push_back(startProcess());
    limitDescriptors(1024);
    usual.push_back(startProcess());
  }
  state.counters["hard"] = bench::median(hard);
  state.counters["usual"] = bench::median(usual);
}

BENCHMARK(launches)->Name("launch")->Iterations(1);
BENCHMARK(processes)->Name("process")->UseRealTime();

}  // namespace
