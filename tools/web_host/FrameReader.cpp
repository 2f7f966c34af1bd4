#include "tools/web_host/FrameReader.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>
#include <vector>

#include "tools/web_host/FrameParser.h"

namespace web_host {

static constexpr int kFullMilliseconds = 20;

FrameReader::FrameReader(int input, Events events) : _input(input), _events(std::move(events)) {
  if (pipe2(_stop, O_CLOEXEC) != 0) {
    throw std::runtime_error(std::string("there is no pipe to be had: ") + std::strerror(errno));
  }
  _thread = std::thread([this] { run(); });
}

FrameReader::~FrameReader() {
  close(_stop[1]);
  _thread.join();
  close(_stop[0]);
}

bool FrameReader::take(std::string* frame) {
  std::lock_guard<std::mutex> lock(_mutex);
  if (_frames.empty()) {
    return false;
  }
  *frame = std::move(_frames.front());
  _frames.pop_front();
  _bytes -= frame->size();
  return true;
}

bool FrameReader::isFull() {
  std::lock_guard<std::mutex> lock(_mutex);
  return _frames.size() >= kMostFrames || _bytes >= kMostBytes;
}

void FrameReader::keep(std::string frame) {
  {
    std::lock_guard<std::mutex> lock(_mutex);
    _bytes += frame.size();
    _frames.push_back(std::move(frame));
  }
  _events.arrived();
}

// False at the end: the browser's, or this object's. While the main thread does not keep up, only
// the end is looked for.
bool FrameReader::waitForInput(std::string* reason) {
  for (;;) {
    const bool full = isFull();
    pollfd watched[] = {{_input, static_cast<short>(full ? 0 : POLLIN), 0}, {_stop[0], POLLIN, 0}};
    if (poll(watched, 2, full ? kFullMilliseconds : -1) < 0 && errno != EINTR) {
      *reason = std::string("The browser's messages cannot be waited for: ") + std::strerror(errno);
      return false;
    }
    if (watched[1].revents != 0 || (full && watched[0].revents != 0)) {
      return false;
    }
    if (watched[0].revents != 0) {
      return true;
    }
  }
}

void FrameReader::run() {
  std::vector<char> buffer(size_t{64} * 1024);
  FrameParser parser;
  std::string reason;
  try {
    while (waitForInput(&reason)) {
      const ssize_t size = read(_input, buffer.data(), buffer.size());
      if (size < 0 && errno == EINTR) {
        continue;
      }
      if (size <= 0) {
        break;
      }
      parser.add(buffer.data(), static_cast<size_t>(size));
      for (std::string frame; parser.next(&frame);) {
        keep(std::move(frame));
      }
    }
  } catch (const FrameError& error) {
    reason = error.what();
  }
  _events.ended(reason);
}

}  // namespace web_host
