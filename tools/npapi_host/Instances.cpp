#include "tools/npapi_host/Instances.h"

#include <algorithm>

#include "tools/npapi_host/AsyncCalls.h"

namespace npapi_host {

NPP Instances::takeNpp() {
  if (_freeNpps.empty()) {
    _npps.push_back(std::make_unique<NPP_t>());
    _freeNpps.push_back(_npps.back().get());
  }
  NPP npp = _freeNpps.back();
  _freeNpps.pop_back();
  *npp = NPP_t{};
  return npp;
}

std::shared_ptr<Instance> Instances::create(const Element& element, std::string* error) {
  static Owner lastOwner = 0;
  auto instance = std::make_shared<Instance>(_services, takeNpp(), ++lastOwner);
  _instances[instance->npp()] = instance;
  AsyncCalls::open(instance->npp(), instance->owner());
  if (!instance->start(element, error)) {
    forget(instance);
    return nullptr;
  }
  return instance;
}

// Calls that are posted are dropped from here on.
void Instances::end(const std::shared_ptr<Instance>& instance) {
  AsyncCalls::close(instance->npp());
  instance->end();
  if (instance->ended()) {
    forget(instance);
  }
}

void Instances::endAll() {
  while (!_instances.empty()) {
    const std::shared_ptr<Instance> instance = _instances.begin()->second;
    end(instance);
    _instances.erase(instance->npp());
  }
}

void Instances::forget(const std::shared_ptr<Instance>& instance) {
  const auto it = _instances.find(instance->npp());
  if (it == _instances.end() || it->second != instance) {
    return;
  }
  _instances.erase(it);
  _freeNpps.push_back(instance->npp());
  AsyncCalls::close(instance->npp());
}

std::shared_ptr<Instance> Instances::find(NPP npp) const {
  const auto it = _instances.find(npp);
  return it != _instances.end() ? it->second : nullptr;
}

std::shared_ptr<Instance> Instances::withOwner(Owner owner) const {
  const auto it = std::find_if(_instances.begin(), _instances.end(), [owner](const auto& entry) {
    return entry.second->owner() == owner;
  });
  return it != _instances.end() ? it->second : nullptr;
}

}  // namespace npapi_host
