#ifndef BENCH_SERVERPROCESS_H_
#define BENCH_SERVERPROCESS_H_

#include <sys/types.h>

#include <functional>
#include <memory>

#include "bench/BenchServer.h"

namespace bench {

// A server in a process of its own, so that nothing of it counts as ours. To be made while there is
// one thread; ends with this object.
class ServerProcess {
 public:
  // Only the new process makes the server.
  explicit ServerProcess(const std::function<std::unique_ptr<BenchServer>()>& make);
  ~ServerProcess();
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

  int port() const { return _facts.port; }
  // Of the whole response, headers included.
  size_t responseSize() const { return _facts.responseSize; }

 private:
  struct Facts {
    int port;
    size_t responseSize;
  };

  Facts _facts = {};
  int _life;
  pid_t _pid;
};

}  // namespace bench

#endif  // BENCH_SERVERPROCESS_H_
