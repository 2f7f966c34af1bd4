#ifndef PELLION_SIMULATOR_RATE_LIMITER_H_
#define PELLION_SIMULATOR_RATE_LIMITER_H_

#include <chrono>
#include <cstdint>
#include <mutex>

namespace pellion_simulator {

// Shares out one rate among all transfers. Safe from every thread.
class RateLimiter {
 public:
  using Clock = std::chrono::steady_clock;

  // Bytes per second; 0 is no limit. The first bytes after a change wait for none before it.
  void setLimit(int64_t bytesPerSecond);
  // Books bytes that have just been moved; the time until which their mover has to rest.
  Clock::time_point book(size_t bytes);
  // How much to move at once, so that the progress shows.
  size_t chunkSize(size_t largest) const;

 private:
  mutable std::mutex _mutex;
  int64_t _limit = 0;         // guarded by _mutex
  Clock::time_point _booked;  // guarded by _mutex: everything before it is spoken for
};

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_RATE_LIMITER_H_
