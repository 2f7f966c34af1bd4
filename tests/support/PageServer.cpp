#include "tests/support/PageServer.h"

#include <chrono>
#include <filesystem>

namespace test_support {

PageServer::PageServer(const std::string& files, const std::vector<std::string>& directories) {
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

PageServer::~PageServer() {
  if (_thread.joinable()) {
    _server.stop();
    _thread.join();
  }
}

void PageServer::start() {
  _port = _server.bind_to_any_port("127.0.0.1");
  _thread = std::thread([this] { _server.listen_after_bind(); });
}

std::string PageServer::origin(const std::string& host) const {
  return "http://" + host + ":" + std::to_string(_port);
}

std::vector<std::string> PageServer::requestedPaths() const {
  std::lock_guard<std::mutex> lock(_mutex);
  return _requestedPaths;
}

void PageServer::forget() {
  _told = std::promise<std::string>();
  _whatIsTold = _told.get_future().share();
}

}  // namespace test_support
