// An application that answers at once, the same for every page. It publishes its address in the
// home directory, and ends with its input.
//   /bench/size/N   a JSON text of N bytes
//   /bench/wait/MS  as below after so long; says "waits" and "waited" on the output meanwhile
//   else            that no transfer is there

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "bench/BenchServer.h"
#include "tests/support/Sandbox.h"

namespace {

void say(const char* text) {
  std::puts(text);
  std::fflush(stdout);
}

// Of the kind that the application's interface is full of: names, numbers, paths.
std::string jsonOf(size_t size) {
  const std::string record =
      R"({"id":"b7f0c6e2-51d4","status":"running","files":[{"path":"/home/a b/c.txt","size":1048576}]},)";
  std::string text = R"({"transfers":[)";
  const std::string end = R"(null],"rest":")";
  while (text.size() + record.size() + end.size() + 2 <= size) {
    text += record;
  }
  text += end;
  text.append(size > text.size() + 2 ? size - text.size() - 2 : 0, 'x');
  return text + "\"}";
}

// The number behind `path` in the first line of a request, if it asks for that.
std::optional<unsigned long> askedFor(std::string_view request, std::string_view path) {
  const size_t found = request.substr(0, request.find("\r\n")).find(path);
  if (found == std::string_view::npos) {
    return std::nullopt;
  }
  return std::strtoul(request.data() + found + path.size(), nullptr, 10);
}

// Every response is made once, so that the first of a size is the only one to wait for.
class Responses {
 public:
  const std::string& operator()(std::string_view request) {
    if (const std::optional<unsigned long> size = askedFor(request, "/bench/size/")) {
      std::string& response = _bySize[*size];
      return response.empty() ? response = responseOf(jsonOf(*size)) : response;
    }
    if (const std::optional<unsigned long> time = askedFor(request, "/bench/wait/")) {
      say("waits");
      std::this_thread::sleep_for(std::chrono::milliseconds(*time));
      say("waited");
    }
    return _idle;
  }

 private:
  static std::string responseOf(const std::string& body) {
    return bench::BenchServer::responseOf(body, bench::BenchServer::Length::kAnnounced);
  }

  std::map<unsigned long, std::string> _bySize;
  const std::string _idle = responseOf(R"({"iteration_token":"1","transfers":[]})");
};

}  // namespace

int main() {
  const char* home = std::getenv("HOME");
  if (home == nullptr) {
    return 2;
  }
  Responses responses;
  const bench::BenchServer server(std::ref(responses));
  test_support::writeFile(std::string(home) + "/.orvane/pellion/var/run/http.uri",
                          "http://127.0.0.1:" + std::to_string(server.port()) + "/");
  say("ready");
  char byte;
  while (read(STDIN_FILENO, &byte, 1) > 0) {
  }
  return 0;
}
