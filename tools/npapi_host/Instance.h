#ifndef TOOLS_NPAPI_HOST_INSTANCE_H_
#define TOOLS_NPAPI_HOST_INSTANCE_H_

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "npapi/npfunctions.h"
#include "tools/npapi_host/Element.h"

namespace npapi_host {

class PageObjects;
class PageSide;
class Stream;

// What instances share; everything is borrowed and outlives them.
struct InstanceServices {
  const NPPluginFuncs* plugin;
  PageSide* page;
  PageObjects* objects;
};

// One plugin instance: start(), calls, end(). It may be ended at any moment, also inside a call
// that it is making or answering; shared pointers keep the record until the frames above have
// returned. Main thread only.
class Instance : public std::enable_shared_from_this<Instance> {
 public:
  // The NPP is borrowed from the registry, which gets it back once the instance has ended.
  Instance(const InstanceServices& services, NPP npp, Owner owner);
  ~Instance();
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;

  // NPP_New, NPP_SetWindow, and the script object. False, with a message, when NPP_New refused.
  bool start(const Element& element, std::string* error);
  // Streams, a last NPP_SetWindow, NPP_Destroy. Does nothing the second time, nor inside
  // NPP_New.
  void end();

  // Fetches an address for the module; the streams calls follow later, from the main loop.
  NPError fetch(const std::string& address, bool notify, void* notifyData);
  void forgetStream(const Stream* stream);
  uint32_t scheduleTimer(uint32_t interval, bool repeat, void (*function)(NPP, uint32_t));
  void unscheduleTimer(uint32_t timer);

  bool ended() const { return _state == State::kEnded; }
  NPP npp() const { return _npp; }
  Owner owner() const { return _owner; }
  // The module's object for the page, borrowed; null before start() and after end(), and when the
  // module has none.
  NPObject* scriptObject() const { return _scriptObject; }
  const InstanceServices& services() const { return _services; }

 private:
  enum class State { kCreating, kAlive, kEnding, kEnded };

  NPError createNative(const Element& element);
  void giveWindow(const Element& element);
  void takeWindow();
  void takeScriptObject();

  const InstanceServices _services;
  const NPP _npp;
  const Owner _owner;
  State _state = State::kCreating;
  NPObject* _scriptObject = nullptr;  // held
  NPWindow _window = {};
  NPSetWindowCallbackStruct _windowSystem = {};
  std::vector<std::shared_ptr<Stream>> _streams;
  std::map<uint32_t, unsigned> _timers;  // to GLib's numbers
  uint32_t _lastTimer = 0;
};

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_INSTANCE_H_
