#include "tools/pellion_simulator/ConnectionThreads.h"

#include <system_error>

#include "tools/pellion_simulator/Log.h"

namespace pellion_simulator {

namespace {

const size_t kMostThreads = 256;

}  // namespace

void ConnectionThreads::enqueue(std::function<void()> job) {
  std::lock_guard<std::mutex> lock(_mutex);
  _jobs.push_back(std::move(job));
  if (_idle < _jobs.size() && _threads.size() < kMostThreads) {
    try {
      _threads.emplace_back([this] { work(); });
    } catch (const std::system_error& error) {
      if (_threads.empty()) {
        throw;
      }
      logLine(std::string("A connection has to wait for a thread: ") + error.what());
    }
  }
  _wake.notify_one();
}

void ConnectionThreads::shutdown() {
  {
    std::lock_guard<std::mutex> lock(_mutex);
    _stopped = true;
  }
  _wake.notify_all();
  for (std::thread& thread : _threads) {
    thread.join();
  }
}

void ConnectionThreads::work() {
  std::unique_lock<std::mutex> lock(_mutex);
  for (;;) {
    ++_idle;
    _wake.wait(lock, [this] { return _stopped || !_jobs.empty(); });
    --_idle;
    if (_jobs.empty()) {
      return;
    }
    const std::function<void()> job = std::move(_jobs.front());
    _jobs.pop_front();
    lock.unlock();
    job();
    lock.lock();
  }
}

}  // namespace pellion_simulator
