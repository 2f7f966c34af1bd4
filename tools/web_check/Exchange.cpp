#include "tools/web_check/Exchange.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "plugin/src/HttpRequest.h"
#include "tools/web_check/Deadline.h"

using Pellion::Web::HttpRequest;
using Pellion::Web::HttpResponse;

namespace web_check {

namespace {

constexpr int kExchangeMs = 3000;
constexpr size_t kMostResponse = 4 * 1024 * 1024;

// One connection with one deadline for everything. Each step answers false, with error() set, when
// it fails or comes too late.
class BoundedConnection {
 public:
  BoundedConnection() : _socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {}
  ~BoundedConnection() { close(_socket); }
  BoundedConnection(const BoundedConnection&) = delete;
  BoundedConnection& operator=(const BoundedConnection&) = delete;

  const std::string& error() const { return _error; }
  bool wasRefused() const { return _wasRefused; }

  bool connectTo(const std::string& address, unsigned short port);
  bool sendAll(const std::string& bytes);
  // Up to the announced length, or to the peer's close, which is no failure.
  bool receiveResponse(std::string* text);

 private:
  bool waitFor(short events);
  bool fail(int error) {
    _error = std::strerror(error);
    _wasRefused = error == ECONNREFUSED;
    return false;
  }

  const int _socket;
  const Deadline _deadline{kExchangeMs};
  std::string _error;
  bool _wasRefused = false;
};

bool BoundedConnection::waitFor(short events) {
  pollfd watched = {_socket, events, 0};
  const int ready = poll(&watched, 1, _deadline.remaining());
  return ready > 0 || fail(ready == 0 ? ETIMEDOUT : errno);
}

bool BoundedConnection::connectTo(const std::string& address, unsigned short port) {
  sockaddr_in target = {};
  target.sin_family = AF_INET;
  target.sin_port = htons(port);
  inet_pton(AF_INET, address.c_str(), &target.sin_addr);
  if (connect(_socket, reinterpret_cast<sockaddr*>(&target), sizeof(target)) == 0) {
    return true;
  }
  if (errno != EINPROGRESS) {
    return fail(errno);
  }
  int error = 0;
  socklen_t size = sizeof(error);
  return waitFor(POLLOUT) &&
         ((getsockopt(_socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0) ||
          fail(error));
}

bool BoundedConnection::sendAll(const std::string& bytes) {
  for (size_t sent = 0; sent < bytes.size();) {
    const ssize_t count = send(_socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count < 0 && (errno != EAGAIN || !waitFor(POLLOUT))) {
      return _error.empty() ? fail(errno) : false;
    }
    sent += count > 0 ? static_cast<size_t>(count) : 0;
  }
  return true;
}

// As the plugin has it: the length counts in exactly this case, and without one only the peer's
// close ends a response.
bool isComplete(const std::string& text) {
  const size_t head = text.find("\r\n\r\n");
  const size_t length = text.find(HttpRequest::kContentLength);
  if (head == std::string::npos || length >= head) {
    return false;
  }
  const char* const value = text.c_str() + length + std::strlen(HttpRequest::kContentLength);
  return text.size() >= head + 4 + std::strtoul(value, nullptr, 10);
}

bool BoundedConnection::receiveResponse(std::string* text) {
  char buffer[4096];
  while (!isComplete(*text) && text->size() < kMostResponse) {
    if (!waitFor(POLLIN)) {
      return false;
    }
    const ssize_t count = recv(_socket, buffer, sizeof(buffer), 0);
    if (count < 0) {
      return fail(errno);
    }
    if (count == 0) {
      return true;
    }
    text->append(buffer, static_cast<size_t>(count));
  }
  return true;
}

Exchange open(BoundedConnection* connection, const std::string& address, unsigned short port) {
  Exchange exchange;
  if (connection->connectTo(address, port)) {
    exchange.reached = Reached::kConnection;
  } else {
    exchange.error = connection->error();
    exchange.refused = connection->wasRefused();
  }
  return exchange;
}

}  // namespace

Exchange tryConnect(const std::string& address, unsigned short port) {
  BoundedConnection connection;
  return open(&connection, address, port);
}

Exchange request(const std::string& address, unsigned short port, const std::string& method,
                 const std::string& path, const std::string& body) {
  BoundedConnection connection;
  Exchange exchange = open(&connection, address, port);
  if (exchange.reached != Reached::kConnection) {
    return exchange;
  }
  std::string text;
  if (!connection.sendAll(
          method + " " + path +
          " HTTP/1.1\r\nConnection: close\r\nContent-Length: " + std::to_string(body.size()) +
          "\r\nContent-Type: application/vnd.orvane.xferreq+json\r\n"
          "User-Agent: Orvane Pellion\r\n\r\n" +
          body) ||
      !connection.receiveResponse(&text)) {
    exchange.error = connection.error();
    return exchange;
  }
  exchange.response.reset(HttpResponse::parse(text));
  if (exchange.response) {
    exchange.reached = Reached::kAnswer;
  } else {
    exchange.error = "what came is no HTTP response";
  }
  return exchange;
}

}  // namespace web_check
