#ifndef TOOLS_WEB_HOST_FRAME_READER_H_
#define TOOLS_WEB_HOST_FRAME_READER_H_

#include <glib.h>

#include <array>
#include <deque>
#include <functional>
#include <string>

#include "tools/web_host/FrameParser.h"

namespace web_host {

// Reads frames in the main loop, also in loops nested in it. What comes while the main thread does
// something else stays with the browser.
class FrameReader {
 public:
  struct Events {
    // Frames come in order, also when this runs a loop. The reader must live until it returns.
    std::function<void(const std::string& frame)> arrived;
    // Nothing follows. The text says why; it is empty when the browser closed the input.
    std::function<void(const std::string& reason)> ended;
  };

  // The descriptor stays open.
  FrameReader(int input, Events events);
  ~FrameReader();
  FrameReader(const FrameReader&) = delete;
  FrameReader& operator=(const FrameReader&) = delete;

 private:
  bool read();
  void parse();
  void giveOut();

  const int _input;
  const Events _events;
  // Not on the stack, where each dialog that blocks a call has a turn of this.
  std::array<char, size_t{64}* 1024> _buffer = {};
  FrameParser _parser;
  std::deque<std::string> _frames;  // that have come and were not given out
  std::string _reason;
  bool _isOver = false;
  GSource* _source;
};

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_FRAME_READER_H_
