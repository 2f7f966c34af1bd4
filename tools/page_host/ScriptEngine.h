#ifndef TOOLS_PAGE_HOST_SCRIPT_ENGINE_H_
#define TOOLS_PAGE_HOST_SCRIPT_ENGINE_H_

#include <JavaScriptCore/JavaScript.h>

#include <functional>
#include <string>
#include <vector>

namespace page_host {

// Values held off the stack, where the collector does not look: protected while they are in here.
class ProtectedValues {
 public:
  explicit ProtectedValues(JSContextRef context) : _context(context) {}
  ~ProtectedValues();
  ProtectedValues(const ProtectedValues&) = delete;
  ProtectedValues& operator=(const ProtectedValues&) = delete;

  void add(JSValueRef value);
  const JSValueRef* data() const { return _values.data(); }
  size_t size() const { return _values.size(); }

 private:
  JSContextRef _context;
  std::vector<JSValueRef> _values;
};

// The page's script engine: one global object and the ways to run code in it. Exceptions that
// nothing in the script catches, rejected promises included, go to the function given at
// construction, as text with file and line. Main thread only.
class ScriptEngine {
 public:
  using Uncaught = std::function<void(const std::string&)>;

  explicit ScriptEngine(Uncaught uncaught);
  // Frees the heap: every finalizer has run afterwards.
  ~ScriptEngine();
  ScriptEngine(const ScriptEngine&) = delete;
  ScriptEngine& operator=(const ScriptEngine&) = delete;

  JSGlobalContextRef context() const { return _context; }
  JSObjectRef global() const { return JSContextGetGlobalObject(_context); }

  // These report an exception and answer null.
  JSValueRef evaluate(const std::string& source, const std::string& name, JSObjectRef self);
  JSValueRef call(JSObjectRef function, JSObjectRef self, const ProtectedValues& args);
  JSValueRef construct(JSObjectRef function, const ProtectedValues& args);
  void report(JSValueRef exception);

  JSValueRef get(JSObjectRef object, const std::string& name) const;
  void set(JSObjectRef object, const std::string& name, JSValueRef value) const;
  void setFunction(JSObjectRef object, const std::string& name,
                   JSObjectCallAsFunctionCallback function) const;
  JSObjectRef makeObject() const { return JSObjectMake(_context, nullptr, nullptr); }
  JSValueRef makeString(const std::string& utf8) const;
  JSValueRef makeError(const std::string& message) const;
  // As String(value) gives it; never throws.
  std::string text(JSValueRef value) const;
  // For the console: objects as JSON where that says something.
  std::string describe(JSValueRef value) const;

 private:
  std::string exceptionText(JSValueRef exception) const;

  JSGlobalContextRef _context;
  Uncaught _uncaught;
};

}  // namespace page_host

#endif  // TOOLS_PAGE_HOST_SCRIPT_ENGINE_H_
