#ifndef BROWSERS_NPAPI_COMMON_STRING_CALLBACK_MESSAGE_H_
#define BROWSERS_NPAPI_COMMON_STRING_CALLBACK_MESSAGE_H_

#include <string>
#include <utility>

#include "browsers/npapi_common/HandOver.h"
#include "browsers/npapi_common/NPObjectRef.h"

// A text for a page function. May be made on any thread; destroyed on the main thread, which then
// releases the function.
class StringCallbackMessage : public HandOver {
 public:
  StringCallbackMessage(NPP instance, NPObjectRef callback, std::string data)
      : _instance(instance), _callback(std::move(callback)), _data(std::move(data)) {}

  NPP instance() const { return _instance; }
  NPObject* callback() const { return _callback.get(); }
  const std::string& data() const { return _data; }

  void deliver() override;

 private:
  const NPP _instance;
  const NPObjectRef _callback;
  const std::string _data;
};

// Calls the message's function with its text. Main thread only; the instance must live and may be
// destroyed in the call.
void callbackBrowser(const StringCallbackMessage& message);

#endif  // BROWSERS_NPAPI_COMMON_STRING_CALLBACK_MESSAGE_H_
