#ifndef TOOLS_PAGE_HOST_SCRIPT_BRIDGE_H_
#define TOOLS_PAGE_HOST_SCRIPT_BRIDGE_H_

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "npapi/npruntime.h"
#include "tools/page_host/ScriptEngine.h"

namespace page_host {

struct PageObject;
struct PluginObject;

// Which plugin instance holds a page object; 0 is none.
using Owner = uint64_t;

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

  // The instance has ended: page objects that it still holds answer nothing from now on.
  void releaseOwner(Owner owner);
  // How many page objects the module holds.
  size_t heldObjects() const { return _pageObjects.size(); }
  // The page's end, in this order: close() lets go of everything in the engine, the engine is
  // destroyed, and dropCollected() releases the module's objects that the page held.
  void close();
  void dropCollected();

  // Around each call of the module that the script made: a text given to setException() meanwhile
  // becomes the call's script exception. endCall() answers it, or null.
  void beginCall() { _exceptions.emplace_back(); }
  JSValueRef endCall();
  // False when the script is not calling the module.
  bool setException(const std::string& text);

  // For PageObject.cpp and PluginObject.cpp.
  void forget(PageObject* object);
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
  std::map<std::pair<Owner, JSObjectRef>, PageObject*> _pageObjects;
  std::map<NPObject*, PluginObject*> _pluginObjects;
  std::map<NPIdentifier, JSObjectRef> _methods;  // protected
  std::vector<std::optional<std::string>> _exceptions;
  std::mutex _collectedMutex;
  std::vector<PluginObject*> _collected;  // guarded by _collectedMutex
};

}  // namespace page_host

#endif  // TOOLS_PAGE_HOST_SCRIPT_BRIDGE_H_
