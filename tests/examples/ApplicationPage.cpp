#include "tests/examples/ApplicationPage.h"

#include <signal.h>

#include <filesystem>

#include "tests/support/WaitFor.h"

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

void ApplicationPage::TearDown() {
  const std::string pidFile = dataPath("var/run/process.pid");
  const std::string pid = readFile(pidFile);
  if (!pid.empty()) {
    kill(static_cast<pid_t>(std::stol(pid)), SIGTERM);
    EXPECT_TRUE(waitFor([&] { return !fs::exists(pidFile); }));
  }
}

std::string ApplicationPage::serveFile(const std::string& name, size_t size) {
  std::string content(size, '\0');
  for (size_t i = 0; i < size; ++i) {
    content[i] = static_cast<char>(i * 2654435761u >> 13);
  }
  writeFile(path("web/" + name), content);
  return "http://127.0.0.1:" + std::to_string(_port) + "/" + name;
}

}  // namespace test_support
