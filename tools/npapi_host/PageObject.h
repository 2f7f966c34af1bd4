#ifndef TOOLS_NPAPI_HOST_PAGE_OBJECT_H_
#define TOOLS_NPAPI_HOST_PAGE_OBJECT_H_

#include <cstddef>
#include <map>
#include <utility>

#include "npapi/npruntime.h"
#include "tools/npapi_host/PageSide.h"

namespace npapi_host {

// An object of the page in the module's hands. The page keeps it until the module releases it, its
// instance ends or the page does; what remains afterwards answers false to all.
struct PageObject : NPObject {
  PageRef ref;  // 0 once invalidated
  Owner owner;
};

// Null unless the object is a page object.
PageObject* asPageObject(NPObject* object);

// The page objects that the module holds: one page object reaches one instance as one NPObject.
// Main thread only.
class PageObjects {
 public:
  // Borrowed.
  explicit PageObjects(PageSide* page) : _page(page) {}
  ~PageObjects() { releaseAll(); }
  PageObjects(const PageObjects&) = delete;
  PageObjects& operator=(const PageObjects&) = delete;

  // The caller releases it.
  NPObject* objectFor(PageRef ref, Owner owner);
  // The instance has ended: what it still holds answers nothing from now on.
  void releaseOwner(Owner owner);
  void releaseAll();
  size_t count() const { return _objects.size(); }

  // For PageObject.cpp.
  void forget(PageObject* object);

 private:
  PageSide* _page;
  std::map<std::pair<Owner, PageRef>, PageObject*> _objects;
};

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_PAGE_OBJECT_H_
