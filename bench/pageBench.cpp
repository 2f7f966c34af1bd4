// What a page sees: a script call, a request that is queued beside one that blocks, and an element
// that comes and goes.

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "bench/BareExchange.h"
#include "bench/BareLog.h"
#include "bench/BenchPage.h"
#include "bench/Samples.h"

namespace {

using bench::BareLog;
using bench::BenchHome;
using bench::BenchPage;
using bench::SmallBrowser;

bool hasAnyMethod(NPObject*, NPIdentifier) {
  return true;
}

bool writeBareLines(NPObject*, NPIdentifier, const NPVariant*, uint32_t argCount, NPVariant*) {
  BareLog::get().line("DBG", "%s(): argCount=%u", "queryVersion", argCount);
  BareLog::get().line("DBG", "OWScriptObjectInvoke - %s took %lu", "queryVersion", 1UL);
  return true;
}

bool writeOurLines(NPObject*, NPIdentifier, const NPVariant*, uint32_t argCount, NPVariant*) {
  ov_dbg("%s(): argCount=%u", "queryVersion", argCount);
  ov_dbg("OWScriptObjectInvoke - %s took %lu", "queryVersion", 1UL);
  return true;
}

void oursScriptCall(benchmark::State& state) {
  NPObject* object = BenchPage::get().object();
  for (auto _ : state) {
    SmallBrowser::call(object, "queryVersion");
  }
}

// Every method is there, and does nothing but write two lines.
void emptyScriptCall(benchmark::State& state, NPInvokeFunctionPtr writeLines) {
  BenchPage::get();
  BenchHome::startLog();
  NPClass methods = {};
  methods.hasMethod = hasAnyMethod;
  methods.invoke = writeLines;
  NPObject object{&methods, 1};
  for (auto _ : state) {
    SmallBrowser::call(&object, "queryVersion");
  }
}

// A thread that answers each turn it is given.
class OtherThread {
 public:
  OtherThread() : _thread([this] { run(); }) {}
  ~OtherThread() {
    pass(kEnd);
    _thread.join();
  }

  // There and back.
  void turn() {
    pass(kThere);
    std::unique_lock<std::mutex> lock(_mutex);
    _passed.wait(lock, [this] { return _turn == kBack; });
  }

 private:
  enum Turn { kBack, kThere, kEnd };

  void pass(Turn turn) {
    std::lock_guard<std::mutex> lock(_mutex);
    _turn = turn;
    _passed.notify_one();
  }
  void run() {
    std::unique_lock<std::mutex> lock(_mutex);
    while (_turn != kEnd) {
      _passed.wait(lock, [this] { return _turn != kBack; });
      if (_turn == kThere) {
        _turn = kBack;
        _passed.notify_one();
      }
    }
  }

  std::mutex _mutex;
  std::condition_variable _passed;
  Turn _turn = kBack;  // guarded by _mutex
  std::thread _thread;
};

// In turn: from the call to its result, from the call to the page's callback, and what the second
// has in any case, the way to another thread and back.
void requests(benchmark::State& state) {
  BenchPage& page = BenchPage::get();
  SmallBrowser& browser = page.browser();
  OtherThread other;
  std::vector<double> blocking;
  std::vector<double> queued;
  std::vector<double> turns;
  for (auto _ : state) {
    blocking.push_back(bench::nanoseconds([&] { page.request("pellionHttpRequest", nullptr); }));
    queued.push_back(bench::nanoseconds([&] {
      page.request("pellionHttpRequestAsync", browser.function());
      browser.runUntilCalled(1);
    }));
    turns.push_back(bench::nanoseconds([&] { other.turn(); }));
  }
  state.counters["blocking"] = bench::median(blocking);
  state.counters["queued"] = bench::median(queued);
  state.counters["turn"] = bench::median(turns);
}

void oursElement(benchmark::State& state) {
  SmallBrowser& browser = BenchPage::get().browser();
  for (auto _ : state) {
    browser.close(browser.open());
  }
}

// One exchange, one thread, and the lines that the module writes for one element.
void bareElement(benchmark::State& state) {
  const BenchPage& page = BenchPage::get();
  const std::string request = bench::requestText("GET", "/v4/pellion/version", "");
  for (auto _ : state) {
    for (const std::string& line : page.linesOfOneElement()) {
      BareLog::get().line("DBG", "%s", line.c_str());
    }
    if (bench::bareExchange(page.port(), request, page.responseSize()).empty()) {
      state.SkipWithError("the socket loop got no answer");
      break;
    }
    std::thread([] {}).join();
  }
}

BENCHMARK(oursScriptCall)->Name("scriptCall/ours");
BENCHMARK_CAPTURE(emptyScriptCall, bare, writeBareLines)->Name("scriptCall/bare");
BENCHMARK_CAPTURE(emptyScriptCall, ours, writeOurLines)->Name("scriptCall/sameLog");
BENCHMARK(requests)->Name("request")->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(oursElement)->Name("element/ours")->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(bareElement)->Name("element/bare")->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace
