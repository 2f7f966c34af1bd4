#include "fuzz/FuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  tryInput(FuzzInput(std::string(reinterpret_cast<const char*>(data), size)));
  return 0;
}
