#ifndef TESTS_EXAMPLES_APPLICATION_PAGE_H_
#define TESTS_EXAMPLES_APPLICATION_PAGE_H_

#include <string>

#include "tests/page_host/PageRunner.h"
#include "tests/support/PageServer.h"

namespace test_support {

// Page scripts with the real module, which launches the real application. Their downloads come from
// the private home's directory "web", through a server on the loopback interface.
class ApplicationPage : public PageRunner {
 protected:
  ApplicationPage() : _server(path("web"), {}) {
    writePathFile(APPLICATIONS);
    _server.start();
  }

  // Ends the application, while a derived test's screen is still there.
  void TearDown() override { endApplication(); }

  // A file of that many bytes below "web", and its address.
  std::string serveFile(const std::string& name, size_t size) {
    makeFile(path("web/" + name), size);
    return _server.origin() + "/files/" + name;
  }

 private:
  PageServer _server;
};

}  // namespace test_support

#endif  // TESTS_EXAMPLES_APPLICATION_PAGE_H_
