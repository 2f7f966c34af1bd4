#include "browsers/npapi_common/RequestCallback.h"

#include <memory>
#include <string>
#include <utility>

#include "browsers/npapi_common/PendingHandOvers.h"
#include "browsers/npapi_common/StringCallbackMessage.h"
#include "ovlib/ovlog.h"
#include "plugin/src/Constants.h"
#include "plugin/src/HttpResponse.h"
#include "plugin/src/Json.h"

using Pellion::Web::HttpResponse;
using Pellion::Web::Json;

RequestCallback::RequestCallback(NPP instance, uint64_t owner, NPObject* callback)
    : _instance(instance), _owner(owner), _callback(callback) {}

RequestCallback::~RequestCallback() {
  if (_callback && std::this_thread::get_id() != _mainThread) {
    // Released with the instance.
    PendingHandOvers::keep(_owner, std::move(_callback));
  }
}

void RequestCallback::handleCallback(void* response) {
  std::string text = response != nullptr ? static_cast<HttpResponse*>(response)->data()
                                         : Json::createError(Pellion::Web::kErrorPellionRequest);
  ov_trace("RequestCallback::handleCallback() - response=%s", text.c_str());
  PendingHandOvers::post(
      _owner, _instance,
      std::make_unique<StringCallbackMessage>(_instance, std::move(_callback), std::move(text)));
}
