#ifndef TOOLS_NPAPI_HOST_NP_OBJECTS_H_
#define TOOLS_NPAPI_HOST_NP_OBJECTS_H_

#include <cstddef>
#include <vector>

#include "npapi/npruntime.h"

namespace npapi_host {

// The life of objects, values and memory that host and module pass to each other.

// With one reference, which is the caller's. Null when the class does not allocate.
NPObject* createNpObject(NPP instance, NPClass* objectClass);
NPObject* retainNpObject(NPObject* object);
void releaseNpObject(NPObject* object);

// The module's and the host's common allocator. Any thread.
void* allocateMemory(uint32_t size);
void freeMemory(void* memory);

// A string value with a copy of the bytes, terminated besides.
void makeStringVariant(const char* bytes, size_t length, NPVariant* variant);
// Frees the string or releases the object; the variant is void afterwards.
void releaseVariant(NPVariant* variant);

// Values that the host passes to the module; released when the call is over.
class VariantList {
 public:
  explicit VariantList(size_t count) : _variants(count) {}
  ~VariantList();
  VariantList(const VariantList&) = delete;
  VariantList& operator=(const VariantList&) = delete;

  NPVariant& operator[](size_t index) { return _variants[index]; }
  const NPVariant* data() const { return _variants.data(); }
  uint32_t size() const { return static_cast<uint32_t>(_variants.size()); }

 private:
  std::vector<NPVariant> _variants;
};

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_NP_OBJECTS_H_
