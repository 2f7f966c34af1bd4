#ifndef TOOLS_PAGE_HOST_SCRIPT_PAGE_H_
#define TOOLS_PAGE_HOST_SCRIPT_PAGE_H_

#include <JavaScriptCore/JavaScript.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tools/npapi_host/Instance.h"
#include "tools/npapi_host/PageSide.h"

namespace page_host {

class Page;
class ProtectedValues;
class ScriptBridge;
class ScriptEngine;

// The page as the module sees it: script objects of the engine, and what the options say of the
// page. Main thread only.
class ScriptPage : public npapi_host::PageSide {
 public:
  using Owner = npapi_host::Owner;
  using PageRef = npapi_host::PageRef;
  using Identifier = npapi_host::Identifier;

  // Borrowed.
  explicit ScriptPage(Page* page) : _page(page) {}

  // What the page script calls an instance by: the module's script object, or an empty object when
  // it has none. Kept until the instance ends.
  JSObjectRef addElement(const npapi_host::Instance& instance);
  // Null when no instance that is alive has this element.
  std::shared_ptr<npapi_host::Instance> instanceOf(JSObjectRef element) const;

  NPObject* windowObject(Owner owner) override;
  NPObject* elementObject(Owner owner) override;
  void instanceEnded(Owner owner) override;

  void hold(PageRef object) override;
  void letGo(PageRef object) override;
  bool hasMethod(PageRef object, const Identifier& name) override;
  bool get(PageRef object, const Identifier& name, Owner owner, NPVariant* result) override;
  bool call(const npapi_host::PageCall& call, NPVariant* result) override;
  bool hasProperty(PageRef object, const Identifier& name) override;
  bool set(PageRef object, const Identifier& name, Owner owner, const NPVariant& value) override;
  bool remove(PageRef object, const Identifier& name) override;
  bool enumerate(PageRef object, std::vector<const Identifier*>* names) override;
  bool construct(const npapi_host::PageCall& call, NPVariant* result) override;
  bool evaluate(NPObject* self, const std::string& source, Owner owner, NPVariant* result) override;

  bool mayFetch(const std::string& address) override;
  std::string baseAddress() override;
  std::string origin() override;
  const std::string& userAgent() override;
  npapi_host::WindowLink* window() override;
  void complain(const std::string& text) override;

 private:
  ScriptBridge& bridge() const;
  ScriptEngine& engine() const;
  JSContextRef context() const;
  // The property's value if that is an object, else null.
  JSObjectRef memberObject(PageRef object, const Identifier& name) const;
  void convertArguments(const npapi_host::PageCall& call, ProtectedValues* values) const;
  bool answer(JSValueRef value, Owner owner, NPVariant* result) const;

  Page* _page;
  std::map<Owner, JSObjectRef> _elements;  // protected
};

}  // namespace page_host

#endif  // TOOLS_PAGE_HOST_SCRIPT_PAGE_H_
