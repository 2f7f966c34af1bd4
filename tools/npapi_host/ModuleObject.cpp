#include "tools/npapi_host/ModuleObject.h"

#include "tools/npapi_host/NpObjects.h"

namespace npapi_host {
namespace {

// One for each open call, the innermost last.
std::vector<Thrown>& openCalls() {
  static std::vector<Thrown> calls;
  return calls;
}

// Every call of the module on the page's behalf goes through here. `refusal` is what the page
// throws when the module answers false without a text of its own; null for nothing.
template <typename Function>
Thrown callModule(NPObject* object, const char* refusal, NPVariant* result, Function function) {
  VOID_TO_NPVARIANT(*result);
  retainNpObject(object);
  openCalls().emplace_back();
  const bool accepted = function(object->_class);
  Thrown thrown = openCalls().back();
  openCalls().pop_back();
  if (!accepted || thrown.has_value()) {
    releaseVariant(result);
  }
  if (!accepted && !thrown.has_value() && refusal != nullptr) {
    thrown = refusal;
  }
  releaseNpObject(object);
  return thrown;
}

}  // namespace

bool ModuleObject::hasProperty(NPIdentifier name) const {
  return _object->_class->hasProperty != nullptr && _object->_class->hasProperty(_object, name);
}

bool ModuleObject::hasMethod(NPIdentifier name) const {
  return _object->_class->hasMethod != nullptr && _object->_class->hasMethod(_object, name);
}

Thrown ModuleObject::get(NPIdentifier name, NPVariant* result) const {
  return callModule(_object, nullptr, result, [&](const NPClass* type) {
    return type->getProperty != nullptr && type->getProperty(_object, name, result);
  });
}

Thrown ModuleObject::set(NPIdentifier name, const NPVariant& value) const {
  NPVariant unused;
  return callModule(
      _object, "Error setting property on NPObject.", &unused, [&](const NPClass* type) {
        return type->setProperty != nullptr && type->setProperty(_object, name, &value);
      });
}

Thrown ModuleObject::invoke(NPIdentifier name, const NPVariant* args, uint32_t argCount,
                            NPVariant* result) const {
  return callModule(_object, "Error calling method on NPObject.", result, [&](const NPClass* type) {
    return type->invoke != nullptr && type->invoke(_object, name, args, argCount, result);
  });
}

bool ModuleObject::remove(NPIdentifier name) const {
  return _object->_class->removeProperty != nullptr &&
         _object->_class->removeProperty(_object, name);
}

std::vector<NPIdentifier> ModuleObject::names() const {
  NPIdentifier* list = nullptr;
  uint32_t count = 0;
  if (_object->_class->structVersion < NP_CLASS_STRUCT_VERSION_ENUM ||
      _object->_class->enumerate == nullptr ||
      !_object->_class->enumerate(_object, &list, &count)) {
    return {};
  }
  std::vector<NPIdentifier> names(list, list + count);
  freeMemory(list);
  return names;
}

bool ModuleObject::raise(const std::string& text) {
  if (openCalls().empty()) {
    return false;
  }
  openCalls().back() = text;
  return true;
}

}  // namespace npapi_host
