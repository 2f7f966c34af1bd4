#ifndef TOOLS_WEB_HOST_FRAME_WRITER_H_
#define TOOLS_WEB_HOST_FRAME_WRITER_H_

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

namespace web_host {

// Writes messages on a thread of its own, in order; a browser that does not read keeps nobody
// waiting. What cannot be written is dropped: the reader hears of the browser's end.
class FrameWriter {
 public:
  // The descriptor stays open.
  explicit FrameWriter(int output);
  // As finish().
  ~FrameWriter();
  FrameWriter(const FrameWriter&) = delete;
  FrameWriter& operator=(const FrameWriter&) = delete;

  // Main thread: a message of JSON, in pieces when it is large.
  void write(const std::string& message);
  // Gives what is left half a second, and ends the thread.
  void finish();

 private:
  void run();
  bool writeAll(const std::string& frame);

  const int _output;
  uint64_t _lastId = 0;
  int _stop[2];
  std::mutex _mutex;
  std::condition_variable _changed;
  std::deque<std::string> _frames;  // guarded by _mutex, as the next
  bool _finishing = false;
  bool _broken = false;  // nothing can be written any more
  std::thread _thread;
};

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_FRAME_WRITER_H_
