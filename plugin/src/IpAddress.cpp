#include "plugin/src/IpAddress.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <sys/socket.h>

#include <cstdio>
#include <memory>

#include "ovlib/ovlog.h"

namespace Pellion::Web {

namespace {

struct AddrInfoDeleter {
  void operator()(addrinfo* list) const { freeaddrinfo(list); }
};
using AddrInfoList = std::unique_ptr<addrinfo, AddrInfoDeleter>;

AddrInfoList lookUp(const std::string& host) {
  addrinfo* list = nullptr;
  return AddrInfoList(getaddrinfo(host.c_str(), nullptr, nullptr, &list) == 0 ? list : nullptr);
}

}  // namespace

std::string IpAddress::resolve(const std::string& host) {
  sockaddr_in dotted = {};
  if (inet_pton(AF_INET, host.c_str(), &dotted.sin_addr) == 1) {
    return IpAddress(dotted).address();
  }
  const AddrInfoList list = lookUp(host);
  if (list == nullptr) {
    ov_log("ERROR: Unable to resolve IP address");
    return std::string();
  }
  for (const addrinfo* entry = list.get(); entry != nullptr; entry = entry->ai_next) {
    if (entry->ai_family == AF_INET) {
      return IpAddress(*reinterpret_cast<const sockaddr_in*>(entry->ai_addr)).address();
    }
  }
  ov_log("ERROR: Unable to resolve IP address (AF_INET not found)");
  fflush(stdout);
  return std::string();
}

std::string IpAddress::address() const {
  return inet_ntoa(_address.sin_addr);
}

unsigned short IpAddress::port() const {
  return ntohs(_address.sin_port);
}

}  // namespace Pellion::Web
