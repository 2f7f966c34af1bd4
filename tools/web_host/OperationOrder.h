#ifndef TOOLS_WEB_HOST_OPERATION_ORDER_H_
#define TOOLS_WEB_HOST_OPERATION_ORDER_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>

#include "tools/web_host/Message.h"

namespace web_host {

// Puts operations into the page's order again: they come by more than one way, which may overtake
// each other.
class OperationOrder {
 public:
  static constexpr size_t kMostWaiting = 10'000;
  static constexpr size_t kMostBytes = size_t{64} * 1024 * 1024;

  // Throws MessageError when its number was there before, or when more would wait than the two
  // limits allow.
  void add(Operation operation);
  // The next in order, if it is there.
  std::optional<Operation> next();

 private:
  uint64_t _next = 1;
  size_t _bytes = 0;
  std::map<uint64_t, Operation> _waiting;
};

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_OPERATION_ORDER_H_
