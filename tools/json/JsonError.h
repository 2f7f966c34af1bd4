#ifndef TOOLS_JSON_JSON_ERROR_H_
#define TOOLS_JSON_JSON_ERROR_H_

#include <stdexcept>
#include <string>

namespace json {

// A text that is no JSON, or not the JSON that was wanted; what() is for its sender.
class JsonError : public std::runtime_error {
 public:
  explicit JsonError(const std::string& message) : std::runtime_error(message) {}
};

}  // namespace json

#endif  // TOOLS_JSON_JSON_ERROR_H_
