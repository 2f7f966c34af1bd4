#include "plugin/src/TcpSocket.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <cstdint>

#include "ovlib/ovlog.h"
#include "plugin/src/IpAddress.h"

namespace Pellion::Web {

TcpSocket::~TcpSocket() = default;

bool TcpSocket::create() {
  close();
  _sock = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (_sock == -1) {
    ov_err("Failed to create TCP socket");
    return false;
  }
  return true;
}

bool TcpSocket::connect(const std::string& host, unsigned short port) {
  if (_sock == -1 && !create()) {
    return false;
  }
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  // Deliberate: not checked. A host that does not resolve gives the all-ones address, and its
  // failed connection is logged as well.
  address.sin_addr.s_addr = inet_addr(IpAddress::resolve(host).c_str());
  address.sin_port = htons(port);
  const int result = ::connect(_sock, reinterpret_cast<sockaddr*>(&address), sizeof(address));
  if (result != 0) {
    ov_log("Connection failed for socket %p (%i)",
           reinterpret_cast<void*>(static_cast<intptr_t>(_sock)), result);
    return false;
  }
  return true;
}

}  // namespace Pellion::Web
