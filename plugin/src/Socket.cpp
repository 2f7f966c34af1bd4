#include "plugin/src/Socket.h"

#include <sys/socket.h>

#include <cstdint>

#include "ovlib/overrno.h"
#include "ovlib/ovlog.h"
#include "ovlib/ovsocket.h"

namespace Pellion::Web {

namespace {

// Deliberate: log lines show the descriptor as a pointer ("0x5").
void* asPointer(int sock) {
  return reinterpret_cast<void*>(static_cast<intptr_t>(sock));
}

}  // namespace

Socket::~Socket() {
  close();
}

void Socket::close() {
  if (_sock == -1) {
    return;
  }
  const int error = ov_sock_close(_sock);
  if (error != OV_OK) {
    ov_err("Error closing socket %p (%i)", asPointer(_sock), error);
  }
  _sock = -1;
}

int Socket::recv(char* buf, int len) {
  if (_sock == -1) {
    return -1;
  }
  const int result = static_cast<int>(::recv(_sock, buf, static_cast<size_t>(len), 0));
  if (result < 0) {
    ov_err("Socket::recv() [%p] - recv failed (%i)", asPointer(_sock), result);
    return -1;
  }
  return result;
}

int Socket::send(const char* buf, int len) {
  if (_sock == -1) {
    return -1;
  }
  const int result = static_cast<int>(::send(_sock, buf, static_cast<size_t>(len), MSG_NOSIGNAL));
  if (result < 0) {
    ov_err("Socket::send() [%p] - send failed (%i)", asPointer(_sock), result);
    return -1;
  }
  return result;
}

}  // namespace Pellion::Web
