#ifndef TESTS_SUPPORT_DISPLAY_SANDBOX_H_
#define TESTS_SUPPORT_DISPLAY_SANDBOX_H_

#include "tests/support/Sandbox.h"
#include "tests/support/XDisplay.h"

namespace test_support {

// A private home and a screen of its own.
class DisplaySandbox : public Sandbox {
 private:
  XDisplay _display;
};

}  // namespace test_support

#endif  // TESTS_SUPPORT_DISPLAY_SANDBOX_H_
