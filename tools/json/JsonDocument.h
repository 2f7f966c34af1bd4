#ifndef TOOLS_JSON_JSON_DOCUMENT_H_
#define TOOLS_JSON_JSON_DOCUMENT_H_

#include <initializer_list>
#include <optional>
#include <string>

#include "tools/json/JsonValue.h"

namespace json {

// A JSON document that somebody sent; comments are skipped. The look-ups take a path of object keys
// below a value.
class JsonDocument {
 public:
  static constexpr size_t kDeepestNesting = 1000;
  static constexpr size_t kMostValues = 2'000'000;

  // Throws JsonError with the parser's reason; also above the two limits.
  explicit JsonDocument(const std::string& text);

  const JsonValue& root() const { return _root; }

  using Path = std::initializer_list<const char*>;
  // Null when missing.
  static const JsonValue* find(const JsonValue& node, Path path);
  // The text of a string; a number as it is written; nothing when missing or null. Throws JsonError
  // for any other type.
  static std::optional<std::string> string(const JsonValue& node, Path path);
  // False when missing. Throws JsonError when it is no boolean.
  static bool boolean(const JsonValue& node, Path path);

 private:
  JsonValue _root;
};

}  // namespace json

#endif  // TOOLS_JSON_JSON_DOCUMENT_H_
