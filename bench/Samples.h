#ifndef BENCH_SAMPLES_H_
#define BENCH_SAMPLES_H_

#include <algorithm>
#include <chrono>
#include <vector>

namespace bench {

// The real time of a call.
template <typename Call>
double nanoseconds(Call call) {
  const auto start = std::chrono::steady_clock::now();
  call();
  return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
}

// Of at least one value.
inline double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<long>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace bench

#endif  // BENCH_SAMPLES_H_
