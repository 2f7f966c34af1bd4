#include "browsers/npapi_common/TransferEventHandler.h"

#include <memory>

#include "browsers/npapi_common/PendingHandOvers.h"
#include "ovlib/ovlog.h"

TransferEventHandler::TransferEventHandler(NPP instance, NPObject* eventHandler, uint64_t owner)
    : EventHandler(instance, eventHandler), _owner(owner) {
  if (ov_dbg_detail()) {
    ov_dbg("TransferEventHandler() [%p]", static_cast<void*>(this));
  }
}

TransferEventHandler::~TransferEventHandler() {
  if (ov_dbg_detail()) {
    ov_dbg("~TransferEventHandler() [%p]", static_cast<void*>(this));
  }
}

void TransferEventHandler::transferEventOccurred(const std::string& event) {
  if (eventHandler() != nullptr) {
    PendingHandOvers::post(_owner, instance(),
                           std::make_unique<EventRecord>(this, eTransferEventType, event));
  }
}
