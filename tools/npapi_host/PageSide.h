#ifndef TOOLS_NPAPI_HOST_PAGE_SIDE_H_
#define TOOLS_NPAPI_HOST_PAGE_SIDE_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "npapi/npruntime.h"
#include "tools/npapi_host/Element.h"
#include "tools/npapi_host/Identifiers.h"

namespace npapi_host {

class WindowLink;

// Names one page object: an engine's pointer, or a number for an object in another process. 0 is
// none.
using PageRef = uintptr_t;

// A call of a page object by the module. The arguments are the module's.
struct PageCall {
  PageRef object;
  const Identifier* method;  // null: the object itself is the function, or the constructor
  const NPVariant* args;
  uint32_t argCount;
  Owner owner;  // the instance that calls
};

// What the library asks of the page, whoever that is: a script engine in this process, or a browser
// behind a pipe. Everything is asked on the main thread. Functions that answer bool leave `result`
// void when they answer false; what they put there is the module's to release (strings from
// makeStringVariant(), objects retained). Any of them may run the page, which may end the instance
// that asked.
class PageSide {
 public:
  virtual ~PageSide() = default;

  // The page's window, and what the page calls an instance by. Retained for the caller; PageObjects
  // makes them of a PageRef. Null when there is none.
  virtual NPObject* windowObject(Owner owner) = 0;
  virtual NPObject* elementObject(Owner owner) = 0;
  // The instance has ended: what the page keeps of it can go.
  virtual void instanceEnded(Owner) {}

  // The module has got an object for the first time, and has released it for the last. In between,
  // the page must keep it.
  virtual void hold(PageRef object) = 0;
  virtual void letGo(PageRef object) = 0;
  virtual bool hasMethod(PageRef object, const Identifier& name) = 0;
  virtual bool get(PageRef object, const Identifier& name, Owner owner, NPVariant* result) = 0;
  // False when there is no such function. An exception in it is the page's affair: reported there,
  // while the call went well.
  virtual bool call(const PageCall& call, NPVariant* result) = 0;

  // Refused unless the page offers it.
  virtual bool hasProperty(PageRef, const Identifier&) { return false; }
  virtual bool set(PageRef, const Identifier&, Owner, const NPVariant&) { return false; }
  virtual bool remove(PageRef, const Identifier&) { return false; }
  virtual bool enumerate(PageRef, std::vector<const Identifier*>*) { return false; }
  virtual bool construct(const PageCall&, NPVariant*) { return false; }
  // `self` is any object, also the module's own.
  virtual bool evaluate(NPObject* /*self*/, const std::string& /*source*/, Owner, NPVariant*) {
    return false;
  }

  // Whether a module on this page may fetch an absolute address of one of the schemes file, data,
  // http and https, which is in lower case.
  virtual bool mayFetch(const std::string& address) = 0;
  // Relative addresses are taken from here.
  virtual std::string baseAddress() = 0;
  // As NPN_GetValue gives it for NPNVdocumentOrigin.
  virtual std::string origin() = 0;
  // The same text for as long as there is a page.
  virtual const std::string& userAgent() = 0;
  // What the module has accepted of a resource, in order, and then its end, however it came.
  virtual void streamTaken(Owner, const char* /*bytes*/, size_t /*size*/) {}
  virtual void streamEnded(Owner) {}
  // The window with the instances' areas; null without one.
  virtual WindowLink* window() { return nullptr; }
  // A sentence about a rule of the interface that was broken: "the module ...", "a stream ...".
  virtual void complain(const std::string& text) = 0;
};

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_PAGE_SIDE_H_
