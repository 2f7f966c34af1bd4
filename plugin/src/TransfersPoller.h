#ifndef PLUGIN_SRC_TRANSFERSPOLLER_H_
#define PLUGIN_SRC_TRANSFERSPOLLER_H_

#include <atomic>
#include <string>
#include <vector>

#include "ovlib/ovsynchron.h"
#include "plugin/src/TransferEventListener.h"
#include "plugin/src/Worker.h"

namespace Pellion::Web {

// The thread that asks the local application for transfer activity, once after every pause, and
// hands each good answer unchanged to its listeners. Never launches the application: without it, it
// idles. setAppId() comes before start(); listeners may come and go at any time, from the owner's
// thread. The thread must be done when a started poller is deleted.
class TransfersPoller : public Worker {
 public:
  TransfersPoller();
  ~TransfersPoller() override;

  bool isDone() const override;
  void run() override;
  // Takes effect after the current pause and request.
  void stop() override;

  void setAppId(const std::string& appId);
  // Borrowed; must outlive its registration. A listener added twice is called twice.
  void addListener(TransferEventListener* l);
  // Removes one registration. Once this has returned that one is not called any more; waits for a
  // notification in progress.
  void removeListener(TransferEventListener* l);

 private:
  static constexpr int _kDefaultPollingIntervalMs = 1000;

  void poll();
  std::string requestBody() const;
  void handleAnswer(const std::string& body);
  // Calls the listeners with _listenersMutex held, so that a removed one is never called late; a
  // listener must not touch the list from inside the call.
  void notifyListeners(const std::string& data);

  std::string _appId;  // written before the thread starts
  std::atomic<bool> _done{false};
  std::string _iterationToken;  // used by the poller's thread alone
  ov_mutex_t _listenersMutex;
  std::vector<TransferEventListener*> _listeners;  // guarded by _listenersMutex
  int _pollingIntervalMs = _kDefaultPollingIntervalMs;
  std::atomic<bool> _stopRequested{false};
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_TRANSFERSPOLLER_H_
