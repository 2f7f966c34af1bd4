#ifndef TOOLS_WEB_HOST_FRAME_PARSER_H_
#define TOOLS_WEB_HOST_FRAME_PARSER_H_

#include <cstddef>
#include <stdexcept>
#include <string>

namespace web_host {

// A frame that is too large; what() names its size.
class FrameError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Takes frames out of a stream of bytes: each is a length of 32 bits in the machine's order and as
// many bytes of text.
class FrameParser {
 public:
  static constexpr size_t kLargest = size_t{16} * 1024 * 1024;

  void add(const char* bytes, size_t size);
  // The next whole frame's text; false when more bytes are needed. Throws FrameError for a frame
  // larger than kLargest, as soon as its length is known; nothing can be read behind it.
  bool next(std::string* text);

 private:
  std::string _bytes;
  size_t _start = 0;
};

// The frame of a text of at most 4 GiB.
std::string frameOf(const std::string& text);

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_FRAME_PARSER_H_
