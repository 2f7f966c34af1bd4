#include "tools/page_host/ScriptEngine.h"

#include <utility>

#include "tools/page_host/JsString.h"

// Exported by the library and stable since 2.30, but declared in none of its installed headers.
extern "C" JS_EXPORT void JSGlobalContextSetUnhandledRejectionCallback(JSGlobalContextRef context,
                                                                       JSObjectRef function,
                                                                       JSValueRef* exception);

namespace page_host {
namespace {

// The rejection callback has no user data; there is one engine a process.
ScriptEngine* theEngine = nullptr;

JSValueRef rejected(JSContextRef context, JSObjectRef, JSObjectRef, size_t count,
                    const JSValueRef args[], JSValueRef*) {
  if (theEngine != nullptr && count > 1) {
    theEngine->report(args[1]);
  }
  return JSValueMakeUndefined(context);
}

// The stack's lines, indented; without the last one when that only repeats where the script began.
std::string indented(const std::string& stack) {
  std::string out;
  for (size_t start = 0; start < stack.size();) {
    size_t end = stack.find('\n', start);
    end = end == std::string::npos ? stack.size() : end;
    out += "\n    " + stack.substr(start, end - start);
    start = end + 1;
  }
  return out;
}

}  // namespace

ProtectedValues::~ProtectedValues() {
  for (JSValueRef value : _values) {
    JSValueUnprotect(_context, value);
  }
}

void ProtectedValues::add(JSValueRef value) {
  JSValueProtect(_context, value);
  _values.push_back(value);
}

ScriptEngine::ScriptEngine(Uncaught uncaught)
    : _context(JSGlobalContextCreate(nullptr)), _uncaught(std::move(uncaught)) {
  theEngine = this;
  JSObjectRef function = JSObjectMakeFunctionWithCallback(_context, nullptr, rejected);
  JSGlobalContextSetUnhandledRejectionCallback(_context, function, nullptr);
}

ScriptEngine::~ScriptEngine() {
  theEngine = nullptr;
  JSGlobalContextRelease(_context);
}

JSValueRef ScriptEngine::evaluate(const std::string& source, const std::string& name,
                                  JSObjectRef self) {
  const JsString code(source);
  const JsString address(name);
  JSValueRef exception = nullptr;
  JSValueRef result = JSEvaluateScript(_context, code.get(), self, address.get(), 1, &exception);
  if (exception != nullptr) {
    report(exception);
    return nullptr;
  }
  return result;
}

JSValueRef ScriptEngine::call(JSObjectRef function, JSObjectRef self, const ProtectedValues& args) {
  JSValueRef exception = nullptr;
  JSValueRef result =
      JSObjectCallAsFunction(_context, function, self, args.size(), args.data(), &exception);
  if (exception != nullptr) {
    report(exception);
    return nullptr;
  }
  return result;
}

JSValueRef ScriptEngine::construct(JSObjectRef function, const ProtectedValues& args) {
  JSValueRef exception = nullptr;
  JSValueRef result =
      JSObjectCallAsConstructor(_context, function, args.size(), args.data(), &exception);
  if (exception != nullptr) {
    report(exception);
    return nullptr;
  }
  return result;
}

void ScriptEngine::report(JSValueRef exception) {
  JSValueProtect(_context, exception);
  const std::string message = exceptionText(exception);
  JSValueUnprotect(_context, exception);
  _uncaught(message);
}

std::string ScriptEngine::exceptionText(JSValueRef exception) const {
  std::string message = "Uncaught " + text(exception);
  if (!JSValueIsObject(_context, exception)) {
    return message;
  }
  JSObjectRef error = JSValueToObject(_context, exception, nullptr);
  JSValueRef file = get(error, "sourceURL");
  JSValueRef line = get(error, "line");
  if (!JSValueIsString(_context, file) || !JSValueIsNumber(_context, line)) {
    return message;
  }
  JSValueRef column = get(error, "column");
  std::string where = text(file) + ":" + text(line);
  if (JSValueIsNumber(_context, column)) {
    where += ":" + text(column);
  }
  JSValueRef stack = get(error, "stack");
  return where + ": " + message +
         (JSValueIsString(_context, stack) ? indented(text(stack)) : std::string());
}

JSValueRef ScriptEngine::get(JSObjectRef object, const std::string& name) const {
  const JsString key(name);
  JSValueRef exception = nullptr;
  JSValueRef value = JSObjectGetProperty(_context, object, key.get(), &exception);
  return exception == nullptr ? value : JSValueMakeUndefined(_context);
}

void ScriptEngine::set(JSObjectRef object, const std::string& name, JSValueRef value) const {
  const JsString key(name);
  JSObjectSetProperty(_context, object, key.get(), value, kJSPropertyAttributeNone, nullptr);
}

void ScriptEngine::setFunction(JSObjectRef object, const std::string& name,
                               JSObjectCallAsFunctionCallback function) const {
  const JsString key(name);
  set(object, name, JSObjectMakeFunctionWithCallback(_context, key.get(), function));
}

JSValueRef ScriptEngine::makeString(const std::string& utf8) const {
  const JsString string(utf8);
  return JSValueMakeString(_context, string.get());
}

JSValueRef ScriptEngine::makeError(const std::string& message) const {
  JSValueRef argument = makeString(message);
  return JSObjectMakeError(_context, 1, &argument, nullptr);
}

std::string ScriptEngine::text(JSValueRef value) const {
  JSValueRef exception = nullptr;
  const JsString string(JSValueToStringCopy(_context, value, &exception));
  return exception == nullptr ? string.utf8() : "(a value without a text)";
}

std::string ScriptEngine::describe(JSValueRef value) const {
  if (!JSValueIsObject(_context, value)) {
    return JSValueIsSymbol(_context, value) ? "Symbol()" : text(value);
  }
  JSObjectRef object = JSValueToObject(_context, value, nullptr);
  if (JSObjectIsFunction(_context, object) || JSValueIsString(_context, get(object, "stack"))) {
    return text(value);
  }
  JSValueRef exception = nullptr;
  const JsString json(JSValueCreateJSONString(_context, value, 0, &exception));
  return exception == nullptr && json.get() != nullptr ? json.utf8() : text(value);
}

}  // namespace page_host
