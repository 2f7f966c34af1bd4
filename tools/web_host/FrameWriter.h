#ifndef TOOLS_WEB_HOST_FRAME_WRITER_H_
#define TOOLS_WEB_HOST_FRAME_WRITER_H_

#include <glib.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace web_host {

// Writes messages in order: at once as far as the browser reads, the rest on a thread of its own,
// which begins with the first rest, so that a browser that does not read keeps nobody waiting. What
// cannot be written is dropped: the reader hears of the browser's end.
class FrameWriter {
 public:
  // The descriptor stays open.
  explicit FrameWriter(int output);
  // As finish().
  ~FrameWriter();
  FrameWriter(const FrameWriter&) = delete;
  FrameWriter& operator=(const FrameWriter&) = delete;

  // The browser's end takes several messages in one frame: each frame costs it some half a
  // millisecond.
  void joinMessages() { _joins = true; }
  // Main thread: a message of JSON, in pieces when it is large.
  void write(const std::string& message);
  // The same for a message that nobody waits for: it goes before the next one, in one frame with
  // it, or alone after `longest`, by the main loop: the thread need not be woken for it.
  void writeSoon(const std::string& message, std::chrono::milliseconds longest);
  // What waits for company goes now.
  void writeHeldNow();
  // Main thread: gives what is left half a second, and ends the thread. Nothing is written after
  // it.
  void finish();

 private:
  using Clock = std::chrono::steady_clock;

  static GSourceFuncs sourceFunctions();

  void run();
  bool writeFirst(std::unique_lock<std::mutex>* lock);
  void startThread();
  void writeHeld();
  int millisecondsToHeld() const;
  void takeHeld();
  void add(const std::string& message);
  void writeAtOnce();
  bool writeAll(const std::string& frame);

  const int _output;
  int _stop[2];
  // The main thread's:
  bool _joins = false;
  uint64_t _lastId = 0;
  std::vector<std::string> _held;  // before all that is written later
  Clock::time_point _heldUntil;
  GSource* _source;  // goes off then
  std::thread _thread;
  std::mutex _mutex;
  std::condition_variable _changed;
  // Guarded by _mutex:
  std::deque<std::string> _frames;
  bool _writing = false;  // the thread is, without the lock
  bool _finishing = false;
  bool _broken = false;  // nothing can be written any more
};

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_FRAME_WRITER_H_
