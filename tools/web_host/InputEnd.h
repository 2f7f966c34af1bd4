#ifndef TOOLS_WEB_HOST_INPUT_END_H_
#define TOOLS_WEB_HOST_INPUT_END_H_

#include <functional>
#include <thread>

namespace web_host {

// Sees on a thread of its own that the browser has closed its end of the input, whatever the main
// thread does and whether or not all has been read. It sleeps until then.
class InputEnd {
 public:
  // Calls `ended` at most once, on that thread.
  InputEnd(int input, std::function<void()> ended);
  ~InputEnd();
  InputEnd(const InputEnd&) = delete;
  InputEnd& operator=(const InputEnd&) = delete;

 private:
  void run();

  const int _input;
  const std::function<void()> _ended;
  int _stop[2];
  std::thread _thread;
};

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_INPUT_END_H_
