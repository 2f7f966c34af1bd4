#ifndef TOOLS_PAGE_HOST_SCRIPT_BRIDGE_H_
#define TOOLS_PAGE_HOST_SCRIPT_BRIDGE_H_

#include <map>
#include <mutex>
#include <vector>

#include "npapi/npruntime.h"
#include "tools/npapi_host/Element.h"
#include "tools/page_host/ScriptEngine.h"

namespace page_host {

struct PluginObject;

using npapi_host::Owner;

// Carries values between the page's engine and the module, objects with their identity: a page
// object reaches one instance as one NPObject, and a module's NPObject reaches the page as one
// script object, for as long as either side holds it. Main thread only.
class ScriptBridge {
 public:
  // The engine is borrowed.
  explicit ScriptBridge(ScriptEngine* engine);
  ~ScriptBridge();
  ScriptBridge(const ScriptBridge&) = delete;
  ScriptBridge& operator=(const ScriptBridge&) = delete;

  // There is one a process; the engine's and the module's callbacks find it here.
  static ScriptBridge& current();
  ScriptEngine& engine() const { return *_engine; }

  // Takes nothing from the variant.
  JSValueRef toScript(const NPVariant& variant, Owner owner);
  // Objects are retained, strings copied: the variant is the caller's to release.
  void toPlugin(JSValueRef value, Owner owner, NPVariant* variant);

  // The NPObject for a script object: the module's own when it is one, else a page object.
  // The caller releases it.
  NPObject* npObjectFor(JSObjectRef object, Owner owner);
  // The script object for an NPObject; null for a page object that has been invalidated.
  JSObjectRef scriptObjectFor(NPObject* object, Owner owner);

  // The page's end, in this order: close() lets go of everything in the engine, the engine is
  // destroyed, and dropCollected() releases the module's objects that the page held.
  void close();
  void dropCollected();

  // For PluginObject.cpp.
  JSObjectRef methodObject(NPIdentifier name);
  // Any thread: a script object that stood for an NPObject was collected.
  void collected(PluginObject* object);

 private:
  JSObjectRef aliveWrapper(NPObject* object) const;
  JSObjectRef makeWrapper(NPObject* object, Owner owner);
  void drop(PluginObject* object);

  bool _closed = false;
  ScriptEngine* _engine;
  JSObjectRef _weakRef = nullptr;  // the constructor, protected
  JSObjectRef _deref = nullptr;    // its prototype's function, protected
  std::map<NPObject*, PluginObject*> _pluginObjects;
  std::map<NPIdentifier, JSObjectRef> _methods;  // protected
  std::mutex _collectedMutex;
  std::vector<PluginObject*> _collected;  // guarded by _collectedMutex
};

}  // namespace page_host

#endif  // TOOLS_PAGE_HOST_SCRIPT_BRIDGE_H_
