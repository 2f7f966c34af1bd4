#include "tests/support/ChildProgram.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace test_support {

ChildProgram::ChildProgram(const std::vector<std::string>& command) {
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
    dup2(in[0], 0);
    dup2(out[1], 1);
    execv(arguments[0], arguments.data());
    _exit(127);
  }
  close(in[0]);
  close(out[1]);
  _input = in[1];
  _output = out[0];
}

ChildProgram::~ChildProgram() {
  finish();
  close(_output);
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

int ChildProgram::finish() {
  if (_input >= 0) {
    close(_input);
    _input = -1;
    int status = 0;
    waitpid(_pid, &status, 0);
    _status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  return _status;
}

}  // namespace test_support
