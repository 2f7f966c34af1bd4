#ifndef PLUGIN_SRC_SOCKET_H_
#define PLUGIN_SRC_SOCKET_H_

namespace Pellion::Web {

// One blocking socket descriptor, without time-outs. Used by the thread that made it. Failures are
// results and one log line; nothing throws. The descriptor is closed by the destructor.
class Socket {
 public:
  Socket() = default;
  virtual ~Socket();
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  // Harmless when there is no descriptor.
  void close();
  // One system call each, at most `len` bytes, partial transfers included. Returns the count (for
  // recv 0 when the peer has closed), or -1 after a failure or without a descriptor. A peer that is
  // gone raises no signal.
  int recv(char* buf, int len);
  int send(const char* buf, int len);

 protected:
  int _sock = -1;  // -1 when there is none
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_SOCKET_H_
