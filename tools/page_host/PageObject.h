#ifndef TOOLS_PAGE_HOST_PAGE_OBJECT_H_
#define TOOLS_PAGE_HOST_PAGE_OBJECT_H_

#include <JavaScriptCore/JavaScript.h>

#include "npapi/npruntime.h"
#include "tools/page_host/ScriptBridge.h"

namespace page_host {

// A script object of the page in the module's hands. The engine keeps it alive until the module
// releases it, its instance ends or the page does; what remains afterwards answers false to all.
struct PageObject : NPObject {
  JSObjectRef object;  // protected; null once invalidated
  Owner owner;
};

NPClass* pageObjectClass();

// Null unless the object is a page object.
PageObject* asPageObject(NPObject* object);

}  // namespace page_host

#endif  // TOOLS_PAGE_HOST_PAGE_OBJECT_H_
