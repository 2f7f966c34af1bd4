#include "tools/npapi_host/Identifiers.h"

#include <cstdlib>
#include <map>

namespace npapi_host {

const Identifier* stringIdentifier(const std::string& name) {
  static std::map<std::string, Identifier> known;
  return &known.try_emplace(name, Identifier{true, name, 0}).first->second;
}

const Identifier* intIdentifier(int32_t number) {
  static std::map<int32_t, Identifier> known;
  return &known.try_emplace(number, Identifier{false, std::to_string(number), number})
              .first->second;
}

const Identifier* propertyIdentifier(const std::string& key) {
  if (!key.empty() && key.size() <= 10 &&
      key.find_first_not_of("0123456789") == std::string::npos) {
    const int64_t number = std::strtoll(key.c_str(), nullptr, 10);
    if (number <= INT32_MAX && std::to_string(number) == key) {
      return intIdentifier(static_cast<int32_t>(number));
    }
  }
  return stringIdentifier(key);
}

const Identifier* identifierOf(NPIdentifier handle) {
  return static_cast<const Identifier*>(handle);
}

}  // namespace npapi_host
