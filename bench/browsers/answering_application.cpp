// An application that answers at once, the same for every page. It publishes its address in the
// home directory, and ends with its input.
//   /bench/size/N   a JSON text of N bytes
//   /bench/wait/MS  an answer after so long; says "waits" and "waited" on the output meanwhile
//   else            that no transfer is there

#include <httplib.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>

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

// No thread but the server's own: a change of threads takes as long as an answer.
class InTurn : public httplib::TaskQueue {
 public:
  void enqueue(std::function<void()> task) override { task(); }
  void shutdown() override {}
};

void serve(httplib::Server& server) {
  server.new_task_queue = [] { return new InTurn(); };
  server.set_keep_alive_max_count(1);
  const auto idle = [](const httplib::Request&, httplib::Response& response) {
    response.set_content(R"({"iteration_token":"1","transfers":[]})", "application/json");
  };
  server.Post(
      R"(/bench/size/(\d+))", [](const httplib::Request& request, httplib::Response& response) {
        response.set_content(jsonOf(std::stoul(request.matches[1].str())), "application/json");
      });
  server.Post(
      R"(/bench/wait/(\d+))", [](const httplib::Request& request, httplib::Response& response) {
        say("waits");
        std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(request.matches[1].str())));
        say("waited");
        response.set_content("{}", "application/json");
      });
  server.Get(".*", idle);
  server.Post(".*", idle);
}

}  // namespace

int main() {
  const char* home = std::getenv("HOME");
  if (home == nullptr) {
    return 2;
  }
  httplib::Server server;
  serve(server);
  const int port = server.bind_to_any_port("127.0.0.1");
  test_support::writeFile(std::string(home) + "/.orvane/pellion/var/run/http.uri",
                          "http://127.0.0.1:" + std::to_string(port) + "/");
  std::thread listener([&] { server.listen_after_bind(); });
  say("ready");
  char byte;
  while (read(STDIN_FILENO, &byte, 1) > 0) {
  }
  server.stop();
  listener.join();
  return 0;
}
