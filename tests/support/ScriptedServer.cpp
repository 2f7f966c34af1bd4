#include "tests/support/ScriptedServer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace test_support {

namespace {

// npos until the header block is there; what stands before `from` was searched before.
size_t wholeSize(const std::string& request, size_t from) {
  const size_t end = request.find("\r\n\r\n", from < 3 ? 0 : from - 3);
  if (end == std::string::npos) {
    return end;
  }
  const char kLength[] = "Content-Length: ";
  const size_t length = request.find(kLength);
  const char* announced = length < end ? &request[length + sizeof(kLength) - 1] : "0";
  return end + 4 + std::strtoul(announced, nullptr, 10);
}

}  // namespace

ScriptedServer::ScriptedServer(Script script) : _script(std::move(script)) {
  _listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  if (bind(_listener, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
      listen(_listener, 64) != 0 ||
      getsockname(_listener, reinterpret_cast<sockaddr*>(&address), &size) != 0 ||
      pipe2(_wake, O_CLOEXEC) != 0) {
    throw std::runtime_error("cannot listen on the loopback interface");
  }
  _port = ntohs(address.sin_port);
  _thread = std::thread([this] { serve(); });
}

ScriptedServer::ScriptedServer(const std::string& response)
    : ScriptedServer([response](int connection, const std::string&, size_t) {
        sendAll(connection, response);
      }) {}

ScriptedServer::~ScriptedServer() {
  close(_wake[1]);
  _thread.join();
  close(_wake[0]);
  close(_listener);
}

std::vector<std::string> ScriptedServer::requests() const {
  std::lock_guard<std::mutex> lock(_mutex);
  return _requests;
}

size_t ScriptedServer::requestCount() const {
  std::lock_guard<std::mutex> lock(_mutex);
  return _requests.size();
}

void ScriptedServer::refuseFurther() {
  close(_listener);
  _listener = -1;
}

void ScriptedServer::serve() {
  for (;;) {
    pollfd watched[] = {{_listener, POLLIN, 0}, {_wake[0], POLLIN, 0}};
    poll(watched, 2, -1);
    if (watched[1].revents != 0) {
      return;
    }
    const int connection = accept4(_listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection >= 0) {
      handle(connection);
      close(connection);
    }
  }
}

void ScriptedServer::handle(int connection) {
  std::string request;
  char buffer[65536];
  size_t wanted = std::string::npos;
  while (request.size() < wanted) {
    pollfd watched[] = {{connection, POLLIN, 0}, {_wake[0], POLLIN, 0}};
    poll(watched, 2, -1);
    const ssize_t got = watched[1].revents != 0 ? 0 : recv(connection, buffer, sizeof(buffer), 0);
    if (got <= 0) {
      return;
    }
    const size_t before = request.size();
    request.append(buffer, static_cast<size_t>(got));
    if (wanted == std::string::npos) {
      wanted = wholeSize(request, before);
    }
  }
  size_t index;
  {
    std::lock_guard<std::mutex> lock(_mutex);
    index = _requests.size();
    _requests.push_back(request);
  }
  _script(connection, request, index);
}

std::string httpResponse(const std::string& body, const std::string& status) {
  return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
         body;
}

bool sendAll(int connection, const std::string& bytes) {
  size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t count = send(connection, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count <= 0) {
      return false;
    }
    sent += static_cast<size_t>(count);
  }
  return true;
}

std::string bodyOf(const std::string& message) {
  const size_t end = message.find("\r\n\r\n");
  return end == std::string::npos ? std::string() : message.substr(end + 4);
}

}  // namespace test_support
