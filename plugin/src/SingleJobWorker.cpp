#include "plugin/src/SingleJobWorker.h"

#include <exception>

#include "ovlib/ovlog.h"

namespace Pellion::Web {

SingleJobWorker::SingleJobWorker(Runnable* job, Callback* callback)
    : _job(job), _callback(callback) {}

SingleJobWorker::~SingleJobWorker() = default;

bool SingleJobWorker::isDone() const {
  return _done;
}

void SingleJobWorker::run() {
  try {
    _job->run();
  } catch (const std::exception& e) {
    // The callback still hears of the job, which has no result then.
    ov_err("Job ended by an exception: %s", e.what());
  }
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
