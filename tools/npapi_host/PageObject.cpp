#include "tools/npapi_host/PageObject.h"

#include <algorithm>
#include <vector>

#include "tools/npapi_host/NpObjects.h"
#include "tools/npapi_host/PluginHost.h"

namespace npapi_host {
namespace {

PageSide& page() {
  return PluginHost::current().page();
}

PageObject* pageObject(NPObject* object) {
  return static_cast<PageObject*>(object);
}

NPObject* allocate(NPP, NPClass*) {
  return new PageObject{};
}

void deallocate(NPObject* object) {
  if (pageObject(object)->ref != 0) {
    PluginHost::current().objects().forget(pageObject(object));
  }
  delete pageObject(object);
}

bool hasMethod(NPObject* object, NPIdentifier name) {
  const PageRef ref = pageObject(object)->ref;
  return ref != 0 && page().hasMethod(ref, *identifierOf(name));
}

PageCall callOf(NPObject* object, NPIdentifier method, const NPVariant* args, uint32_t argCount) {
  return {pageObject(object)->ref, identifierOf(method), args, argCount, pageObject(object)->owner};
}

bool invoke(NPObject* object, NPIdentifier name, const NPVariant* args, uint32_t argCount,
            NPVariant* result) {
  return pageObject(object)->ref != 0 && page().call(callOf(object, name, args, argCount), result);
}

bool invokeDefault(NPObject* object, const NPVariant* args, uint32_t argCount, NPVariant* result) {
  return invoke(object, nullptr, args, argCount, result);
}

bool construct(NPObject* object, const NPVariant* args, uint32_t argCount, NPVariant* result) {
  return pageObject(object)->ref != 0 &&
         page().construct(callOf(object, nullptr, args, argCount), result);
}

bool hasProperty(NPObject* object, NPIdentifier name) {
  const PageRef ref = pageObject(object)->ref;
  return ref != 0 && page().hasProperty(ref, *identifierOf(name));
}

bool getProperty(NPObject* object, NPIdentifier name, NPVariant* result) {
  const PageRef ref = pageObject(object)->ref;
  return ref != 0 && page().get(ref, *identifierOf(name), pageObject(object)->owner, result);
}

bool setProperty(NPObject* object, NPIdentifier name, const NPVariant* value) {
  const PageRef ref = pageObject(object)->ref;
  return ref != 0 && page().set(ref, *identifierOf(name), pageObject(object)->owner, *value);
}

bool removeProperty(NPObject* object, NPIdentifier name) {
  const PageRef ref = pageObject(object)->ref;
  return ref != 0 && page().remove(ref, *identifierOf(name));
}

// The list is the caller's to free.
bool enumerate(NPObject* object, NPIdentifier** names, uint32_t* count) {
  const PageRef ref = pageObject(object)->ref;
  std::vector<const Identifier*> list;
  if (ref == 0 || !page().enumerate(ref, &list)) {
    return false;
  }
  *count = static_cast<uint32_t>(list.size());
  *names = static_cast<NPIdentifier*>(allocateMemory(*count * sizeof(NPIdentifier)));
  std::transform(list.begin(), list.end(), *names, [](auto name) { return name->handle(); });
  return true;
}

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

}  // namespace

PageObject* asPageObject(NPObject* object) {
  return object != nullptr && object->_class == pageObjectClass() ? static_cast<PageObject*>(object)
                                                                  : nullptr;
}

NPObject* PageObjects::objectFor(PageRef ref, Owner owner) {
  PageObject*& known = _objects[{owner, ref}];
  if (known != nullptr) {
    return retainNpObject(known);
  }
  known = static_cast<PageObject*>(createNpObject(nullptr, pageObjectClass()));
  known->ref = ref;
  known->owner = owner;
  NPObject* object = known;
  _page->hold(ref);
  return object;
}

void PageObjects::forget(PageObject* object) {
  const PageRef ref = object->ref;
  _objects.erase({object->owner, ref});
  object->ref = 0;
  _page->letGo(ref);
}

void PageObjects::releaseOwner(Owner owner) {
  for (auto it = _objects.lower_bound({owner, 0});
       it != _objects.end() && it->first.first == owner;) {
    forget((it++)->second);
  }
}

void PageObjects::releaseAll() {
  while (!_objects.empty()) {
    forget(_objects.begin()->second);
  }
}

}  // namespace npapi_host
