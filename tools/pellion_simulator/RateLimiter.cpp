#include "tools/pellion_simulator/RateLimiter.h"

#include <algorithm>

namespace pellion_simulator {

namespace {

// The same for all movers, else the one with the larger pieces gets the larger share.
const size_t kLargestShare = size_t{16} * 1024;

}  // namespace

void RateLimiter::setLimit(int64_t bytesPerSecond) {
  std::lock_guard<std::mutex> lock(_mutex);
  _limit = bytesPerSecond;
  _booked = Clock::now();
}

RateLimiter::Clock::time_point RateLimiter::book(size_t bytes) {
  const Clock::time_point now = Clock::now();
  std::lock_guard<std::mutex> lock(_mutex);
  if (_limit == 0) {
    return now;
  }
  const std::chrono::duration<double> cost(static_cast<double>(bytes) /
                                           static_cast<double>(_limit));
  _booked = std::max(_booked, now) + std::chrono::duration_cast<Clock::duration>(cost);
  return _booked;
}

size_t RateLimiter::chunkSize(size_t largest) const {
  std::lock_guard<std::mutex> lock(_mutex);
  if (_limit == 0) {
    return largest;
  }
  const size_t fair = std::min(largest, kLargestShare);
  return std::clamp<size_t>(static_cast<size_t>(_limit) / 10, 1, fair);
}

}  // namespace pellion_simulator
