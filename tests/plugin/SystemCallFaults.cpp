#include "tests/plugin/SystemCallFaults.h"

#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <deque>
#include <new>

namespace {

thread_local std::deque<size_t> receives;
thread_local std::deque<size_t> sends;
thread_local int clockCallsBeforeFailure = -1;
thread_local size_t askedMemory = 0;

// What the next call may move: `size` itself when nothing is planned, -1 to fail.
ssize_t nextSize(std::deque<size_t>* plan, size_t size) {
  if (!plan->empty()) {
    size = std::min(size, plan->front());
    const bool fails = plan->front() == system_call_faults::kFail;
    plan->pop_front();
    if (fails) {
      errno = ECONNRESET;
      return -1;
    }
  }
  return static_cast<ssize_t>(size);
}

}  // namespace

namespace system_call_faults {

void planReceives(const std::vector<size_t>& sizes) {
  receives.assign(sizes.begin(), sizes.end());
}

void planSends(const std::vector<size_t>& sizes) {
  sends.assign(sizes.begin(), sizes.end());
}

void failClockCall(int n) {
  clockCallsBeforeFailure = n;
}

void startMeasuringMemory() {
  askedMemory = 0;
}

size_t allocatedMemory() {
  return askedMemory;
}

}  // namespace system_call_faults

extern "C" ssize_t recv(int sock, void* buffer, size_t size, int flags) {
  const bool planned = !receives.empty();
  const ssize_t wanted = nextSize(&receives, size);
  return wanted < 0 ? -1
                    : syscall(SYS_recvfrom, sock, buffer, wanted,
                              planned ? flags | MSG_WAITALL : flags, nullptr, nullptr);
}

extern "C" ssize_t send(int sock, const void* buffer, size_t size, int flags) {
  const ssize_t wanted = nextSize(&sends, size);
  return wanted < 0 ? -1 : syscall(SYS_sendto, sock, buffer, wanted, flags, nullptr, 0);
}

extern "C" int gettimeofday(timeval* __restrict tv, void* __restrict tz) noexcept {
  if (clockCallsBeforeFailure >= 0 && clockCallsBeforeFailure-- == 0) {
    errno = EINVAL;
    return -1;
  }
  return static_cast<int>(syscall(SYS_gettimeofday, tv, tz));
}

void* operator new(size_t size) {
  void* memory = std::malloc(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  askedMemory += size;
  return memory;
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, size_t) noexcept {
  std::free(memory);
}
