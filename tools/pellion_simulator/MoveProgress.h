#ifndef PELLION_SIMULATOR_MOVE_PROGRESS_H_
#define PELLION_SIMULATOR_MOVE_PROGRESS_H_

#include <cstdint>
#include <stdexcept>

#include "tools/pellion_simulator/RateLimiter.h"
#include "tools/pellion_simulator/Transfer.h"

namespace pellion_simulator {

class MoveCancelled : public std::runtime_error {
 public:
  MoveCancelled() : std::runtime_error("cancelled") {}
};

// What a mover tells while it moves one file, and what holds it to the rate limit. For the mover's
// thread only.
class MoveProgress {
 public:
  // Both are borrowed and must outlive this.
  MoveProgress(Transfer* transfer, size_t file, RateLimiter* limiter)
      : _transfer(transfer), _file(file), _limiter(limiter) {}

  void expect(int64_t bytes) { _transfer->setExpected(_file, bytes); }
  // Rests as long as the rate limit wants. Throws MoveCancelled.
  void moved(size_t bytes);
  bool isCancelled() const { return _transfer->isCancelled(); }
  // How much to move before the next call of moved().
  size_t chunkSize(size_t largest) const { return _limiter->chunkSize(largest); }

 private:
  Transfer* const _transfer;
  const size_t _file;
  RateLimiter* const _limiter;
};

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_MOVE_PROGRESS_H_
