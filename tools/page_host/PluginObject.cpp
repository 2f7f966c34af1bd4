#include "tools/page_host/PluginObject.h"

#include <string>

#include "tools/page_host/Identifiers.h"
#include "tools/page_host/NpObjects.h"
#include "tools/page_host/Text.h"

namespace page_host {
namespace {

ScriptBridge& bridge() {
  return ScriptBridge::current();
}

PluginObject* holderOf(JSObjectRef object) {
  return static_cast<PluginObject*>(JSObjectGetPrivate(object));
}

NPIdentifier nameOf(JSStringRef key) {
  return propertyIdentifier(JsString::utf8Of(key))->handle();
}

bool hasNpProperty(NPObject* object, NPIdentifier name) {
  return object->_class->hasProperty != nullptr && object->_class->hasProperty(object, name);
}

bool hasNpMethod(NPObject* object, NPIdentifier name) {
  return object->_class->hasMethod != nullptr && object->_class->hasMethod(object, name);
}

// One call of the module on the script's behalf. Its end throws what the module gave to
// setException, or `refusal` when the module answered false; true means that neither happened.
class NativeCall {
 public:
  explicit NativeCall(JSValueRef* exception) : _exception(exception) { bridge().beginCall(); }
  NativeCall(const NativeCall&) = delete;
  NativeCall& operator=(const NativeCall&) = delete;

  bool end(bool accepted, const char* refusal) {
    JSValueRef thrown = bridge().endCall();
    if (thrown == nullptr && !accepted && refusal != nullptr) {
      thrown = bridge().engine().makeError(refusal);
    }
    if (thrown != nullptr) {
      *_exception = thrown;
    }
    return thrown == nullptr && accepted;
  }

 private:
  JSValueRef* _exception;
};

JSValueRef takeResult(JSContextRef context, bool good, Owner owner, NPVariant* result) {
  JSValueRef value = good ? bridge().toScript(*result, owner) : JSValueMakeUndefined(context);
  releaseVariant(result);
  return value;
}

bool hasProperty(JSContextRef, JSObjectRef object, JSStringRef key) {
  NPObject* target = holderOf(object)->object;
  const NPIdentifier name = nameOf(key);
  return hasNpProperty(target, name) || hasNpMethod(target, name);
}

JSValueRef getProperty(JSContextRef context, JSObjectRef object, JSStringRef key,
                       JSValueRef* exception) {
  PluginObject* holder = holderOf(object);
  const NPIdentifier name = nameOf(key);
  if (!hasNpProperty(holder->object, name)) {
    return hasNpMethod(holder->object, name) ? bridge().methodObject(name)
                                             : JSValueMakeUndefined(context);
  }
  NPVariant result;
  VOID_TO_NPVARIANT(result);
  NativeCall call(exception);
  const auto get = holder->object->_class->getProperty;
  const bool good = call.end(get != nullptr && get(holder->object, name, &result), nullptr);
  return takeResult(context, good, holder->owner, &result);
}

bool setProperty(JSContextRef, JSObjectRef object, JSStringRef key, JSValueRef value,
                 JSValueRef* exception) {
  PluginObject* holder = holderOf(object);
  const NPIdentifier name = nameOf(key);
  if (!hasNpProperty(holder->object, name)) {
    return false;  // an ordinary property of the script object, as on a page's element
  }
  VariantList values(1);
  bridge().toPlugin(value, holder->owner, &values[0]);
  NativeCall call(exception);
  const auto set = holder->object->_class->setProperty;
  call.end(set != nullptr && set(holder->object, name, values.data()),
           "Error setting property on NPObject.");
  return true;
}

bool deleteProperty(JSContextRef, JSObjectRef object, JSStringRef key, JSValueRef*) {
  NPObject* target = holderOf(object)->object;
  const NPIdentifier name = nameOf(key);
  if (!hasNpProperty(target, name)) {
    return !hasNpMethod(target, name);
  }
  return target->_class->removeProperty != nullptr && target->_class->removeProperty(target, name);
}

void getPropertyNames(JSContextRef, JSObjectRef object, JSPropertyNameAccumulatorRef names) {
  NPObject* target = holderOf(object)->object;
  NPIdentifier* list = nullptr;
  uint32_t count = 0;
  if (target->_class->structVersion < NP_CLASS_STRUCT_VERSION_ENUM ||
      target->_class->enumerate == nullptr || !target->_class->enumerate(target, &list, &count)) {
    return;
  }
  for (uint32_t i = 0; i < count; ++i) {
    const JsString name(identifierOf(list[i])->name);
    JSPropertyNameAccumulatorAddName(names, name.get());
  }
  freeMemory(list);
}

void finalize(JSObjectRef object) {
  bridge().collected(holderOf(object));
}

JSValueRef callMethod(JSContextRef context, JSObjectRef method, JSObjectRef self, size_t argCount,
                      const JSValueRef args[], JSValueRef* exception) {
  if (self == nullptr || !JSValueIsObjectOfClass(context, self, pluginObjectClass())) {
    *exception = bridge().engine().makeError("The method was not called on a plugin object.");
    return nullptr;
  }
  PluginObject* holder = holderOf(self);
  VariantList values(argCount);
  for (size_t i = 0; i < argCount; ++i) {
    bridge().toPlugin(args[i], holder->owner, &values[i]);
  }
  NPVariant result;
  VOID_TO_NPVARIANT(result);
  NativeCall call(exception);
  const auto invoke = holder->object->_class->invoke;
  const bool accepted = invoke != nullptr && invoke(holder->object, JSObjectGetPrivate(method),
                                                    values.data(), values.size(), &result);
  const bool good = call.end(accepted, "Error calling method on NPObject.");
  return takeResult(context, good, holder->owner, &result);
}

}  // namespace

JSClassRef pluginObjectClass() {
  static const JSClassRef theClass = [] {
    JSClassDefinition definition = kJSClassDefinitionEmpty;
    definition.className = "PluginObject";
    definition.finalize = finalize;
    definition.hasProperty = hasProperty;
    definition.getProperty = getProperty;
    definition.setProperty = setProperty;
    definition.deleteProperty = deleteProperty;
    definition.getPropertyNames = getPropertyNames;
    return JSClassCreate(&definition);
  }();
  return theClass;
}

JSClassRef pluginMethodClass() {
  static const JSClassRef theClass = [] {
    JSClassDefinition definition = kJSClassDefinitionEmpty;
    definition.className = "PluginMethod";
    definition.callAsFunction = callMethod;
    return JSClassCreate(&definition);
  }();
  return theClass;
}

}  // namespace page_host
