// What a browser's process pays for the module: memory, and the unrest of an idle session.

#include <benchmark/benchmark.h>

#include <string>

#include "bench/ProcessFigures.h"

namespace {

// The figures that a program of its own prints become counters.
void runProgram(benchmark::State& state, const char* program, const char* count,
                const char* quickCount) {
  for (auto _ : state) {
    const auto figures = bench::runFigures(
        {bench::programDirectory() + "/" + program, bench::quick() ? quickCount : count});
    for (const auto& [name, value] : figures) {
      state.counters[name] = value;
    }
  }
}

BENCHMARK_CAPTURE(runProgram, memory, "module_memory", "10000", "100")
    ->Name("memory")
    ->Iterations(1);
BENCHMARK_CAPTURE(runProgram, idle, "idle_session", "5", "1")->Name("idle")->Iterations(1);

}  // namespace
