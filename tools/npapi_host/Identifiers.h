#ifndef TOOLS_NPAPI_HOST_IDENTIFIERS_H_
#define TOOLS_NPAPI_HOST_IDENTIFIERS_H_

#include <cstdint>
#include <string>

#include "npapi/npruntime.h"

namespace npapi_host {

// A property or method name as the plugin interface knows it: a text or a number. There is one for
// each name, so that pointers compare as names do; they live as long as the process.
struct Identifier {
  bool isString;
  std::string name;  // a number's digits, if it is one
  int32_t number;

  NPIdentifier handle() const { return const_cast<Identifier*>(this); }
};

// Main thread only.
const Identifier* stringIdentifier(const std::string& name);
const Identifier* intIdentifier(int32_t number);
// A script's property key: array indexes are numbers, the rest are texts.
const Identifier* propertyIdentifier(const std::string& key);
const Identifier* identifierOf(NPIdentifier handle);

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_IDENTIFIERS_H_
