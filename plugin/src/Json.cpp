#include "plugin/src/Json.h"

#include <cstdio>
#include <cstring>

#include "ovlib/ovlog.h"

namespace Pellion::Web {

namespace {

constexpr int kMaxDepth = 10000;

// Each of these is given the first character of what it skips and answers the last one, or the
// terminator where the text ends before.
const char* skipString(const char* text) {
  ++text;
  while (*(text += std::strcspn(text, "\"\\")) == '\\') {
    text += text[1] != '\0' ? 2 : 1;
  }
  return text;
}

const char* skipComment(const char* text) {
  if (text[1] == '/') {
    return text + std::strcspn(text, "\n");
  }
  if (text[1] == '*') {
    const char* end = std::strstr(text + 2, "*/");
    return end != nullptr ? end + 1 : text + std::strlen(text);
  }
  return text;
}

// The tree is freed level by level of the call stack, which a deeper document would exhaust.
bool isTooDeep(const char* text) {
  int depth = 0;
  for (text += std::strcspn(text, "\"/[]{}"); *text != '\0';
       text += std::strcspn(text, "\"/[]{}")) {
    if (*text == '"') {
      text = skipString(text);
    } else if (*text == '/') {
      text = skipComment(text);
    } else if (*text == '[' || *text == '{') {
      if (++depth > kMaxDepth) {
        return true;
      }
    } else {
      --depth;
    }
    if (*text != '\0') {
      ++text;
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
  const yajl_val value = get(path, node);
  if (YAJL_IS_STRING(value)) {
    return YAJL_GET_STRING(value);
  }
  return YAJL_IS_NUMBER(value) ? YAJL_GET_NUMBER(value) : std::string();
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
