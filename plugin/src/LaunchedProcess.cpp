#include "plugin/src/LaunchedProcess.h"

#include <mutex>

#include "ovlib/overrno.h"
#include "ovlib/ovlog.h"
#include "plugin/src/Utils.h"

namespace Pellion::Web {

namespace {

// Never destroyed: a thread may launch while the process exits.
struct Earlier {
  std::mutex mutex;
  std::list<ov_process_t> processes;  // guarded by mutex
};

Earlier& earlier() {
  static Earlier* const all = new Earlier;
  return *all;
}

// Does not wait. A process that somebody else has reaped counts as ended.
bool hasEnded(ov_process_t process) {
  int state = OV_PROCESS_ACTIVE;
  int exitCode = 0;
  return ov_process_exited(&process, &state, &exitCode) != OV_OK || state != OV_PROCESS_ACTIVE;
}

}  // namespace

LaunchedProcess::~LaunchedProcess() {
  if (_remember) {
    std::lock_guard<std::mutex> lock(earlier().mutex);
    earlier().processes.splice(earlier().processes.end(), _process);
  }
}

bool LaunchedProcess::start(const std::string& command) {
  reapEarlier();
  _process.assign(1, ov_process_t());
  const int code = ov_process_create(&_process.front(), command.c_str());
  if (code != OV_OK) {
    ov_err("Failed to launch Orvane Pellion: %s (%d)", Utils::errorCodeToStr(code).c_str(), code);
    return false;
  }
  _remember = true;
  return true;
}

bool LaunchedProcess::isActive() {
  int state = OV_PROCESS_ACTIVE;
  int exitCode = 0;
  const int code = ov_process_exited(&_process.front(), &state, &exitCode);
  _remember = code == OV_OK && state == OV_PROCESS_ACTIVE;
  if (code != OV_OK) {
    ov_err("Warning: Checking Orvane Pellion process state failed (%d)", code);
  } else if (state == OV_PROCESS_EXITED) {
    ov_log("Warning: Orvane Pellion process exited (%d)", exitCode);
  } else if (state == OV_PROCESS_TERMINATED) {
    ov_err("Orvane Pellion process terminated unexpectedly");
  }
  return _remember;
}

void LaunchedProcess::reapEarlier() {
  std::lock_guard<std::mutex> lock(earlier().mutex);
  earlier().processes.remove_if(hasEnded);
}

}  // namespace Pellion::Web
