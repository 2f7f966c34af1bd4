#include "tests/support/ChildProgram.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

#include "tests/support/WaitFor.h"

namespace test_support {

namespace {

void redirect(const std::string& path, int descriptor) {
  dup2(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600), descriptor);
}

}  // namespace

ChildProgram::ChildProgram(const std::vector<std::string>& command, const ProgramFiles& files) {
  std::vector<char*> arguments;
  for (const std::string& word : command) {
    arguments.push_back(const_cast<char*>(word.c_str()));
  }
  arguments.push_back(nullptr);
  int in[2];
  int out[2];
  if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipe");
  }
  _pid = fork();
  if (_pid == 0) {
    // A test that crashes or is killed for its time leaves no program behind.
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    dup2(in[0], STDIN_FILENO);
    dup2(out[1], STDOUT_FILENO);
    if (!files.output.empty()) {
      redirect(files.output, STDOUT_FILENO);
    }
    if (files.errors == files.output && !files.errors.empty()) {
      dup2(STDOUT_FILENO, STDERR_FILENO);
    } else if (!files.errors.empty()) {
      redirect(files.errors, STDERR_FILENO);
    }
    if (files.largest > 0) {
      const rlimit limit = {files.largest, files.largest};
      setrlimit(RLIMIT_FSIZE, &limit);
    }
    execvp(arguments[0], arguments.data());
    _exit(127);
  }
  close(in[0]);
  close(out[1]);
  _input = in[1];
  _output = out[0];
  if (!files.output.empty()) {
    close(_output);
    _output = -1;
  }
}

ChildProgram::~ChildProgram() {
  if (_output == -1) {
    signal(SIGTERM);
  }
  closeInput();
  if (!waitFor([this] { return hasEnded(); })) {
    signal(SIGKILL);
    wait();
  }
  if (_output != -1) {
    close(_output);
  }
}

std::string ChildProgram::readLine() {
  std::string line;
  for (;;) {
    pollfd watched = {_output, POLLIN, 0};
    char c;
    if (poll(&watched, 1, 20000) <= 0 || read(_output, &c, 1) != 1) {
      throw std::runtime_error("no line of output; so far '" + line + "'");
    }
    if (c == '\n') {
      return line;
    }
    line += c;
  }
}

void ChildProgram::signal(int number) const {
  if (!_ended) {
    kill(_pid, number);
  }
}

bool ChildProgram::hasEnded() {
  _ended = _ended || waitpid(_pid, &_status, WNOHANG) == _pid;
  return _ended;
}

int ChildProgram::wait() {
  if (!_ended) {
    waitpid(_pid, &_status, 0);
    _ended = true;
  }
  return WIFSIGNALED(_status) ? -WTERMSIG(_status) : WEXITSTATUS(_status);
}

int ChildProgram::finish() {
  closeInput();
  return wait();
}

void ChildProgram::closeInput() {
  if (_input != -1) {
    close(_input);
    _input = -1;
  }
}

}  // namespace test_support
