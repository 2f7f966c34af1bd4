#include "ovlib/ovprocess.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>

#include "ovlib/overrno.h"
#include "ovlib/ovstring.h"

// Everything from here to runChild runs between fork and exec in what may be a copy of a process
// with many threads: only calls that are safe in a signal handler, no heap memory, no log.
namespace {

constexpr int kFirstClosed = 3;
constexpr int kFallbackLimit = 1024;

// -1 for a name that is no number ("." and "..").
int descriptorOf(const char* name) {
  int value = 0;
  for (; *name != '\0'; ++name) {
    if (*name < '0' || *name > '9') {
      return -1;
    }
    value = value * 10 + (*name - '0');
  }
  return value;
}

bool closeListed(int listing) {
  alignas(dirent64) char buffer[4096];
  for (;;) {
    const ssize_t got = getdents64(listing, buffer, sizeof(buffer));
    if (got <= 0) {
      return got == 0;
    }
    for (ssize_t at = 0; at < got;) {
      const auto* record = reinterpret_cast<const dirent64*>(buffer + at);
      const int descriptor = descriptorOf(record->d_name);
      if (descriptor >= kFirstClosed && descriptor != listing) {
        close(descriptor);
      }
      at += record->d_reclen;
    }
  }
}

bool closeByListing() {
  const int listing = open("/proc/self/fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (listing == -1) {
    return false;
  }
  const bool whole = closeListed(listing);
  close(listing);
  return whole;
}

void closeDescriptors(int limit) {
  if (syscall(SYS_close_range, static_cast<unsigned>(kFirstClosed), ~0U, 0U) == 0 ||
      closeByListing()) {
    return;
  }
  for (int descriptor = limit - 1; descriptor >= kFirstClosed; --descriptor) {
    close(descriptor);
  }
}

// Handlers of this process must not run in the child; what is ignored stays ignored, as with exec.
void dropSignalHandlers() {
  for (int number = 1; number < NSIG; ++number) {
    struct sigaction action = {};
    if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN &&
        action.sa_handler != SIG_DFL) {
      action = {};
      action.sa_handler = SIG_DFL;
      sigaction(number, &action, nullptr);
    }
  }
}

// The calling thread may have blocked any signal; the command starts with none blocked.
void unblockSignals() {
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

[[noreturn]] void runChild(const char* const* arguments, int limit) {
  dropSignalHandlers();
  unblockSignals();
  closeDescriptors(limit);
  // Not with `environ`: browsers bind a module's symbols to its own libraries first, where the
  // variable stays empty when the program has a copy of it.
  _exit(execv(arguments[0], const_cast<char* const*>(arguments)) == 0 ? 0 : errno);
}

int descriptorLimit() {
  rlimit limit = {};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur > INT32_MAX) {
    return kFallbackLimit;
  }
  return static_cast<int>(limit.rlim_cur);
}

}  // namespace

int ov_process_create(ov_process_t* process, const char* command) {
  if (process == nullptr || command == nullptr) {
    return OV_EINVAL;
  }
  const char* const arguments[] = {"/bin/sh", "-c", command, nullptr};
  const int limit = descriptorLimit();
  // Blocked across the fork, so that no handler of ours runs in the child.
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  const pid_t pid = fork();
  const int error = errno;
  if (pid == 0) {
    runChild(arguments, limit);
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  if (pid == -1) {
    return error;
  }
  process->pid = pid;
  return OV_OK;
}

int ov_process_exited(ov_process_t* process, int* state, int* exit_code) {
  if (process == nullptr || process->pid <= 0 || state == nullptr || exit_code == nullptr) {
    return OV_EINVAL;
  }
  int status = 0;
  const pid_t ended = waitpid(process->pid, &status, WNOHANG);
  if (ended == -1) {
    return errno;
  }
  if (ended == 0) {
    *state = OV_PROCESS_ACTIVE;
  } else if (WIFEXITED(status)) {
    *state = OV_PROCESS_EXITED;
    *exit_code = WEXITSTATUS(status);
  } else {
    *state = OV_PROCESS_TERMINATED;
    *exit_code = -1;
  }
  return OV_OK;
}

int ov_process_getenv(const char* name, char* buffer, size_t size) {
  const char* value = name != nullptr ? getenv(name) : nullptr;
  if (value == nullptr || buffer == nullptr || size == 0) {
    return OV_EINVAL;
  }
  return ov_str_ncpy(buffer, value, size);
}
