#include "tests/support/FakeBrowser.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace test_support {

namespace {

FakeBrowser* live = nullptr;

}  // namespace

FakeBrowser::FakeBrowser() : _functions(), _mainThread(std::this_thread::get_id()) {
  live = this;
  fillTable();
  _window = newObject();
  _location = newObject();
  _window->set("location", static_cast<NPObject*>(_location));
  _location->set("hostname", "www.orvane.example");
}

FakeBrowser::~FakeBrowser() {
  for (const std::string& text : takeBreaches()) {
    ADD_FAILURE() << "The plugin broke a rule: " << text;
  }
  for (const auto& [object, instance] : _objects) {
    if (object->_class == PageObject::objectClass()) {
      delete static_cast<PageObject*>(object);
    }
  }
  for (const std::set<void*>* blocks : {&_blocks, &_names}) {
    for (void* block : *blocks) {
      std::free(block);
    }
  }
  live = nullptr;
}

FakeBrowser& FakeBrowser::current() {
  return *live;
}

void FakeBrowser::breach(const std::string& text) {
  std::lock_guard<std::mutex> lock(_mutex);
  _breaches.push_back(text);
}

std::vector<std::string> FakeBrowser::takeBreaches() {
  std::lock_guard<std::mutex> lock(_mutex);
  return std::move(_breaches);
}

void FakeBrowser::checkMain(const char* function) {
  if (std::this_thread::get_id() != _mainThread) {
    breach(std::string(function) + " was called off the main thread");
  }
}

void FakeBrowser::checkInstance(NPP instance, const char* function) {
  bool known;
  {
    std::lock_guard<std::mutex> lock(_mutex);
    known = _open.count(instance) != 0;
  }
  if (!known) {
    breach(std::string(function) + " was called with an instance that does not live");
  }
}

void FakeBrowser::checkObject(NPObject* object, const char* function) {
  if (_objects.count(object) == 0) {
    std::fprintf(stderr, "The plugin broke a rule: %s with an object that does not live\n",
                 function);
    std::abort();
  }
}

NPIdentifier FakeBrowser::stringIdentifier(const std::string& name) {
  auto& identifier = _stringIdentifiers[name];
  if (!identifier) {
    identifier.reset(new Identifier{true, name, 0});
  }
  return identifier.get();
}

std::string FakeBrowser::nameOf(NPIdentifier identifier) const {
  return static_cast<Identifier*>(identifier)->text;
}

bool FakeBrowser::failsNow() {
  ++_allocations;
  return _allocationsUntilFailure > 0 && --_allocationsUntilFailure == 0;
}

void* FakeBrowser::allocate(uint32_t size, std::set<void*>& blocks) {
  void* memory = std::malloc(size);
  blocks.insert(memory);
  return memory;
}

void FakeBrowser::release(void* memory) {
  if (memory == nullptr) {
    return;
  }
  if (_blocks.erase(memory) + _names.erase(memory) == 0) {
    breach("memory was given back that is not the browser's");
    return;
  }
  std::free(memory);
}

PageObject* FakeBrowser::newObject() {
  auto* object = static_cast<PageObject*>(PageObject::objectClass()->allocate(nullptr, nullptr));
  adopt(nullptr, object, PageObject::objectClass());
  _pageHolds.insert(object);
  return object;
}

PageObject* FakeBrowser::newFunction(PageFunction function) {
  PageObject* object = newObject();
  object->function =
      function ? std::move(function) : [](const PageArguments&) { return PageValue(Undefined()); };
  return object;
}

void FakeBrowser::dropObject(PageObject* object) {
  _pageHolds.erase(object);
  unretain(object);
}

NPObject* FakeBrowser::adopt(NPP instance, NPObject* object, NPClass* objectClass) {
  object->_class = objectClass;
  object->referenceCount = 1;
  _objects[object] = instance;
  return object;
}

void FakeBrowser::retain(NPObject* object) {
  checkObject(object, "retain");
  ++object->referenceCount;
}

void FakeBrowser::unretain(NPObject* object) {
  checkObject(object, "release");
  if (object->referenceCount == 1 && _pageHolds.count(object) != 0) {
    breach("an object of the page was released more often than retained");
    return;
  }
  if (--object->referenceCount == 0) {
    _objects.erase(object);
    object->_class->deallocate(object);
  }
}

void FakeBrowser::clear(NPVariant* variant) {
  if (NPVARIANT_IS_STRING(*variant)) {
    release(const_cast<NPUTF8*>(NPVARIANT_TO_STRING(*variant).UTF8Characters));
  } else if (NPVARIANT_IS_OBJECT(*variant)) {
    unretain(NPVARIANT_TO_OBJECT(*variant));
  }
  VOID_TO_NPVARIANT(*variant);
}

NPVariant FakeBrowser::makeVariant(const PageValue& value) {
  NPVariant variant;
  VOID_TO_NPVARIANT(variant);
  if (const auto* text = std::get_if<std::string>(&value)) {
    const auto length = static_cast<uint32_t>(text->size());
    auto* characters = static_cast<NPUTF8*>(allocate(length, _blocks));
    std::memcpy(characters, text->data(), length);
    STRINGN_TO_NPVARIANT(characters, length, variant);
  } else if (const auto* object = std::get_if<NPObject*>(&value)) {
    retain(*object);
    OBJECT_TO_NPVARIANT(*object, variant);
  } else if (const auto* boolean = std::get_if<bool>(&value)) {
    BOOLEAN_TO_NPVARIANT(*boolean, variant);
  } else if (const auto* integer = std::get_if<int32_t>(&value)) {
    INT32_TO_NPVARIANT(*integer, variant);
  } else if (const auto* number = std::get_if<double>(&value)) {
    DOUBLE_TO_NPVARIANT(*number, variant);
  } else if (std::holds_alternative<Null>(value)) {
    NULL_TO_NPVARIANT(variant);
  }
  return variant;
}

std::optional<PageValue> FakeBrowser::takeResult(bool answered, NPVariant* result) {
  if (!answered) {
    if (!NPVARIANT_IS_VOID(*result)) {
      breach("a refused call stored a result");
    }
    return std::nullopt;
  }
  PageValue value = toPageValue(*result);
  clear(result);
  return value;
}

bool FakeBrowser::hasMethod(NPObject* object, const std::string& name) {
  return object->_class->hasMethod(object, stringIdentifier(name));
}

bool FakeBrowser::hasProperty(NPObject* object, const std::string& name) {
  return object->_class->hasProperty(object, stringIdentifier(name));
}

std::optional<PageValue> FakeBrowser::call(NPObject* object, const std::string& name,
                                           const PageArguments& arguments) {
  std::vector<NPVariant> args;
  for (const PageValue& argument : arguments) {
    args.push_back(makeVariant(argument));
  }
  NPVariant result;
  VOID_TO_NPVARIANT(result);
  const bool answered = object->_class->invoke(object, stringIdentifier(name), args.data(),
                                               static_cast<uint32_t>(args.size()), &result);
  for (NPVariant& arg : args) {
    clear(&arg);
  }
  return takeResult(answered, &result);
}

std::optional<PageValue> FakeBrowser::getProperty(NPObject* object, const std::string& name) {
  NPVariant result;
  VOID_TO_NPVARIANT(result);
  return takeResult(object->_class->getProperty(object, stringIdentifier(name), &result), &result);
}

bool FakeBrowser::setProperty(NPObject* object, const std::string& name, const PageValue& value) {
  NPVariant variant = makeVariant(value);
  const bool answered = object->_class->setProperty(object, stringIdentifier(name), &variant);
  clear(&variant);
  return answered;
}

NPP FakeBrowser::openInstance() {
  if (_freeInstances.empty()) {
    _instances.push_back(std::make_unique<NPP_t>());
    _freeInstances.push_back(_instances.back().get());
  }
  NPP instance = _freeInstances.back();
  _freeInstances.pop_back();
  *instance = {};
  std::lock_guard<std::mutex> lock(_mutex);
  _open.insert(instance);
  return instance;
}

void FakeBrowser::closeInstance(NPP instance) {
  for (auto& [object, owner] : _objects) {
    if (owner == instance) {
      owner = nullptr;
      object->_class->invalidate(object);
    }
  }
  std::lock_guard<std::mutex> lock(_mutex);
  _open.erase(instance);
  _freeInstances.push_back(instance);
  if (_pending == Pending::kDropped) {
    std::deque<AsyncCall> kept;
    for (const AsyncCall& call : _queue) {
      if (call.instance != instance) {
        kept.push_back(call);
      }
    }
    _queue.swap(kept);
  }
}

NPP FakeBrowser::createInstance(const NPPluginFuncs& plugin, const Parameters& parameters) {
  std::vector<char*> names;
  std::vector<char*> values;
  for (const auto& [name, value] : parameters) {
    names.push_back(const_cast<char*>(name));
    values.push_back(const_cast<char*>(value));
  }
  char type[] = "application/x-orvane-web";
  NPP instance = openInstance();
  const NPError error = plugin.newp(type, instance, NP_EMBED, static_cast<int16_t>(names.size()),
                                    names.data(), values.data(), nullptr);
  if (error != NPERR_NO_ERROR) {
    closeInstance(instance);
    return nullptr;
  }
  return instance;
}

void FakeBrowser::destroyInstance(const NPPluginFuncs& plugin, NPP instance) {
  NPSavedData* saved = nullptr;
  EXPECT_EQ(NPERR_NO_ERROR, plugin.destroy(instance, &saved));
  closeInstance(instance);
}

NPObject* FakeBrowser::scriptObject(const NPPluginFuncs& plugin, NPP instance) {
  NPObject* object = nullptr;
  plugin.getvalue(instance, NPPVpluginScriptableNPObject, &object);
  return object;
}

bool FakeBrowser::runNext() {
  AsyncCall call;
  {
    std::lock_guard<std::mutex> lock(_mutex);
    if (_queue.empty()) {
      return false;
    }
    call = _queue.front();
    _queue.pop_front();
  }
  call.function(call.data);
  return true;
}

size_t FakeBrowser::pump() {
  size_t count = 0;
  for (size_t queued = queuedCalls(); count < queued && runNext(); ++count) {
  }
  return count;
}

bool FakeBrowser::pumpUntil(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!condition()) {
    if (runNext()) {
      continue;
    }
    if (std::chrono::steady_clock::now() > end) {
      return false;
    }
    std::unique_lock<std::mutex> lock(_mutex);
    _queueChanged.wait_for(lock, std::chrono::milliseconds(2), [this] { return !_queue.empty(); });
  }
  return true;
}

size_t FakeBrowser::queuedCalls() const {
  std::lock_guard<std::mutex> lock(_mutex);
  return _queue.size();
}

int FakeBrowser::retains(const NPObject* object) const {
  const auto found = _retains.find(object);
  return found == _retains.end() ? 0 : found->second;
}

int FakeBrowser::releases(const NPObject* object) const {
  const auto found = _releases.find(object);
  return found == _releases.end() ? 0 : found->second;
}

}  // namespace test_support
