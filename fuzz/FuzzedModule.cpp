// The module, linked into a fuzzer, finds a private home with an application that does nothing, and
// no display. A rule of the fake browser's that it breaks ends the fuzzer.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/support/Sandbox.h"

namespace {

// HOME names it.
class Home : public test_support::Sandbox {
 public:
  Home() {
    writeUrlFile("http://127.0.0.1:4001/");
    installApplication("#!/bin/sh\n");
  }

 private:
  void TestBody() override {}
};

class AbortOnBreach : public testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult&) override { std::abort(); }
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  unsetenv("DISPLAY");
  unsetenv("WAYLAND_DISPLAY");
  static const Home home;
  testing::UnitTest::GetInstance()->listeners().Append(new AbortOnBreach);
  return 0;
}
