#ifndef TOOLS_WEB_HOST_MESSAGE_H_
#define TOOLS_WEB_HOST_MESSAGE_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tools/json/JsonValue.h"

namespace web_host {

// A message that is not as it should be; what() says why, for the browser's console.
class MessageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// What the browser itself says of the document, in the first message.
struct Hello {
  std::string origin;   // as the browser writes it; "null" for an opaque one
  std::string address;  // the document's own
  std::string agent;
  std::string browser;
  std::string version;  // the extension's
  bool isPrivate = false;
  bool isPage = true;     // false: the extension's own, which asks for the state
  bool together = false;  // it takes several messages in one
};

// A value that the page passes.
struct Value {
  enum class Kind { kUndefined, kNull, kBoolean, kNumber, kString, kObject };

  Kind kind = Kind::kUndefined;
  bool truth = false;
  double number = 0;
  std::string text;
  uint64_t id = 0;                   // an object's number
  bool callable = false;             // an object that is a function
  std::vector<std::string> methods;  // which of the names that are asked for are functions on it
};

// What the page does with one of its elements.
struct Operation {
  enum class Kind {
    kMake,
    kCall,
    kGet,
    kSet,
    kEnd,
    kSkip,
    kDrag,
    kDragEnd,
    kDrop,
    kWindow,
    kState,
    kForget,
    kWrong
  };

  uint64_t number = 0;  // its place in the page's order, from 1
  Kind kind = Kind::kWrong;
  uint64_t element = 0;
  std::string name;           // of a method or property
  bool later = false;         // a call whose answer nobody stands still for
  std::vector<Value> values;  // the arguments, or the one value
  std::vector<std::pair<std::string, std::string>> params;  // of the new element
  int width = 0;                                            // CSS pixels, at most 65535
  int height = 0;
  std::vector<std::string> names;  // of the files that were dropped
  bool check = false;              // the state, with the application's
  std::string complaint;           // what is wrong with it
  size_t bytes = 0;                // of the message that it came in
};

// Numbers of operations, elements and objects: what a double holds exactly.
static constexpr uint64_t kLargestNumber = (uint64_t{1} << 53) - 1;
static constexpr size_t kMostParams = 1000;
// The protocol that this program speaks, as both sides say in their first message.
static constexpr uint64_t kProtocol = 1;

// Throws MessageError.
Hello readHello(const json::JsonValue& message);
// The operation's number, where it has one that is fit for use.
std::optional<uint64_t> numberOf(const json::JsonValue& message);
// An operation that is wrong in itself is of the kind kWrong, and has its complaint. Throws
// MessageError when it has no number.
Operation readOperation(const json::JsonValue& message);

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_MESSAGE_H_
