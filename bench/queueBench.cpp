// Many queued requests at once: what each of them costs, and what they leave in memory.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <ctime>

#include "bench/BenchPage.h"
#include "bench/ProcessFigures.h"
#include "bench/Samples.h"

namespace {

using bench::BenchPage;
using bench::SmallBrowser;

constexpr int64_t kAll = 10000;

// What is in use of the heap, the browser's own memory left out.
double heapInUse(const SmallBrowser& browser) {
  const struct mallinfo2 heap = mallinfo2();
  return static_cast<double>(heap.uordblks + heap.hblkhd) -
         static_cast<double>(browser.liveBytes());
}

// What the process has used of the processors; the server's thread is in it, the same for all.
double processorTime() {
  timespec used;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
  return static_cast<double>(used.tv_sec) * 1e9 + static_cast<double>(used.tv_nsec);
}

// Queues them all, then waits for the last callback. How much of the heap they held meanwhile.
double queueAndRun(BenchPage& page, size_t count) {
  SmallBrowser& browser = page.browser();
  const double before = heapInUse(browser);
  for (size_t i = 0; i < count; ++i) {
    page.request("pellionHttpRequestAsync", browser.function());
  }
  const double held = heapInUse(browser) - before;
  browser.runUntilCalled(count);
  return held;
}

// As many requests for every count, so that what disturbs the machine comes in equal parts.
void queuedRequests(benchmark::State& state) {
  BenchPage& page = BenchPage::get();
  const int64_t part = bench::quick() ? 100 : 1;
  const auto count = static_cast<size_t>(state.range(0) / part);
  const auto times = static_cast<size_t>(kAll / part) / count;
  queueAndRun(page, 100 / static_cast<size_t>(part));  // fills what is made once
  const double heap = heapInUse(page.browser());
  const size_t given = page.browser().liveBytes();
  const double before = processorTime();
  double held = 0;
  for (auto _ : state) {
    for (size_t i = 0; i < times; ++i) {
      held = queueAndRun(page, count);
    }
  }
  const auto all = static_cast<double>(times * count);
  const double each = (processorTime() - before) / all;
  state.counters["each"] = each;
  state.counters["all"] = each * static_cast<double>(count);
  state.counters["held"] = held;
  state.counters["left"] = heapInUse(page.browser()) - heap;
  state.counters["kept"] = static_cast<double>(page.browser().liveBytes() - given) / all;
}

BENCHMARK(queuedRequests)
    ->Name("queue")
    ->Arg(1000)
    ->Arg(2500)
    ->Arg(5000)
    ->Arg(kAll)
    ->Iterations(1)
    ->UseRealTime();

}  // namespace
