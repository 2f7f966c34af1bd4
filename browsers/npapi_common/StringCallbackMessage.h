#ifndef BROWSERS_NPAPI_COMMON_STRING_CALLBACK_MESSAGE_H_
#define BROWSERS_NPAPI_COMMON_STRING_CALLBACK_MESSAGE_H_

#include <string>
#include <utility>

#include "browsers/npapi_common/PendingHandOvers.h"

// A text for a page function, which stays among what is pending until it is called. Made and
// destroyed on any thread.
class StringCallbackMessage : public HandOver {
 public:
  StringCallbackMessage(NPP instance, PendingHandOvers::Ticket callbackTicket, std::string data)
      : _instance(instance), _callbackTicket(callbackTicket), _data(std::move(data)) {}

  NPP instance() const { return _instance; }
  PendingHandOvers::Ticket callbackTicket() const { return _callbackTicket; }
  const std::string& data() const { return _data; }

  void deliver() override;

 private:
  const NPP _instance;
  const PendingHandOvers::Ticket _callbackTicket;
  const std::string _data;
};

// Takes the message's function and calls it with its text; does nothing when the function is taken
// or has gone with its instance. Main thread only; the instance may be destroyed in the call.
void callbackBrowser(const StringCallbackMessage& message);

#endif  // BROWSERS_NPAPI_COMMON_STRING_CALLBACK_MESSAGE_H_
