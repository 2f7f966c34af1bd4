#include "plugin/src/TransfersPoller.h"

#include <algorithm>
#include <memory>

#include "ovlib/ovassert.h"
#include "ovlib/ovlog.h"
#include "ovlib/ovthread.h"
#include "plugin/src/Constants.h"
#include "plugin/src/Guarded.h"
#include "plugin/src/HttpRequest.h"
#include "plugin/src/HttpResponse.h"
#include "plugin/src/Json.h"
#include "plugin/src/Utils.h"

namespace Pellion::Web {

TransfersPoller::TransfersPoller() {
  ov_trace("%p TransfersPoller()", static_cast<void*>(this));
  ov_mutex_init(&_listenersMutex);
}

TransfersPoller::~TransfersPoller() {
  ov_trace("%p ~TransfersPoller() - started?=%u", static_cast<void*>(this),
           static_cast<unsigned>(_started));
  // A start that made no thread has left nothing to wait for.
  if (!hasThread()) {
    _done = true;
  }
  assert(!_started || isDone());
  _listeners.clear();
  ov_mutex_destroy(&_listenersMutex);
}

void TransfersPoller::setAppId(const std::string& appId) {
  _appId = appId;
}

bool TransfersPoller::isDone() const {
  return _done;
}

void TransfersPoller::run() {
  ov_trace("%p TransferPoller::run()", static_cast<void*>(this));
  while (!_stopRequested) {
    ov_thread_sleep(_pollingIntervalMs);
    runGuarded("Transfer poll", [this] { poll(); });
  }
  _done = true;
  ov_trace("%p TransferPoller::run() - done", static_cast<void*>(this));
}

void TransfersPoller::stop() {
  ov_trace("%p TransferPoller::stop() - done?=%i", static_cast<void*>(this),
           static_cast<int>(_done));
  if (!_done) {
    _stopRequested = true;
  }
}

// One request; whatever goes wrong is made good by the next one.
void TransfersPoller::poll() {
  std::unique_ptr<HttpRequest> request(Utils::createHttpRequest(eContentJson));
  if (request == nullptr) {
    return;
  }
  request->setUri(Utils::apiPath("/transfers/activity"));
  request->setMethod(HttpRequest::kPostMethod);
  request->appendData(requestBody());
  const std::unique_ptr<HttpResponse> response(request->invoke());
  request.reset();
  if (response == nullptr) {
    return;
  }
  // Deliberate: the status is not looked at, so the JSON of an error page counts as activity.
  if (!_stopRequested) {
    handleAnswer(response->data());
  }
}

// Deliberate: token and id are not escaped, so a quote or backslash in them spoils the body.
std::string TransfersPoller::requestBody() const {
  return "{\n"
         "    \"iteration_token\": \"" +
         _iterationToken +
         "\",\n"
         "    \"orvane_pellion_settings\" : {\n"
         "        \"app_id\": \"" +
         _appId +
         "\"\n"
         "    }\n"
         "}\n";
}

void TransfersPoller::handleAnswer(const std::string& body) {
  Json json;
  if (!json.parse(body)) {
    ov_err("%s: %s", kErrorJsonParse, json.err().c_str());
    return;
  }
  if (json.containsError()) {
    ov_err("Transfer poller response contained an error: %s", body.c_str());
    return;
  }
  const char* path[] = {"iteration_token", nullptr};
  _iterationToken = json.getString(path, nullptr);
  notifyListeners(body);
}

void TransfersPoller::notifyListeners(const std::string& data) {
  OvLock lock(&_listenersMutex);
  ov_trace("%p TransferPoller::notifyListeners() - size=%i", static_cast<void*>(this),
           static_cast<int>(_listeners.size()));
  for (TransferEventListener* listener : _listeners) {
    listener->transferEventOccurred(data);
  }
}

void TransfersPoller::addListener(TransferEventListener* l) {
  assert(l != __null);
  OvLock lock(&_listenersMutex);
  ov_trace("%p TransferPoller::addListener() - size=%i", static_cast<void*>(this),
           static_cast<int>(_listeners.size()));
  _listeners.push_back(l);
}

void TransfersPoller::removeListener(TransferEventListener* l) {
  assert(l != __null);
  OvLock lock(&_listenersMutex);
  ov_trace("%p TransferPoller::removeListener() - size=%i", static_cast<void*>(this),
           static_cast<int>(_listeners.size()));
  const auto found = std::find(_listeners.begin(), _listeners.end(), l);
  if (found == _listeners.end()) {
    return;
  }
  _listeners.erase(found);
  ov_trace("%p TransferPoller::removeListener() - removed", static_cast<void*>(this));
}

}  // namespace Pellion::Web
