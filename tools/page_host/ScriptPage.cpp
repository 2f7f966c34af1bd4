#include "tools/page_host/ScriptPage.h"

#include <algorithm>

#include "tools/npapi_host/Address.h"
#include "tools/page_host/JsString.h"
#include "tools/page_host/Page.h"

namespace page_host {
namespace {

// Held objects are named by the engine's own pointer.
JSObjectRef objectOf(npapi_host::PageRef ref) {
  return reinterpret_cast<JSObjectRef>(ref);
}

}  // namespace

ScriptBridge& ScriptPage::bridge() const {
  return _page->bridge();
}

ScriptEngine& ScriptPage::engine() const {
  return _page->engine();
}

JSContextRef ScriptPage::context() const {
  return engine().context();
}

JSObjectRef ScriptPage::addElement(const npapi_host::Instance& instance) {
  JSObjectRef element = bridge().scriptObjectFor(instance.scriptObject(), instance.owner());
  element = element != nullptr ? element : engine().makeObject();
  JSValueProtect(context(), element);
  _elements[instance.owner()] = element;
  return element;
}

std::shared_ptr<npapi_host::Instance> ScriptPage::instanceOf(JSObjectRef element) const {
  const auto it = std::find_if(_elements.begin(), _elements.end(),
                               [element](const auto& entry) { return entry.second == element; });
  return it != _elements.end() ? _page->plugins().instances().withOwner(it->first) : nullptr;
}

void ScriptPage::instanceEnded(Owner owner) {
  const auto it = _elements.find(owner);
  if (it != _elements.end()) {
    JSValueUnprotect(context(), it->second);
    _elements.erase(it);
  }
}

NPObject* ScriptPage::windowObject(Owner owner) {
  return bridge().npObjectFor(engine().global(), owner);
}

NPObject* ScriptPage::elementObject(Owner owner) {
  const auto it = _elements.find(owner);
  return it != _elements.end() ? bridge().npObjectFor(it->second, owner) : nullptr;
}

void ScriptPage::hold(PageRef object) {
  JSValueProtect(context(), objectOf(object));
}

void ScriptPage::letGo(PageRef object) {
  JSValueUnprotect(context(), objectOf(object));
}

JSObjectRef ScriptPage::memberObject(PageRef object, const Identifier& name) const {
  JSValueRef member = engine().get(objectOf(object), name.name);
  return JSValueIsObject(context(), member) ? JSValueToObject(context(), member, nullptr) : nullptr;
}

bool ScriptPage::hasMethod(PageRef object, const Identifier& name) {
  JSObjectRef member = memberObject(object, name);
  return member != nullptr && JSObjectIsFunction(context(), member);
}

void ScriptPage::convertArguments(const npapi_host::PageCall& call, ProtectedValues* values) const {
  for (uint32_t i = 0; i < call.argCount; ++i) {
    values->add(bridge().toScript(call.args[i], call.owner));
  }
}

// An exception is the page's affair: reported there, while the module sees a call that went well
// and answered null, as it does in browsers.
bool ScriptPage::answer(JSValueRef value, Owner owner, NPVariant* result) const {
  if (value == nullptr) {
    NULL_TO_NPVARIANT(*result);
  } else {
    bridge().toPlugin(value, owner, result);
  }
  return true;
}

bool ScriptPage::call(const npapi_host::PageCall& call, NPVariant* result) {
  JSObjectRef self = call.method != nullptr ? objectOf(call.object) : nullptr;
  JSObjectRef function =
      call.method != nullptr ? memberObject(call.object, *call.method) : objectOf(call.object);
  if (function == nullptr || !JSObjectIsFunction(context(), function)) {
    return false;
  }
  ProtectedValues values(context());
  convertArguments(call, &values);
  return answer(engine().call(function, self, values), call.owner, result);
}

bool ScriptPage::construct(const npapi_host::PageCall& call, NPVariant* result) {
  JSObjectRef function = objectOf(call.object);
  if (!JSObjectIsConstructor(context(), function)) {
    return false;
  }
  ProtectedValues values(context());
  convertArguments(call, &values);
  return answer(engine().construct(function, values), call.owner, result);
}

bool ScriptPage::evaluate(NPObject* self, const std::string& source, Owner owner,
                          NPVariant* result) {
  JSValueRef value =
      engine().evaluate(source, "plugin script", bridge().scriptObjectFor(self, owner));
  if (value != nullptr) {
    bridge().toPlugin(value, owner, result);
  }
  return value != nullptr;
}

bool ScriptPage::hasProperty(PageRef object, const Identifier& name) {
  return JSObjectHasProperty(context(), objectOf(object), JsString(name.name).get());
}

bool ScriptPage::get(PageRef object, const Identifier& name, Owner owner, NPVariant* result) {
  const JsString key(name.name);
  JSValueRef exception = nullptr;
  JSValueRef value = JSObjectGetProperty(context(), objectOf(object), key.get(), &exception);
  if (exception != nullptr) {
    engine().report(exception);
    return false;
  }
  bridge().toPlugin(value, owner, result);
  return true;
}

bool ScriptPage::set(PageRef object, const Identifier& name, Owner owner, const NPVariant& value) {
  const JsString key(name.name);
  JSValueRef exception = nullptr;
  JSObjectSetProperty(context(), objectOf(object), key.get(), bridge().toScript(value, owner),
                      kJSPropertyAttributeNone, &exception);
  if (exception != nullptr) {
    engine().report(exception);
  }
  return exception == nullptr;
}

bool ScriptPage::remove(PageRef object, const Identifier& name) {
  return hasProperty(object, name) &&
         JSObjectDeleteProperty(context(), objectOf(object), JsString(name.name).get(), nullptr);
}

bool ScriptPage::enumerate(PageRef object, std::vector<const Identifier*>* names) {
  JSPropertyNameArrayRef keys = JSObjectCopyPropertyNames(context(), objectOf(object));
  for (size_t i = 0; i < JSPropertyNameArrayGetCount(keys); ++i) {
    names->push_back(npapi_host::propertyIdentifier(
        JsString::utf8Of(JSPropertyNameArrayGetNameAtIndex(keys, i))));
  }
  JSPropertyNameArrayRelease(keys);
  return true;
}

// A page from the network has no business with the user's files.
bool ScriptPage::mayFetch(const std::string& address) {
  return _page->options().hostname.empty() || npapi_host::schemeOf(address) != "file";
}

std::string ScriptPage::baseAddress() {
  return _page->address();
}

std::string ScriptPage::origin() {
  const std::string& hostname = _page->options().hostname;
  return hostname.empty() ? "file://" : "http://" + hostname;
}

const std::string& ScriptPage::userAgent() {
  return _page->options().userAgent;
}

npapi_host::WindowLink* ScriptPage::window() {
  return _page->window();
}

void ScriptPage::complain(const std::string& text) {
  _page->console().problem("orvane-page-host: " + text);
}

}  // namespace page_host
