#ifndef PLUGIN_SRC_LINUX_ONESHOTMANAGER_H_
#define PLUGIN_SRC_LINUX_ONESHOTMANAGER_H_

namespace Pellion::Web {

// Posts work to the thread that runs the default GLib main context. What was posted is not
// cancelled when the manager goes away, and does not touch it.
class OneShotManager {
 public:
  OneShotManager();
  ~OneShotManager();
  OneShotManager(const OneShotManager&) = delete;
  OneShotManager& operator=(const OneShotManager&) = delete;

  // Calls `function(data)` once on the main thread, at the earliest 1 ms later. Any thread.
  // Throws bad_alloc, with nothing posted, when there is no memory.
  void scheduleAsyncCallback(void (*function)(void*), void* data);
  // Does nothing: timers need no call from the main thread to run what is posted.
  void asyncCallback();
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_LINUX_ONESHOTMANAGER_H_
