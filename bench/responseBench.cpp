// One response of many mebibytes: what the time and the peak memory grow with. Every response finds
// memory that the process has not touched before, as a page's first large one does: the allocator
// must not keep for one size what another gave back.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <memory>
#include <string>

#include "bench/BenchHome.h"
#include "bench/BenchServer.h"
#include "bench/ProcessFigures.h"
#include "plugin/src/HttpRequest.h"
#include "plugin/src/HttpResponse.h"

namespace {

using bench::BenchHome;
using bench::BenchServer;
using Pellion::Web::HttpRequest;
using Pellion::Web::HttpResponse;

constexpr int64_t kMebibyte = 1024 * 1024;
constexpr int kFreshFrom = 128 * 1024;  // the allocator's own start value, from now on fixed

void largeResponse(benchmark::State& state, BenchServer::Length length) {
  BenchHome::startLog();
  mallopt(M_MMAP_THRESHOLD, kFreshFrom);
  const auto size = static_cast<size_t>(state.range(0) * kMebibyte);
  const BenchServer server(size, length);
  for (auto _ : state) {
    HttpRequest request("127.0.0.1", static_cast<unsigned short>(server.port()));
    const std::unique_ptr<HttpResponse> response(request.invoke());
    if (response == nullptr || response->data().size() != size) {
      state.SkipWithError("the response is not whole");
      break;
    }
  }
}

// The peak of a process that reads one such response, above what it had before.
void largeResponseMemory(benchmark::State& state, const char* length) {
  const auto size = state.range(0) * kMebibyte;
  for (auto _ : state) {
    const auto figures = bench::runFigures(
        {bench::programDirectory() + "/response_memory", std::to_string(size), length});
    state.counters["peak"] = figures.at("peak");
    state.counters["body"] = static_cast<double>(size);
  }
}

void withSizes(benchmark::internal::Benchmark* response) {
  response->RangeMultiplier(2)->Range(1, 64)->UseRealTime()->Unit(benchmark::kMillisecond);
}

void withMemorySizes(benchmark::internal::Benchmark* response) {
  response->RangeMultiplier(8)->Range(1, 64)->Iterations(1);
}

BENCHMARK_CAPTURE(largeResponse, announced, BenchServer::Length::kAnnounced)
    ->Name("response/announced")
    ->Apply(withSizes);
BENCHMARK_CAPTURE(largeResponse, untilClose, BenchServer::Length::kUntilClose)
    ->Name("response/untilClose")
    ->Apply(withSizes);
BENCHMARK_CAPTURE(largeResponseMemory, announced, "announced")
    ->Name("responseMemory/announced")
    ->Apply(withMemorySizes);
BENCHMARK_CAPTURE(largeResponseMemory, untilClose, "untilClose")
    ->Name("responseMemory/untilClose")
    ->Apply(withMemorySizes);

}  // namespace
