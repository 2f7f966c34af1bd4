#include "browsers/npapi_common/StringCallbackMessage.h"

#include "browsers/npapi_common/PageVariant.h"
#include "ovlib/ovlog.h"

void StringCallbackMessage::deliver() {
  callbackBrowser(*this);
}

void callbackBrowser(const StringCallbackMessage& message) {
  const NPObjectRef callback = PendingHandOvers::take(message.callbackTicket());
  if (!callback) {
    return;
  }
  ov_trace("callbackBrowser - msg=%s", message.data().c_str());
  NPVariant argument;
  OW_CharPtrToNPStringVariant(message.data().c_str(), &argument);
  // Deliberate: neither the argument's text nor the result's memory is freed, so every call leaves
  // both in the browser's memory.
  PageVariant result;
  if (g_NPNFuncs.invokeDefault(message.instance(), callback.get(), &argument, 1, result.get())) {
    result.releaseByValueWord();
  }
}
