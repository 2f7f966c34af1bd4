#include "browsers/npapi_common/EventHandler.h"

#include "browsers/npapi_common/NPObjectRef.h"
#include "browsers/npapi_common/PageVariant.h"

const char* const kEventTypeDescriptions[] = {"drop", "transfer"};

void EventRecord::deliver() {
  EventHandler::handleEvent(*this);
}

void EventHandler::handleEvent(NPP instance, NPObject* handler, EventType_e type,
                               const std::string& data) {
  if (handler == nullptr) {
    return;
  }
  // The page may assign another function, or remove the plugin, in the call.
  const NPObjectRef hold(handler);
  NPVariant arguments[2];
  OW_CharPtrToNPStringVariant(kEventTypeDescriptions[type], &arguments[0]);
  OW_CharPtrToNPStringVariant(data.c_str(), &arguments[1]);
  PageVariant result;
  const bool called = g_NPNFuncs.invokeDefault(instance, handler, arguments, 2, result.get());
  // Deliberate: a string that the function returns stays in the browser's memory.
  if (called && !NPVARIANT_IS_STRING(*result.get())) {
    g_NPNFuncs.releasevariantvalue(result.get());
  }
  result.freeMemory();
  for (const NPVariant& argument : arguments) {
    ScriptValues::freeBrowserMemory(NPVARIANT_TO_STRING(argument).UTF8Characters);
  }
}

void EventHandler::handleEvent(const EventRecord& record) {
  handleEvent(record.handler->instance(), record.handler->eventHandler(), record.type, record.data);
}
