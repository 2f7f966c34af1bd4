#include "tests/pellion_simulator/Simulator.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>
#include <yajl/yajl_tree.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <stdexcept>

#include "tests/support/WaitFor.h"

namespace test_support {

namespace {

namespace fs = std::filesystem;

yajl_val member(yajl_val node, const char* name, yajl_type type) {
  const char* path[] = {name, nullptr};
  return yajl_tree_get(node, path, type);
}

std::string text(yajl_val node, const char* name) {
  const yajl_val value = member(node, name, yajl_t_string);
  return value != nullptr ? YAJL_GET_STRING(value) : "?";
}

long long number(yajl_val node, const char* name) {
  const yajl_val value = member(node, name, yajl_t_number);
  return YAJL_IS_INTEGER(value) ? YAJL_GET_INTEGER(value) : -1;
}

std::vector<yajl_val> items(yajl_val node, const char* name) {
  const yajl_val list = member(node, name, yajl_t_array);
  return list == nullptr ? std::vector<yajl_val>()
                         : std::vector<yajl_val>(list->u.array.values,
                                                 list->u.array.values + list->u.array.len);
}

Activity readActivity(yajl_val node) {
  Activity activity = {
      text(node, "id"),           text(node, "direction"),       text(node, "status"),
      text(node, "error"),        number(node, "bytes_written"), number(node, "bytes_expected"),
      number(node, "percentage"), number(node, "rate"),          {}};
  for (const yajl_val file : items(node, "files")) {
    activity.paths.push_back(text(file, "path"));
  }
  return activity;
}

std::string escapedXml(const std::string& plain) {
  std::string xml;
  for (const char c : plain) {
    xml += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
  }
  return xml;
}

std::vector<std::string> commandOf(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), ORVANE_PELLION);
  return arguments;
}

}  // namespace

Simulator::Simulator(const std::vector<std::string>& arguments, const std::string& errorFile,
                     size_t largestFile)
    : ChildProgram(commandOf(arguments), {errorFile, errorFile, largestFile}),
      _errorFile(errorFile) {}

Simulator::~Simulator() {
  if (!hasEnded()) {
    signal(SIGTERM);
    EXPECT_EQ(wait(), 0) << readFile(_errorFile);
  }
}

Connection::Connection(int port) : _socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  _isConnected = connect(_socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
}

Connection::~Connection() {
  close(_socket);
}

std::string Connection::exchange(const std::string& request) const {
  std::string response;
  if (_isConnected && sendAll(_socket, request)) {
    char buffer[4096];
    for (ssize_t count; (count = recv(_socket, buffer, sizeof(buffer), 0)) > 0;) {
      response.append(buffer, static_cast<size_t>(count));
    }
  }
  return response;
}

bool Connection::isOpen() const {
  char byte;
  return _isConnected && recv(_socket, &byte, 1, MSG_DONTWAIT) < 0 && errno == EAGAIN;
}

SimulatorTest::SimulatorTest() {
  unsetenv("XDG_CONFIG_HOME");
}

std::unique_ptr<Simulator> SimulatorTest::start(const std::vector<std::string>& arguments,
                                                size_t largestFile) {
  auto simulator = std::make_unique<Simulator>(arguments, errorFile(), largestFile);
  const bool published = waitFor([&] {
    const std::string pid = readFile(dataPath("var/run/process.pid"));
    return simulator->hasEnded() ||
           (pid == std::to_string(simulator->pid()) && fs::exists(dataPath("var/run/http.uri")) &&
            ownLog().find("Process " + pid + " listens") != std::string::npos);
  });
  if (!published || simulator->hasEnded()) {
    throw std::runtime_error("the simulator does not start: " + readFile(errorFile()));
  }
  return simulator;
}

int SimulatorTest::port() const {
  const std::string url = readFile(dataPath("var/run/http.uri"));
  return std::stoi(url.substr(url.rfind(':') + 1));
}

std::string SimulatorTest::request(const std::string& method, const std::string& target,
                                   const std::string& body) const {
  return exchange(method + " " + target + " HTTP/1.1\r\nConnection: close\r\nContent-Length: " +
                  std::to_string(body.size()) +
                  "\r\nContent-Type: application/vnd.orvane.xferreq+json\r\n"
                  "User-Agent: Orvane Pellion\r\n\r\n" +
                  body);
}

std::string SimulatorTest::transfer(const std::vector<std::string>& sources,
                                    const std::string& destination) {
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

ActivityAnswer SimulatorTest::activity(const std::string& token, const std::string& appId) const {
  // The poller's own notation.
  const std::string body =
      bodyOf(request("POST", "/v4/transfers/activity",
                     "{\n    \"iteration_token\": \"" + token +
                         "\",\n    \"orvane_pellion_settings\" : {\n        \"app_id\": \"" +
                         appId + "\"\n    }\n}\n"));
  char error[1024] = "";
  const std::unique_ptr<yajl_val_s, decltype(&yajl_tree_free)> root(
      yajl_tree_parse(body.c_str(), error, sizeof(error)), yajl_tree_free);
  ActivityAnswer answer;
  answer.token = text(root.get(), "iteration_token");
  for (const yajl_val transfer : items(root.get(), "transfers")) {
    answer.transfers.push_back(readActivity(transfer));
  }
  return answer;
}

Activity SimulatorTest::waitForEnd(const std::string& id) const {
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

std::vector<std::string> SimulatorTest::filesBelow(const std::string& relative) const {
  std::vector<std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(path(relative))) {
    if (!entry.is_directory()) {
      files.push_back(fs::path(entry.path()).lexically_relative(path(relative)).string());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace test_support
