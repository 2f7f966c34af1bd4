#include "browsers/npapi_common/RequestCallback.h"

#include <memory>
#include <string>
#include <utility>

#include "browsers/npapi_common/StringCallbackMessage.h"
#include "ovlib/ovlog.h"
#include "plugin/src/Constants.h"
#include "plugin/src/HttpResponse.h"
#include "plugin/src/Json.h"

using Pellion::Web::HttpResponse;
using Pellion::Web::Json;

RequestCallback::RequestCallback(NPP instance, PendingHandOvers::Owner owner, NPObject* callback)
    : _instance(instance),
      _owner(owner),
      _callbackTicket(PendingHandOvers::keep(owner, NPObjectRef(callback))) {}

RequestCallback::~RequestCallback() {
  if (std::this_thread::get_id() == _mainThread) {
    PendingHandOvers::take(_callbackTicket);
  }
}

void RequestCallback::handleCallback(void* response) {
  std::string text = response != nullptr ? static_cast<HttpResponse*>(response)->data()
                                         : Json::createError(Pellion::Web::kErrorPellionRequest);
  ov_trace("RequestCallback::handleCallback() - response=%s", text.c_str());
  PendingHandOvers::post(_owner, _instance,
                         std::make_unique<StringCallbackMessage>(
                             _instance, std::exchange(_callbackTicket, 0), std::move(text)));
}
