#include "tools/npapi_host/AsyncCalls.h"

#include <algorithm>
#include <map>
#include <mutex>

#include "tools/npapi_host/MainLoop.h"

namespace npapi_host {
namespace {

struct OpenInstances {
  std::mutex mutex;
  std::map<NPP, Owner> owners;  // guarded by mutex
};

// Never destroyed: threads may still ask while the process exits.
OpenInstances& openInstances() {
  static OpenInstances* const instances = new OpenInstances;
  return *instances;
}

bool isOpen(Owner owner) {
  OpenInstances& instances = openInstances();
  std::lock_guard<std::mutex> lock(instances.mutex);
  return std::any_of(instances.owners.begin(), instances.owners.end(),
                     [owner](const auto& entry) { return entry.second == owner; });
}

}  // namespace

void AsyncCalls::open(NPP npp, Owner owner) {
  std::lock_guard<std::mutex> lock(openInstances().mutex);
  openInstances().owners[npp] = owner;
}

void AsyncCalls::close(NPP npp) {
  std::lock_guard<std::mutex> lock(openInstances().mutex);
  openInstances().owners.erase(npp);
}

bool AsyncCalls::post(NPP npp, void (*function)(void*), void* data) {
  Owner owner = 0;
  {
    OpenInstances& instances = openInstances();
    std::lock_guard<std::mutex> lock(instances.mutex);
    const auto it = instances.owners.find(npp);
    if (it == instances.owners.end()) {
      return false;
    }
    owner = it->second;
  }
  MainLoop::post([owner, function, data] {
    if (isOpen(owner)) {
      function(data);
    }
  });
  return true;
}

}  // namespace npapi_host
