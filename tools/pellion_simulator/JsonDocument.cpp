#include "tools/pellion_simulator/JsonDocument.h"

#include <algorithm>
#include <vector>

#include "tools/pellion_simulator/ApiError.h"

namespace pellion_simulator {

namespace {

const int kDeepestNesting = 1000;

// The last byte of the comment that begins at `start`, which the parser skips; `start` when there
// is none.
size_t endOfComment(const std::string& text, size_t start) {
  if (text.compare(start, 2, "//") == 0) {
    return text.find('\n', start);
  }
  if (text.compare(start, 2, "/*") == 0) {
    const size_t end = text.find("*/", start + 2);
    return end == std::string::npos ? end : end + 1;
  }
  return start;
}

size_t endOfString(const std::string& text, size_t start) {
  size_t end = start + 1;
  while (end < text.size() && text[end] != '"') {
    end += text[end] == '\\' ? 2 : 1;
  }
  return end;
}

// The tree is freed by recursion, so its depth must be bounded before it is built.
int nestingDepth(const std::string& text) {
  int depth = 0;
  int deepest = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '"') {
      i = endOfString(text, i);
    } else if (c == '/') {
      i = std::min(endOfComment(text, i), text.size());
    } else if (c == '{' || c == '[') {
      deepest = std::max(deepest, ++depth);
    } else if (c == '}' || c == ']') {
      --depth;
    }
  }
  return deepest;
}

std::string pathText(JsonDocument::Path path) {
  std::string text;
  for (const char* key : path) {
    text += (text.empty() ? "" : ".") + std::string(key);
  }
  return text;
}

}  // namespace

JsonDocument::JsonDocument(const std::string& text) {
  if (text.find('\0') != std::string::npos) {
    throw ApiError(400, "The body is not valid JSON: it holds a zero byte");
  }
  if (nestingDepth(text) > kDeepestNesting) {
    throw ApiError(400,
                   "The body is nested deeper than " + std::to_string(kDeepestNesting) + " levels");
  }
  char error[1024] = "";
  _root.reset(yajl_tree_parse(text.c_str(), error, sizeof(error)));
  if (!_root) {
    throw ApiError(400, std::string("The body is not valid JSON: ") + error);
  }
}

yajl_val JsonDocument::find(yajl_val node, Path path) {
  std::vector<const char*> keys(path);
  keys.push_back(nullptr);
  return yajl_tree_get(node, keys.data(), yajl_t_any);
}

std::optional<std::string> JsonDocument::string(yajl_val node, Path path) {
  const yajl_val value = find(node, path);
  if (value == nullptr || YAJL_IS_NULL(value)) {
    return std::nullopt;
  }
  if (YAJL_IS_NUMBER(value)) {
    return YAJL_GET_NUMBER(value);
  }
  if (!YAJL_IS_STRING(value)) {
    throw ApiError(400, pathText(path) + " must be a string");
  }
  return YAJL_GET_STRING(value);
}

bool JsonDocument::boolean(yajl_val node, Path path) {
  const yajl_val value = find(node, path);
  if (value != nullptr && !YAJL_IS_TRUE(value) && !YAJL_IS_FALSE(value)) {
    throw ApiError(400, pathText(path) + " must be true or false");
  }
  return YAJL_IS_TRUE(value);
}

}  // namespace pellion_simulator
