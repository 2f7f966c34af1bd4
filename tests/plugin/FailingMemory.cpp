#include "tests/plugin/FailingMemory.h"

#include <cstdlib>
#include <new>

namespace {

thread_local int left = -1;  // until the one that fails; -1 for none
thread_local bool failed = false;

}  // namespace

void failing_memory::start(int allocation) {
  left = allocation;
  failed = false;
}

bool failing_memory::stop() {
  left = -1;
  return failed;
}

void* operator new(size_t size) {
  if (left >= 0 && left-- == 0) {
    failed = true;
    throw std::bad_alloc();
  }
  void* memory = std::malloc(size > 0 ? size : 1);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, size_t) noexcept {
  std::free(memory);
}
