// An application that takes its time to start: waits for as many milliseconds as
// ORVANE_BENCH_DELAY_MS says, answers from then on, and leaves the moment in "answers.at" beside
// its address. A SIGTERM ends it, and a minute at the latest.

#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "bench/BenchServer.h"
#include "tests/support/Sandbox.h"

int main() {
  alarm(60);
  sigset_t end;
  sigemptyset(&end);
  sigaddset(&end, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &end, nullptr);
  const char* delay = std::getenv("ORVANE_BENCH_DELAY_MS");
  const char* home = std::getenv("HOME");
  if (delay == nullptr || home == nullptr) {
    return 2;
  }
  const std::string run = std::string(home) + "/.orvane/pellion/var/run/";
  std::this_thread::sleep_for(std::chrono::milliseconds(std::atoi(delay)));
  const bench::BenchServer server(200);
  test_support::writeFile(run + "process.pid", std::to_string(getpid()));
  test_support::writeFile(run + "http.uri.new",
                          "http://127.0.0.1:" + std::to_string(server.port()) + "/");
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  test_support::writeFile(run + "answers.at", std::to_string(now.count()));
  if (std::rename((run + "http.uri.new").c_str(), (run + "http.uri").c_str()) != 0) {
    return 1;
  }
  int number;
  return sigwait(&end, &number);
}
