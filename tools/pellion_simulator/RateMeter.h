#ifndef PELLION_SIMULATOR_RATE_METER_H_
#define PELLION_SIMULATOR_RATE_METER_H_

#include <chrono>
#include <cstdint>
#include <deque>

namespace pellion_simulator {

// The mean rate over the last two seconds. Not locked.
class RateMeter {
 public:
  using Clock = std::chrono::steady_clock;

  // `total`: all bytes so far, never less than before.
  void add(int64_t total, Clock::time_point now);
  // Bytes per second; falls to 0 when nothing more is added.
  int64_t rate(Clock::time_point now) const;

 private:
  struct Sample {
    Clock::time_point time;
    int64_t total;
  };
  std::deque<Sample> _samples;
};

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_RATE_METER_H_
