#include "plugin/src/Json.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "ovlib/ovlog.h"

namespace Pellion::Web {

namespace {

constexpr int kMaxDepth = 10000;

// Each of these is given where something starts and answers where its last character stands, or a
// place behind the text when it does not end.
size_t endOfString(std::string_view text, size_t at) {
  for (++at; at < text.size() && text[at] != '"'; ++at) {
    if (text[at] == '\\') {
      ++at;
    }
  }
  return at;
}

size_t endOfComment(std::string_view text, size_t at) {
  if (text.substr(at, 2) == "//") {
    return std::min(text.find('\n', at), text.size());
  }
  if (text.substr(at, 2) == "/*") {
    const size_t end = text.find("*/", at + 2);
    return end != std::string_view::npos ? end + 1 : text.size();
  }
  return at;
}

// The tree is freed level by level of the call stack, which a deeper document would exhaust.
bool isTooDeep(std::string_view text) {
  int depth = 0;
  for (size_t at = 0; at < text.size(); ++at) {
    switch (text[at]) {
      case '"':
        at = endOfString(text, at);
        break;
      case '/':
        at = endOfComment(text, at);
        break;
      case '[':
      case '{':
        if (++depth > kMaxDepth) {
          return true;
        }
        break;
      case ']':
      case '}':
        --depth;
        break;
      default:
        break;
    }
  }
  return false;
}

}  // namespace

Json::~Json() {
  freeNode();
}

void Json::freeNode() {
  if (_node != nullptr) {
    yajl_tree_free(_node);
    _node = nullptr;
  }
}

bool Json::parse(const std::string& text) {
  freeNode();
  if (isTooDeep(text.c_str())) {
    snprintf(_errorBuffer, sizeof(_errorBuffer), "parse error: nested deeper than %d levels",
             kMaxDepth);
    return false;
  }
  _node = yajl_tree_parse(text.c_str(), _errorBuffer, sizeof(_errorBuffer));
  return _node != nullptr;
}

yajl_val Json::get(const char* const* path, yajl_val node) const {
  // The parser only reads the path.
  return yajl_tree_get(node != nullptr ? node : _node, const_cast<const char**>(path), yajl_t_any);
}

bool Json::isTrue(const char* const* path, yajl_val node) const {
  return YAJL_IS_TRUE(get(path, node));
}

std::string Json::getString(const char* const* path, yajl_val node) const {
  return text(get(path, node));
}

bool Json::isArray(yajl_val node) {
  return YAJL_IS_ARRAY(node);
}

bool Json::isObject(yajl_val node) {
  return YAJL_IS_OBJECT(node);
}

bool Json::isString(yajl_val node) {
  return YAJL_IS_STRING(node);
}

size_t Json::size(yajl_val node) {
  return isArray(node) ? YAJL_GET_ARRAY(node)->len : 0;
}

yajl_val Json::element(yajl_val array, size_t index) {
  return YAJL_GET_ARRAY(array)->values[index];
}

std::string Json::text(yajl_val node) {
  if (isString(node)) {
    return YAJL_GET_STRING(node);
  }
  return YAJL_IS_NUMBER(node) ? YAJL_GET_NUMBER(node) : std::string();
}

bool Json::containsError() const {
  const char* const path[] = {"error", nullptr};
  return get(path) != nullptr;
}

// Deliberate: a quote or backslash in the message makes the document malformed.
std::string Json::createError(const std::string& message) {
  return "{\"error\":{\"code\":-1,\"user_message\":\"" + message + "\"}}";
}

std::string Json::createError(const std::exception& exception) {
  return createError(std::string(exception.what()));
}

std::string Json::createError(const std::exception& exception, const std::string& context) {
  return createError(context + ": " + exception.what());
}

std::string Json::createErrorAndLog(const std::string& message) {
  ov_err("%s", message.c_str());
  return createError(message);
}

std::string Json::createErrorAndLog(const std::exception& exception) {
  return createErrorAndLog(std::string(exception.what()));
}

std::string Json::createErrorAndLog(const std::exception& exception, const std::string& context) {
  return createErrorAndLog(context + ": " + exception.what());
}

}  // namespace Pellion::Web
