#include "tools/page_host/PluginObject.h"

#include "tools/npapi_host/Identifiers.h"
#include "tools/npapi_host/ModuleObject.h"
#include "tools/npapi_host/NpObjects.h"
#include "tools/page_host/JsString.h"

namespace page_host {
namespace {

using npapi_host::ModuleObject;

ScriptBridge& bridge() {
  return ScriptBridge::current();
}

PluginObject* holderOf(JSObjectRef object) {
  return static_cast<PluginObject*>(JSObjectGetPrivate(object));
}

NPIdentifier nameOf(JSStringRef key) {
  return npapi_host::propertyIdentifier(JsString::utf8Of(key))->handle();
}

ModuleObject moduleObject(JSObjectRef object) {
  return ModuleObject(holderOf(object)->object);
}

// What the module gave to setException, or its refusal, as the script's exception. True when there
// is none.
bool wentWell(const npapi_host::Thrown& thrown, JSValueRef* exception) {
  if (thrown.has_value()) {
    *exception = bridge().engine().makeError(*thrown);
  }
  return !thrown.has_value();
}

JSValueRef takeResult(Owner owner, NPVariant* result) {
  JSValueRef value = bridge().toScript(*result, owner);
  npapi_host::releaseVariant(result);
  return value;
}

bool hasProperty(JSContextRef, JSObjectRef object, JSStringRef key) {
  const NPIdentifier name = nameOf(key);
  return moduleObject(object).hasProperty(name) || moduleObject(object).hasMethod(name);
}

JSValueRef getProperty(JSContextRef context, JSObjectRef object, JSStringRef key,
                       JSValueRef* exception) {
  const ModuleObject target = moduleObject(object);
  const Owner owner = holderOf(object)->owner;
  const NPIdentifier name = nameOf(key);
  if (!target.hasProperty(name)) {
    return target.hasMethod(name) ? bridge().methodObject(name) : JSValueMakeUndefined(context);
  }
  NPVariant result;
  wentWell(target.get(name, &result), exception);
  return takeResult(owner, &result);
}

bool setProperty(JSContextRef, JSObjectRef object, JSStringRef key, JSValueRef value,
                 JSValueRef* exception) {
  const ModuleObject target = moduleObject(object);
  const NPIdentifier name = nameOf(key);
  if (!target.hasProperty(name)) {
    return false;  // an ordinary property of the script object, as on a page's element
  }
  npapi_host::VariantList values(1);
  bridge().toPlugin(value, holderOf(object)->owner, &values[0]);
  wentWell(target.set(name, values[0]), exception);
  return true;
}

bool deleteProperty(JSContextRef, JSObjectRef object, JSStringRef key, JSValueRef*) {
  const ModuleObject target = moduleObject(object);
  const NPIdentifier name = nameOf(key);
  return target.hasProperty(name) ? target.remove(name) : !target.hasMethod(name);
}

void getPropertyNames(JSContextRef, JSObjectRef object, JSPropertyNameAccumulatorRef names) {
  for (NPIdentifier identifier : moduleObject(object).names()) {
    const JsString name(npapi_host::identifierOf(identifier)->name);
    JSPropertyNameAccumulatorAddName(names, name.get());
  }
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
  npapi_host::VariantList values(argCount);
  for (size_t i = 0; i < argCount; ++i) {
    bridge().toPlugin(args[i], holder->owner, &values[i]);
  }
  NPVariant result;
  wentWell(ModuleObject(holder->object)
               .invoke(JSObjectGetPrivate(method), values.data(), values.size(), &result),
           exception);
  return takeResult(holder->owner, &result);
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
