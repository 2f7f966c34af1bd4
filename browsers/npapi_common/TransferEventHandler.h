#ifndef BROWSERS_NPAPI_COMMON_TRANSFER_EVENT_HANDLER_H_
#define BROWSERS_NPAPI_COMMON_TRANSFER_EVENT_HANDLER_H_

#include <string>

#include "browsers/npapi_common/EventHandler.h"
#include "browsers/npapi_common/PendingHandOvers.h"
#include "plugin/src/TransferEventListener.h"

// Brings transfer activity from the poller's thread to the page. Made and deleted on the main
// thread; its pending events must be freed before it is deleted.
class TransferEventHandler : public EventHandler, public Pellion::Web::TransferEventListener {
 public:
  // `owner` is the instance among the pending hand-overs.
  TransferEventHandler(NPP instance, NPObject* eventHandler, PendingHandOvers::Owner owner);
  ~TransferEventHandler() override;

  void transferEventOccurred(const std::string& event) override;

 private:
  const PendingHandOvers::Owner _owner;
};

#endif  // BROWSERS_NPAPI_COMMON_TRANSFER_EVENT_HANDLER_H_
