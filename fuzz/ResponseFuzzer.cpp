// The exchange with the local application: a request as it is sent, and an answer that comes in any
// segments, against a plain reading of the same segments.
#include <climits>
#include <memory>

#include "fuzz/FuzzInput.h"
#include "fuzz/PlannedNetwork.h"
#include "plugin/src/HttpRequest.h"
#include "plugin/src/HttpResponse.h"

using namespace Pellion::Web;
using planned_network::Answer;
using Response = std::unique_ptr<HttpResponse>;

namespace {

constexpr size_t kChunk = 1024;
constexpr char kLength[] = "Content-Length:";

// True when no more is read; cuts off what is beyond the announced length.
bool isWhole(std::string* text) {
  const size_t name = text->find(kLength);
  const size_t end = text->find("\r\n", name);
  if (name == std::string::npos || end == std::string::npos) {
    return false;
  }
  const size_t value = name + sizeof(kLength) - 1;
  const long announced = std::clamp<long>(
      std::strtol(text->substr(value, end - value).c_str(), nullptr, 10), INT_MIN, INT_MAX);
  const size_t headersEnd = text->find("\r\n\r\n");
  if (announced == 0 || headersEnd == std::string::npos) {
    return announced == 0;
  }
  const long whole = std::max(0L, static_cast<long>(headersEnd) + 4 + announced);
  const bool complete = text->size() >= static_cast<size_t>(whole);
  text->resize(std::min(text->size(), static_cast<size_t>(whole)));
  return complete;
}

// What counts of an answer: of each chunk what is in front of its first zero byte.
std::string read(const Answer& answer) {
  std::string text;
  size_t at = 0;
  for (size_t i = 0; at < answer.bytes.size() && !isWhole(&text); ++i) {
    const size_t size =
        i < answer.segments.size() ? std::clamp<size_t>(answer.segments[i], 1, kChunk) : kChunk;
    text += upToZero(answer.bytes.substr(at, size));
    at += size;
  }
  isWhole(&text);
  return text;
}

bool isSame(const Response& a, const Response& b) {
  return !a || !b ? !a && !b
                  : a->statusCode() == b->statusCode() && a->data() == b->data() &&
                        a->header("Content-Length") == b->header("Content-Length");
}

void checkRequest(const std::string& method, const std::string& uri, const std::string& body) {
  const std::string sent = planned_network::lastRequest();
  const std::string start = method + " " + uri + " HTTP/1.1\r\nConnection: close\r\n";
  FUZZ_CHECK(startsWith(sent, start + "Content-Length: " + std::to_string(body.size()) + "\r\n"));
  const std::string tail = "\r\n\r\n" + body;
  FUZZ_CHECK(sent.size() >= tail.size() && sent.substr(sent.size() - tail.size()) == tail);
}

}  // namespace

void tryInput(FuzzInput input) {
  Answer answer;
  answer.reset = input.flag();
  for (const char step : input.text()) {
    answer.segments.push_back(static_cast<unsigned char>(step));
  }
  const std::string method = input.text();
  const std::string uri = input.text();
  const std::string body = input.text();
  answer.bytes = input.remainder();
  planned_network::plan({answer});
  HttpRequest request("127.0.0.1", 80);
  request.setMethod(method);
  request.setUri(uri);
  request.appendData(body);
  const Response response(request.invoke());
  checkRequest(method, uri, body);
  FUZZ_CHECK(isSame(response, Response(HttpResponse::parse(read(answer)))));
  FUZZ_CHECK(!response || response->data().size() < answer.bytes.size());
}
