#ifndef TESTS_WEB_HOST_HOST_PROCESS_H_
#define TESTS_WEB_HOST_HOST_PROCESS_H_

#include <string>

#include "tests/support/ChildProgram.h"

namespace test_support {

// orvane-web-host with the test as its browser.
class HostProcess {
 public:
  // Standard error goes to that file. With a window the browser is a program that has one, titled
  // "Browser", else the test itself.
  explicit HostProcess(const std::string& errorFile, bool inWindow = false);
  ~HostProcess();
  HostProcess(const HostProcess&) = delete;
  HostProcess& operator=(const HostProcess&) = delete;

  // One frame with that text.
  void send(const std::string& text);
  void sendBytes(const std::string& bytes);
  // The browser's first message for a document, and the host's answer to it.
  void greet(const std::string& origin, const std::string& address, bool isPrivate = false);
  // The next message, its pieces joined; empty at the end of the output. Throws a runtime error
  // after 20 seconds without one.
  std::string receive();
  // How many frames the last message came in.
  size_t frames() const { return _frames; }

  // -1 once it has ended.
  pid_t pid() { return _program.hasEnded() ? -1 : _program.pid(); }
  void closeInput() { _program.closeInput(); }
  // Waits for the end: the exit status, or minus the signal. What a sanitizer says fails the test.
  int wait();

 private:
  std::string receiveFrame();

  const std::string _errorFile;
  ChildProgram _program;
  size_t _frames = 0;
};

// Adds to a sanitizer's options, when it has any.
void addOption(const char* variable, const std::string& option);
// What the host finds around it: the module, an application to launch, and directories of its own,
// all below that home directory.
void setUpHost(const std::string& home);

// The operation number 1, which makes element 1; `params` are more of its parameters.
std::string makeElement(const std::string& params = "");

}  // namespace test_support

#endif  // TESTS_WEB_HOST_HOST_PROCESS_H_
