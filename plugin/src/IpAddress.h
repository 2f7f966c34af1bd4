#ifndef PLUGIN_SRC_IPADDRESS_H_
#define PLUGIN_SRC_IPADDRESS_H_

#include <netinet/in.h>

#include <string>

namespace Pellion::Web {

// One IPv4 socket address.
class IpAddress {
 public:
  IpAddress() = default;
  explicit IpAddress(const sockaddr_in& address) : _address(address) {}

  // The dotted form of the first IPv4 address of a host name; empty, with a log line, when there is
  // none. May block in the resolver.
  static std::string resolve(const std::string& host);

  std::string address() const;
  unsigned short port() const;

 private:
  sockaddr_in _address = {};
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_IPADDRESS_H_
