#include "browsers/npapi_common/ovUtility.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "ovlib/ovlog.h"

NPNetscapeFuncs g_NPNFuncs = {};

namespace {

// A script value that the browser handed out; given back at the end of the scope unless taken.
class ScriptValue {
 public:
  ScriptValue() { VOID_TO_NPVARIANT(_variant); }
  ~ScriptValue() {
    if (NPVARIANT_IS_STRING(_variant) || NPVARIANT_IS_OBJECT(_variant)) {
      g_NPNFuncs.releasevariantvalue(&_variant);
    }
  }
  ScriptValue(const ScriptValue&) = delete;
  ScriptValue& operator=(const ScriptValue&) = delete;

  NPVariant* out() { return &_variant; }
  // Null when the value is not an object.
  NPObject* object() const {
    return NPVARIANT_IS_OBJECT(_variant) ? NPVARIANT_TO_OBJECT(_variant) : nullptr;
  }
  // Empty when the value is not a string.
  std::string text() const {
    return NPVARIANT_IS_STRING(_variant) ? ScriptValues::textOf(_variant) : std::string();
  }
  NPString takeString() {
    if (!NPVARIANT_IS_STRING(_variant)) {
      return {nullptr, 0};
    }
    const NPString text = NPVARIANT_TO_STRING(_variant);
    VOID_TO_NPVARIANT(_variant);
    return text;
  }

 private:
  NPVariant _variant;
};

// The page's window object as a value of its own.
void getWindow(NPP instance, ScriptValue& window) {
  NPObject* object = nullptr;
  if (g_NPNFuncs.getvalue(instance, NPNVWindowNPObject, &object) == NPERR_NO_ERROR &&
      object != nullptr) {
    OBJECT_TO_NPVARIANT(object, *window.out());
  }
}

void getProperty(NPP instance, const ScriptValue& owner, const char* name, ScriptValue& value) {
  if (owner.object() != nullptr) {
    g_NPNFuncs.getproperty(instance, owner.object(), g_NPNFuncs.getstringidentifier(name),
                           value.out());
  }
}

}  // namespace

std::string ScriptValues::textOf(const NPVariant& variant) {
  const std::unique_ptr<char, decltype(&std::free)> copy(
      OW_NPStringToCharPtr(&NPVARIANT_TO_STRING(variant)), std::free);
  return copy.get();
}

void ScriptValues::freeBrowserMemory(const void* memory) {
  if (memory != nullptr && g_NPNFuncs.memfree != nullptr) {
    g_NPNFuncs.memfree(const_cast<void*>(memory));
  }
}

void OW_CharPtrToNPStringVariant(const char* text, NPVariant* out) {
  const size_t size = text != nullptr ? std::strlen(text) + 1 : 0;
  // The browser counts in 32 bits.
  void* memory =
      size > 0 && size <= UINT32_MAX ? g_NPNFuncs.memalloc(static_cast<uint32_t>(size)) : nullptr;
  if (memory == nullptr) {
    if (size > 0) {
      ov_err("The browser has no memory for a text of %zu bytes", size);
    }
    STRINGN_TO_NPVARIANT(nullptr, 0, *out);
    return;
  }
  std::memcpy(memory, text, size);
  STRINGN_TO_NPVARIANT(static_cast<NPUTF8*>(memory), static_cast<uint32_t>(size - 1), *out);
}

char* OW_NPStringToCharPtr(const NPString* s) {
  const size_t length = s->UTF8Length;
  char* copy = static_cast<char*>(std::malloc(length + 1));
  if (copy == nullptr) {
    throw std::bad_alloc();
  }
  if (length > 0) {
    std::memcpy(copy, s->UTF8Characters, length);
  }
  copy[length] = '\0';
  return copy;
}

std::string OW_GetPageHostname(NPP instance) {
  ScriptValue window;
  ScriptValue location;
  ScriptValue value;
  getWindow(instance, window);
  getProperty(instance, window, "location", location);
  getProperty(instance, location, "hostname", value);
  std::string hostname = value.text();
  if (hostname.empty()) {
    hostname = "localhost";
  }
  ov_log("Hostname: %s", hostname.c_str());
  return hostname;
}

NPString OW_JsonToString(NPP instance, NPObject* object) {
  ScriptValue window;
  ScriptValue json;
  ScriptValue text;
  getWindow(instance, window);
  getProperty(instance, window, "JSON", json);
  if (json.object() != nullptr) {
    NPVariant argument;
    OBJECT_TO_NPVARIANT(object, argument);
    g_NPNFuncs.invoke(instance, json.object(), g_NPNFuncs.getstringidentifier("stringify"),
                      &argument, 1, text.out());
  }
  return text.takeString();
}

NPError OW_CocoaEventsSupportedCheck(NPP) {
  return NPERR_NO_ERROR;
}
