#ifndef TOOLS_PAGE_HOST_CONSOLE_H_
#define TOOLS_PAGE_HOST_CONSOLE_H_

#include <functional>
#include <string>

namespace page_host {

// Where the page's words and the host's complaints go: log lines to standard output, the others to
// standard error, and all of them to the window when there is one. Main thread only.
class Console {
 public:
  enum class Level { kLog, kWarning, kError };
  using Mirror = std::function<void(Level, const std::string&)>;

  Console() = default;
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  void setMirror(Mirror mirror);
  // One line.
  void print(Level level, const std::string& text);
  // As it stands, to standard output only.
  void write(const std::string& text);
  // An uncaught page exception, or a rule that the module broke: printed, counted, and passed on to
  // the function given below.
  void problem(const std::string& text);
  void onProblem(std::function<void()> function);
  int problems() const { return _problems; }

 private:
  Mirror _mirror;
  std::function<void()> _onProblem;
  int _problems = 0;
};

}  // namespace page_host

#endif  // TOOLS_PAGE_HOST_CONSOLE_H_
