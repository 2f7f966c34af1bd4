#ifndef TOOLS_PAGE_HOST_WATCHDOG_H_
#define TOOLS_PAGE_HOST_WATCHDOG_H_

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace page_host {

// Ends a page that takes too long. A thread of its own waits; when the time is over it says so,
// asks the page to end through `expired` (called on that thread), and some seconds later, if the
// page still hangs in a native call or an endless loop, ends the process without any clean-up.
class Watchdog {
 public:
  // 0 seconds: no limit, no thread.
  Watchdog(double seconds, std::function<void()> expired);
  ~Watchdog();
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

 private:
  void wait();
  bool stoppedWithin(double seconds);

  double _seconds;
  std::function<void()> _expired;
  std::mutex _mutex;
  std::condition_variable _wake;
  bool _stopped = false;  // guarded by _mutex
  std::thread _thread;
};

}  // namespace page_host

#endif  // TOOLS_PAGE_HOST_WATCHDOG_H_
