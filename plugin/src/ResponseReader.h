#ifndef PLUGIN_SRC_RESPONSEREADER_H_
#define PLUGIN_SRC_RESPONSEREADER_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace Pellion::Web {

// What has arrived of one response, and when to stop reading. Costs time in proportion to the
// response. Used by one thread.
class ResponseReader {
 public:
  ResponseReader() = default;
  ResponseReader(const ResponseReader&) = delete;
  ResponseReader& operator=(const ResponseReader&) = delete;

  // Adds a chunk. True when no more needs to be read.
  bool take(const char* chunk);
  // What arrived; leaves the reader empty.
  std::string takeText() { return std::move(_text); }
  const std::string& text() const { return _text; }

 private:
  // A text in the response that is searched for until it is found, each byte once.
  struct Mark {
    size_t at = std::string::npos;  // where it stands
    size_t from = 0;                // where the next search starts
  };

  void append(std::string_view bytes);
  size_t roomAfter(size_t size) const;
  bool isComplete();
  bool find(std::string_view what, Mark* mark) const;
  int readLength() const;
  bool cutBody();

  std::string _text;
  size_t _expectedSize = std::string::npos;  // of the whole text, as announced
  Mark _lengthHeader;
  Mark _lengthEnd;
  Mark _headersEnd;
  int _announced = 0;
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_RESPONSEREADER_H_
