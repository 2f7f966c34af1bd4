#include "tools/page_host/Instances.h"

#include <algorithm>

#include "tools/page_host/MainLoop.h"

namespace page_host {

// Posted calls look here; null once the page is over.
static Instances* theInstances = nullptr;

Instances::Instances(const InstanceServices& services) : _services(services) {
  theInstances = this;
}

Instances::~Instances() {
  theInstances = nullptr;
}

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

std::shared_ptr<Instance> Instances::create(const std::string& mimeType, const NameValues& params,
                                            std::string* error) {
  auto instance = std::make_shared<Instance>(_services, takeNpp(), ++_lastOwner);
  _instances[instance->npp()] = instance;
  {
    std::lock_guard<std::mutex> lock(_mutex);
    _alive[instance->npp()] = instance->owner();
  }
  if (!instance->start(mimeType, params, error)) {
    forget(instance);
    return nullptr;
  }
  return instance;
}

// Calls that are posted are dropped from here on.
void Instances::end(const std::shared_ptr<Instance>& instance) {
  {
    std::lock_guard<std::mutex> lock(_mutex);
    _alive.erase(instance->npp());
  }
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
  std::lock_guard<std::mutex> lock(_mutex);
  _alive.erase(instance->npp());
}

std::shared_ptr<Instance> Instances::find(NPP npp) const {
  const auto it = _instances.find(npp);
  return it != _instances.end() ? it->second : nullptr;
}

std::shared_ptr<Instance> Instances::withElement(JSObjectRef element) const {
  const auto it = std::find_if(_instances.begin(), _instances.end(), [element](const auto& entry) {
    return entry.second->element() == element;
  });
  return it != _instances.end() ? it->second : nullptr;
}

bool Instances::isAlive(Owner owner) {
  std::lock_guard<std::mutex> lock(_mutex);
  return std::any_of(_alive.begin(), _alive.end(),
                     [owner](const auto& entry) { return entry.second == owner; });
}

bool Instances::callLater(NPP npp, void (*function)(void*), void* data) {
  std::lock_guard<std::mutex> lock(_mutex);
  const auto it = _alive.find(npp);
  if (it == _alive.end()) {
    return false;
  }
  MainLoop::post([owner = it->second, function, data] {
    if (theInstances != nullptr && theInstances->isAlive(owner)) {
      function(data);
    }
  });
  return true;
}

}  // namespace page_host
