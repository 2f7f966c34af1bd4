#include "tests/webkit/WebPage.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace fs = std::filesystem;

namespace test_support {

namespace {

const std::string kLastWord = "PAGE DONE ";

}  // namespace

WebPage::WebPage() : _server(path("files"), {PAGES}) {
  setenv("MOZ_PLUGIN_PATH", MODULE_DIRECTORY, 1);
  setenv("QT_QPA_PLATFORM", "xcb", 1);
  setenv("QT_QPA_PLATFORMTHEME", "none", 1);
  setenv("XDG_RUNTIME_DIR", home().c_str(), 1);
  writePathFile(APPLICATIONS);
  _server.start();
}

WebPage::~WebPage() {
  _host.reset();
  endApplication();
}

std::string WebPage::fileAddress(const std::string& page) const {
  return std::string("file://") + PAGES + "/" + page;
}

std::string WebPage::httpAddress(const std::string& page, const std::string& host) const {
  return _server.origin(host) + "/" + page;
}

void WebPage::open(const std::string& address, int seconds, const std::string& script) {
  _transcript = address + "\n";
  _server.forget();
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

}  // namespace test_support
