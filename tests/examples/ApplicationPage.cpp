#include "tests/examples/ApplicationPage.h"

#include <filesystem>

namespace fs = std::filesystem;

namespace test_support {

ApplicationPage::ApplicationPage() {
  writePathFile(APPLICATIONS);
  fs::create_directory(path("web"));
  _server.set_mount_point("/", path("web"));
  _port = _server.bind_to_any_port("127.0.0.1");
  _thread = std::thread([this] { _server.listen_after_bind(); });
}

ApplicationPage::~ApplicationPage() {
  _server.stop();
  _thread.join();
}

std::string ApplicationPage::serveFile(const std::string& name, size_t size) {
  makeFile(path("web/" + name), size);
  return "http://127.0.0.1:" + std::to_string(_port) + "/" + name;
}

}  // namespace test_support
