#ifndef BROWSERS_NPAPI_COMMON_EVENT_HANDLER_H_
#define BROWSERS_NPAPI_COMMON_EVENT_HANDLER_H_

#include <atomic>
#include <string>

#include "browsers/npapi_common/HandOver.h"
#include "npapi/npfunctions.h"

enum EventType_e { eDropEventType = 0, eTransferEventType = 1 };

// The words for the page, by EventType_e.
extern const char* const kEventTypeDescriptions[];

class EventHandler;

// One event on its way to the main thread. The handler is borrowed; it must outlive the record.
struct EventRecord : HandOver {
  EventRecord(EventHandler* eventHandler, EventType_e eventType, const std::string& text)
      : handler(eventHandler), type(eventType), data(text) {}
  void deliver() override;

  EventHandler* const handler;
  const EventType_e type;
  const std::string data;
};

// Calls a page's event function. The function is borrowed from the plugin, which clears it here
// before it lets it go; other threads may only ask whether there is one.
class EventHandler {
 public:
  EventHandler(NPP instance, NPObject* eventHandler)
      : _instance(instance), _eventHandler(eventHandler) {}
  virtual ~EventHandler() = default;
  EventHandler(const EventHandler&) = delete;
  EventHandler& operator=(const EventHandler&) = delete;

  NPP instance() const { return _instance; }
  NPObject* eventHandler() const { return _eventHandler; }
  void setEventHandler(NPObject* eventHandler) { _eventHandler = eventHandler; }

  // Calls `handler`, unless it is null, with the type's word and the JSON text. Main thread only;
  // the instance may be destroyed in the call.
  static void handleEvent(NPP instance, NPObject* handler, EventType_e type,
                          const std::string& data);
  // The same for a record, with the function that its handler has now.
  static void handleEvent(const EventRecord& record);

 private:
  const NPP _instance;
  std::atomic<NPObject*> _eventHandler;
};

#endif  // BROWSERS_NPAPI_COMMON_EVENT_HANDLER_H_
