#include "plugin/src/ResponseReader.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "plugin/src/HttpRequest.h"

namespace Pellion::Web {

namespace {

// Room for an announced response of up to this many bytes is made at once.
constexpr size_t kRoomOnTrust = 256 * 1024;
// By how much the room for any other grows when it is full. By two, a large one would take twice
// its size: the copy of each growth touches as much as stands there already.
constexpr size_t kRoomGrowth = 4;

}  // namespace

// Deliberate: a chunk counts up to its first zero byte; what follows in it is lost.
bool ResponseReader::take(const char* chunk) {
  append(chunk);
  return isComplete();
}

// Beyond what is made on trust, room grows with the bytes that are there, never by the announcement
// alone.
void ResponseReader::append(std::string_view bytes) {
  const size_t size = _text.size() + bytes.size();
  if (size > _text.capacity()) {
    std::string grown;  // only an empty string takes the exact capacity
    grown.reserve(std::max(size, std::min(roomAfter(size), _expectedSize)));
    grown.append(_text);
    _text.swap(grown);
  }
  _text.append(bytes);
}

size_t ResponseReader::roomAfter(size_t size) const {
  const size_t trusted = _expectedSize != std::string::npos ? kRoomOnTrust : 0;
  return std::max(kRoomGrowth * size, trusted);
}

bool ResponseReader::isComplete() {
  // Deliberate: the header's name is looked for in exactly this case and wherever it stands, the
  // body included; a response without it is read until the server closes.
  if (!find(HttpRequest::kContentLength, &_lengthHeader)) {
    return false;
  }
  _lengthEnd.from = std::max(_lengthEnd.from, _lengthHeader.at);
  if (!find("\r\n", &_lengthEnd)) {
    return false;
  }
  if (_announced == 0) {
    _announced = readLength();
  }
  // Deliberate: without a length the exchange ends here, even when the header block is not whole
  // yet; such a response is lost.
  return _announced == 0 || cutBody();
}

bool ResponseReader::find(std::string_view what, Mark* mark) const {
  if (mark->at == std::string::npos) {
    mark->at = _text.find(what, mark->from);
    const size_t searched = _text.size() - std::min(_text.size(), what.size() - 1);
    mark->from = std::max(mark->from, searched);
  }
  return mark->at != std::string::npos;
}

// Signed; 0 when there is no number, and held at the ends of int.
int ResponseReader::readLength() const {
  const size_t begin = _lengthHeader.at + std::strlen(HttpRequest::kContentLength);
  const std::string value = _text.substr(begin, _lengthEnd.at - begin);
  const long length = std::strtol(value.c_str(), nullptr, 10);
  return static_cast<int>(std::clamp<long>(length, INT_MIN, INT_MAX));
}

// True when the body has its announced length; what lies beyond is cut away.
bool ResponseReader::cutBody() {
  if (!find("\r\n\r\n", &_headersEnd)) {
    return false;
  }
  const auto bodyStart = static_cast<int64_t>(_headersEnd.at + 4);
  // Deliberate: a negative length cuts into the header block, so that the response does not parse.
  const auto end = static_cast<size_t>(std::max<int64_t>(0, bodyStart + _announced));
  _expectedSize = end + 1;
  if (_text.size() < end) {
    return false;
  }
  _text.resize(end);
  return true;
}

}  // namespace Pellion::Web
