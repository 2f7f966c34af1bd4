#include "tools/web_host/FrameParser.h"

#include <cstdint>
#include <cstring>

namespace web_host {

using Length = uint32_t;

void FrameParser::add(const char* bytes, size_t size) {
  _bytes.erase(0, _start);
  _start = 0;
  _bytes.append(bytes, size);
}

bool FrameParser::next(std::string* text) {
  const size_t available = _bytes.size() - _start;
  Length length = 0;
  if (available < sizeof(length)) {
    return false;
  }
  std::memcpy(&length, _bytes.data() + _start, sizeof(length));
  if (length > kLargest) {
    throw FrameError("A message of " + std::to_string(length) + " bytes is larger than " +
                     std::to_string(kLargest) + " bytes.");
  }
  if (available - sizeof(length) < length) {
    return false;
  }
  text->assign(_bytes, _start + sizeof(length), length);
  _start += sizeof(length) + length;
  return true;
}

std::string frameOf(const std::string& text) {
  const Length length = static_cast<Length>(text.size());
  return std::string(reinterpret_cast<const char*>(&length), sizeof(length)) + text;
}

}  // namespace web_host
