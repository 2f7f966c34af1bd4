#include "tools/page_host/ScriptBridge.h"

#include <cassert>

#include "tools/npapi_host/MainLoop.h"
#include "tools/npapi_host/NpObjects.h"
#include "tools/npapi_host/PluginHost.h"
#include "tools/page_host/PluginObject.h"

namespace page_host {

using npapi_host::MainLoop;
using npapi_host::makeStringVariant;
using npapi_host::releaseNpObject;
using npapi_host::retainNpObject;

static ScriptBridge* theBridge = nullptr;

static JSObjectRef protectedFunction(const ScriptEngine& engine, JSObjectRef object,
                                     const char* name) {
  JSObjectRef function = JSValueToObject(engine.context(), engine.get(object, name), nullptr);
  assert(function != nullptr);
  JSValueProtect(engine.context(), function);
  return function;
}

// What stands for module objects may be collected; the engine's public interface offers no weak
// handle, so the script's own WeakRef is taken before the page can touch it.
ScriptBridge::ScriptBridge(ScriptEngine* engine)
    : _engine(engine), _weakRef(protectedFunction(*engine, engine->global(), "WeakRef")) {
  theBridge = this;
  JSValueRef prototype = engine->get(_weakRef, "prototype");
  _deref =
      protectedFunction(*engine, JSValueToObject(engine->context(), prototype, nullptr), "deref");
}

ScriptBridge::~ScriptBridge() {
  theBridge = nullptr;
}

ScriptBridge& ScriptBridge::current() {
  assert(theBridge != nullptr);
  return *theBridge;
}

JSValueRef ScriptBridge::toScript(const NPVariant& variant, Owner owner) {
  JSContextRef context = _engine->context();
  switch (variant.type) {
    case NPVariantType_Null:
      return JSValueMakeNull(context);
    case NPVariantType_Bool:
      return JSValueMakeBoolean(context, variant.value.boolValue);
    case NPVariantType_Int32:
      return JSValueMakeNumber(context, variant.value.intValue);
    case NPVariantType_Double:
      return JSValueMakeNumber(context, variant.value.doubleValue);
    case NPVariantType_String: {
      const NPString& text = variant.value.stringValue;
      return _engine->makeString(text.UTF8Characters == nullptr
                                     ? std::string()
                                     : std::string(text.UTF8Characters, text.UTF8Length));
    }
    case NPVariantType_Object: {
      JSObjectRef object = scriptObjectFor(variant.value.objectValue, owner);
      return object != nullptr ? object : JSValueMakeNull(context);
    }
    default:
      return JSValueMakeUndefined(context);
  }
}

// All numbers travel as doubles, as they do in browsers.
void ScriptBridge::toPlugin(JSValueRef value, Owner owner, NPVariant* variant) {
  JSContextRef context = _engine->context();
  switch (JSValueGetType(context, value)) {
    case kJSTypeNull:
      NULL_TO_NPVARIANT(*variant);
      break;
    case kJSTypeBoolean:
      BOOLEAN_TO_NPVARIANT(JSValueToBoolean(context, value), *variant);
      break;
    case kJSTypeNumber:
      DOUBLE_TO_NPVARIANT(JSValueToNumber(context, value, nullptr), *variant);
      break;
    case kJSTypeString: {
      const std::string text = _engine->text(value);
      makeStringVariant(text.data(), text.size(), variant);
      break;
    }
    case kJSTypeObject:
      OBJECT_TO_NPVARIANT(npObjectFor(JSValueToObject(context, value, nullptr), owner), *variant);
      break;
    default:  // also symbols and big integers, for which the interface has no type
      VOID_TO_NPVARIANT(*variant);
      break;
  }
}

NPObject* ScriptBridge::npObjectFor(JSObjectRef object, Owner owner) {
  if (JSValueIsObjectOfClass(_engine->context(), object, pluginObjectClass())) {
    return retainNpObject(static_cast<PluginObject*>(JSObjectGetPrivate(object))->object);
  }
  const auto ref = reinterpret_cast<npapi_host::PageRef>(object);
  return npapi_host::PluginHost::current().objects().objectFor(ref, owner);
}

JSObjectRef ScriptBridge::scriptObjectFor(NPObject* object, Owner owner) {
  if (object == nullptr) {
    return nullptr;
  }
  if (const npapi_host::PageObject* page = npapi_host::asPageObject(object)) {
    return reinterpret_cast<JSObjectRef>(page->ref);
  }
  JSObjectRef wrapper = aliveWrapper(object);
  return wrapper != nullptr ? wrapper : makeWrapper(object, owner);
}

JSObjectRef ScriptBridge::aliveWrapper(NPObject* object) const {
  const auto it = _pluginObjects.find(object);
  if (it == _pluginObjects.end()) {
    return nullptr;
  }
  JSContextRef context = _engine->context();
  JSValueRef target =
      JSObjectCallAsFunction(context, _deref, it->second->weakRef, 0, nullptr, nullptr);
  return target != nullptr && JSValueIsObject(context, target)
             ? JSValueToObject(context, target, nullptr)
             : nullptr;
}

JSObjectRef ScriptBridge::makeWrapper(NPObject* object, Owner owner) {
  JSContextRef context = _engine->context();
  PluginObject* holder = new PluginObject{retainNpObject(object), owner, nullptr};
  JSObjectRef wrapper = JSObjectMake(context, pluginObjectClass(), holder);
  JSValueRef argument = wrapper;
  holder->weakRef = JSObjectCallAsConstructor(context, _weakRef, 1, &argument, nullptr);
  JSValueProtect(context, holder->weakRef);
  _pluginObjects[object] = holder;  // over one that was collected and not dropped yet
  return wrapper;
}

JSObjectRef ScriptBridge::methodObject(NPIdentifier name) {
  JSObjectRef& method = _methods[name];
  if (method == nullptr) {
    JSContextRef context = _engine->context();
    method = JSObjectMake(context, pluginMethodClass(), name);
    JSValueProtect(context, method);
    JSObjectSetPrototype(context, method, JSObjectGetPrototype(context, _deref));
  }
  return method;
}

// A finalizer may not use the engine, and releasing the NPObject may run the module's code.
void ScriptBridge::collected(PluginObject* object) {
  {
    std::lock_guard<std::mutex> lock(_collectedMutex);
    _collected.push_back(object);
  }
  MainLoop::post([] {
    if (theBridge != nullptr) {
      theBridge->dropCollected();
    }
  });
}

void ScriptBridge::dropCollected() {
  std::vector<PluginObject*> objects;
  {
    std::lock_guard<std::mutex> lock(_collectedMutex);
    objects.swap(_collected);
  }
  for (PluginObject* object : objects) {
    drop(object);
  }
}

void ScriptBridge::drop(PluginObject* object) {
  const auto it = _pluginObjects.find(object->object);
  if (it != _pluginObjects.end() && it->second == object) {
    _pluginObjects.erase(it);
  }
  if (!_closed) {
    JSValueUnprotect(_engine->context(), object->weakRef);
  }
  releaseNpObject(object->object);
  delete object;
}

void ScriptBridge::close() {
  JSContextRef context = _engine->context();
  for (const auto& method : _methods) {
    JSValueUnprotect(context, method.second);
  }
  _methods.clear();
  for (const auto& object : _pluginObjects) {
    JSValueUnprotect(context, object.second->weakRef);
  }
  JSValueUnprotect(context, _weakRef);
  JSValueUnprotect(context, _deref);
  _closed = true;
}

}  // namespace page_host
