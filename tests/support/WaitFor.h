#ifndef TESTS_SUPPORT_WAIT_FOR_H_
#define TESTS_SUPPORT_WAIT_FOR_H_

#include <chrono>
#include <thread>

namespace test_support {

// Polls `condition` until it holds; false when the deadline passes first.
template <typename Condition>
bool waitFor(Condition condition, std::chrono::milliseconds deadline = std::chrono::seconds(20)) {
  const auto end = std::chrono::steady_clock::now() + deadline;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

}  // namespace test_support

#endif  // TESTS_SUPPORT_WAIT_FOR_H_
