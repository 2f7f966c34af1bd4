#ifndef TOOLS_WEB_HOST_DEADLINE_H_
#define TOOLS_WEB_HOST_DEADLINE_H_

#include <condition_variable>
#include <mutex>
#include <thread>

namespace web_host {

// Ends the process some time after start(), whatever the main thread does, unless this object has
// gone by then. Browsers kill a host 2 seconds after they have closed its input.
class Deadline {
 public:
  static constexpr int kMilliseconds = 1500;
  static constexpr int kExitCode = 124;

  Deadline() = default;
  ~Deadline();
  Deadline(const Deadline&) = delete;
  Deadline& operator=(const Deadline&) = delete;

  // Any thread; does nothing the second time.
  void start();

 private:
  void wait();

  std::mutex _mutex;
  std::condition_variable _changed;
  bool _over = false;  // guarded by _mutex, as the next
  std::thread _thread;
};

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_DEADLINE_H_
