#include <cstring>
#include <string>

#include "tools/npapi_host/BrowserTable.h"
#include "tools/npapi_host/Identifiers.h"
#include "tools/npapi_host/ModuleObject.h"
#include "tools/npapi_host/NpObjects.h"
#include "tools/npapi_host/PluginHost.h"

// Names, script objects and values, as the module sees them. Objects are asked through their class,
// whoever made them.
namespace npapi_host {
namespace {

NPIdentifier getStringIdentifier(const NPUTF8* name) {
  requireMainThread("NPN_GetStringIdentifier");
  return name != nullptr ? stringIdentifier(name)->handle() : nullptr;
}

void getStringIdentifiers(const NPUTF8** names, int32_t count, NPIdentifier* identifiers) {
  for (int32_t i = 0; i < count; ++i) {
    identifiers[i] = getStringIdentifier(names[i]);
  }
}

NPIdentifier getIntIdentifier(int32_t number) {
  requireMainThread("NPN_GetIntIdentifier");
  return intIdentifier(number)->handle();
}

bool identifierIsString(NPIdentifier identifier) {
  return identifier != nullptr && identifierOf(identifier)->isString;
}

NPUTF8* utf8FromIdentifier(NPIdentifier identifier) {
  if (!identifierIsString(identifier)) {
    return nullptr;
  }
  const std::string& name = identifierOf(identifier)->name;
  NPUTF8* copy = static_cast<NPUTF8*>(allocateMemory(static_cast<uint32_t>(name.size() + 1)));
  std::memcpy(copy, name.c_str(), name.size() + 1);
  return copy;
}

int32_t intFromIdentifier(NPIdentifier identifier) {
  return identifier != nullptr ? identifierOf(identifier)->number : 0;
}

NPObject* createObject(NPP npp, NPClass* objectClass) {
  return requireInstance(npp, "NPN_CreateObject") != nullptr ? createNpObject(npp, objectClass)
                                                             : nullptr;
}

NPObject* retainObject(NPObject* object) {
  requireMainThread("NPN_RetainObject");
  return retainNpObject(object);
}

void releaseObject(NPObject* object) {
  requireMainThread("NPN_ReleaseObject");
  if (object != nullptr && object->referenceCount == 0) {
    PluginHost::current().page().complain("the module released an object that nobody holds");
    return;
  }
  releaseNpObject(object);
}

void releaseVariantValue(NPVariant* variant) {
  requireMainThread("NPN_ReleaseVariantValue");
  releaseVariant(variant);
}

// An object to ask, and an instance that asks.
bool mayAsk(NPP npp, const NPObject* object, const char* function) {
  return requireInstance(npp, function) != nullptr && object != nullptr;
}

bool invoke(NPP npp, NPObject* object, NPIdentifier name, const NPVariant* args, uint32_t argCount,
            NPVariant* result) {
  VOID_TO_NPVARIANT(*result);
  return mayAsk(npp, object, "NPN_Invoke") && object->_class->invoke != nullptr &&
         object->_class->invoke(object, name, args, argCount, result);
}

bool invokeDefault(NPP npp, NPObject* object, const NPVariant* args, uint32_t argCount,
                   NPVariant* result) {
  VOID_TO_NPVARIANT(*result);
  return mayAsk(npp, object, "NPN_InvokeDefault") && object->_class->invokeDefault != nullptr &&
         object->_class->invokeDefault(object, args, argCount, result);
}

bool construct(NPP npp, NPObject* object, const NPVariant* args, uint32_t argCount,
               NPVariant* result) {
  VOID_TO_NPVARIANT(*result);
  return mayAsk(npp, object, "NPN_Construct") &&
         object->_class->structVersion >= NP_CLASS_STRUCT_VERSION_CTOR &&
         object->_class->construct != nullptr &&
         object->_class->construct(object, args, argCount, result);
}

bool evaluate(NPP npp, NPObject* object, NPString* script, NPVariant* result) {
  VOID_TO_NPVARIANT(*result);
  const std::shared_ptr<Instance> instance = requireInstance(npp, "NPN_Evaluate");
  return instance != nullptr && object != nullptr && script != nullptr &&
         PluginHost::current().page().evaluate(
             object, std::string(script->UTF8Characters, script->UTF8Length), instance->owner(),
             result);
}

bool getProperty(NPP npp, NPObject* object, NPIdentifier name, NPVariant* result) {
  VOID_TO_NPVARIANT(*result);
  return mayAsk(npp, object, "NPN_GetProperty") && object->_class->getProperty != nullptr &&
         object->_class->getProperty(object, name, result);
}

bool setProperty(NPP npp, NPObject* object, NPIdentifier name, const NPVariant* value) {
  return mayAsk(npp, object, "NPN_SetProperty") && object->_class->setProperty != nullptr &&
         object->_class->setProperty(object, name, value);
}

bool removeProperty(NPP npp, NPObject* object, NPIdentifier name) {
  return mayAsk(npp, object, "NPN_RemoveProperty") && object->_class->removeProperty != nullptr &&
         object->_class->removeProperty(object, name);
}

bool hasProperty(NPP npp, NPObject* object, NPIdentifier name) {
  return mayAsk(npp, object, "NPN_HasProperty") && object->_class->hasProperty != nullptr &&
         object->_class->hasProperty(object, name);
}

bool hasMethod(NPP npp, NPObject* object, NPIdentifier name) {
  return mayAsk(npp, object, "NPN_HasMethod") && object->_class->hasMethod != nullptr &&
         object->_class->hasMethod(object, name);
}

bool enumerate(NPP npp, NPObject* object, NPIdentifier** names, uint32_t* count) {
  *names = nullptr;
  *count = 0;
  return mayAsk(npp, object, "NPN_Enumerate") &&
         object->_class->structVersion >= NP_CLASS_STRUCT_VERSION_ENUM &&
         object->_class->enumerate != nullptr && object->_class->enumerate(object, names, count);
}

void setException(NPObject*, const NPUTF8* message) {
  requireMainThread("NPN_SetException");
  if (!ModuleObject::raise(message != nullptr ? message : "")) {
    PluginHost::current().page().complain(
        "the module called NPN_SetException while the page was not calling it");
  }
}

}  // namespace

void addObjectFunctions(NPNetscapeFuncs* table) {
  table->memalloc = allocateMemory;
  table->memfree = freeMemory;
  table->getstringidentifier = getStringIdentifier;
  table->getstringidentifiers = getStringIdentifiers;
  table->getintidentifier = getIntIdentifier;
  table->identifierisstring = identifierIsString;
  table->utf8fromidentifier = utf8FromIdentifier;
  table->intfromidentifier = intFromIdentifier;
  table->createobject = createObject;
  table->retainobject = retainObject;
  table->releaseobject = releaseObject;
  table->releasevariantvalue = releaseVariantValue;
  table->invoke = invoke;
  table->invokeDefault = invokeDefault;
  table->construct = construct;
  table->evaluate = evaluate;
  table->getproperty = getProperty;
  table->setproperty = setProperty;
  table->removeproperty = removeProperty;
  table->hasproperty = hasProperty;
  table->hasmethod = hasMethod;
  table->enumerate = enumerate;
  table->setexception = setException;
}

}  // namespace npapi_host
