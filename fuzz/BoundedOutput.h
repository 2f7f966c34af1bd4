#ifndef FUZZ_BOUNDED_OUTPUT_H_
#define FUZZ_BOUNDED_OUTPUT_H_

#include "fuzz/FuzzInput.h"

// What a C function answered and left in a buffer of exactly `size` bytes.
struct BoundedOutput {
  template <typename Function>
  BoundedOutput(size_t size, Function function) {
    std::vector<char> buffer(size, '#');
    result = function(buffer.data());
    text = upToZero(std::string(buffer.begin(), buffer.end()));
    // Terminated, unless it is as it was.
    FUZZ_CHECK(text.size() < size || text == std::string(size, '#'));
  }

  int result;
  std::string text;
};

// In the environment, until the next call; setenv() would keep every value for good.
inline void setVariable(const std::string& name, const std::string& value) {
  static std::string variable;
  unsetenv(name.c_str());  // while its text is still there
  variable = name + "=" + value;
  putenv(variable.data());
}

#endif  // FUZZ_BOUNDED_OUTPUT_H_
