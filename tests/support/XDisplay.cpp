#include "tests/support/XDisplay.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "tests/support/Sandbox.h"
#include "tests/support/WaitFor.h"

// GTK's file choosers leave some texts of theirs behind, and take over from threads of GIO's whose
// locks the sanitizer cannot see.
extern "C" {
const char* __lsan_default_suppressions();
const char* __tsan_default_suppressions();

__attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:libglib-2.0.so\n";
}

__attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
  return "race:libgtk-x11-2.0.so\n";
}
}

namespace test_support {

namespace {

constexpr int kScreenWidth = 1024;

void pause(int milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

std::string quoted(const std::string& text) {
  std::string result = "'";
  for (const char c : text) {
    result += c == '\'' ? std::string("'\\''") : std::string(1, c);
  }
  return result + "'";
}

// The output of an xdotool command, without the last line break.
std::string xdotool(const std::string& arguments) {
  FILE* pipe = popen(("xdotool " + arguments + " 2>/dev/null").c_str(), "re");
  if (pipe == nullptr) {
    throw std::runtime_error("xdotool cannot be run");
  }
  std::string output;
  std::array<char, 256> buffer;
  while (fgets(buffer.data(), buffer.size(), pipe) != nullptr) {
    output += buffer.data();
  }
  pclose(pipe);
  while (!output.empty() && output.back() == '\n') {
    output.pop_back();
  }
  return output;
}

struct Geometry {
  int x, y, width, height;
};

Geometry geometryOf(const std::string& window) {
  Geometry at = {};
  int id = 0;
  const std::string shell = xdotool("getwindowgeometry --shell " + window);
  sscanf(shell.c_str(), "WINDOW=%d\nX=%d\nY=%d\nWIDTH=%d\nHEIGHT=%d", &id, &at.x, &at.y, &at.width,
         &at.height);
  return at;
}

user::Point middleOf(const std::string& window) {
  const Geometry at = geometryOf(window);
  return {at.x + at.width / 2, at.y + at.height / 2};
}

// Passes over GTK's tiny helper windows and, among those without a title, the screen itself.
std::string findWindow(const std::string& title) {
  std::istringstream windows(xdotool("search --onlyvisible --name " + quoted("^" + title + "$")));
  for (std::string window; std::getline(windows, window);) {
    const int width = geometryOf(window).width;
    if (width > 50 && (width < kScreenWidth || !title.empty())) {
      return window;
    }
  }
  return std::string();
}

void movePointer(int x, int y) {
  xdotool("mousemove " + std::to_string(x) + " " + std::to_string(y));
  pause(20);
}

}  // namespace

XDisplay::XDisplay()
    : _server({"Xvfb", "-displayfd", "1", "-screen", "0", "1024x768x24", "-nolisten", "tcp",
               "-noreset"},
              {"", "/dev/null"}) {
  setenv("DISPLAY", (":" + _server.readLine()).c_str(), 1);
  for (const char* folder : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"}) {
    unsetenv(folder);
  }
  const std::filesystem::path home = std::getenv("HOME");
  std::filesystem::create_directories(home / ".local/share");
  std::filesystem::create_directories(home / ".config/gtk-2.0");
  writeFile(home / ".config/gtk-2.0/gtkfilechooser.ini",
            "[Filechooser Settings]\nLocationMode=filename-entry\nStartupMode=cwd\n");
}

XDisplay::~XDisplay() {
  _server.signal(SIGTERM);
}

namespace user {

bool hasWindow(const std::string& title, std::chrono::seconds patience) {
  return waitFor([&] { return !findWindow(title).empty(); }, patience);
}

std::string waitForWindow(const std::string& title) {
  std::string window;
  if (!waitFor([&] { return !(window = findWindow(title)).empty(); })) {
    throw std::runtime_error("no window '" + title + "'");
  }
  return window;
}

void waitForNoWindow(const std::string& title) {
  if (!waitFor([&] { return findWindow(title).empty(); })) {
    throw std::runtime_error("the window '" + title + "' stays");
  }
}

void enter(const std::string& window) {
  const Point middle = middleOf(window);
  movePointer(middle.x, middle.y);
  pause(300);
}

void answer(const std::string& title, const std::string& keys) {
  const std::string window = waitForWindow(title);
  const auto ended = [&] { return xdotool("getwindowname " + window).empty(); };
  for (int i = 0; i < 20 && !ended(); ++i) {
    xdotool("windowactivate " + window);  // where there is a window manager
    enter(window);
    if (!ended()) {
      key(keys);
    }
    waitFor(ended, std::chrono::seconds(1));
  }
  if (!ended()) {
    throw std::runtime_error("the window '" + title + "' stays");
  }
}

void click() {
  movePointer(kScreenWidth / 2, 768 / 2);
  xdotool("click 1");
}

void key(const std::string& keys) {
  xdotool("key " + keys);
}

void type(const std::string& text) {
  xdotool("type --delay 12 " + quoted(text));
}

void choosePath(const std::string& title, const std::string& path) {
  enter(waitForWindow(title));
  key("ctrl+a");
  type(path);
  pause(150);
  key("Delete");
  key("Return");
}

void chooseAll(const std::string& title, const std::string& accept) {
  const Point middle = middleOf(waitForWindow(title));
  pause(500);
  movePointer(middle.x + 60, middle.y + 60);
  xdotool("click 1");
  pause(150);
  key("ctrl+a");
  pause(150);
  key(accept);
}

void chooseAllIn(const std::string& title, const std::string& directory) {
  choosePath(title, directory + "/");
  chooseAll(title);
}

void cancel(const std::string& title) {
  enter(waitForWindow(title));
  key("Escape");
}

void answerOverwrite(bool replace) {
  enter(waitForWindow(""));
  key(replace ? "Return" : "Escape");
}

void drag(const std::string& from, const std::string& to, const std::function<void()>& over,
          const Point* place) {
  const Geometry at = geometryOf(from);
  const Point start = place != nullptr ? Point{at.x + place->x, at.y + place->y} : middleOf(from);
  const Point end = middleOf(to);
  movePointer(start.x, start.y);
  xdotool("mousedown 1");
  pause(20);
  for (int i = 1; i <= 3; ++i) {
    movePointer(start.x + 8 * i, start.y);
  }
  for (int i = 1; i <= 6; ++i) {
    movePointer(start.x + (end.x - start.x) * i / 6, start.y + (end.y - start.y) * i / 6);
  }
  for (int i = 1; i <= 3; ++i) {
    movePointer(end.x + i, end.y);
  }
  waitFor([&] { return xdotool("getwindowname " + from) == "Drop welcome"; },
          std::chrono::seconds(3));
  if (over) {
    over();
  }
  xdotool("mouseup 1");
}

}  // namespace user

UserThread::UserThread(std::function<void()> steps)
    : _thread([steps = std::move(steps)] {
        try {
          steps();
        } catch (const std::exception& e) {
          ADD_FAILURE() << e.what();
          _exit(1);
        }
      }) {}

UserThread::~UserThread() {
  if (_thread.joinable()) {
    _thread.join();
  }
}

void UserThread::join() {
  _thread.join();
}

}  // namespace test_support
