#include "tools/web_host/Message.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace web_host {

using json::JsonValue;
using Kind = JsonValue::Kind;

namespace {

const size_t kMostMethods = 16;
const uint64_t kLargestSize = 65535;

[[noreturn]] void refuse(const char* name, const char* wanted) {
  throw MessageError(std::string("\"") + name + "\" must be " + wanted + ".");
}

const JsonValue* optionalMember(const JsonValue& node, const char* name, Kind kind,
                                const char* wanted) {
  const JsonValue* found = node.member(name);
  if (found != nullptr && !found->is(kind)) {
    refuse(name, wanted);
  }
  return found;
}

const JsonValue& memberOf(const JsonValue& node, const char* name, Kind kind, const char* wanted) {
  const JsonValue* found = optionalMember(node, name, kind, wanted);
  if (found == nullptr) {
    refuse(name, wanted);
  }
  return *found;
}

std::string stringOf(const JsonValue& node, const char* name) {
  return memberOf(node, name, Kind::kString, "a string").text;
}

bool truthOf(const JsonValue& node, const char* name, bool otherwise) {
  const JsonValue* found = optionalMember(node, name, Kind::kBoolean, "true or false");
  return found != nullptr ? found->truth : otherwise;
}

bool isTrue(const JsonValue& node, const char* name) {
  return truthOf(node, name, false);
}

// Nothing when the number is too large for a double.
std::optional<double> doubleOf(const std::string& digits) {
  double number = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number);
  if (error != std::errc() || stop != end || !std::isfinite(number)) {
    // What is too small is zero.
    return error == std::errc::result_out_of_range && std::abs(number) < 1
               ? std::optional<double>(number)
               : std::nullopt;
  }
  return number;
}

std::optional<uint64_t> wholeNumber(const JsonValue* value, uint64_t largest) {
  if (value == nullptr || !value->is(Kind::kNumber)) {
    return std::nullopt;
  }
  const double number = doubleOf(value->text).value_or(-1);
  if (number < 0 || number > static_cast<double>(largest) || std::trunc(number) != number) {
    return std::nullopt;
  }
  return static_cast<uint64_t>(number);
}

uint64_t idOf(const JsonValue& node, const char* name) {
  const std::optional<uint64_t> number = wholeNumber(node.member(name), kLargestNumber);
  if (!number.has_value() || *number == 0) {
    refuse(name, "a whole number from 1 to 9007199254740991");
  }
  return *number;
}

int sizeOf(const JsonValue& node, const char* name) {
  const std::optional<uint64_t> number = wholeNumber(node.member(name), kLargestSize);
  if (!number.has_value()) {
    refuse(name, "a whole number from 0 to 65535");
  }
  return static_cast<int>(*number);
}

Value numberValue(double number) {
  Value value;
  value.kind = Value::Kind::kNumber;
  value.number = number;
  return value;
}

Value readSpecialNumber(const JsonValue& node) {
  const double infinity = std::numeric_limits<double>::infinity();
  const std::pair<const char*, double> kNumbers[] = {
      {"NaN", std::nan("")}, {"Infinity", infinity}, {"-Infinity", -infinity}, {"-0", -0.0}};
  const std::string text = stringOf(node, "text");
  const auto* found = std::find_if(std::begin(kNumbers), std::end(kNumbers),
                                   [&](const auto& each) { return text == each.first; });
  if (found == std::end(kNumbers)) {
    refuse("text", "NaN, Infinity, -Infinity or -0");
  }
  return numberValue(found->second);
}

Value readObject(const JsonValue& node) {
  Value value;
  value.kind = Value::Kind::kObject;
  value.id = idOf(node, "id");
  value.callable = isTrue(node, "callable");
  const JsonValue* methods = optionalMember(node, "methods", Kind::kArray, "an array");
  for (size_t i = 0; methods != nullptr && i < methods->items.size(); ++i) {
    if (!methods->items[i].is(Kind::kString) || i == kMostMethods) {
      refuse("methods", "an array of at most 16 strings");
    }
    value.methods.push_back(methods->items[i].text);
  }
  return value;
}

Value readTagged(const JsonValue& node) {
  const std::string tag = stringOf(node, "v");
  if (tag == "undefined") {
    return Value();
  }
  if (tag == "number") {
    return readSpecialNumber(node);
  }
  if (tag == "object") {
    return readObject(node);
  }
  refuse("v", "undefined, number or object");
}

Value readValue(const JsonValue& node) {
  Value value;
  switch (node.kind) {
    case Kind::kNull:
      value.kind = Value::Kind::kNull;
      return value;
    case Kind::kBoolean:
      value.kind = Value::Kind::kBoolean;
      value.truth = node.truth;
      return value;
    case Kind::kNumber: {
      const std::optional<double> number = doubleOf(node.text);
      if (!number.has_value()) {
        throw MessageError("The number " + node.text.substr(0, 40) + " is too large.");
      }
      return numberValue(*number);
    }
    case Kind::kString:
      value.kind = Value::Kind::kString;
      value.text = node.text;
      return value;
    case Kind::kObject:
      return readTagged(node);
    default:
      throw MessageError("An array is no value.");
  }
}

void readParams(const JsonValue& node, Operation* operation) {
  const JsonValue& params = memberOf(node, "params", Kind::kArray, "an array");
  for (const JsonValue& param : params.items) {
    if (!param.is(Kind::kArray) || param.items.size() != 2 || !param.items[0].is(Kind::kString) ||
        !param.items[1].is(Kind::kString)) {
      refuse("params", "an array of pairs of strings");
    }
    operation->params.emplace_back(param.items[0].text, param.items[1].text);
  }
  if (operation->params.size() > kMostParams) {
    refuse("params", "an array of at most 1000 pairs");
  }
}

void readMake(const JsonValue& node, Operation* operation) {
  readParams(node, operation);
  operation->width = sizeOf(node, "width");
  operation->height = sizeOf(node, "height");
}

void readCall(const JsonValue& node, Operation* operation) {
  operation->name = stringOf(node, "name");
  operation->later = isTrue(node, "later");
  const JsonValue& args = memberOf(node, "args", Kind::kArray, "an array");
  for (const JsonValue& arg : args.items) {
    operation->values.push_back(readValue(arg));
  }
}

void readGet(const JsonValue& node, Operation* operation) {
  operation->name = stringOf(node, "name");
}

void readSet(const JsonValue& node, Operation* operation) {
  operation->name = stringOf(node, "name");
  const JsonValue* value = node.member("value");
  operation->values.push_back(value != nullptr ? readValue(*value) : Value());
}

void readNothing(const JsonValue&, Operation*) {}

void readDrop(const JsonValue& node, Operation* operation) {
  for (const JsonValue& name : memberOf(node, "names", Kind::kArray, "an array").items) {
    if (!name.is(Kind::kString)) {
      refuse("names", "an array of strings");
    }
    operation->names.push_back(name.text);
  }
}

void readState(const JsonValue& node, Operation* operation) {
  operation->check = isTrue(node, "check");
}

void readLeave(const JsonValue& node, Operation*) {
  if (stringOf(node, "leave") != "forget") {
    refuse("leave", "forget");
  }
}

struct Reader {
  const char* op;
  Operation::Kind kind;
  void (*read)(const JsonValue&, Operation*);
  bool ofElement;
};

const Reader kReaders[] = {
    {"make", Operation::Kind::kMake, readMake, true},
    {"call", Operation::Kind::kCall, readCall, true},
    {"get", Operation::Kind::kGet, readGet, true},
    {"set", Operation::Kind::kSet, readSet, true},
    {"end", Operation::Kind::kEnd, readNothing, true},
    {"skip", Operation::Kind::kSkip, readNothing, false},
    {"drag", Operation::Kind::kDrag, readNothing, true},
    {"dragEnd", Operation::Kind::kDragEnd, readNothing, true},
    {"drop", Operation::Kind::kDrop, readDrop, true},
    {"window", Operation::Kind::kWindow, readNothing, true},
    {"state", Operation::Kind::kState, readState, false},
    {"leave", Operation::Kind::kForget, readLeave, false},
};

void readByKind(const JsonValue& message, Operation* operation) {
  const std::string op = stringOf(message, "op");
  const auto* reader = std::find_if(std::begin(kReaders), std::end(kReaders),
                                    [&](const Reader& each) { return op == each.op; });
  if (reader == std::end(kReaders)) {
    throw MessageError("There is no operation \"" + op.substr(0, 40) + "\".");
  }
  if (reader->ofElement) {
    operation->element = idOf(message, "element");
  }
  reader->read(message, operation);
  operation->kind = reader->kind;
}

}  // namespace

Hello readHello(const JsonValue& message) {
  const std::optional<uint64_t> protocol = wholeNumber(message.member("hello"), kLargestNumber);
  if (!protocol.has_value()) {
    throw MessageError("The first message must be the browser's \"hello\".");
  }
  if (*protocol != kProtocol) {
    throw MessageError("The extension speaks protocol " + std::to_string(*protocol) +
                       ", this program speaks " + std::to_string(kProtocol) + ".");
  }
  Hello hello;
  hello.origin = stringOf(message, "origin");
  hello.address = stringOf(message, "address");
  hello.agent = stringOf(message, "agent");
  hello.browser = stringOf(message, "browser");
  hello.version = stringOf(message, "version");
  hello.isPrivate = isTrue(message, "private");
  hello.isPage = truthOf(message, "page", true);
  hello.together = isTrue(message, "together");
  return hello;
}

std::optional<uint64_t> numberOf(const JsonValue& message) {
  const std::optional<uint64_t> number = wholeNumber(message.member("n"), kLargestNumber);
  return number.has_value() && *number > 0 ? number : std::nullopt;
}

Operation readOperation(const JsonValue& message) {
  const std::optional<uint64_t> number = numberOf(message);
  if (!number.has_value()) {
    refuse("n", "a whole number from 1 to 9007199254740991");
  }
  Operation operation;
  try {
    readByKind(message, &operation);
  } catch (const MessageError& error) {
    operation = Operation();
    operation.complaint = error.what();
  }
  operation.number = *number;
  return operation;
}

}  // namespace web_host
