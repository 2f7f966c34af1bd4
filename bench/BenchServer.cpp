#include "bench/BenchServer.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "tests/support/ScriptedServer.h"

namespace bench {

namespace {

constexpr std::string_view kLength = "Content-Length: ";

// The size of the request whose headers are there, or 0.
size_t wholeSize(std::string_view received) {
  const size_t end = received.find("\r\n\r\n");
  if (end == std::string_view::npos) {
    return 0;
  }
  const size_t length = received.find(kLength);
  const bool announced = length != std::string_view::npos && length < end;
  const char* digits = announced ? received.data() + length + kLength.size() : "0";
  return end + 4 + std::strtoul(digits, nullptr, 10);
}

}  // namespace

BenchServer::BenchServer(size_t bodySize, Length length)
    : BenchServer(std::string(bodySize, 'x'), length) {}

BenchServer::BenchServer(const std::string& body, Length length)
    : BenchServer([this](std::string_view) -> const std::string& { return _response; }) {
  _response = responseOf(body, length);
}

BenchServer::BenchServer(std::function<const std::string&(std::string_view request)> respond)
    : _respond(std::move(respond)) {
  _listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  if (bind(_listener, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
      listen(_listener, 64) != 0 ||
      getsockname(_listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    throw std::runtime_error("cannot listen on the loopback interface");
  }
  _port = ntohs(address.sin_port);
  _thread = std::thread([this] { serve(); });
}

std::string BenchServer::responseOf(const std::string& body, Length length) {
  std::string response = "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n";
  if (length == Length::kAnnounced) {
    response.append(kLength).append(std::to_string(body.size())).append("\r\n");
  }
  return response.append("\r\n").append(body);
}

BenchServer::~BenchServer() {
  shutdown(_listener, SHUT_RDWR);  // ends the accept
  _thread.join();
  close(_listener);
}

void BenchServer::serve() {
  for (;;) {
    const int connection = accept4(_listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) {
      return;
    }
    answer(connection);
    close(connection);
  }
}

void BenchServer::answer(int connection) const {
  char request[4096];
  size_t size = 0;
  size_t whole = 0;
  while (whole == 0 || size < whole) {
    const ssize_t got = recv(connection, request + size, sizeof(request) - 1 - size, 0);
    if (got <= 0) {
      return;
    }
    size += static_cast<size_t>(got);
    request[size] = '\0';
    whole = wholeSize(std::string_view(request, size));
  }
  test_support::sendAll(connection, _respond(std::string_view(request, size)));
}

}  // namespace bench
