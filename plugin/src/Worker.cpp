#include "plugin/src/Worker.h"

#include "ovlib/overrno.h"
#include "ovlib/ovlog.h"
#include "plugin/src/Guarded.h"
#include "plugin/src/SystemException.h"
#include "plugin/src/Utils.h"

namespace Pellion::Web {

namespace {

std::string describe(const std::string& failure, int code) {
  return failure + ": " + Utils::errorCodeToStr(code) + " (" + std::to_string(code) + ")";
}

}  // namespace

Worker::Worker() : _thread(std::make_unique<ov_thread_t>()) {}

Worker::~Worker() = default;

void Worker::start() {
  _started = true;
  const int code = ov_thread_spawn(_thread.get(), threadMain, this);
  if (code != OV_OK) {
    throw SystemException(describe("Failed to spawn thread", code));
  }
  _hasThread = true;
}

void Worker::join() {
  ov_trace("Worker::join() - started?=%u done?=%u", static_cast<unsigned>(_started),
           static_cast<unsigned>(isDone()));
  // Deliberate: a done worker is skipped, so its thread may outlive this call; reap() waits for it.
  if (!_started || isDone()) {
    return;
  }
  const std::string failure = joinThread();
  if (!failure.empty()) {
    ov_err("%s", Utils::textAsLogFormat(failure).c_str());
    throw SystemException(failure);
  }
  ov_trace("Worker::join() - done");
}

void Worker::reap() {
  if (!_hasThread || _joined || !isDone()) {
    return;
  }
  const std::string failure = joinThread();
  if (!failure.empty()) {
    ov_err("%s", Utils::textAsLogFormat(failure).c_str());
  }
}

// Empty when the thread has ended, else what went wrong. A thread that was never made is reported
// like one that the system does not know, since its handle names nothing.
std::string Worker::joinThread() {
  const int code = _hasThread ? ov_thread_join(_thread.get()) : static_cast<int>(OV_ESRCH);
  if (code != OV_OK) {
    return describe("Failed to join thread", code) + std::to_string(_thread->handle);
  }
  _joined = true;
  return std::string();
}

void* Worker::threadMain(void* worker) {
  runGuarded("Worker thread", [worker] { static_cast<Worker*>(worker)->run(); });
  return nullptr;
}

}  // namespace Pellion::Web
