#ifndef FUZZ_FUZZ_INPUT_H_
#define FUZZ_FUZZ_INPUT_H_

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

// A property that must hold for every input; one that does not ends the fuzzer and keeps the input.
#define FUZZ_CHECK(condition)                                                             \
  do {                                                                                    \
    if (!(condition)) {                                                                   \
      std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                                       \
    }                                                                                     \
  } while (false)

// Takes an input apart, from its front. A text ends at the next record separator (byte 0x1e), so
// that people can write inputs and read them; whatever is asked for behind the end is 0 or empty.
class FuzzInput {
 public:
  explicit FuzzInput(std::string whole) : _whole(std::move(whole)) {}

  const std::string& whole() const { return _whole; }
  bool empty() const { return _at >= _whole.size(); }
  uint8_t byte() { return empty() ? uint8_t{0} : static_cast<uint8_t>(_whole[_at++]); }
  uint16_t word() {
    const uint16_t low = byte();
    return static_cast<uint16_t>(low | byte() << 8);
  }
  // At most `limit` - 1.
  size_t below(size_t limit) { return byte() % limit; }
  bool flag() { return (byte() & 1) != 0; }
  std::string text() {
    const size_t end = _whole.find('\x1e', _at);
    const std::string found = empty() ? "" : _whole.substr(_at, end - _at);
    _at = std::min(end, _whole.size()) + 1;
    return found;
  }
  std::vector<std::string> texts(size_t limit) {
    std::vector<std::string> found;
    while (!empty() && found.size() < limit) {
      found.push_back(text());
    }
    return found;
  }

 private:
  std::string _whole;
  size_t _at = 0;
};

// What a fuzzer does with each input.
void tryInput(FuzzInput input);

// What a C function sees of a text.
inline std::string upToZero(const std::string& text) {
  return text.substr(0, text.find('\0'));
}

inline bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

inline bool startsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

#endif  // FUZZ_FUZZ_INPUT_H_
