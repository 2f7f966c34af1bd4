#ifndef TOOLS_PAGE_HOST_PLUGIN_OBJECT_H_
#define TOOLS_PAGE_HOST_PLUGIN_OBJECT_H_

#include <JavaScriptCore/JavaScript.h>

#include "npapi/npruntime.h"
#include "tools/page_host/ScriptBridge.h"

namespace page_host {

// What stands behind the script object that a module's NPObject is for the page. Holds one
// reference to the NPObject; freed some time after the engine has collected the script object.
struct PluginObject {
  NPObject* object;
  Owner owner;
  JSObjectRef weakRef;  // a script WeakRef of the script object, protected
};

// Script objects of this class carry a PluginObject as their private data. It has no
// callAsFunction, so that `typeof plugin` is "object".
JSClassRef pluginObjectClass();
// What reading a method's name yields; carries the NPIdentifier.
JSClassRef pluginMethodClass();

}  // namespace page_host

#endif  // TOOLS_PAGE_HOST_PLUGIN_OBJECT_H_
