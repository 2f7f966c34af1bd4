#ifndef TOOLS_WEB_CHECK_BOUNDED_CHILD_H_
#define TOOLS_WEB_CHECK_BOUNDED_CHILD_H_

#include <functional>
#include <string>

namespace web_check {

struct ChildResult {
  std::string output;
  int waitStatus = 0;  // as waitpid gives it
  bool timedOut = false;
};

// Runs `work` in a child process, where it may crash or hang, and answers what it wrote to the
// descriptor `output`. A child that takes longer than `milliseconds` is killed. Throws a system
// error when there is no process to be had.
ChildResult runBounded(const std::function<void(int output)>& work, int milliseconds);

}  // namespace web_check

#endif  // TOOLS_WEB_CHECK_BOUNDED_CHILD_H_
