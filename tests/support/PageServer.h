#ifndef TESTS_SUPPORT_PAGE_SERVER_H_
#define TESTS_SUPPORT_PAGE_SERVER_H_

#include <httplib.h>

#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace test_support {

// Pages and files for a browser, on the loopback interface: the directory `files`, which it makes,
// below "/files/", the examples below "/examples/", the pages of `directories` at the top.
class PageServer {
 public:
  PageServer(const std::string& files, const std::vector<std::string>& directories);
  ~PageServer();
  PageServer(const PageServer&) = delete;
  PageServer& operator=(const PageServer&) = delete;

  // More to serve; before `start`.
  httplib::Server& routes() { return _server; }
  void start();

  std::string origin(const std::string& host = "127.0.0.1") const;
  // The paths that were asked for so far, with their queries.
  std::vector<std::string> requestedPaths() const;
  // Answers the page that asked for "/told.js", which waits until then. Once after each `forget`.
  void tell(const std::string& script) { _told.set_value(script); }
  void forget();

 private:
  httplib::Server _server;
  int _port = 0;
  mutable std::mutex _mutex;
  std::vector<std::string> _requestedPaths;  // guarded by _mutex
  std::promise<std::string> _told;
  std::shared_future<std::string> _whatIsTold;
  std::thread _thread;
};

}  // namespace test_support

#endif  // TESTS_SUPPORT_PAGE_SERVER_H_
