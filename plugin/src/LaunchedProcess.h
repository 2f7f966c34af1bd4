#ifndef PLUGIN_SRC_LAUNCHEDPROCESS_H_
#define PLUGIN_SRC_LAUNCHEDPROCESS_H_

#include <list>
#include <string>

#include "ovlib/ovprocess.h"

namespace Pellion::Web {

// The process of one launch of the local application, watched while the launch waits. A process
// that runs on after that is remembered for the whole module, so that a later start() can reap it
// once it has ended. Each object is used by one thread; several may exist.
class LaunchedProcess {
 public:
  LaunchedProcess() = default;
  ~LaunchedProcess();
  LaunchedProcess(const LaunchedProcess&) = delete;
  LaunchedProcess& operator=(const LaunchedProcess&) = delete;

  // Reaps what earlier launches left and runs the command. False, with a log line, when the system
  // has no process for it. Throws bad_alloc, with nothing started, when there is no memory.
  bool start(const std::string& command);
  // False, with a log line, when the process has ended or cannot be asked. Not to be called again
  // after that.
  bool isActive();

 private:
  static void reapEarlier();

  // One entry once start() was called, so that remembering it takes no memory.
  std::list<ov_process_t> _process;
  bool _remember = false;
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_LAUNCHEDPROCESS_H_
