#ifndef BROWSERS_NPAPI_COMMON_REQUEST_CALLBACK_H_
#define BROWSERS_NPAPI_COMMON_REQUEST_CALLBACK_H_

#include <cstdint>
#include <thread>

#include "browsers/npapi_common/NPObjectRef.h"
#include "plugin/src/Callback.h"

// Brings the answer to an asynchronous request to the page function that waits for it. Made on the
// main thread; told, once at most, and deleted on any, while the instance lives. The reference on
// the function is let go on the main thread only.
class RequestCallback : public Pellion::Web::Callback {
 public:
  // `owner` is the instance's number among the pending hand-overs.
  RequestCallback(NPP instance, uint64_t owner, NPObject* callback);
  ~RequestCallback() override;

  // `response` is an HttpResponse, or null when there was no answer.
  void handleCallback(void* response) override;

 private:
  const std::thread::id _mainThread = std::this_thread::get_id();
  const NPP _instance;
  const uint64_t _owner;
  NPObjectRef _callback;
};

#endif  // BROWSERS_NPAPI_COMMON_REQUEST_CALLBACK_H_
