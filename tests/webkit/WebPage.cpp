#include "tests/webkit/WebPage.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace fs = std::filesystem;

namespace test_support {

namespace {

const std::string kLastWord = "PAGE DONE ";

}  // namespace

WebPage::WebPage() {
  setenv("MOZ_PLUGIN_PATH", MODULE_DIRECTORY, 1);
  setenv("QT_QPA_PLATFORM", "xcb", 1);
  setenv("QT_QPA_PLATFORMTHEME", "none", 1);
  setenv("XDG_RUNTIME_DIR", home().c_str(), 1);
  writePathFile(APPLICATIONS);
  fs::create_directory(path("files"));
  _server.set_mount_point("/", PAGES);
  _server.set_mount_point("/examples", EXAMPLES);
  _server.set_mount_point("/files", path("files"));
  _server.set_logger([this](const httplib::Request& request, const httplib::Response&) {
    std::lock_guard<std::mutex> lock(_mutex);
    _requestedPaths.push_back(request.target);
  });
  serve();
  _port = _server.bind_to_any_port("127.0.0.1");
  _thread = std::thread([this] { _server.listen_after_bind(); });
}

void WebPage::serve() {
  _server.Get("/told.js", [this](const httplib::Request&, httplib::Response& response) {
    if (_whatIsTold.wait_for(std::chrono::seconds(20)) == std::future_status::ready) {
      response.set_content(_whatIsTold.get(), "text/javascript");
    }
  });
}

WebPage::~WebPage() {
  _host.reset();
  _server.stop();
  _thread.join();
  endApplication();
}

std::string WebPage::fileAddress(const std::string& page) const {
  return std::string("file://") + PAGES + "/" + page;
}

std::string WebPage::httpAddress(const std::string& page, const std::string& host) const {
  return "http://" + host + ":" + std::to_string(_port) + "/" + page;
}

void WebPage::open(const std::string& address, int seconds, const std::string& script) {
  _transcript = address + "\n";
  _told = std::promise<std::string>();
  _whatIsTold = _told.get_future().share();
  std::vector<std::string> command = {WEB_HOST, address, std::to_string(seconds)};
  if (!script.empty()) {
    command.insert(command.end(), {PAGES "/checks.js", PAGES "/" + script});
  }
  _host = std::make_unique<ChildProgram>(command);
}

std::string WebPage::waitForLine(const std::string& text) {
  for (;;) {
    std::string line;
    try {
      line = _host->readLine();
    } catch (const std::exception& error) {
      throw std::runtime_error(std::string(error.what()) + " after\n" + _transcript);
    }
    _transcript += line + "\n";
    if (line.compare(0, text.size(), text) == 0) {
      return line;
    }
    if (line.compare(0, kLastWord.size(), kLastWord) == 0) {
      throw std::runtime_error("the page never said '" + text + "':\n" + _transcript);
    }
  }
}

void WebPage::expectDone() {
  waitForLine(kLastWord);
  EXPECT_EQ(_host->finish(), 0) << _transcript;
}

void WebPage::runPage(const std::string& address) {
  open(address);
  expectDone();
}

size_t WebPage::countHostThreads() const {
  return countEntries("/proc/" + std::to_string(_host->pid()) + "/task");
}

size_t WebPage::countHostDescriptors() const {
  return countEntries("/proc/" + std::to_string(_host->pid()) + "/fd");
}

std::vector<std::string> WebPage::requestedPaths() const {
  std::lock_guard<std::mutex> lock(_mutex);
  return _requestedPaths;
}

}  // namespace test_support
