#include "tests/page_host/PageRunner.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

namespace test_support {

const char* PageRunner::probe() {
  return PROBE_MODULE;
}

PageRunner::PageRunner() {
  unsetenv("PROBE_TRACE");
}

PageRunner::~PageRunner() {
  if (_process > 0) {
    kill(_process, SIGKILL);
    waitpid(_process, nullptr, 0);
  }
}

void PageRunner::start(const std::vector<std::string>& arguments) {
  std::vector<char*> argv = {const_cast<char*>(PAGE_HOST_PROGRAM)};
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  const std::string outPath = path("stdout");
  const std::string errPath = path("stderr");
  _process = fork();
  if (_process == 0) {
    dup2(open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
    dup2(open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
    execv(argv[0], argv.data());
    _exit(127);
  }
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
  int status = 0;
  waitpid(_process, &status, 0);
  _process = -1;
  return {output(), readFile(path("stderr")),
          WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status)};
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
