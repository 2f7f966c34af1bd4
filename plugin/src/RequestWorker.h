#ifndef PLUGIN_SRC_REQUESTWORKER_H_
#define PLUGIN_SRC_REQUESTWORKER_H_

#include <atomic>
#include <deque>
#include <memory>

#include "ovlib/ovsynchron.h"
#include "plugin/src/Worker.h"

namespace Pellion::Web {

class HttpRequest;
class HttpResponse;

// The thread that performs the asynchronous requests of one plugin core, one at a time, in the
// order in which they were added. It owns every request from addRequest() on, and with it the
// callback. Callbacks run on this thread and get the HttpResponse, or null when there was none; the
// response lives only as long as the call. What is still queued at destruction is deleted untold.
class RequestWorker : public Worker {
 public:
  RequestWorker();
  ~RequestWorker() override;

  bool isDone() const override;
  void run() override;
  // Once this has returned no callback of a request that was sent is started any more; a callback
  // that hears of a failed launch still may.
  void stop() override;

  // Takes ownership. Any thread; never waits for a request.
  void addRequest(HttpRequest* request);
  // Performs the oldest queued request, if there is one. Exceptions, also those of the callback,
  // are logged; what they end counts as a failed launch or as a request without answer. The
  // callback of a request that was sent is called with this worker's mutex held and must not call
  // back into the worker.
  void processOneRequest();

 private:
  bool waitForRequest();
  std::unique_ptr<HttpRequest> takeRequest();
  void reportResponse(HttpRequest* request, HttpResponse* response);

  std::atomic<bool> _done{false};
  ov_mutex_t _mutex;
  ov_cond_t _condition;
  // Guarded by _mutex.
  std::deque<std::unique_ptr<HttpRequest>> _queue;
  bool _stopped = false;
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_REQUESTWORKER_H_
