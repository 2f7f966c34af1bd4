#include "browsers/npapi_common/TransferEventHandler.h"

#include <memory>

#include "ovlib/ovlog.h"

TransferEventHandler::TransferEventHandler(NPP instance, NPObject* eventHandler,
                                           PendingHandOvers::Owner owner)
    : EventHandler(instance, eventHandler), _owner(owner) {
  ov_trace("TransferEventHandler() [%p]", static_cast<void*>(this));
}

TransferEventHandler::~TransferEventHandler() {
  ov_trace("~TransferEventHandler() [%p]", static_cast<void*>(this));
}

void TransferEventHandler::transferEventOccurred(const std::string& event) {
  if (eventHandler() != nullptr) {
    PendingHandOvers::post(_owner, instance(),
                           std::make_unique<EventRecord>(this, eTransferEventType, event));
  }
}
