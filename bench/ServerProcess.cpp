#include "bench/ServerProcess.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace bench {

ServerProcess::ServerProcess(const std::function<std::unique_ptr<BenchServer>()>& make) {
  int facts[2];
  int life[2];
  if (pipe2(facts, O_CLOEXEC) != 0 || pipe2(life, O_CLOEXEC) != 0 || (_pid = fork()) == -1) {
    throw std::runtime_error("no process for the server");
  }
  if (_pid == 0) {
    close(life[1]);
    const std::unique_ptr<BenchServer> server = make();
    const Facts own = {server->port(), server->responseSize()};
    char end;
    const bool told = write(facts[1], &own, sizeof(own)) == sizeof(own);
    _exit(told && read(life[0], &end, 1) == 0 ? 0 : 1);  // until the other end is closed
  }
  close(facts[1]);
  close(life[0]);
  _life = life[1];
  const bool told = read(facts[0], &_facts, sizeof(_facts)) == sizeof(_facts);
  close(facts[0]);
  if (!told) {
    throw std::runtime_error("the server does not start");
  }
}

ServerProcess::~ServerProcess() {
  close(_life);
  waitpid(_pid, nullptr, 0);
}

}  // namespace bench
