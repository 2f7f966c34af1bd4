#include "tools/web_check/BoundedChild.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "tools/web_check/Deadline.h"

namespace web_check {

namespace {

constexpr size_t kMostOutput = 256 * 1024;
constexpr int kReapStepMs = 2;

// Reads to the end of the output or of the time, and no more than is sensible.
void readOutput(int pipe, const Deadline& deadline, std::string* output) {
  pollfd watched = {pipe, POLLIN, 0};
  char buffer[4096];
  while (output->size() < kMostOutput && poll(&watched, 1, deadline.remaining()) > 0) {
    const ssize_t count = read(pipe, buffer, sizeof(buffer));
    if (count <= 0) {
      return;
    }
    output->append(buffer, static_cast<size_t>(count));
  }
}

void reap(pid_t child, const Deadline& deadline, ChildResult* result) {
  while (waitpid(child, &result->waitStatus, WNOHANG) == 0) {
    if (!result->timedOut && deadline.remaining() == 0) {
      result->timedOut = true;
      kill(child, SIGKILL);
    }
    poll(nullptr, 0, kReapStepMs);
  }
}

}  // namespace

ChildResult runBounded(const std::function<void(int output)>& work, int milliseconds) {
  int pipe[2];
  if (pipe2(pipe, O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "no pipe");
  }
  const Deadline deadline(milliseconds);
  const pid_t child = fork();
  if (child == 0) {
    work(pipe[1]);
    _exit(0);
  }
  const int error = errno;
  close(pipe[1]);
  ChildResult result;
  if (child > 0) {
    readOutput(pipe[0], deadline, &result.output);
  }
  close(pipe[0]);
  if (child < 0) {
    throw std::system_error(error, std::generic_category(), "no process");
  }
  reap(child, deadline, &result);
  return result;
}

}  // namespace web_check
