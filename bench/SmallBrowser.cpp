#include "bench/SmallBrowser.h"

#include <dlfcn.h>
#include <malloc.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <stdexcept>

#include "bench/ProcessFigures.h"

namespace bench {

namespace {

SmallBrowser* current = nullptr;
constexpr auto kPatience = std::chrono::seconds(20);
constexpr uint32_t kForGood = 1U << 30;

template <typename Function>
Function entry(void* module, const char* name) {
  auto function = reinterpret_cast<Function>(dlsym(module, name));
  if (function == nullptr) {
    throw std::runtime_error(std::string("the module has no ") + name);
  }
  return function;
}

// Of a block, with the allocator's own word.
size_t heapSize(void* block) {
  return block != nullptr ? malloc_usable_size(block) + sizeof(size_t) : 0;
}

// An identifier is the address of its only text.
NPIdentifier identifier(const char* name) {
  static std::map<std::string, std::unique_ptr<std::string>, std::less<>> all;
  const auto found = all.find(name);
  if (found != all.end()) {
    return found->second.get();
  }
  return (all[name] = std::make_unique<std::string>(name)).get();
}

}  // namespace

struct SmallBrowser::Table {
  static void* memalloc(uint32_t size) {
    void* memory = std::malloc(size);
    current->_liveBytes += heapSize(memory);
    return memory;
  }

  static void memfree(void* memory) {
    current->_liveBytes -= heapSize(memory);
    std::free(memory);
  }

  static const char* uagent(NPP) { return "SmallBrowser/1.0 Firefox/52.0"; }

  static NPError getvalue(NPP, NPNVariable variable, void* value) {
    if (variable != NPNVWindowNPObject) {
      return NPERR_GENERIC_ERROR;
    }
    *static_cast<NPObject**>(value) = retainobject(&current->_window);
    return NPERR_NO_ERROR;
  }

  static NPIdentifier getstringidentifier(const NPUTF8* name) { return identifier(name); }

  static bool identifierisstring(NPIdentifier) { return true; }

  static NPUTF8* utf8fromidentifier(NPIdentifier source) {
    const auto* text = static_cast<const std::string*>(source);
    const size_t size = text->size() + 1;
    return static_cast<NPUTF8*>(
        std::memcpy(memalloc(static_cast<uint32_t>(size)), text->c_str(), size));
  }

  static NPObject* createobject(NPP instance, NPClass* objectClass) {
    NPObject* object = objectClass->allocate(instance, objectClass);
    object->_class = objectClass;
    object->referenceCount = 1;
    current->_objectBytes += heapSize(object) + heapSize(objectClass);
    return object;
  }

  static NPObject* retainobject(NPObject* object) {
    ++object->referenceCount;
    return object;
  }

  static void releaseobject(NPObject* object) {
    if (--object->referenceCount == 0) {
      current->_objectBytes -= heapSize(object);
      object->_class->deallocate(object);
    }
  }

  static bool invokeDefault(NPP, NPObject*, const NPVariant*, uint32_t, NPVariant* result) {
    ++current->_calls;
    VOID_TO_NPVARIANT(*result);
    return true;
  }

  static bool getproperty(NPP, NPObject* object, NPIdentifier, NPVariant* result) {
    if (object == &current->_window) {
      OBJECT_TO_NPVARIANT(retainobject(&current->_location), *result);
      return true;
    }
    constexpr char kHost[] = "www.orvane.example";
    void* text = std::memcpy(memalloc(sizeof(kHost)), kHost, sizeof(kHost));
    STRINGN_TO_NPVARIANT(static_cast<NPUTF8*>(text), sizeof(kHost) - 1, *result);
    return true;
  }

  static void releasevariantvalue(NPVariant* variant) {
    if (NPVARIANT_IS_STRING(*variant)) {
      memfree(const_cast<NPUTF8*>(NPVARIANT_TO_STRING(*variant).UTF8Characters));
    } else if (NPVARIANT_IS_OBJECT(*variant)) {
      releaseobject(NPVARIANT_TO_OBJECT(*variant));
    }
    VOID_TO_NPVARIANT(*variant);
  }

  static void pluginthreadasynccall(NPP, void (*function)(void*), void* data) {
    std::lock_guard<std::mutex> lock(current->_mutex);
    current->_steps.push_back({function, data});
    current->_stepPosted.notify_one();
  }
};

SmallBrowser::SmallBrowser(const std::string& modulePath)
    : _module(dlopen(modulePath.c_str(), RTLD_NOW | RTLD_LOCAL)),
      _window{nullptr, kForGood},
      _location{nullptr, kForGood},
      _function{nullptr, kForGood} {
  if (_module == nullptr) {
    throw std::runtime_error(dlerror());
  }
  current = this;
  _functions.size = sizeof(_functions);
  _functions.version = NP_VERSION_MINOR;
  _functions.uagent = Table::uagent;
  _functions.memalloc = Table::memalloc;
  _functions.memfree = Table::memfree;
  _functions.getvalue = Table::getvalue;
  _functions.getstringidentifier = Table::getstringidentifier;
  _functions.identifierisstring = Table::identifierisstring;
  _functions.utf8fromidentifier = Table::utf8fromidentifier;
  _functions.createobject = Table::createobject;
  _functions.retainobject = Table::retainobject;
  _functions.releaseobject = Table::releaseobject;
  _functions.invokeDefault = Table::invokeDefault;
  _functions.getproperty = Table::getproperty;
  _functions.releasevariantvalue = Table::releasevariantvalue;
  _functions.pluginthreadasynccall = Table::pluginthreadasynccall;
  _plugin.size = sizeof(_plugin);
  const auto initialize =
      entry<NPError (*)(NPNetscapeFuncs*, NPPluginFuncs*)>(_module, "NP_Initialize");
  if (initialize(&_functions, &_plugin) != NPERR_NO_ERROR) {
    throw std::runtime_error("the module does not initialise");
  }
}

std::string SmallBrowser::builtModule() {
  return buildTop() + "/browsers/npapi_linux/nporvaneweb.so";
}

SmallBrowser::~SmallBrowser() {
  entry<NPError (*)()>(_module, "NP_Shutdown")();
  dlclose(_module);
  current = nullptr;
}

NPP SmallBrowser::open() {
  auto instance = std::make_unique<NPP_t>();
  char type[] = "application/x-orvane-web";
  if (_plugin.newp(type, instance.get(), NP_EMBED, 0, nullptr, nullptr, nullptr) !=
      NPERR_NO_ERROR) {
    throw std::runtime_error("the module refuses an element");
  }
  return instance.release();
}

void SmallBrowser::close(NPP instance) {
  NPSavedData* saved = nullptr;
  _plugin.destroy(instance, &saved);
  delete instance;
}

NPObject* SmallBrowser::scriptObject(NPP instance) {
  NPObject* object = nullptr;
  _plugin.getvalue(instance, NPPVpluginScriptableNPObject, &object);
  Table::releaseobject(object);
  return object;
}

void SmallBrowser::call(NPObject* object, const char* method,
                        std::initializer_list<const char*> texts, NPObject* function) {
  NPVariant arguments[4];
  uint32_t count = 0;
  for (const char* text : texts) {
    STRINGZ_TO_NPVARIANT(text, arguments[count++]);
  }
  if (function != nullptr) {
    OBJECT_TO_NPVARIANT(function, arguments[count++]);
  }
  const NPIdentifier name = identifier(method);
  NPVariant result;
  VOID_TO_NPVARIANT(result);
  if (!object->_class->hasMethod(object, name) ||
      !object->_class->invoke(object, name, arguments, count, &result)) {
    throw std::runtime_error(std::string("the object refuses ") + method);
  }
  Table::releasevariantvalue(&result);
}

void SmallBrowser::setProperty(NPObject* object, const char* property, NPObject* value) {
  NPVariant variant;
  OBJECT_TO_NPVARIANT(value, variant);
  if (!object->_class->setProperty(object, identifier(property), &variant)) {
    throw std::runtime_error(std::string("the object refuses ") + property);
  }
}

void SmallBrowser::runUntilCalled(size_t calls) {
  while (_calls < calls) {
    Step step;
    {
      std::unique_lock<std::mutex> lock(_mutex);
      if (!_stepPosted.wait_for(lock, kPatience, [this] { return !_steps.empty(); })) {
        throw std::runtime_error("the page's function is not called");
      }
      step = _steps.front();
      _steps.pop_front();
    }
    step.function(step.data);
  }
  _calls -= calls;
}

}  // namespace bench
