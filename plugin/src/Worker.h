#ifndef PLUGIN_SRC_WORKER_H_
#define PLUGIN_SRC_WORKER_H_

#include <atomic>
#include <memory>
#include <string>

#include "ovlib/ovthread.h"

namespace Pellion::Web {

// A background thread that runs its own object. The owner calls, all on its own thread: start(),
// stop(), join(), reap(), then deletes it. The destructor neither stops nor joins: a worker deleted
// while its thread runs leaves the thread without an object.
class Worker {
 public:
  Worker();
  virtual ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  // True once run() has nothing left to do. The thread may still have its last instructions ahead.
  virtual bool isDone() const = 0;
  // The thread's body. An exception that leaves it is logged and ends the thread.
  virtual void run() = 0;
  // Asks run() to end; does not wait.
  virtual void stop() = 0;

  // Throws SystemException when no thread can be made; the worker counts as started all the same.
  void start();
  // Waits for a thread that is not done yet; returns at once for any other. Throws SystemException.
  void join();
  // Waits for the last instructions of a done thread that join() skipped and frees its stack. Does
  // nothing for any other worker.
  void reap();

 protected:
  // True once the system has made the thread.
  bool hasThread() const { return _hasThread; }

  std::atomic<bool> _started{false};

 private:
  static void* threadMain(void* worker);
  std::string joinThread();

  std::unique_ptr<ov_thread_t> _thread;
  // The owner's thread alone uses these.
  bool _hasThread = false;
  bool _joined = false;
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_WORKER_H_
