#ifndef TOOLS_PAGE_HOST_INSTANCES_H_
#define TOOLS_PAGE_HOST_INSTANCES_H_

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "tools/page_host/Instance.h"

namespace page_host {

// All instances of the page, by their NPP. The NPP of one that ended is given to the next, as it
// happens in browsers; so what was posted for the old one is told apart by its owner number.
class Instances {
 public:
  explicit Instances(const InstanceServices& services);
  ~Instances();
  Instances(const Instances&) = delete;
  Instances& operator=(const Instances&) = delete;

  // Null, with a message, when that failed.
  std::shared_ptr<Instance> create(const std::string& mimeType, const NameValues& params,
                                   std::string* error);
  void end(const std::shared_ptr<Instance>& instance);
  void endAll();

  // Null when no instance has this NPP, or this script object.
  std::shared_ptr<Instance> find(NPP npp) const;
  std::shared_ptr<Instance> withElement(JSObjectRef element) const;

  // Any thread: calls `function` on the main thread, unless the instance has ended by then. False
  // when it has ended already.
  bool callLater(NPP npp, void (*function)(void*), void* data);

 private:
  NPP takeNpp();
  void forget(const std::shared_ptr<Instance>& instance);
  bool isAlive(Owner owner);

  const InstanceServices _services;
  Owner _lastOwner = 0;
  std::map<NPP, std::shared_ptr<Instance>> _instances;
  std::vector<std::unique_ptr<NPP_t>> _npps;
  std::vector<NPP> _freeNpps;
  std::mutex _mutex;
  std::map<NPP, Owner> _alive;  // guarded by _mutex
};

}  // namespace page_host

#endif  // TOOLS_PAGE_HOST_INSTANCES_H_
