#ifndef TESTS_EXAMPLES_APPLICATION_PAGE_H_
#define TESTS_EXAMPLES_APPLICATION_PAGE_H_

#include <httplib.h>

#include <string>
#include <thread>

#include "tests/page_host/PageRunner.h"

namespace test_support {

// Page scripts with the real module, which launches the real application. Their downloads come from
// the private home's directory "web", through a server on the loopback interface.
class ApplicationPage : public PageRunner {
 protected:
  ApplicationPage();
  ~ApplicationPage() override;

  // Ends the application, while a derived test's screen is still there.
  void TearDown() override { endApplication(); }

  // A file of that many bytes below "web", and its address.
  std::string serveFile(const std::string& name, size_t size);

 private:
  httplib::Server _server;
  int _port;
  std::thread _thread;
};

}  // namespace test_support

#endif  // TESTS_EXAMPLES_APPLICATION_PAGE_H_
