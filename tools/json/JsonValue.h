#ifndef TOOLS_JSON_JSON_VALUE_H_
#define TOOLS_JSON_JSON_VALUE_H_

#include <string>
#include <vector>

namespace json {

// A value as it was read. Strings are UTF-8 and keep their zero characters.
struct JsonValue {
  enum class Kind { kNull, kBoolean, kNumber, kString, kArray, kObject };

  bool is(Kind wanted) const { return kind == wanted; }
  // An object's member, the first of that name; null when there is none, or no object.
  const JsonValue* member(const std::string& wanted) const {
    if (kind == Kind::kObject) {
      for (const JsonValue& each : items) {
        if (each.name == wanted) {
          return &each;
        }
      }
    }
    return nullptr;
  }

  Kind kind = Kind::kNull;
  bool truth = false;
  std::string name;              // as a member of an object
  std::string text;              // a string's characters; a number as it is written
  std::vector<JsonValue> items;  // of an array or object
};

}  // namespace json

#endif  // TOOLS_JSON_JSON_VALUE_H_
