#include "browsers/npapi_common/StringCallbackMessage.h"

#include "browsers/npapi_common/PageResult.h"
#include "ovlib/ovlog.h"

void StringCallbackMessage::deliver() {
  callbackBrowser(*this);
}

void callbackBrowser(const StringCallbackMessage& message) {
  ov_trace("callbackBrowser - msg=%s", message.data().c_str());
  NPVariant argument;
  OW_CharPtrToNPStringVariant(message.data().c_str(), &argument);
  // Deliberate: neither the argument's text nor the result's memory is freed, so every call leaves
  // both in the browser's memory.
  PageResult result;
  if (g_NPNFuncs.invokeDefault(message.instance(), message.callback(), &argument, 1,
                               result.get())) {
    result.releaseByValueWord();
  }
}
