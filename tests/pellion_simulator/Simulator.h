#ifndef TESTS_PELLION_SIMULATOR_SIMULATOR_H_
#define TESTS_PELLION_SIMULATOR_SIMULATOR_H_

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/ChildProgram.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/WaitFor.h"
#include "tools/json/JsonDocument.h"

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
  Simulator(std::vector<std::string> arguments, const std::string& errorFile,
            size_t largestFile = 0)
      : ChildProgram((arguments.insert(arguments.begin(), ORVANE_PELLION), arguments),
                     {errorFile, errorFile, largestFile}),
        _errorFile(errorFile) {}
  // Ends it when it still runs; it must exit cleanly, under sanitizers too.
  ~Simulator() {
    if (!hasEnded()) {
      signal(SIGTERM);
      EXPECT_EQ(wait(), 0) << readFile(_errorFile);
    }
  }

 private:
  const std::string _errorFile;
};

// A connection to a port of this machine.
class Connection {
 public:
  explicit Connection(int port) : _socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    _isConnected = connect(_socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
  }
  ~Connection() { close(_socket); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Sends the bytes and reads until the peer closes.
  std::string exchange(const std::string& request) const {
    std::string response;
    if (_isConnected && sendAll(_socket, request)) {
      char buffer[4096];
      for (ssize_t count; (count = recv(_socket, buffer, sizeof(buffer), 0)) > 0;) {
        response.append(buffer, static_cast<size_t>(count));
      }
    }
    return response;
  }
  // Whether the peer has neither closed it nor sent anything.
  bool isOpen() const {
    char byte;
    return _isConnected && recv(_socket, &byte, 1, MSG_DONTWAIT) < 0 && errno == EAGAIN;
  }

 private:
  const int _socket;
  bool _isConnected;
};

// A private home and what the tests do with a simulator in it.
class SimulatorTest : public Sandbox {
 protected:
  SimulatorTest() { unsetenv("XDG_CONFIG_HOME"); }

  // Starts it and waits until it has published its address.
  std::unique_ptr<Simulator> start(const std::vector<std::string>& arguments = {},
                                   size_t largestFile = 0) {
    auto simulator = std::make_unique<Simulator>(arguments, errorFile(), largestFile);
    const bool published = waitFor([&] {
      const std::string pid = readFile(dataPath("var/run/process.pid"));
      return simulator->hasEnded() ||
             (pid == std::to_string(simulator->pid()) &&
              std::filesystem::exists(dataPath("var/run/http.uri")) &&
              ownLog().find("Process " + pid + " listens") != std::string::npos);
    });
    if (!published || simulator->hasEnded()) {
      throw std::runtime_error("the simulator does not start: " + readFile(errorFile()));
    }
    return simulator;
  }
  std::string errorFile() const { return path("stderr"); }
  std::string ownLog() const { return readFile(dataPath("var/log/orvane-pellion.log")); }
  int port() const {
    const std::string url = readFile(dataPath("var/run/http.uri"));
    return std::stoi(url.substr(url.rfind(':') + 1));
  }

  static std::string urlOf(const ScriptedServer& server, const std::string& path) {
    return "http://127.0.0.1:" + std::to_string(server.port()) + path;
  }
  std::string exchange(const std::string& request) const {
    return Connection(port()).exchange(request);
  }
  // As the plugin sends it: no Host header, and a length in any case.
  std::string request(const std::string& method, const std::string& target,
                      const std::string& body) const {
    return exchange(method + " " + target + " HTTP/1.1\r\nConnection: close\r\nContent-Length: " +
                    std::to_string(body.size()) +
                    "\r\nContent-Type: application/vnd.orvane.xferreq+json\r\n"
                    "User-Agent: Orvane Pellion\r\n\r\n" +
                    body);
  }

  // Starts a transfer by the xferreq document and answers its id.
  std::string transfer(const std::vector<std::string>& sources, const std::string& destination) {
    std::string xml = "<xferreq xmlns=\"http://schema.orvane.example/xml/xferreq/\">";
    for (const std::string& source : sources) {
      xml += "<src>" + escapedXml(source) + "</src>";
    }
    if (!destination.empty()) {
      xml += "<dest>" + escapedXml(destination) + "</dest>";
    }
    const std::string response = request("POST", "/transfers/", xml + "</xferreq>");
    const size_t id = response.find("{\"id\":\"");
    if (id == std::string::npos) {
      throw std::runtime_error("not started: " + response);
    }
    return response.substr(id + 7, response.find('"', id + 7) - id - 7);
  }
  ActivityAnswer activity(const std::string& token = "", const std::string& appId = "") const {
    // The poller's own notation.
    const json::JsonDocument document(
        bodyOf(request("POST", "/v4/transfers/activity",
                       "{\n    \"iteration_token\": \"" + token +
                           "\",\n    \"orvane_pellion_settings\" : {\n        \"app_id\": \"" +
                           appId + "\"\n    }\n}\n")));
    ActivityAnswer answer;
    answer.token = text(document.root(), "iteration_token");
    for (const json::JsonValue& transfer : items(document.root(), "transfers")) {
      answer.transfers.push_back(readActivity(transfer));
    }
    return answer;
  }
  // Waits for the end of a transfer, by default the only one.
  Activity waitForEnd(const std::string& id = "") const {
    Activity found;
    const bool ended = waitFor([&] {
      for (const Activity& one : activity().transfers) {
        if (id.empty() || one.id == id) {
          found = one;
        }
      }
      return !found.id.empty() && found.status != "initiating" && found.status != "running";
    });
    if (!ended) {
      throw std::runtime_error("the transfer does not end; it is " + found.status);
    }
    return found;
  }

  // All files below a directory, relative to it and sorted.
  std::vector<std::string> filesBelow(const std::string& relative) const {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path(relative))) {
      if (!entry.is_directory()) {
        files.push_back(entry.path().lexically_relative(path(relative)));
      }
    }
    std::sort(files.begin(), files.end());
    return files;
  }

 private:
  static std::string escapedXml(const std::string& plain) {
    std::string xml;
    for (const char c : plain) {
      xml += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
    }
    return xml;
  }
  static std::string text(const json::JsonValue& node, const char* name) {
    const json::JsonValue* value = node.member(name);
    return value != nullptr && value->is(json::JsonValue::Kind::kString) ? value->text : "?";
  }
  static long long number(const json::JsonValue& node, const char* name) {
    const json::JsonValue* value = node.member(name);
    const bool isWhole = value != nullptr && value->is(json::JsonValue::Kind::kNumber) &&
                         value->text.find_first_not_of("0123456789") == std::string::npos;
    return isWhole ? std::stoll(value->text) : -1;
  }
  static std::vector<json::JsonValue> items(const json::JsonValue& node, const char* name) {
    const json::JsonValue* list = node.member(name);
    return list == nullptr ? std::vector<json::JsonValue>() : list->items;
  }
  static Activity readActivity(const json::JsonValue& node) {
    Activity activity = {
        text(node, "id"),           text(node, "direction"),       text(node, "status"),
        text(node, "error"),        number(node, "bytes_written"), number(node, "bytes_expected"),
        number(node, "percentage"), number(node, "rate"),          {}};
    for (const json::JsonValue& file : items(node, "files")) {
      activity.paths.push_back(text(file, "path"));
    }
    return activity;
  }
};

}  // namespace test_support

#endif  // TESTS_PELLION_SIMULATOR_SIMULATOR_H_
