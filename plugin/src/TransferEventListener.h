#ifndef PLUGIN_SRC_TRANSFEREVENTLISTENER_H_
#define PLUGIN_SRC_TRANSFEREVENTLISTENER_H_

#include <string>

namespace Pellion::Web {

// Hears of transfer activity from a TransfersPoller, which borrows it between addListener() and
// removeListener().
class TransferEventListener {
 public:
  TransferEventListener() = default;
  virtual ~TransferEventListener() = default;
  TransferEventListener(const TransferEventListener&) = delete;
  TransferEventListener& operator=(const TransferEventListener&) = delete;

  // Called on the poller's thread with the poller's listener mutex held: copy the data, post it and
  // return. Adding or removing a listener from here would wait for ever.
  virtual void transferEventOccurred(const std::string& data) = 0;
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_TRANSFEREVENTLISTENER_H_
