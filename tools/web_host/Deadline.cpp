#include "tools/web_host/Deadline.h"

#include <unistd.h>

#include <chrono>

namespace web_host {

Deadline::~Deadline() {
  {
    std::lock_guard<std::mutex> lock(_mutex);
    _over = true;
  }
  _changed.notify_one();
  if (_thread.joinable()) {
    _thread.join();
  }
}

void Deadline::start() {
  std::lock_guard<std::mutex> lock(_mutex);
  if (!_thread.joinable()) {
    _thread = std::thread([this] { wait(); });
  }
}

void Deadline::wait() {
  std::unique_lock<std::mutex> lock(_mutex);
  if (!_changed.wait_for(lock, std::chrono::milliseconds(kMilliseconds),
                         [this] { return _over; })) {
    _exit(kExitCode);
  }
}

}  // namespace web_host
