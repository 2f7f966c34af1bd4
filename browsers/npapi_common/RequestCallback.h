#ifndef BROWSERS_NPAPI_COMMON_REQUEST_CALLBACK_H_
#define BROWSERS_NPAPI_COMMON_REQUEST_CALLBACK_H_

#include <thread>

#include "browsers/npapi_common/PendingHandOvers.h"
#include "plugin/src/Callback.h"

// Brings the answer to an asynchronous request to the page function that waits for it. Made on the
// main thread; told, once at most, and deleted on any, while the instance lives. The reference on
// the function stays among what is pending, and so with the main thread, whatever fails on another.
class RequestCallback : public Pellion::Web::Callback {
 public:
  // `owner` is the instance among the pending hand-overs.
  RequestCallback(NPP instance, PendingHandOvers::Owner owner, NPObject* callback);
  // Needs no memory. On another thread than the main one the reference is left to the instance's
  // end.
  ~RequestCallback() override;

  // `response` is an HttpResponse, or null when there was no answer.
  void handleCallback(void* response) override;

 private:
  const std::thread::id _mainThread = std::this_thread::get_id();
  const NPP _instance;
  const PendingHandOvers::Owner _owner;
  PendingHandOvers::Ticket _callbackTicket;  // 0 once the message to the page has it
};

#endif  // BROWSERS_NPAPI_COMMON_REQUEST_CALLBACK_H_
