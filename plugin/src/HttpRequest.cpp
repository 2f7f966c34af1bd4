#include "plugin/src/HttpRequest.h"

#include <sys/time.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#include "ovlib/overrno.h"
#include "ovlib/ovlog.h"
#include "ovlib/ovstring.h"
#include "ovlib/ovtime.h"
#include "plugin/src/HttpResponse.h"
#include "plugin/src/TcpSocket.h"

namespace Pellion::Web {

namespace {

constexpr int kReceiveSize = 1024;
// No log line holds more of a text than this, so no more of it is formatted.
constexpr int kLoggedSize = 4096;
// Room for an announced response of up to this many bytes is made at once.
constexpr size_t kRoomOnTrust = 256 * 1024;
// By how much the room for any other grows when it is full.
constexpr size_t kRoomGrowth = 4;

// A text in the response that is searched for until it is found, each byte once.
struct Mark {
  size_t at = std::string::npos;  // where it stands
  size_t from = 0;                // where the next search starts
};

// What has arrived of one response, and when to stop reading.
class ResponseReader {
 public:
  // Adds a chunk. True when no more needs to be read.
  bool take(const char* chunk);
  // What arrived; leaves the reader empty.
  std::string takeText() { return std::move(_text); }
  const std::string& text() const { return _text; }

 private:
  void append(std::string_view bytes);
  size_t roomAfter(size_t size) const;
  bool isComplete();
  bool find(std::string_view what, Mark* mark) const;
  int readLength() const;
  bool cutBody();

  std::string _text;
  size_t _expectedSize = std::string::npos;  // of the whole text, as announced
  Mark _lengthHeader;
  Mark _lengthEnd;
  Mark _headersEnd;
  int _announced = 0;
};

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

bool sendText(TcpSocket* socket, const std::string& text) {
  size_t sent = 0;
  while (sent < text.size()) {
    const size_t rest = std::min<size_t>(text.size() - sent, INT_MAX);
    const int count = socket->send(text.data() + sent, static_cast<int>(rest));
    if (count == -1) {
      return false;
    }
    sent += static_cast<size_t>(count);
  }
  return true;
}

void receive(TcpSocket* socket, ResponseReader* reader) {
  char buffer[kReceiveSize + 1];
  for (;;) {
    const int count = socket->recv(buffer, kReceiveSize);
    if (count <= 0) {
      // Deliberate: an orderly close is logged as an error, too.
      ov_err("recv() returned %i", count);
      return;
    }
    buffer[count] = '\0';
    if (reader->take(buffer)) {
      return;
    }
  }
}

bool startTimer(timeval* start) {
  const int error = ov_time_gettimeofday(start);
  if (error != OV_OK) {
    // Deliberate: the line begins with a blank.
    ov_err(" HttpRequest::invoke() - ov_time_gettimeofday error: %i", error);
  }
  return error == OV_OK;
}

void logResponse(const timeval& start, const std::string& uri, const std::string& text) {
  uint64_t elapsed = 0;
  const int error = ov_time_get_usec_since(&start, &elapsed);
  if (error != OV_OK) {
    // Deliberate: the line names the time-of-day call, although another one failed.
    ov_err("HttpRequest::invoke() - ov_time_gettimeofday error: %i", error);
    return;
  }
  ov_trace("HttpRequest::invoke() - %s response took %llu us", uri.c_str(),
           static_cast<unsigned long long>(elapsed));
  ov_trace("HttpRequest::invoke() - Response (%lu bytes):\n%.*s",
           static_cast<unsigned long>(text.size()), kLoggedSize, text.c_str());
}

}  // namespace

HttpRequest::HttpRequest(const std::string& host, unsigned short port) : _host(host), _port(port) {}

HttpRequest::~HttpRequest() = default;

void HttpRequest::addHeader(const std::string& name, const std::string& value) {
  _headers.emplace(name, value);
}

// Deliberate: a request that is invoked again sends these headers once more; none carries a Host.
void HttpRequest::addAutomaticHeaders() {
  addHeader("User-Agent", "Orvane Pellion");
  addHeader("Connection", "close");
  char length[128];
  addHeader("Content-Length",
            ov_str_itoa(static_cast<long long>(_data.size()), length, sizeof(length)));
}

std::string HttpRequest::text() const {
  std::string text = _method + " " + _uri + " HTTP/1.1\r\n";
  for (const auto& [name, value] : _headers) {
    text.append(name).append(": ").append(value).append("\r\n");
  }
  text.append("\r\n");
  return text.append(_data);
}

HttpResponse* HttpRequest::invoke() {
  TcpSocket socket;
  if (!socket.connect(_host, _port)) {
    return nullptr;
  }
  addAutomaticHeaders();
  const std::string request = text();
  ov_trace("HttpRequest::invoke() - Request:\n%.*s", kLoggedSize, request.c_str());
  if (!sendText(&socket, request)) {
    return nullptr;
  }
  timeval start = {};
  const bool timed = startTimer(&start);
  ResponseReader reader;
  receive(&socket, &reader);
  if (timed) {
    logResponse(start, _uri, reader.text());
  }
  return HttpResponse::parse(reader.takeText());
}

}  // namespace Pellion::Web
