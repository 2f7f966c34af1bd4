#ifndef TOOLS_NPAPI_HOST_INSTANCES_H_
#define TOOLS_NPAPI_HOST_INSTANCES_H_

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tools/npapi_host/Instance.h"

namespace npapi_host {

// All instances of the page, by their NPP. The NPP of one that ended is given to the next, as it
// happens in browsers.
class Instances {
 public:
  explicit Instances(const InstanceServices& services) : _services(services) {}
  Instances(const Instances&) = delete;
  Instances& operator=(const Instances&) = delete;

  // Null, with a message, when that failed.
  std::shared_ptr<Instance> create(const Element& element, std::string* error);
  void end(const std::shared_ptr<Instance>& instance);
  void endAll();

  // Null when no instance has this NPP, or this number.
  std::shared_ptr<Instance> find(NPP npp) const;
  std::shared_ptr<Instance> withOwner(Owner owner) const;

 private:
  NPP takeNpp();
  void forget(const std::shared_ptr<Instance>& instance);

  const InstanceServices _services;
  std::map<NPP, std::shared_ptr<Instance>> _instances;
  std::vector<std::unique_ptr<NPP_t>> _npps;
  std::vector<NPP> _freeNpps;
};

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_INSTANCES_H_
