#ifndef TESTS_OVLIB_LOG_FIXTURE_H_
#define TESTS_OVLIB_LOG_FIXTURE_H_

#include <filesystem>
#include <string>

#include "ovlib/ovlog.h"
#include "tests/support/Sandbox.h"

// A log in a directory of the test's own.
class LogFixture : public test_support::Sandbox {
 protected:
  LogFixture() { std::filesystem::create_directory(path("log")); }
  ~LogFixture() override { ov_log_cleanup(); }

  std::string logPath(const std::string& name) const { return path("log/" + name); }
  std::string member(char digit) const { return logPath(std::string("plugin.") + digit + ".log"); }
  int start(const std::string& suffix = "") const {
    return ov_log_init(OV_LOG_FILE, (logPath("plugin.log") + suffix).c_str());
  }
};

#endif  // TESTS_OVLIB_LOG_FIXTURE_H_
