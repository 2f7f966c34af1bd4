#ifndef PLUGIN_SRC_TCPSOCKET_H_
#define PLUGIN_SRC_TCPSOCKET_H_

#include <string>

#include "plugin/src/Socket.h"

namespace Pellion::Web {

// An IPv4 stream socket of a client.
class TcpSocket : public Socket {
 public:
  TcpSocket() = default;
  ~TcpSocket() override;

  // Makes the descriptor, close-on-exec.
  bool create();
  // Makes the descriptor if there is none, resolves `host` and connects. Blocks. After a failure
  // the descriptor stays open until the socket is closed or destroyed.
  bool connect(const std::string& host, unsigned short port);
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_TCPSOCKET_H_
