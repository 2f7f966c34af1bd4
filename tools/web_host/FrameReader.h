#ifndef TOOLS_WEB_HOST_FRAME_READER_H_
#define TOOLS_WEB_HOST_FRAME_READER_H_

#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace web_host {

// Reads frames on a thread of its own, so that the end of the input is seen whatever the main
// thread does. It reads ahead within limits.
class FrameReader {
 public:
  // Called on the reader's thread.
  struct Events {
    std::function<void()> arrived;  // take() has one more
    // Nothing follows. The text says why; it is empty when the browser closed the input.
    std::function<void(const std::string& reason)> ended;
  };

  // The descriptor stays open.
  FrameReader(int input, Events events);
  ~FrameReader();
  FrameReader(const FrameReader&) = delete;
  FrameReader& operator=(const FrameReader&) = delete;

  // Any thread: the oldest frame that has not been taken. False when there is none.
  bool take(std::string* frame);

 private:
  static constexpr size_t kMostFrames = 1000;
  static constexpr size_t kMostBytes = size_t{64} * 1024 * 1024;

  void run();
  bool waitForInput(std::string* reason);
  void keep(std::string frame);
  bool isFull();

  const int _input;
  const Events _events;
  int _stop[2];
  std::mutex _mutex;
  std::deque<std::string> _frames;  // guarded by _mutex, as the next
  size_t _bytes = 0;
  std::thread _thread;
};

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_FRAME_READER_H_
