#include <cstdlib>
#include <cstring>

#include "tests/support/FakeBrowser.h"

namespace test_support {

// What a plugin reaches through the table. Each function checks the rules and acts on the one
// browser.
struct FakeBrowser::Table {
  static FakeBrowser& onMain(const char* function) {
    current().checkMain(function);
    return current();
  }
  static FakeBrowser& onMain(NPP instance, const char* function) {
    current().checkInstance(instance, function);
    return onMain(function);
  }

  static NPError geturl(NPP instance, const char* url, const char* target) {
    FakeBrowser& browser = onMain(instance, "geturl");
    browser._fetchedUrls.push_back(url);
    if (target != nullptr) {
      browser.breach("geturl was called for a window of the page");
    }
    return browser._getUrlResult;
  }

  static const char* uagent(NPP instance) { return onMain(instance, "uagent")._userAgent.c_str(); }

  static void* memalloc(uint32_t size) {
    FakeBrowser& browser = onMain("memalloc");
    return browser.failsNow() ? nullptr : browser.allocate(size, browser._blocks);
  }

  static void memfree(void* memory) { onMain("memfree").release(memory); }

  static NPError getvalue(NPP instance, NPNVariable variable, void* value) {
    FakeBrowser& browser = onMain(instance, "getvalue");
    if (variable == NPNVWindowNPObject) {
      browser.retain(browser._window);
      *static_cast<NPObject**>(value) = browser._window;
    } else if (variable == NPNVnetscapeWindow) {
      *static_cast<unsigned long*>(value) = 0;
    } else {
      return NPERR_GENERIC_ERROR;
    }
    return NPERR_NO_ERROR;
  }

  static NPIdentifier getstringidentifier(const NPUTF8* name) {
    return onMain("getstringidentifier").stringIdentifier(name);
  }

  static NPIdentifier getintidentifier(int32_t number) {
    auto& identifier = onMain("getintidentifier")._intIdentifiers[number];
    if (!identifier) {
      identifier.reset(new Identifier{false, "", number});
    }
    return identifier.get();
  }

  static bool identifierisstring(NPIdentifier identifier) {
    onMain("identifierisstring");
    return static_cast<Identifier*>(identifier)->isString;
  }

  static NPUTF8* utf8fromidentifier(NPIdentifier identifier) {
    FakeBrowser& browser = onMain("utf8fromidentifier");
    const Identifier* source = static_cast<Identifier*>(identifier);
    if (!source->isString || browser.failsNow()) {
      return nullptr;
    }
    const size_t size = source->text.size() + 1;
    void* copy = browser.allocate(static_cast<uint32_t>(size), browser._names);
    std::memcpy(copy, source->text.c_str(), size);
    return static_cast<NPUTF8*>(copy);
  }

  static NPObject* createobject(NPP instance, NPClass* objectClass) {
    FakeBrowser& browser = onMain(instance, "createobject");
    NPObject* object = objectClass->allocate != nullptr
                           ? objectClass->allocate(instance, objectClass)
                           : static_cast<NPObject*>(std::malloc(sizeof(NPObject)));
    if (!browser._fillsHeaders && (object->_class != objectClass || object->referenceCount != 1)) {
      browser.breach("allocate left the header of an object unset");
    }
    return browser.adopt(instance, object, objectClass);
  }

  static NPObject* retainobject(NPObject* object) {
    FakeBrowser& browser = onMain("retainobject");
    ++browser._retains[object];
    browser.retain(object);
    return object;
  }

  static void releaseobject(NPObject* object) {
    FakeBrowser& browser = onMain("releaseobject");
    ++browser._releases[object];
    browser.unretain(object);
  }

  static bool invoke(NPP instance, NPObject* object, NPIdentifier name, const NPVariant* args,
                     uint32_t argCount, NPVariant* result) {
    onMain(instance, "invoke").checkObject(object, "invoke");
    return object->_class->invoke(object, name, args, argCount, result);
  }

  static bool invokeDefault(NPP instance, NPObject* object, const NPVariant* args,
                            uint32_t argCount, NPVariant* result) {
    onMain(instance, "invokeDefault").checkObject(object, "invokeDefault");
    return object->_class->invokeDefault(object, args, argCount, result);
  }

  static bool getproperty(NPP instance, NPObject* object, NPIdentifier name, NPVariant* result) {
    onMain(instance, "getproperty").checkObject(object, "getproperty");
    return object->_class->getProperty(object, name, result);
  }

  static bool hasmethod(NPP instance, NPObject* object, NPIdentifier name) {
    onMain(instance, "hasmethod").checkObject(object, "hasmethod");
    return object->_class->hasMethod(object, name);
  }

  static void releasevariantvalue(NPVariant* variant) {
    FakeBrowser& browser = onMain("releasevariantvalue");
    browser._releasedVariants.push_back(variant->type);
    if (NPVARIANT_IS_OBJECT(*variant)) {
      ++browser._releases[NPVARIANT_TO_OBJECT(*variant)];
    }
    browser.clear(variant);
  }

  static void pluginthreadasynccall(NPP instance, void (*function)(void*), void* data) {
    current().checkInstance(instance, "pluginthreadasynccall");
    std::lock_guard<std::mutex> lock(current()._mutex);
    current()._queue.push_back({instance, function, data});
    current()._queueChanged.notify_all();
  }

  // Of every entry, whatever its arguments and its answer.
  static void* refuse() {
    current().breach("an entry of the table was called that plugins here must not use");
    return nullptr;
  }
};

void FakeBrowser::fillTable() {
  NPNetscapeFuncs& f = _functions;
  void* (*const refuse)() = Table::refuse;
  for (size_t entry = sizeof(refuse); entry < sizeof(f); entry += sizeof(refuse)) {
    std::memcpy(reinterpret_cast<char*>(&f) + entry, &refuse, sizeof(refuse));
  }
  f.size = sizeof(NPNetscapeFuncs);
  f.version = NP_VERSION_MINOR;
  f.geturl = Table::geturl;
  f.uagent = Table::uagent;
  f.memalloc = Table::memalloc;
  f.memfree = Table::memfree;
  f.getvalue = Table::getvalue;
  f.getstringidentifier = Table::getstringidentifier;
  f.getintidentifier = Table::getintidentifier;
  f.identifierisstring = Table::identifierisstring;
  f.utf8fromidentifier = Table::utf8fromidentifier;
  f.createobject = Table::createobject;
  f.retainobject = Table::retainobject;
  f.releaseobject = Table::releaseobject;
  f.invoke = Table::invoke;
  f.invokeDefault = Table::invokeDefault;
  f.getproperty = Table::getproperty;
  f.hasmethod = Table::hasmethod;
  f.releasevariantvalue = Table::releasevariantvalue;
  f.pluginthreadasynccall = Table::pluginthreadasynccall;
}

}  // namespace test_support
