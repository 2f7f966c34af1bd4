#ifndef TESTS_WEBKIT_WEB_PAGE_H_
#define TESTS_WEBKIT_WEB_PAGE_H_

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/ChildProgram.h"
#include "tests/support/DisplaySandbox.h"
#include "tests/support/PageServer.h"

namespace test_support {

// Test pages in a real engine that finds the module, which launches the real application. The pages
// are reached as files and through a server on the loopback interface, which also serves the
// private home's "files" directory below "/files/".
class WebPage : public DisplaySandbox {
 protected:
  WebPage() : _server(path("files"), {PAGES}) {
    setenv("MOZ_PLUGIN_PATH", MODULE_DIRECTORY, 1);
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    setenv("QT_QPA_PLATFORMTHEME", "none", 1);
    setenv("XDG_RUNTIME_DIR", home().c_str(), 1);
    writePathFile(APPLICATIONS);
    _server.start();
  }
  // Ends the application.
  ~WebPage() override {
    _host.reset();
    endApplication();
  }

  // With a query: "pinning.html?host=localhost".
  static std::string fileAddress(const std::string& page) {
    return std::string("file://") + PAGES + "/" + page;
  }
  std::string httpAddress(const std::string& page, const std::string& host = "127.0.0.1") const {
    return _server.origin(host) + "/" + page;
  }

  // `script`, of the test pages' directory, runs in a page that is not one of the tests' own.
  void open(const std::string& address, int seconds = 60, const std::string& script = "") {
    _transcript = address + "\n";
    _server.forget();
    std::vector<std::string> command = {WEB_HOST, address, std::to_string(seconds)};
    if (!script.empty()) {
      command.insert(command.end(), {PAGES "/checks.js", PAGES "/" + script});
    }
    _host = std::make_unique<ChildProgram>(command);
  }
  // Reads what the page says until a line that begins with `text`. The test fails, by a runtime
  // error, when the page ends first or says nothing for 20 seconds.
  std::string waitForLine(const std::string& text) {
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
      if (line.rfind(kLastWord, 0) == 0) {
        throw std::runtime_error("the page never said '" + text + "':\n" + _transcript);
      }
    }
  }
  // The host program's exit status after the page's last word, which must be clean.
  void expectDone() {
    waitForLine(kLastWord);
    EXPECT_EQ(_host->finish(), 0) << _transcript;
  }
  // Both.
  void runPage(const std::string& address) {
    open(address);
    expectDone();
  }
  // Answers the page that asked the server for "/told.js", which waits until then. Once a page.
  void tell(const std::string& script) { _server.tell(script); }
  // While the page is open: "task" for its threads, "fd" for its descriptors.
  size_t countOfHost(const std::string& what) const {
    return countEntries("/proc/" + std::to_string(_host->pid()) + "/" + what);
  }

  // A file of that many bytes below "files".
  void makeFile(const std::string& name, size_t size) const {
    test_support::makeFile(path("files/" + name), size);
  }
  // The paths that were asked of the server so far, with their queries.
  std::vector<std::string> requestedPaths() const { return _server.requestedPaths(); }

 private:
  static constexpr char kLastWord[] = "PAGE DONE ";

  PageServer _server;
  std::unique_ptr<ChildProgram> _host;
  std::string _transcript;
};

}  // namespace test_support

#endif  // TESTS_WEBKIT_WEB_PAGE_H_
