#ifndef TOOLS_WEB_CHECK_DEADLINE_H_
#define TOOLS_WEB_CHECK_DEADLINE_H_

#include <algorithm>
#include <chrono>

namespace web_check {

// The end of the time that one step may take, for calls of poll().
class Deadline {
 public:
  explicit Deadline(int milliseconds)
      : _end(Clock::now() + std::chrono::milliseconds(milliseconds)) {}

  // Milliseconds; 0 when the time is over.
  int remaining() const {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(_end - Clock::now()).count();
    return static_cast<int>(std::max<decltype(left)>(0, left));
  }

 private:
  using Clock = std::chrono::steady_clock;
  Clock::time_point _end;
};

}  // namespace web_check

#endif  // TOOLS_WEB_CHECK_DEADLINE_H_
