#include "plugin/src/RequestWorker.h"

#include "ovlib/ovlog.h"
#include "plugin/src/Callback.h"
#include "plugin/src/Constants.h"
#include "plugin/src/Guarded.h"
#include "plugin/src/HttpRequest.h"
#include "plugin/src/HttpResponse.h"
#include "plugin/src/Pellion.h"
#include "plugin/src/Url.h"

namespace Pellion::Web {

namespace {

bool launchApplication() {
  bool runs = false;
  runGuarded("Launch", [&runs] { runs = PellionApp::launch(); });
  return runs;
}

// Null when there was no answer, or no memory for it.
std::unique_ptr<HttpResponse> perform(HttpRequest* request) {
  std::unique_ptr<HttpResponse> response;
  runGuarded("Request", [&] {
    // The application may have started on another port than when the request was built.
    request->setPort(PellionApp::url().port(0));
    response.reset(request->invoke());
  });
  return response;
}

void tell(Callback* callback, HttpResponse* response) {
  runGuarded("Request callback", [&] { callback->handleCallback(response); });
}

}  // namespace

RequestWorker::RequestWorker() {
  ov_trace("RequestWorker() [%p]", static_cast<void*>(this));
  ov_mutex_init(&_mutex);
  ov_cond_init(&_condition, &_mutex);
}

RequestWorker::~RequestWorker() {
  ov_trace("~RequestWorker() [%p] - size=%i", static_cast<void*>(this),
           static_cast<int>(_queue.size()));
  _queue.clear();
  ov_cond_destroy(&_condition);
  ov_mutex_destroy(&_mutex);
}

bool RequestWorker::isDone() const {
  return _done;
}

void RequestWorker::addRequest(HttpRequest* request) {
  std::unique_ptr<HttpRequest> owned(request);
  {
    OvLock lock(&_mutex);
    _queue.push_back(std::move(owned));
  }
  // Not with the lock held, which the woken thread would wait for at once.
  ov_cond_signal(&_condition);
}

void RequestWorker::run() {
  ov_trace("RequestWorker::run()");
  while (waitForRequest()) {
    processOneRequest();
  }
  _done = true;
  ov_trace("RequestWorker::run() - done");
}

void RequestWorker::stop() {
  ov_trace("RequestWorker::stop() - done?=%i", static_cast<int>(_done));
  if (_done) {
    return;
  }
  OvLock lock(&_mutex);
  _stopped = true;
  ov_cond_signal(&_condition);
}

// False once the worker is stopped.
bool RequestWorker::waitForRequest() {
  OvLock lock(&_mutex);
  if (_stopped) {
    return false;
  }
  if (_queue.empty()) {
    // Deliberate: one wait that looks at nothing afterwards. A request that was queued just before
    // the stop that ends the wait is still sent, though its callback is not called.
    ov_cond_wait(&_condition);
  }
  return true;
}

// Null when the queue is empty.
std::unique_ptr<HttpRequest> RequestWorker::takeRequest() {
  OvLock lock(&_mutex);
  if (_queue.empty()) {
    return nullptr;
  }
  std::unique_ptr<HttpRequest> request = std::move(_queue.front());
  _queue.pop_front();
  return request;
}

void RequestWorker::processOneRequest() {
  std::unique_ptr<HttpRequest> request = takeRequest();
  if (request == nullptr) {
    return;
  }
  if (!launchApplication()) {
    ov_err("%s", kErrorPellionRequest);
    // Deliberate: neither the lock nor the stop is looked at, so a failed launch is reported even
    // after stop() has returned.
    if (request->getCallback() != nullptr) {
      tell(request->getCallback(), nullptr);
    }
    return;
  }
  const std::unique_ptr<HttpResponse> response = perform(request.get());
  reportResponse(request.get(), response.get());
  request.reset();
  if (response == nullptr) {
    ov_err("%s", kErrorPellionRequest);
  }
}

// The lock stays taken during the call, so that stop() waits for it and no later one starts.
void RequestWorker::reportResponse(HttpRequest* request, HttpResponse* response) {
  if (request->getCallback() == nullptr) {
    return;
  }
  OvLock lock(&_mutex);
  if (!_stopped) {
    tell(request->getCallback(), response);
  }
}

}  // namespace Pellion::Web
