// One exchange over a connection of its own: the module's HTTP client, a bare socket loop with and
// without the log lines that the module writes, and libcurl's reused easy handle.

#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include <chrono>
#include <memory>
#include <string>

#include "bench/BareExchange.h"
#include "bench/BareLog.h"
#include "bench/BenchHome.h"
#include "bench/BenchServer.h"
#include "plugin/src/HttpRequest.h"
#include "plugin/src/HttpResponse.h"

namespace {

using bench::BareLog;
using bench::BenchHome;
using bench::BenchServer;
using Pellion::Web::HttpRequest;
using Pellion::Web::HttpResponse;

constexpr char kTarget[] = "/v4/transfers/activity";
constexpr char kContentType[] = "application/vnd.orvane.xferreq+json";
constexpr char kRequestBody[] = "{\"app_id\":\"bench\"}";

void oursExchange(benchmark::State& state) {
  BenchHome::startLog();
  const BenchServer server(static_cast<size_t>(state.range(0)));
  for (auto _ : state) {
    HttpRequest request("127.0.0.1", static_cast<unsigned short>(server.port()));
    request.addHeader("Content-Type", kContentType);
    request.setMethod(HttpRequest::kPostMethod);
    request.setUri(kTarget);
    request.appendData(kRequestBody);
    const std::unique_ptr<HttpResponse> response(request.invoke());
    if (response == nullptr || response->statusCode() != 200) {
      state.SkipWithError("the module's client got no answer");
      break;
    }
  }
}

void bareExchange(benchmark::State& state, bool logged) {
  BareLog& log = BareLog::get();
  const BenchServer server(static_cast<size_t>(state.range(0)));
  for (auto _ : state) {
    const std::string request = bench::requestText("POST", kTarget, kRequestBody);
    if (logged) {
      log.line("DBG", "HttpRequest::invoke() - Request:\n%.*s", 4096, request.c_str());
    }
    const auto start = std::chrono::system_clock::now();
    const std::string response = bench::bareExchange(server.port(), request, server.responseSize());
    if (response.size() != server.responseSize()) {
      state.SkipWithError("the socket loop got no answer");
      break;
    }
    if (logged) {
      const std::chrono::duration<double, std::micro> elapsed =
          std::chrono::system_clock::now() - start;
      log.line("DBG", "HttpRequest::invoke() - %s response took %llu us", kTarget,
               static_cast<unsigned long long>(elapsed.count()));
      log.line("DBG", "HttpRequest::invoke() - Response (%lu bytes):\n%.*s",
               static_cast<unsigned long>(response.size()), 4096, response.c_str());
    }
  }
}

size_t keepBody(char* bytes, size_t, size_t size, void* body) {
  static_cast<std::string*>(body)->append(bytes, size);
  return size;
}

void curlExchange(benchmark::State& state) {
  const BenchServer server(static_cast<size_t>(state.range(0)));
  const std::string url = "http://127.0.0.1:" + std::to_string(server.port()) + kTarget;
  const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> handle(curl_easy_init(),
                                                                   curl_easy_cleanup);
  curl_slist* headers =
      curl_slist_append(nullptr, (std::string("Content-Type: ") + kContentType).c_str());
  curl_easy_setopt(handle.get(), CURLOPT_URL, url.c_str());
  curl_easy_setopt(handle.get(), CURLOPT_PROXY, "");
  curl_easy_setopt(handle.get(), CURLOPT_FORBID_REUSE, 1L);
  curl_easy_setopt(handle.get(), CURLOPT_HTTPHEADER, headers);
  curl_easy_setopt(handle.get(), CURLOPT_POSTFIELDS, kRequestBody);
  curl_easy_setopt(handle.get(), CURLOPT_WRITEFUNCTION, keepBody);
  for (auto _ : state) {
    std::string body;
    curl_easy_setopt(handle.get(), CURLOPT_WRITEDATA, &body);
    if (curl_easy_perform(handle.get()) != CURLE_OK ||
        body.size() != static_cast<size_t>(state.range(0))) {
      state.SkipWithError("libcurl got no answer");
      break;
    }
  }
  curl_slist_free_all(headers);
}

void withBodies(benchmark::internal::Benchmark* exchange) {
  exchange->Arg(200)->Arg(64 * 1024)->UseRealTime()->Unit(benchmark::kMicrosecond);
}

BENCHMARK(oursExchange)->Name("exchange/ours")->Apply(withBodies);
BENCHMARK_CAPTURE(bareExchange, logged, true)->Name("exchange/bare")->Apply(withBodies);
BENCHMARK_CAPTURE(bareExchange, silent, false)->Name("exchange/bareUnlogged")->Apply(withBodies);
BENCHMARK(curlExchange)->Name("exchange/curl")->Apply(withBodies);

}  // namespace
