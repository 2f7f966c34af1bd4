#ifndef PLUGIN_SRC_SINGLEJOBWORKER_H_
#define PLUGIN_SRC_SINGLEJOBWORKER_H_

#include <atomic>
#include <memory>

#include "plugin/src/Callback.h"
#include "plugin/src/Runnable.h"
#include "plugin/src/Worker.h"

namespace Pellion::Web {

// A thread for one job. When the job ends by itself, the callback is told on the worker's thread,
// with this worker as its data; an interrupted job ends silently.
class SingleJobWorker : public Worker {
 public:
  // Takes ownership of both; the callback may be null.
  SingleJobWorker(Runnable* job, Callback* callback);
  ~SingleJobWorker() override;

  bool isDone() const override;
  void run() override;
  void stop() override;

  // Borrowed; the worker keeps them.
  virtual Callback* callback() const;
  virtual Runnable* job() const;

 private:
  std::unique_ptr<Runnable> _job;  // outlives the callback
  std::unique_ptr<Callback> _callback;
  std::atomic<bool> _done{false};
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_SINGLEJOBWORKER_H_
