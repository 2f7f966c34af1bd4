#include "bench/BareExchange.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

namespace bench {

namespace {

bool exchange(int connection, int port, const std::string& request, size_t responseSize,
              std::string* response) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<uint16_t>(port));
  if (connect(connection, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
      send(connection, request.data(), request.size(), MSG_NOSIGNAL) !=
          static_cast<ssize_t>(request.size())) {
    return false;
  }
  char buffer[1024];
  while (response->size() < responseSize) {
    const ssize_t got = recv(connection, buffer, sizeof(buffer), 0);
    if (got <= 0) {
      return got == 0 && responseSize == kUntilItCloses;
    }
    response->append(buffer, static_cast<size_t>(got));
  }
  return true;
}

}  // namespace

std::string requestText(const std::string& method, const std::string& target,
                        const std::string& body) {
  return method + " " + target +
         " HTTP/1.1\r\nConnection: close\r\nContent-Length: " + std::to_string(body.size()) +
         "\r\nContent-Type: application/vnd.orvane.xferreq+json\r\nUser-Agent: Orvane Pellion\r\n"
         "\r\n" +
         body;
}

std::string bareExchange(int port, const std::string& request, size_t responseSize) {
  std::string response;
  const int connection = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const bool whole = exchange(connection, port, request, responseSize, &response);
  close(connection);
  return whole ? response : std::string();
}

}  // namespace bench
