#ifndef TESTS_PLUGIN_LOGGED_SANDBOX_H_
#define TESTS_PLUGIN_LOGGED_SANDBOX_H_

#include "plugin/src/Utils.h"
#include "tests/support/Sandbox.h"

// A private home directory whose log runs, as it does during the module's life.
class LoggedSandbox : public test_support::Sandbox {
 protected:
  LoggedSandbox() { Pellion::Web::Utils::logInit(); }
  ~LoggedSandbox() override { Pellion::Web::Utils::logCleanup(); }
  void SetUp() override { test_support::skipWhereAnApplicationIsInstalled(); }
};

#endif  // TESTS_PLUGIN_LOGGED_SANDBOX_H_
