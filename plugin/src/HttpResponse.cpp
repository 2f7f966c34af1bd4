#include "plugin/src/HttpResponse.h"

#include <memory>
#include <string_view>
#include <utility>

#include "ovlib/ovstring.h"

namespace Pellion::Web {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kNameEnd = ": ";

// Cuts the next line, with its end, off the front of `text`. False when it has no end.
bool takeLine(std::string_view* text, std::string_view* line) {
  const size_t end = text->find(kLineEnd);
  if (end == std::string_view::npos) {
    return false;
  }
  *line = text->substr(0, end);
  text->remove_prefix(end + kLineEnd.size());
  return true;
}

// The status code stands between the first two blanks.
// Deliberate: a status line without a reason phrase ("HTTP/1.1 200") fails the response.
bool readStatusCode(std::string_view line, unsigned short* code) {
  const size_t begin = line.find(' ');
  if (begin == std::string_view::npos) {
    return false;
  }
  const size_t end = line.find(' ', begin + 1);
  if (end == std::string_view::npos) {
    return false;
  }
  const std::string digits(line.substr(begin + 1, end - begin - 1));
  *code = static_cast<unsigned short>(ov_str_atoi(digits.c_str()));
  return true;
}

// Judged before any header is kept: a block that never ends costs no memory of its own.
// Deliberate: one line without ": " loses the whole response.
bool isWholeBlock(std::string_view rest) {
  std::string_view line;
  while (takeLine(&rest, &line)) {
    if (line.empty()) {
      return true;
    }
    if (line.find(kNameEnd) == std::string_view::npos) {
      return false;
    }
  }
  return false;
}

}  // namespace

HttpResponse* HttpResponse::parse(std::string text) {
  std::string_view rest = text;
  std::string_view line;
  auto response = std::make_unique<HttpResponse>();
  if (!takeLine(&rest, &line) || !readStatusCode(line, &response->_statusCode) ||
      !isWholeBlock(rest)) {
    return nullptr;
  }
  while (takeLine(&rest, &line) && !line.empty()) {
    const size_t nameEnd = line.find(kNameEnd);
    response->addHeader(std::string(line.substr(0, nameEnd)),
                        std::string(line.substr(nameEnd + kNameEnd.size())));
  }
  text.erase(0, text.size() - rest.size());
  response->_data = std::move(text);
  return response.release();
}

void HttpResponse::setData(std::string data) {
  _data = std::move(data);
}

void HttpResponse::addHeader(const std::string& name, const std::string& value) {
  _headers.emplace(name, value);
}

std::string HttpResponse::header(const std::string& name) const {
  const auto first = _headers.lower_bound(name);
  return first != _headers.end() && first->first == name ? first->second : std::string();
}

}  // namespace Pellion::Web
