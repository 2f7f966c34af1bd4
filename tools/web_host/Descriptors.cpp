#include "tools/web_host/Descriptors.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <string>

namespace web_host {
namespace {

[[noreturn]] void fail(const std::string& what) {
  throw std::runtime_error(what + ": " + std::strerror(errno));
}

void makeEmpty(int descriptor) {
  const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  if (null < 0) {
    fail("/dev/null cannot be opened");
  }
  if (null != descriptor) {
    dup2(null, descriptor);
    close(null);
  } else {
    fcntl(descriptor, F_SETFD, 0);
  }
}

int moveAway(int descriptor) {
  const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, 3);
  if (moved < 0) {
    fail("there is no standard input or output to speak on");
  }
  makeEmpty(descriptor);
  return moved;
}

}  // namespace

Channel takeChannel() {
  const Channel channel = {moveAway(STDIN_FILENO), moveAway(STDOUT_FILENO)};
  struct stat errors;
  if (fstat(STDERR_FILENO, &errors) != 0 || S_ISFIFO(errors.st_mode)) {
    makeEmpty(STDERR_FILENO);
  }
  std::signal(SIGPIPE, SIG_IGN);
  return channel;
}

}  // namespace web_host
