#include "tools/web_check/Exchange.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
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
// A busy application tells of a thousand transfers, each with a hundred files.
constexpr size_t kMostResponse = 64 * 1024 * 1024;
constexpr size_t kReceiveSize = 64 * 1024;

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
  bool sentTooMuch() const { return _sentTooMuch; }

  bool connectTo(const std::string& address, unsigned short port);
  bool sendAll(const std::string& bytes);
  // Up to the announced length, or to the peer's close, which is no failure. Fails, without
  // error(), when that is more than kMostResponse.
  bool receiveResponse(std::string* text);

 private:
  bool waitFor(short events);
  // Appends what has arrived; false, without an error, when the peer has closed.
  bool receiveSome(std::string* text);
  bool fail(int error) {
    _error = std::strerror(error);
    _wasRefused = error == ECONNREFUSED;
    return false;
  }

  const int _socket;
  const Deadline _deadline{kExchangeMs};
  std::string _error;
  bool _wasRefused = false;
  bool _sentTooMuch = false;
};

bool BoundedConnection::waitFor(short events) {
  pollfd watched = {_socket, events, 0};
  const int left = _deadline.remaining();
  const int ready = left > 0 ? poll(&watched, 1, left) : 0;
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
// close ends a response. 0 while the head is not whole.
size_t wholeSize(const std::string& text) {
  const size_t head = text.find("\r\n\r\n");
  if (head == std::string::npos) {
    return 0;
  }
  const size_t length = text.find(HttpRequest::kContentLength);
  if (length >= head) {
    return std::string::npos;
  }
  const char* const value = text.c_str() + length + std::strlen(HttpRequest::kContentLength);
  return head + 4 + std::min<size_t>(std::strtoul(value, nullptr, 10), kMostResponse);
}

bool BoundedConnection::receiveSome(std::string* text) {
  char buffer[kReceiveSize];
  const ssize_t count = waitFor(POLLIN) ? recv(_socket, buffer, sizeof(buffer), 0) : 0;
  if (count < 0) {
    return fail(errno);
  }
  text->append(buffer, static_cast<size_t>(count));
  return count > 0;
}

bool BoundedConnection::receiveResponse(std::string* text) {
  for (size_t size = 0; size == 0 || text->size() < size;) {
    if (!receiveSome(text)) {
      return _error.empty();
    }
    if (text->size() > kMostResponse) {
      _sentTooMuch = true;
      return false;
    }
    size = size == 0 ? wholeSize(*text) : size;
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
    exchange.tooLarge = connection.sentTooMuch();
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
