#include "tools/pellion_simulator/RateMeter.h"

#include <algorithm>

namespace pellion_simulator {

namespace {

const std::chrono::milliseconds kWindow(2000);
// Samples closer than this are joined.
const std::chrono::milliseconds kStep(100);

}  // namespace

void RateMeter::add(int64_t total, Clock::time_point now) {
  if (_samples.size() > 1 && now - _samples[_samples.size() - 2].time < kStep) {
    _samples.back() = {now, total};
  } else {
    _samples.push_back({now, total});
  }
  while (_samples.size() > 2 && now - _samples[1].time > kWindow) {
    _samples.pop_front();
  }
}

int64_t RateMeter::rate(Clock::time_point now) const {
  const auto first = std::find_if(_samples.begin(), _samples.end(), [now](const Sample& sample) {
    return now - sample.time <= kWindow;
  });
  if (first == _samples.end()) {
    return 0;
  }
  const double seconds =
      std::chrono::duration<double>(std::max<Clock::duration>(now - first->time, kStep)).count();
  return static_cast<int64_t>(static_cast<double>(_samples.back().total - first->total) / seconds);
}

}  // namespace pellion_simulator
