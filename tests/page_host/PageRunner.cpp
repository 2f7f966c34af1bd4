#include "tests/page_host/PageRunner.h"

#include <cstdlib>

namespace test_support {

const char* PageRunner::probe() {
  return PROBE_MODULE;
}

PageRunner::PageRunner() {
  unsetenv("PROBE_TRACE");
}

void PageRunner::start(const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {PAGE_HOST_PROGRAM};
  command.insert(command.end(), arguments.begin(), arguments.end());
  _program = std::make_unique<ChildProgram>(command, ProgramFiles{path("stdout"), path("stderr")});
}

void PageRunner::startPage(const std::string& script, const std::vector<std::string>& options) {
  writeFile(path("page.js"), script);
  std::vector<std::string> arguments = {"--module", probe(), "--timeout", "30"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  arguments.push_back(path("page.js"));
  start(arguments);
}

std::string PageRunner::output() const {
  return readFile(path("stdout"));
}

PageResult PageRunner::finishPage() {
  const int code = _program->wait();
  return {output(), readFile(path("stderr")), code};
}

PageResult PageRunner::runProgram(const std::vector<std::string>& arguments) {
  start(arguments);
  return finishPage();
}

PageResult PageRunner::runPage(const std::string& script, const std::vector<std::string>& options) {
  startPage(script, options);
  return finishPage();
}

}  // namespace test_support
