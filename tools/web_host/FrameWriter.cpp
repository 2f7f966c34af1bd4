#include "tools/web_host/FrameWriter.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "tools/web_host/FrameParser.h"
#include "tools/web_host/Pieces.h"

namespace web_host {

static constexpr int kLastMilliseconds = 500;

namespace {

struct HeldSource {
  GSource source;
  FrameWriter* writer;
};

FrameWriter* writerOf(GSource* source) {
  return reinterpret_cast<HeldSource*>(source)->writer;
}

}  // namespace

FrameWriter::FrameWriter(int output) : _output(output) {
  if (pipe2(_stop, O_CLOEXEC) != 0) {
    throw std::runtime_error(std::string("there is no pipe to be had: ") + std::strerror(errno));
  }
  fcntl(_output, F_SETFL, fcntl(_output, F_GETFL) | O_NONBLOCK);
  static GSourceFuncs functions = sourceFunctions();
  _source = g_source_new(&functions, sizeof(HeldSource));
  reinterpret_cast<HeldSource*>(_source)->writer = this;
  g_source_attach(_source, nullptr);
}

FrameWriter::~FrameWriter() {
  finish();
  g_source_destroy(_source);
  g_source_unref(_source);
  close(_stop[0]);
}

// The main loop asks each time before it sleeps: a timer would have to be made and freed for each
// message, and would mostly find that others have taken it along.
GSourceFuncs FrameWriter::sourceFunctions() {
  return {[](GSource* source, gint* timeout) -> gboolean {
            *timeout = writerOf(source)->millisecondsToHeld();
            return *timeout == 0;
          },
          [](GSource* source) -> gboolean { return writerOf(source)->millisecondsToHeld() == 0; },
          [](GSource* source, GSourceFunc, gpointer) -> gboolean {
            writerOf(source)->writeHeldNow();
            return G_SOURCE_CONTINUE;
          },
          nullptr,
          nullptr,
          nullptr};
}

// -1 when nothing is held.
int FrameWriter::millisecondsToHeld() const {
  if (_held.empty()) {
    return -1;
  }
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(_heldUntil - Clock::now());
  return static_cast<int>(std::max<int64_t>(left.count(), 0));
}

void FrameWriter::finish() {
  {
    std::lock_guard<std::mutex> lock(_mutex);
    if (_finishing) {
      return;
    }
    takeHeld();
    _finishing = true;
  }
  close(_stop[1]);
  if (_thread.joinable()) {
    _changed.notify_one();
    _thread.join();
  } else {
    run();
  }
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
    if (_frames.empty() || _finishing) {
      return;
    }
  }
  if (_thread.joinable()) {
    _changed.notify_one();
  } else {
    startThread();
  }
}

// Where the system has no thread for it, the browser is waited for.
void FrameWriter::startThread() {
  try {
    _thread = std::thread([this] { run(); });
  } catch (const std::system_error&) {
    std::unique_lock<std::mutex> lock(_mutex);
    while (!_frames.empty() && writeFirst(&lock)) {
    }
  }
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
}

void FrameWriter::writeHeldNow() {
  if (!_held.empty()) {
    writeHeld();
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

// False, with nothing left to write, when the browser has gone.
bool FrameWriter::writeFirst(std::unique_lock<std::mutex>* lock) {
  const std::string frame = std::move(_frames.front());
  _frames.pop_front();
  _writing = true;
  lock->unlock();
  const bool written = writeAll(frame);
  lock->lock();
  _writing = false;
  if (!written) {
    _broken = true;
    _frames.clear();
  }
  return written;
}

void FrameWriter::run() {
  std::unique_lock<std::mutex> lock(_mutex);
  do {
    _changed.wait(lock, [this] { return !_frames.empty() || _finishing; });
  } while (!_frames.empty() && writeFirst(&lock));
}

}  // namespace web_host
