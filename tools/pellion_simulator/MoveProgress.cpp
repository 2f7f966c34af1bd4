#include "tools/pellion_simulator/MoveProgress.h"

#include <algorithm>
#include <thread>

namespace pellion_simulator {

void MoveProgress::moved(size_t bytes) {
  // Short naps, so that a cancelled transfer ends soon.
  const std::chrono::milliseconds nap(50);
  _transfer->addWritten(_file, bytes);
  const RateLimiter::Clock::time_point end = _limiter->book(bytes);
  for (;;) {
    if (isCancelled()) {
      throw MoveCancelled();
    }
    const RateLimiter::Clock::time_point now = RateLimiter::Clock::now();
    if (now >= end) {
      return;
    }
    std::this_thread::sleep_until(std::min(end, now + nap));
  }
}

}  // namespace pellion_simulator
