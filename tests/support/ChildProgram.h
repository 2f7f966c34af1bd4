#ifndef TESTS_SUPPORT_CHILD_PROGRAM_H_
#define TESTS_SUPPORT_CHILD_PROGRAM_H_

#include <sys/types.h>

#include <string>
#include <vector>

namespace test_support {

// Where a program writes to, which may be one file, or only its errors do; `largest` is the size in
// bytes that no file of its may exceed, 0 for none.
struct ProgramFiles {
  std::string output, errors;
  size_t largest = 0;
};

// A program that runs beside the test, and ends with it at the latest.
class ChildProgram {
 public:
  // `command` is the program and its arguments. Without a file its standard output is read line by
  // line here, and the end of its standard input asks it to end.
  explicit ChildProgram(const std::vector<std::string>& command, const ProgramFiles& files = {});
  // Asks it to end, with a file of its output by a SIGTERM, and kills it after 20 seconds.
  ~ChildProgram();
  ChildProgram(const ChildProgram&) = delete;
  ChildProgram& operator=(const ChildProgram&) = delete;

  pid_t pid() const { return _pid; }
  // The next line of output, without its end. Throws a runtime error after 20 seconds without one.
  std::string readLine();
  // The pipes' ends here, for what is no lines; -1 when closed.
  int input() const { return _input; }
  int output() const { return _output; }
  void closeInput();
  // Does nothing once it is known to have ended.
  void signal(int number) const;
  bool hasEnded();
  // Waits for the end; the exit status, or minus the signal that ended it.
  int wait();
  // Closes the input and waits.
  int finish();

 private:
  pid_t _pid;
  int _input;
  int _output;
  int _status = 0;
  bool _ended = false;
};

}  // namespace test_support

#endif  // TESTS_SUPPORT_CHILD_PROGRAM_H_
