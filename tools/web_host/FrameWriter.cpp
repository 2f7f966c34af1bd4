#include "tools/web_host/FrameWriter.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "tools/web_host/FrameParser.h"
#include "tools/web_host/Pieces.h"

namespace web_host {

static constexpr int kLastMilliseconds = 500;

FrameWriter::FrameWriter(int output) : _output(output) {
  if (pipe2(_stop, O_CLOEXEC) != 0) {
    throw std::runtime_error(std::string("there is no pipe to be had: ") + std::strerror(errno));
  }
  fcntl(_output, F_SETFL, fcntl(_output, F_GETFL) | O_NONBLOCK);
  _thread = std::thread([this] { run(); });
}

FrameWriter::~FrameWriter() {
  finish();
  close(_stop[0]);
}

void FrameWriter::finish() {
  if (!_thread.joinable()) {
    return;
  }
  {
    std::lock_guard<std::mutex> lock(_mutex);
    _finishing = true;
  }
  _changed.notify_one();
  close(_stop[1]);
  _thread.join();
}

void FrameWriter::write(const std::string& message) {
  {
    std::lock_guard<std::mutex> lock(_mutex);
    if (_broken) {
      return;
    }
    for (const std::string& piece : piecesOf(message, ++_lastId)) {
      _frames.push_back(frameOf(piece));
    }
  }
  _changed.notify_one();
}

// Once finish() has been called, a browser that does not read is not waited for long.
bool FrameWriter::writeAll(const std::string& frame) {
  size_t done = 0;
  bool finishing = false;
  while (done < frame.size()) {
    const ssize_t size = ::write(_output, frame.data() + done, frame.size() - done);
    if (size > 0) {
      done += static_cast<size_t>(size);
      continue;
    }
    if (size < 0 && errno != EAGAIN && errno != EINTR) {
      return false;
    }
    pollfd watched[] = {{_output, POLLOUT, 0}, {finishing ? -1 : _stop[0], POLLIN, 0}};
    if (poll(watched, 2, finishing ? kLastMilliseconds : -1) == 0) {
      return false;
    }
    finishing = finishing || watched[1].revents != 0;
  }
  return true;
}

void FrameWriter::run() {
  for (;;) {
    std::unique_lock<std::mutex> lock(_mutex);
    _changed.wait(lock, [this] { return _finishing || !_frames.empty(); });
    if (_frames.empty()) {
      return;
    }
    const std::string frame = std::move(_frames.front());
    _frames.pop_front();
    lock.unlock();
    if (!writeAll(frame)) {
      lock.lock();
      _broken = true;
      _frames.clear();
      return;
    }
  }
}

}  // namespace web_host
