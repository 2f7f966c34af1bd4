// The least that a native messaging host can be: sends each frame back as it came, and ends with
// its input. A frame with "again" in it goes once more each second, until another one comes. For
// one with "ask" in it, the application at that port is asked first what the module asks for a
// request.

#include <poll.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

#include "bench/BareExchange.h"

namespace {

bool readAll(char* to, size_t size) {
  for (size_t got = 0; got < size;) {
    const ssize_t count = read(STDIN_FILENO, to + got, size - got);
    if (count <= 0) {
      return false;
    }
    got += static_cast<size_t>(count);
  }
  return true;
}

bool writeAll(const char* from, size_t size) {
  for (size_t put = 0; put < size;) {
    const ssize_t count = write(STDOUT_FILENO, from + put, size - put);
    if (count <= 0) {
      return false;
    }
    put += static_cast<size_t>(count);
  }
  return true;
}

bool repeatUntilInput(const std::vector<char>& frame) {
  pollfd input = {STDIN_FILENO, POLLIN, 0};
  const bool again =
      std::string_view(frame.data(), frame.size()).find("\"again\"") != std::string_view::npos;
  while (poll(&input, 1, again ? 1000 : -1) == 0) {
    if (!writeAll(frame.data(), frame.size())) {
      return false;
    }
  }
  return true;
}

bool askWhereItSaysSo(std::string_view frame) {
  constexpr std::string_view kAsk = "\"ask\":";
  const size_t found = frame.find(kAsk);
  if (found == std::string_view::npos) {
    return true;
  }
  const int port = std::atoi(frame.data() + found + kAsk.size());
  return !bench::bareExchange(port, bench::requestText("GET", "/v4/pellion/version", ""),
                              bench::kUntilItCloses)
              .empty() &&
         !bench::bareExchange(port, bench::requestText("POST", "/bench/size/200", ""),
                              bench::kUntilItCloses)
              .empty();
}

}  // namespace

int main() {
  std::vector<char> frame(sizeof(uint32_t));
  while (repeatUntilInput(frame) && readAll(frame.data(), sizeof(uint32_t))) {
    uint32_t length = 0;
    std::memcpy(&length, frame.data(), sizeof(length));
    frame.resize(sizeof(length) + length);
    if (!readAll(frame.data() + sizeof(length), length) ||
        !askWhereItSaysSo({frame.data() + sizeof(length), length}) ||
        !writeAll(frame.data(), frame.size())) {
      return 1;
    }
  }
  return 0;
}
