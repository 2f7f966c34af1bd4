// One log line of 90 bytes by one thread and by four: the module's log, a bare format, write and
// file status under one mutex (and without the status), and spdlog's file logger flushed on every
// line. Each line has a number, since the module's log folds repeated ones.

#include <benchmark/benchmark.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <memory>
#include <stdexcept>

#include "bench/BareLog.h"
#include "bench/BenchHome.h"
#include "ovlib/overrno.h"

namespace {

using bench::BareLog;
using bench::BenchHome;

// With the number, 90 bytes.
#define LINE_TEXT \
  "a line of the usual length, as most calls of the plugin write it when they begin %09llu"

unsigned long long nextNumber() {
  static thread_local unsigned long long number =
      static_cast<unsigned long long>(gettid()) % 1000 * 1000000;
  return ++number;
}

void oursLine(benchmark::State& state) {
  if (state.thread_index() == 0) {
    BenchHome::startLog();
  }
  for (auto _ : state) {
    ov_log(LINE_TEXT, nextNumber());
  }
}

// What a line does last: is its file full?
void rotationCheck(benchmark::State& state) {
  BenchHome::startLog();
  for (auto _ : state) {
    if (ov_log_rotate() != OV_OK) {
      state.SkipWithError("the log is not open");
      break;
    }
  }
}

void bareLine(benchmark::State& state, BareLog* log) {
  for (auto _ : state) {
    log->line("LOG", LINE_TEXT, nextNumber());
  }
}

BareLog& askingLog() {
  static BareLog log(BenchHome::get().besideLog("asking.log"), BareLog::Size::kAsked);
  return log;
}

// One logger a process, whose file is emptied before each repetition.
spdlog::logger& spdlogLogger() {
  static const std::shared_ptr<spdlog::logger> logger = [] {
    auto made = spdlog::basic_logger_mt("bench", BenchHome::get().besideLog("spdlog.log"));
    made->flush_on(spdlog::level::trace);
    return made;
  }();
  return *logger;
}

void spdlogLine(benchmark::State& state) {
  spdlog::logger& logger = spdlogLogger();
  if (state.thread_index() == 0 &&
      truncate(BenchHome::get().besideLog("spdlog.log").c_str(), 0) != 0) {
    throw std::runtime_error("the file of spdlog cannot be emptied");
  }
  for (auto _ : state) {
    logger.info(
        "a line of the usual length, as most calls of the plugin write it when they begin {:09}",
        nextNumber());
  }
}

void withThreads(benchmark::internal::Benchmark* line) {
  line->Threads(1)->Threads(4)->UseRealTime();
}

BENCHMARK(oursLine)->Name("log/ours")->Apply(withThreads);
BENCHMARK(rotationCheck)->Name("log/rotationCheck")->UseRealTime();
BENCHMARK_CAPTURE(bareLine, asked, &askingLog())->Name("log/bare")->Apply(withThreads);
BENCHMARK_CAPTURE(bareLine, counted, &BareLog::get())->Name("log/bareCounted")->Apply(withThreads);
BENCHMARK(spdlogLine)->Name("log/spdlog")->Apply(withThreads);

}  // namespace
