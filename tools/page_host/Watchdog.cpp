#include "tools/page_host/Watchdog.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <utility>

#include "tools/page_host/Options.h"

namespace page_host {

// How long an orderly end may take once the time is over.
static constexpr double kGraceSeconds = 2;

Watchdog::Watchdog(double seconds, std::function<void()> expired)
    : _seconds(seconds), _expired(std::move(expired)) {
  if (_seconds > 0) {
    _thread = std::thread(&Watchdog::wait, this);
  }
}

Watchdog::~Watchdog() {
  {
    std::lock_guard<std::mutex> lock(_mutex);
    _stopped = true;
  }
  _wake.notify_all();
  if (_thread.joinable()) {
    _thread.join();
  }
}

bool Watchdog::stoppedWithin(double seconds) {
  std::unique_lock<std::mutex> lock(_mutex);
  return _wake.wait_for(lock, std::chrono::duration<double>(seconds), [this] { return _stopped; });
}

void Watchdog::wait() {
  if (stoppedWithin(_seconds)) {
    return;
  }
  // Not through stdio, whose locks the hung page may hold.
  dprintf(STDERR_FILENO, "orvane-page-host: the page was still running after %g seconds\n",
          _seconds);
  _expired();
  if (!stoppedWithin(kGraceSeconds)) {
    _exit(kExitTimeout);
  }
}

}  // namespace page_host
