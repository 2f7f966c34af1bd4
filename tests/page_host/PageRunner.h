#ifndef TESTS_PAGE_HOST_PAGE_RUNNER_H_
#define TESTS_PAGE_HOST_PAGE_RUNNER_H_

#include <memory>
#include <string>
#include <vector>

#include "tests/support/ChildProgram.h"
#include "tests/support/Sandbox.h"

namespace test_support {

struct PageResult {
  std::string out;
  std::string err;
  int code;  // negative: the number of the signal that ended it
};

// Runs orvane-page-host with the probe module on scripts that stand in a test.
class PageRunner : public Sandbox {
 protected:
  PageRunner();

  // The script is the private home's "page.js"; a time limit stands behind it.
  PageResult runPage(const std::string& script, const std::vector<std::string>& options = {});
  // The program alone, with nothing added.
  PageResult runProgram(const std::vector<std::string>& arguments);

  // For pages that stay open: one at a time.
  void startPage(const std::string& script, const std::vector<std::string>& options);
  std::string output() const;
  PageResult finishPage();
  const ChildProgram& process() const { return *_program; }

  static const char* probe();

 private:
  void start(const std::vector<std::string>& arguments);

  std::unique_ptr<ChildProgram> _program;
};

}  // namespace test_support

#endif  // TESTS_PAGE_HOST_PAGE_RUNNER_H_
