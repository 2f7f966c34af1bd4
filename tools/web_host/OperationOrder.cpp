#include "tools/web_host/OperationOrder.h"

#include <string>
#include <utility>

namespace web_host {

void OperationOrder::add(Operation operation) {
  const uint64_t number = operation.number;
  if (number < _next || _waiting.count(number) > 0) {
    throw MessageError("The operation " + std::to_string(number) + " came twice.");
  }
  if (_waiting.size() >= kMostWaiting || operation.bytes > kMostBytes - _bytes) {
    throw MessageError("More than " + std::to_string(kMostWaiting) + " operations or " +
                       std::to_string(kMostBytes) + " bytes are waiting for operation " +
                       std::to_string(_next) + ".");
  }
  _bytes += operation.bytes;
  _waiting.emplace(number, std::move(operation));
}

std::optional<Operation> OperationOrder::next() {
  const auto first = _waiting.find(_next);
  if (first == _waiting.end()) {
    return std::nullopt;
  }
  Operation operation = std::move(first->second);
  _bytes -= operation.bytes;
  _waiting.erase(first);
  ++_next;
  return operation;
}

}  // namespace web_host
