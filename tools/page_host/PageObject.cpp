#include "tools/page_host/PageObject.h"

#include <cstring>
#include <string>
#include <vector>

#include "tools/page_host/Identifiers.h"
#include "tools/page_host/NpObjects.h"
#include "tools/page_host/Text.h"

namespace page_host {
namespace {

ScriptBridge& bridge() {
  return ScriptBridge::current();
}

ScriptEngine& engine() {
  return bridge().engine();
}

JSContextRef context() {
  return engine().context();
}

JSObjectRef scriptObject(NPObject* object) {
  return static_cast<PageObject*>(object)->object;
}

JsString keyOf(NPIdentifier name) {
  return JsString(identifierOf(name)->name);
}

NPObject* allocate(NPP, NPClass*) {
  return new PageObject{};
}

void deallocate(NPObject* object) {
  PageObject* page = static_cast<PageObject*>(object);
  if (page->object != nullptr) {
    bridge().forget(page);
  }
  delete page;
}

// The property's value if that is an object, else null.
JSObjectRef memberObject(NPObject* object, NPIdentifier name) {
  if (scriptObject(object) == nullptr) {
    return nullptr;
  }
  JSValueRef member = engine().get(scriptObject(object), identifierOf(name)->name);
  return JSValueIsObject(context(), member) ? JSValueToObject(context(), member, nullptr) : nullptr;
}

bool hasMethod(NPObject* object, NPIdentifier name) {
  JSObjectRef member = memberObject(object, name);
  return member != nullptr && JSObjectIsFunction(context(), member);
}

void convertArguments(const NPVariant* args, uint32_t argCount, Owner owner,
                      ProtectedValues* values) {
  for (uint32_t i = 0; i < argCount; ++i) {
    values->add(bridge().toScript(args[i], owner));
  }
}

// An exception is the page's affair: reported there, while the module sees a call that went well
// and answered null, as it does in browsers.
bool answer(JSValueRef value, Owner owner, NPVariant* result) {
  if (value == nullptr) {
    NULL_TO_NPVARIANT(*result);
  } else {
    bridge().toPlugin(value, owner, result);
  }
  return true;
}

bool callFunction(JSObjectRef function, JSObjectRef self, Owner owner, const NPVariant* args,
                  uint32_t argCount, NPVariant* result) {
  ProtectedValues values(context());
  convertArguments(args, argCount, owner, &values);
  return answer(engine().call(function, self, values), owner, result);
}

bool invoke(NPObject* object, NPIdentifier name, const NPVariant* args, uint32_t argCount,
            NPVariant* result) {
  JSObjectRef function = memberObject(object, name);
  if (function == nullptr || !JSObjectIsFunction(context(), function)) {
    return false;
  }
  const PageObject* page = static_cast<PageObject*>(object);
  return callFunction(function, page->object, page->owner, args, argCount, result);
}

bool invokeDefault(NPObject* object, const NPVariant* args, uint32_t argCount, NPVariant* result) {
  const PageObject* page = static_cast<PageObject*>(object);
  if (page->object == nullptr || !JSObjectIsFunction(context(), page->object)) {
    return false;
  }
  return callFunction(page->object, nullptr, page->owner, args, argCount, result);
}

bool construct(NPObject* object, const NPVariant* args, uint32_t argCount, NPVariant* result) {
  const PageObject* page = static_cast<PageObject*>(object);
  if (page->object == nullptr || !JSObjectIsConstructor(context(), page->object)) {
    return false;
  }
  const Owner owner = page->owner;
  ProtectedValues values(context());
  convertArguments(args, argCount, owner, &values);
  return answer(engine().construct(page->object, values), owner, result);
}

bool hasProperty(NPObject* object, NPIdentifier name) {
  return scriptObject(object) != nullptr &&
         JSObjectHasProperty(context(), scriptObject(object), keyOf(name).get());
}

bool getProperty(NPObject* object, NPIdentifier name, NPVariant* result) {
  if (scriptObject(object) == nullptr) {
    return false;
  }
  const Owner owner = static_cast<PageObject*>(object)->owner;
  JSValueRef exception = nullptr;
  JSValueRef value =
      JSObjectGetProperty(context(), scriptObject(object), keyOf(name).get(), &exception);
  if (exception != nullptr) {
    engine().report(exception);
    return false;
  }
  bridge().toPlugin(value, owner, result);
  return true;
}

bool setProperty(NPObject* object, NPIdentifier name, const NPVariant* value) {
  if (scriptObject(object) == nullptr) {
    return false;
  }
  JSValueRef exception = nullptr;
  JSObjectSetProperty(context(), scriptObject(object), keyOf(name).get(),
                      bridge().toScript(*value, static_cast<PageObject*>(object)->owner),
                      kJSPropertyAttributeNone, &exception);
  if (exception != nullptr) {
    engine().report(exception);
  }
  return exception == nullptr;
}

bool removeProperty(NPObject* object, NPIdentifier name) {
  return hasProperty(object, name) &&
         JSObjectDeleteProperty(context(), scriptObject(object), keyOf(name).get(), nullptr);
}

// The list is the caller's to free.
bool enumerate(NPObject* object, NPIdentifier** names, uint32_t* count) {
  if (scriptObject(object) == nullptr) {
    return false;
  }
  JSPropertyNameArrayRef keys = JSObjectCopyPropertyNames(context(), scriptObject(object));
  *count = static_cast<uint32_t>(JSPropertyNameArrayGetCount(keys));
  *names = static_cast<NPIdentifier*>(allocateMemory(*count * sizeof(NPIdentifier)));
  for (uint32_t i = 0; i < *count; ++i) {
    const std::string key = JsString::utf8Of(JSPropertyNameArrayGetNameAtIndex(keys, i));
    (*names)[i] = propertyIdentifier(key)->handle();
  }
  JSPropertyNameArrayRelease(keys);
  return true;
}

}  // namespace

NPClass* pageObjectClass() {
  static NPClass theClass = {NP_CLASS_STRUCT_VERSION,
                             allocate,
                             deallocate,
                             nullptr,
                             hasMethod,
                             invoke,
                             invokeDefault,
                             hasProperty,
                             getProperty,
                             setProperty,
                             removeProperty,
                             enumerate,
                             construct};
  return &theClass;
}

PageObject* asPageObject(NPObject* object) {
  return object != nullptr && object->_class == pageObjectClass() ? static_cast<PageObject*>(object)
                                                                  : nullptr;
}

}  // namespace page_host
