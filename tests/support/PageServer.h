#ifndef TESTS_SUPPORT_PAGE_SERVER_H_
#define TESTS_SUPPORT_PAGE_SERVER_H_

#include <httplib.h>

#include <chrono>
#include <filesystem>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace test_support {

// Pages and files for a browser, on the loopback interface: the directory `files`, which it makes,
// below "/files/", the examples below "/examples/", the pages of `directories` at the top.
class PageServer {
 public:
  PageServer(const std::string& files, const std::vector<std::string>& directories) {
    // Browsers keep a dozen connections open, each of which holds a thread.
    _server.new_task_queue = [] { return new httplib::ThreadPool(32); };
    forget();
    std::filesystem::create_directory(files);
    for (const std::string& directory : directories) {
      _server.set_mount_point("/", directory);
    }
    _server.set_mount_point("/examples", EXAMPLES);
    _server.set_mount_point("/files", files);
    _server.set_file_extension_and_mimetype_mapping("mjs", "text/javascript");
    _server.set_logger([this](const httplib::Request& request, const httplib::Response&) {
      std::lock_guard<std::mutex> lock(_mutex);
      _requestedPaths.push_back(request.target);
    });
    _server.Get("/told.js", [this](const httplib::Request&, httplib::Response& response) {
      if (_whatIsTold.wait_for(std::chrono::seconds(20)) == std::future_status::ready) {
        response.set_content(_whatIsTold.get(), "text/javascript");
      }
    });
  }
  ~PageServer() {
    if (_thread.joinable()) {
      _server.stop();
      _thread.join();
    }
  }
  PageServer(const PageServer&) = delete;
  PageServer& operator=(const PageServer&) = delete;

  // More to serve; before `start`.
  httplib::Server& routes() { return _server; }
  void start() {
    _port = _server.bind_to_any_port("127.0.0.1");
    _thread = std::thread([this] { _server.listen_after_bind(); });
  }

  std::string origin(const std::string& host = "127.0.0.1") const {
    return "http://" + host + ":" + std::to_string(_port);
  }
  // The paths that were asked for so far, with their queries.
  std::vector<std::string> requestedPaths() const {
    std::lock_guard<std::mutex> lock(_mutex);
    return _requestedPaths;
  }
  // Answers the page that asked for "/told.js", which waits until then. Once after each `forget`.
  void tell(const std::string& script) { _told.set_value(script); }
  void forget() {
    _told = std::promise<std::string>();
    _whatIsTold = _told.get_future().share();
  }

 private:
  httplib::Server _server;
  int _port = 0;
  mutable std::mutex _mutex;
  std::vector<std::string> _requestedPaths;  // guarded by _mutex
  std::promise<std::string> _told;
  std::shared_future<std::string> _whatIsTold;
  std::thread _thread;
};

}  // namespace test_support

#endif  // TESTS_SUPPORT_PAGE_SERVER_H_
