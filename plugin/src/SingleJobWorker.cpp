#include "plugin/src/SingleJobWorker.h"

#include "plugin/src/Guarded.h"

namespace Pellion::Web {

SingleJobWorker::SingleJobWorker(Runnable* job, Callback* callback)
    : _job(job), _callback(callback) {}

SingleJobWorker::~SingleJobWorker() = default;

bool SingleJobWorker::isDone() const {
  return _done;
}

void SingleJobWorker::run() {
  // The callback still hears of a job that ended so, which has no result then.
  runGuarded("Job", [this] { _job->run(); });
  _done = true;
  if (_callback != nullptr && !_job->isInterrupted()) {
    _callback->handleCallback(this);
  }
}

void SingleJobWorker::stop() {
  if (!_done) {
    _job->stop();
  }
}

Callback* SingleJobWorker::callback() const {
  return _callback.get();
}

Runnable* SingleJobWorker::job() const {
  return _job.get();
}

}  // namespace Pellion::Web
