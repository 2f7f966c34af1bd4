#ifndef TESTS_SUPPORT_SCRIPTED_SERVER_H_
#define TESTS_SUPPORT_SCRIPTED_SERVER_H_

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace test_support {

// A loopback server for one test, on a port that the kernel picks. It takes connections one after
// the other, reads each request whole (by its Content-Length), keeps its bytes, and lets the script
// answer. Only the accepting thread runs the script.
class ScriptedServer {
 public:
  // Writes whatever it likes to the connection; the server closes it afterwards. `index` counts the
  // requests from 0.
  using Script = std::function<void(int connection, const std::string& request, size_t index)>;

  explicit ScriptedServer(Script script);
  // Answers every request with the same bytes.
  explicit ScriptedServer(const std::string& response);
  ~ScriptedServer();
  ScriptedServer(const ScriptedServer&) = delete;
  ScriptedServer& operator=(const ScriptedServer&) = delete;

  int port() const { return _port; }
  // The bytes of all requests so far, in order of arrival.
  std::vector<std::string> requests() const;
  size_t requestCount() const;
  // For a script: who connects from now on is refused.
  void refuseFurther();

 private:
  void serve();
  void handle(int connection);

  Script _script;
  int _listener;
  int _port;
  int _wake[2];
  mutable std::mutex _mutex;
  std::vector<std::string> _requests;  // guarded by _mutex
  std::thread _thread;
};

// A whole HTTP response with its Content-Length.
std::string httpResponse(const std::string& body, const std::string& status = "200 OK");
// Writes all of `bytes` to a connection; false when the peer has gone.
bool sendAll(int connection, const std::string& bytes);
// The body of a request or response: what follows the first empty line.
std::string bodyOf(const std::string& message);

}  // namespace test_support

#endif  // TESTS_SUPPORT_SCRIPTED_SERVER_H_
