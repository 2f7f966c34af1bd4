#include "plugin/src/RunnableScheduler.h"

#include <memory>

#include "ovlib/ovassert.h"
#include "ovlib/ovlog.h"
#include "plugin/src/linux/OneShotManager.h"

namespace Pellion::Web {

bool RunnableScheduler::kInitialized = false;
ov_mutex_t* RunnableScheduler::kRunnablesMutex = nullptr;
std::multimap<Runnable*, OneShotManager*> RunnableScheduler::kRunnables;

// What a posted step owns. It goes on every way out of the step, also by an exception: the callback
// first, then the entry in the registry, then the runnable.
struct RunnableScheduler::RunnablePair {
  ~RunnablePair() {
    callback.reset();
    unregister(runnable.get());
  }

  std::unique_ptr<Runnable> runnable;
  std::unique_ptr<Callback> callback;
};

void RunnableScheduler::init() {
  ov_trace("RunnableScheduler::init()");
  if (kInitialized) {
    return;
  }
  kInitialized = true;
  assert(kRunnablesMutex == __null);
  auto mutex = std::make_unique<ov_mutex_t>();
  ov_mutex_init(mutex.get());
  kRunnablesMutex = mutex.release();
}

void RunnableScheduler::cleanup() {
  ov_trace("RunnableScheduler::cleanup()");
  if (!kInitialized) {
    return;
  }
  kInitialized = false;
  assert(kRunnablesMutex != __null);
  ov_mutex_destroy(kRunnablesMutex);
  delete kRunnablesMutex;
  kRunnablesMutex = nullptr;
}

void RunnableScheduler::scheduleRunnable(OneShotManager* manager, Runnable* runnable,
                                         Callback* callback) {
  std::unique_ptr<Runnable> ownedRunnable(runnable);
  std::unique_ptr<Callback> ownedCallback(callback);
  ov_trace("RunnableScheduler::scheduleRunnable()");
  assert(kRunnablesMutex != __null);
  auto pair = std::make_unique<RunnablePair>();
  pair->runnable = std::move(ownedRunnable);
  pair->callback = std::move(ownedCallback);
  {
    OvLock lock(kRunnablesMutex);
    kRunnables.emplace(runnable, manager);
  }
  manager->scheduleAsyncCallback(handleRunnablePair, pair.get());
  // The posted step's from here on; when posting failed, all that was made goes with the exception.
  static_cast<void>(pair.release());
}

void RunnableScheduler::stopRunnables(OneShotManager* manager) {
  assert(kRunnablesMutex != __null);
  OvLock lock(kRunnablesMutex);
  ov_trace("RunnableScheduler::stopRunnables() - osm=%p; size=%i", static_cast<void*>(manager),
           static_cast<int>(kRunnables.size()));
  for (const auto& [runnable, owner] : kRunnables) {
    if (owner != manager) {
      continue;
    }
    ov_trace("RunnableScheduler::stopRunnables() - stopping %p", static_cast<void*>(runnable));
    runnable->stop();
  }
}

void RunnableScheduler::handleRunnablePair(void* data) {
  const std::unique_ptr<RunnablePair> pair(static_cast<RunnablePair*>(data));
  ov_trace("RunnableScheduler - handleRunnablePair()");
  // After cleanup() no instance is left that could hear of anything, so the step only frees its
  // pair.
  if (kInitialized) {
    pair->runnable->run();
  }
  // Asked again: the module may have been shut down while the runnable kept the main loop going.
  if (kInitialized && pair->callback != nullptr && !pair->runnable->isInterrupted()) {
    pair->callback->handleCallback(pair->runnable.get());
  }
}

// A step that runs after cleanup() finds no mutex; nothing else uses the registry then.
void RunnableScheduler::unregister(Runnable* runnable) {
  if (kRunnablesMutex == nullptr) {
    kRunnables.erase(runnable);
    return;
  }
  OvLock lock(kRunnablesMutex);
  kRunnables.erase(runnable);
}

}  // namespace Pellion::Web
