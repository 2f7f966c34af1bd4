#include "plugin/src/HttpRequest.h"

#include <sys/time.h>

#include <algorithm>
#include <climits>
#include <cstdint>

#include "ovlib/overrno.h"
#include "ovlib/ovlog.h"
#include "ovlib/ovstring.h"
#include "ovlib/ovtime.h"
#include "plugin/src/HttpResponse.h"
#include "plugin/src/ResponseReader.h"
#include "plugin/src/TcpSocket.h"

namespace Pellion::Web {

namespace {

constexpr int kReceiveSize = 1024;
// No log line holds more of a text than this, so no more of it is formatted.
constexpr int kLoggedSize = 4096;

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
