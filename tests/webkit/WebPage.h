#ifndef TESTS_WEBKIT_WEB_PAGE_H_
#define TESTS_WEBKIT_WEB_PAGE_H_

#include <memory>
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
  void tell(const std::string& script) { _server.tell(script); }
  // While the page is open.
  size_t countHostThreads() const;
  size_t countHostDescriptors() const;

  // A file of that many bytes below "files".
  void makeFile(const std::string& name, size_t size) const {
    test_support::makeFile(path("files/" + name), size);
  }
  // The paths that were asked of the server so far, with their queries.
  std::vector<std::string> requestedPaths() const { return _server.requestedPaths(); }

 private:
  PageServer _server;
  std::unique_ptr<ChildProgram> _host;
  std::string _transcript;
};

}  // namespace test_support

#endif  // TESTS_WEBKIT_WEB_PAGE_H_
