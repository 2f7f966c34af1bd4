#include "tools/web_host/FrameWriter.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "tools/npapi_host/MainLoop.h"
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
  if (_timer != 0) {
    g_source_remove(std::exchange(_timer, 0));
  }
  {
    std::lock_guard<std::mutex> lock(_mutex);
    takeHeld();
    _finishing = true;
  }
  _changed.notify_one();
  close(_stop[1]);
  _thread.join();
}

void FrameWriter::write(const std::string& message) {
  _held.push_back(message);
  writeHeld();
}

void FrameWriter::writeHeld() {
  {
    std::lock_guard<std::mutex> lock(_mutex);
    takeHeld();
    writeAtOnce();
    if (_frames.empty()) {
      return;
    }
  }
  _changed.notify_one();
}

// With the lock held. What does not go without waiting is left to the thread.
void FrameWriter::writeAtOnce() {
  while (!_writing && !_frames.empty()) {
    std::string& frame = _frames.front();
    const ssize_t size = ::write(_output, frame.data(), frame.size());
    if (size < static_cast<ssize_t>(frame.size())) {
      frame.erase(0, static_cast<size_t>(std::max<ssize_t>(size, 0)));
      return;
    }
    _frames.pop_front();
  }
}

void FrameWriter::writeSoon(const std::string& message, std::chrono::milliseconds longest) {
  if (!_joins) {
    return write(message);
  }
  const Clock::time_point until = Clock::now() + longest;
  _heldUntil = _held.empty() ? until : std::min(until, _heldUntil);
  _held.push_back(message);
  startTimer();
}

void FrameWriter::writeHeldNow() {
  if (!_held.empty()) {
    writeHeld();
  }
}

// One that is under way for others stays as it is, unless this is due earlier.
void FrameWriter::startTimer() {
  if (_timer != 0 && _timerEnd <= _heldUntil) {
    return;
  }
  if (_timer != 0) {
    g_source_remove(_timer);
  }
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(_heldUntil - Clock::now());
  _timerEnd = _heldUntil;
  _timer = npapi_host::MainLoop::postLater(
      static_cast<unsigned>(std::max<int64_t>(left.count(), 0)), [this] { onTime(); });
}

void FrameWriter::onTime() {
  _timer = 0;
  if (_held.empty()) {
    return;
  }
  if (_heldUntil <= Clock::now()) {
    writeHeld();
  } else {
    startTimer();
  }
}

// With the lock held.
void FrameWriter::takeHeld() {
  if (_broken) {
    _held.clear();
  }
  const std::string joined = togetherOf(_held);
  if (_held.size() > 1 && joined.size() <= kLargestMessage) {
    add(joined);
  } else {
    std::for_each(_held.begin(), _held.end(), [this](const std::string& each) { add(each); });
  }
  _held.clear();
}

// With the lock held.
void FrameWriter::add(const std::string& message) {
  for (const std::string& piece : piecesOf(message, &_lastId)) {
    _frames.push_back(frameOf(piece));
  }
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
    _changed.wait(lock, [this] { return !_frames.empty() || _finishing; });
    if (_frames.empty()) {
      return;
    }
    const std::string frame = std::move(_frames.front());
    _frames.pop_front();
    _writing = true;
    lock.unlock();
    const bool written = writeAll(frame);
    lock.lock();
    _writing = false;
    if (!written) {
      _broken = true;
      _frames.clear();
      return;
    }
  }
}

}  // namespace web_host
