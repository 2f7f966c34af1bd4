#include "tools/web_host/InputEnd.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>

namespace web_host {

InputEnd::InputEnd(int input, std::function<void()> ended)
    : _input(input), _ended(std::move(ended)) {
  if (pipe2(_stop, O_CLOEXEC) != 0) {
    throw std::runtime_error(std::string("there is no pipe to be had: ") + std::strerror(errno));
  }
  _thread = std::thread([this] { run(); });
}

InputEnd::~InputEnd() {
  close(_stop[1]);
  _thread.join();
  close(_stop[0]);
}

void InputEnd::run() {
  pollfd watched[] = {{_input, POLLRDHUP, 0}, {_stop[0], POLLIN, 0}};
  while (poll(watched, 2, -1) < 0 && errno == EINTR) {
  }
  if (watched[0].revents != 0) {
    _ended();
  }
}

}  // namespace web_host
