#ifndef PELLION_SIMULATOR_TRANSFER_QUEUE_H_
#define PELLION_SIMULATOR_TRANSFER_QUEUE_H_

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tools/pellion_simulator/RateLimiter.h"
#include "tools/pellion_simulator/Settings.h"
#include "tools/pellion_simulator/Transfer.h"

namespace pellion_simulator {

// All transfers of this run: a few move at once, the others wait in order of arrival. Finished ones
// stay listed, up to a thousand. Safe from every thread.
class TransferQueue {
 public:
  // `settings` is borrowed and must outlive this. The rate limit is taken from there.
  explicit TransferQueue(const Settings* settings);
  // Stops.
  ~TransferQueue();
  TransferQueue(const TransferQueue&) = delete;
  TransferQueue& operator=(const TransferQueue&) = delete;

  // The new transfer's id.
  std::string add(TransferRequest request);

  struct Changes {
    uint64_t count = 0;  // hand it in the next time
    std::vector<TransferState> transfers;
  };
  // What changed after the count of an earlier call, oldest transfer first. A count that cannot be
  // of this run gets everything.
  Changes changesSince(uint64_t count) const;

  // Of all that are listed.
  std::set<std::string> ids() const;
  // False when there is no such transfer.
  bool cancel(const std::string& id);
  // To be called after the settings have changed.
  void applyRateLimit() { _limiter.setLimit(_settings->rateLimit()); }
  // Cancels what is not finished and waits for the movers.
  void stop();

 private:
  void work();
  std::shared_ptr<Transfer> next();
  void forgetOldest();

  const Settings* const _settings;
  RateLimiter _limiter;
  // Starts at the microseconds of the clock, so that the counts of an earlier run are smaller.
  std::atomic<uint64_t> _changes;
  const uint64_t _firstChange;
  mutable std::mutex _mutex;
  std::condition_variable _wake;
  std::vector<std::shared_ptr<Transfer>> _transfers;  // guarded by _mutex
  std::deque<std::shared_ptr<Transfer>> _waiting;     // guarded by _mutex
  bool _stopped = false;                              // guarded by _mutex
  std::vector<std::thread> _workers;
};

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_TRANSFER_QUEUE_H_
