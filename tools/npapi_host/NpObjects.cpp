#include "tools/npapi_host/NpObjects.h"

#include <cstdlib>
#include <cstring>

namespace npapi_host {

NPObject* createNpObject(NPP instance, NPClass* objectClass) {
  if (objectClass == nullptr) {
    return nullptr;
  }
  NPObject* object = objectClass->allocate != nullptr
                         ? objectClass->allocate(instance, objectClass)
                         : static_cast<NPObject*>(std::calloc(1, sizeof(NPObject)));
  if (object != nullptr) {
    object->_class = objectClass;
    object->referenceCount = 1;
  }
  return object;
}

NPObject* retainNpObject(NPObject* object) {
  if (object != nullptr) {
    ++object->referenceCount;
  }
  return object;
}

void releaseNpObject(NPObject* object) {
  if (object == nullptr || --object->referenceCount > 0) {
    return;
  }
  if (object->_class->deallocate != nullptr) {
    object->_class->deallocate(object);
  } else {
    std::free(object);
  }
}

void* allocateMemory(uint32_t size) {
  return std::malloc(size);
}

void freeMemory(void* memory) {
  std::free(memory);
}

void makeStringVariant(const char* bytes, size_t length, NPVariant* variant) {
  char* copy = static_cast<char*>(allocateMemory(static_cast<uint32_t>(length + 1)));
  std::memcpy(copy, bytes, length);
  copy[length] = '\0';
  STRINGN_TO_NPVARIANT(copy, static_cast<uint32_t>(length), *variant);
}

void releaseVariant(NPVariant* variant) {
  if (NPVARIANT_IS_STRING(*variant)) {
    freeMemory(const_cast<char*>(variant->value.stringValue.UTF8Characters));
  } else if (NPVARIANT_IS_OBJECT(*variant)) {
    releaseNpObject(variant->value.objectValue);
  }
  VOID_TO_NPVARIANT(*variant);
}

VariantList::~VariantList() {
  for (NPVariant& variant : _variants) {
    releaseVariant(&variant);
  }
}

}  // namespace npapi_host
