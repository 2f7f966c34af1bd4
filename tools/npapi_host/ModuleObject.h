#ifndef TOOLS_NPAPI_HOST_MODULE_OBJECT_H_
#define TOOLS_NPAPI_HOST_MODULE_OBJECT_H_

#include <optional>
#include <string>
#include <vector>

#include "npapi/npruntime.h"

namespace npapi_host {

// What the page throws after a call; nothing when the call went well.
using Thrown = std::optional<std::string>;

// A script object of the module, as the page uses it: with the module's refusals, and with the
// texts that it gives to NPN_SetException. The object lives through the call, whatever that ends.
// Main thread only.
class ModuleObject {
 public:
  // Borrowed.
  explicit ModuleObject(NPObject* object) : _object(object) {}

  bool hasProperty(NPIdentifier name) const;
  bool hasMethod(NPIdentifier name) const;
  // `result` is the caller's to release; void when something is thrown. A property that the module
  // refuses without a text is void.
  Thrown get(NPIdentifier name, NPVariant* result) const;
  Thrown set(NPIdentifier name, const NPVariant& value) const;
  Thrown invoke(NPIdentifier name, const NPVariant* args, uint32_t argCount,
                NPVariant* result) const;
  bool remove(NPIdentifier name) const;
  std::vector<NPIdentifier> names() const;

  // NPN_SetException: the innermost open call throws this text. False when no call is open.
  static bool raise(const std::string& text);

 private:
  NPObject* _object;
};

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_MODULE_OBJECT_H_
