#ifndef TESTS_SUPPORT_X_DISPLAY_H_
#define TESTS_SUPPORT_X_DISPLAY_H_

#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "tests/support/ChildProgram.h"

namespace test_support {

// A virtual X server of its own (Xvfb, on a display that it picks), ended with the object. DISPLAY
// names it from the construction on; file choosers are set up, below the home directory, so that
// typed paths arrive whole.
class XDisplay {
 public:
  XDisplay();
  ~XDisplay();
  XDisplay(const XDisplay&) = delete;
  XDisplay& operator=(const XDisplay&) = delete;

 private:
  ChildProgram _server;
};

// What a user does at the screen, with real pointer and key events (xdotool). Each call blocks; a
// window that does not come within 20 seconds throws a runtime error.
namespace user {

// The first visible window whose title is `title` as a regular expression between ^ and $.
bool hasWindow(const std::string& title, std::chrono::seconds patience);
std::string waitForWindow(const std::string& title);
void waitForNoWindow(const std::string& title);
// Presses the keys in a window of that title until it is destroyed: it may not have them at once,
// or not heed them yet. Others may have its title.
void answer(const std::string& title, const std::string& keys);
// Moves the pointer into the window, where the keys go.
void enter(const std::string& window);
// In the middle of the screen.
void click();
void key(const std::string& keys);
void type(const std::string& text);
// In an open, folder or save dialog of that title: names an absolute path and accepts.
void choosePath(const std::string& title, const std::string& path);
// In a dialog that allows several: all that its list shows. `accept` is the key that ends it.
void chooseAll(const std::string& title, const std::string& accept = "Return");
// The same for the files of a directory.
void chooseAllIn(const std::string& title, const std::string& directory);
void cancel(const std::string& title);
// The chooser's question whether a file may be replaced.
void answerOverwrite(bool replace);
struct Point {
  int x, y;
};

// Drags from a window, that of test_drag_source, to the middle of another, and drops there when the
// drop is welcome, or after 3 seconds. `over` is called just before that. It begins in the middle,
// or at `place` in it.
void drag(const std::string& from, const std::string& to,
          const std::function<void()>& over = nullptr, const Point* place = nullptr);

}  // namespace user

// Runs a user's steps on a thread of their own while the main thread blocks in a dialog. A step
// that throws fails the test and ends the program: nobody would answer the dialog.
class UserThread {
 public:
  explicit UserThread(std::function<void()> steps);
  ~UserThread();
  void join();

 private:
  std::thread _thread;
};

}  // namespace test_support

#endif  // TESTS_SUPPORT_X_DISPLAY_H_
