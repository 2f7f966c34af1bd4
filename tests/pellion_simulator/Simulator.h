#ifndef TESTS_PELLION_SIMULATOR_SIMULATOR_H_
#define TESTS_PELLION_SIMULATOR_SIMULATOR_H_

#include <memory>
#include <string>
#include <vector>

#include "tests/support/ChildProgram.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScriptedServer.h"

namespace test_support {

// One transfer as the activity feed tells it.
struct Activity {
  std::string id, direction, status, error;
  long long written = 0, expected = 0, percentage = 0, rate = 0;
  std::vector<std::string> paths;
};

struct ActivityAnswer {
  std::string token;
  std::vector<Activity> transfers;
};

// The program itself. Its output and errors go to `errorFile`.
class Simulator : public ChildProgram {
 public:
  // `largestFile`: the size in bytes that no file of the child may exceed; 0 for none.
  Simulator(const std::vector<std::string>& arguments, const std::string& errorFile,
            size_t largestFile = 0);
  // Ends it when it still runs; it must exit cleanly, under sanitizers too.
  ~Simulator();

 private:
  const std::string _errorFile;
};

// A connection to a port of this machine.
class Connection {
 public:
  explicit Connection(int port);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Sends the bytes and reads until the peer closes.
  std::string exchange(const std::string& request) const;
  // Whether the peer has neither closed it nor sent anything.
  bool isOpen() const;

 private:
  const int _socket;
  bool _isConnected;
};

// A private home and what the tests do with a simulator in it.
class SimulatorTest : public Sandbox {
 protected:
  SimulatorTest();

  // Starts it and waits until it has published its address.
  std::unique_ptr<Simulator> start(const std::vector<std::string>& arguments = {},
                                   size_t largestFile = 0);
  std::string errorFile() const { return path("stderr"); }
  std::string ownLog() const { return readFile(dataPath("var/log/orvane-pellion.log")); }
  int port() const;

  static std::string urlOf(const ScriptedServer& server, const std::string& path) {
    return "http://127.0.0.1:" + std::to_string(server.port()) + path;
  }
  std::string exchange(const std::string& request) const {
    return Connection(port()).exchange(request);
  }
  // As the plugin sends it: no Host header, and a length in any case.
  std::string request(const std::string& method, const std::string& target,
                      const std::string& body) const;

  // Starts a transfer by the xferreq document and answers its id.
  std::string transfer(const std::vector<std::string>& sources, const std::string& destination);
  ActivityAnswer activity(const std::string& token = "", const std::string& appId = "") const;
  // Waits for the end of a transfer, by default the only one.
  Activity waitForEnd(const std::string& id = "") const;

  // All files below a directory, relative to it and sorted.
  std::vector<std::string> filesBelow(const std::string& relative) const;
};

}  // namespace test_support

#endif  // TESTS_PELLION_SIMULATOR_SIMULATOR_H_
