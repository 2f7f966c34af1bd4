#ifndef TESTS_PAGE_HOST_PAGE_RUNNER_H_
#define TESTS_PAGE_HOST_PAGE_RUNNER_H_

#include <cstdlib>
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
  PageRunner() { unsetenv("PROBE_TRACE"); }

  // The script is the private home's "page.js"; a time limit stands behind it.
  PageResult runPage(const std::string& script, const std::vector<std::string>& options = {}) {
    startPage(script, options);
    return finishPage();
  }
  // The program alone, with nothing added.
  PageResult runProgram(const std::vector<std::string>& arguments) {
    start(arguments);
    return finishPage();
  }

  // For pages that stay open: one at a time.
  void startPage(const std::string& script, const std::vector<std::string>& options) {
    writeFile(path("page.js"), script);
    std::vector<std::string> arguments = {"--module", probe(), "--timeout", "30"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.push_back(path("page.js"));
    start(arguments);
  }
  std::string output() const { return readFile(path("stdout")); }
  PageResult finishPage() {
    const int code = _program->wait();
    return {output(), readFile(path("stderr")), code};
  }
  const ChildProgram& process() const { return *_program; }

  static const char* probe() { return PROBE_MODULE; }

 private:
  void start(std::vector<std::string> command) {
    command.insert(command.begin(), PAGE_HOST_PROGRAM);
    _program =
        std::make_unique<ChildProgram>(command, ProgramFiles{path("stdout"), path("stderr")});
  }

  std::unique_ptr<ChildProgram> _program;
};

}  // namespace test_support

#endif  // TESTS_PAGE_HOST_PAGE_RUNNER_H_
