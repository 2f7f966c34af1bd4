#ifndef TESTS_SUPPORT_CHILD_PROGRAM_H_
#define TESTS_SUPPORT_CHILD_PROGRAM_H_

#include <sys/types.h>

#include <string>
#include <vector>

namespace test_support {

// A program that runs beside the test: its standard output can be read line by line, and closing
// its standard input (at the latest with this object) asks it to end.
class ChildProgram {
 public:
  // `command` is the program's path and its arguments.
  explicit ChildProgram(const std::vector<std::string>& command);
  ~ChildProgram();
  ChildProgram(const ChildProgram&) = delete;
  ChildProgram& operator=(const ChildProgram&) = delete;

  pid_t pid() const { return _pid; }
  // The next line of output, without its end. Throws a runtime error after 20 seconds without one.
  std::string readLine();
  // Closes the input and waits for the end; the exit status, or -1 after a signal.
  int finish();

 private:
  pid_t _pid;
  int _input;
  int _output;
  int _status = -1;
};

}  // namespace test_support

#endif  // TESTS_SUPPORT_CHILD_PROGRAM_H_
