#ifndef PELLION_SIMULATOR_CONNECTION_THREADS_H_
#define PELLION_SIMULATOR_CONNECTION_THREADS_H_

#include <httplib.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace pellion_simulator {

// The server's threads, one for each connection that is open at the same time: a client that says
// nothing keeps no other one waiting. Beyond 256 of them connections wait in order. The server's
// listening thread makes the calls.
class ConnectionThreads : public httplib::TaskQueue {
 public:
  ConnectionThreads() = default;
  ConnectionThreads(const ConnectionThreads&) = delete;
  ConnectionThreads& operator=(const ConnectionThreads&) = delete;

  // Throws a system error when not even one thread can be had.
  void enqueue(std::function<void()> job) override;
  // Does what is queued and ends the threads; the last call.
  void shutdown() override;

 private:
  void work();

  std::vector<std::thread> _threads;
  std::mutex _mutex;
  std::condition_variable _wake;
  std::deque<std::function<void()>> _jobs;  // guarded by _mutex
  size_t _idle = 0;                         // guarded by _mutex: threads that wait for a job
  bool _stopped = false;                    // guarded by _mutex
};

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_CONNECTION_THREADS_H_
