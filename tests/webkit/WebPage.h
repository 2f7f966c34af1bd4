#ifndef TESTS_WEBKIT_WEB_PAGE_H_
#define TESTS_WEBKIT_WEB_PAGE_H_

#include <httplib.h>

#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/ChildProgram.h"
#include "tests/support/DisplaySandbox.h"

namespace test_support {

// Test pages in a real engine that finds the module, which launches the real application. The pages
// are reached as files and through a server on the loopback interface, which also serves the
// private home's "files" directory below "/files/".
class WebPage : public DisplaySandbox {
 protected:
  WebPage();
  // Ends the application.
  ~WebPage() override;

  // With a query: "pinning.html?host=localhost".
  std::string fileAddress(const std::string& page) const;
  std::string httpAddress(const std::string& page, const std::string& host = "127.0.0.1") const;

  // `script`, of the test pages' directory, runs in a page that is not one of the tests' own.
  void open(const std::string& address, int seconds = 60, const std::string& script = "");
  // Reads what the page says until a line that begins with `text`. The test fails, by a runtime
  // error, when the page ends first or says nothing for 20 seconds.
  std::string waitForLine(const std::string& text);
  // The host program's exit status after the page's last word, which must be clean.
  void expectDone();
  // Both.
  void runPage(const std::string& address);
  // Answers the page that asked the server for "/told.js", which waits until then. Once a page.
  void tell(const std::string& script) { _told.set_value(script); }
  // While the page is open.
  size_t countHostThreads() const;
  size_t countHostDescriptors() const;

  // A file of that many bytes below "files".
  void makeFile(const std::string& name, size_t size) const {
    test_support::makeFile(path("files/" + name), size);
  }
  // The paths that were asked of the server so far, with their queries.
  std::vector<std::string> requestedPaths() const;

 private:
  void serve();

  httplib::Server _server;
  int _port;
  mutable std::mutex _mutex;
  std::vector<std::string> _requestedPaths;  // guarded by _mutex
  std::thread _thread;
  std::promise<std::string> _told;
  std::shared_future<std::string> _whatIsTold;
  std::unique_ptr<ChildProgram> _host;
  std::string _transcript;
};

}  // namespace test_support

#endif  // TESTS_WEBKIT_WEB_PAGE_H_
