#ifndef PLUGIN_SRC_RUNNABLESCHEDULER_H_
#define PLUGIN_SRC_RUNNABLESCHEDULER_H_

#include <map>

#include "ovlib/ovsynchron.h"
#include "plugin/src/Callback.h"
#include "plugin/src/Runnable.h"

namespace Pellion::Web {

class OneShotManager;

// The process-wide registry of jobs that wait for the main thread or run on it, each with the
// manager of the instance that scheduled it. init() and cleanup() run on the main thread and
// bracket all other calls. A posted job owns its data and holds no reference to its manager, so an
// instance may die while its jobs are pending or running, once it has stopped them.
class RunnableScheduler {
 public:
  RunnableScheduler() = delete;

  static void init();
  // Leaves what is still registered to its own posted step, which then only frees it.
  static void cleanup();

  // Takes ownership of the runnable and of the callback, which may be null. Any thread; returns at
  // once. Later, on the main thread, the runnable runs and the callback is told, with the runnable
  // as its data, unless the runnable was interrupted. Then both are deleted; so they are, with
  // nothing registered, when this throws bad_alloc.
  static void scheduleRunnable(OneShotManager* manager, Runnable* runnable, Callback* callback);
  // Stops every registered runnable of `manager`. Each stop() is called with the registry's mutex
  // held and must not schedule, run or delete a runnable.
  static void stopRunnables(OneShotManager* manager);

 private:
  struct RunnablePair;

  static void handleRunnablePair(void* data);
  static void unregister(Runnable* runnable);

  static bool kInitialized;
  static ov_mutex_t* kRunnablesMutex;  // exists between init() and cleanup()
  static std::multimap<Runnable*, OneShotManager*> kRunnables;  // guarded by kRunnablesMutex
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_RUNNABLESCHEDULER_H_
