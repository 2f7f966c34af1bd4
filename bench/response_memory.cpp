// Reads one large response as the module does, and prints by how many bytes that raised the peak of
// this process above what it had before. The server is a process of its own. Arguments: the body's
// size, and "announced" or "untilClose".

#include <cstdlib>
#include <cstring>
#include <memory>

#include "bench/BenchHome.h"
#include "bench/ProcessFigures.h"
#include "bench/ServerProcess.h"
#include "plugin/src/HttpRequest.h"
#include "plugin/src/HttpResponse.h"

using bench::BenchServer;
using Pellion::Web::HttpRequest;
using Pellion::Web::HttpResponse;

int main(int argc, char** argv) {
  if (argc != 3) {
    return 2;
  }
  const size_t size = std::strtoul(argv[1], nullptr, 10);
  const auto length = std::strcmp(argv[2], "announced") == 0 ? BenchServer::Length::kAnnounced
                                                             : BenchServer::Length::kUntilClose;
  const bench::ServerProcess server([&] { return std::make_unique<BenchServer>(size, length); });
  bench::BenchHome::startLog();
  const uint64_t before = bench::ownStatus("VmRSS");
  HttpRequest request("127.0.0.1", static_cast<unsigned short>(server.port()));
  const std::unique_ptr<HttpResponse> response(request.invoke());
  if (response == nullptr || response->data().size() != size) {
    return 1;
  }
  bench::printFigure("peak", static_cast<double>(bench::ownStatus("VmHWM") - before));
  return 0;
}
