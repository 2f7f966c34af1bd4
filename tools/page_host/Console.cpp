#include "tools/page_host/Console.h"

#include <cstdio>
#include <utility>

namespace page_host {

void Console::setMirror(Mirror mirror) {
  _mirror = std::move(mirror);
}

void Console::onProblem(std::function<void()> function) {
  _onProblem = std::move(function);
}

void Console::print(Level level, const std::string& text) {
  FILE* stream = level == Level::kLog ? stdout : stderr;
  std::fwrite(text.data(), 1, text.size(), stream);
  std::fputc('\n', stream);
  std::fflush(stream);
  if (_mirror) {
    _mirror(level, text);
  }
}

void Console::write(const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
}

void Console::problem(const std::string& text) {
  ++_problems;
  print(Level::kError, text);
  if (_onProblem) {
    _onProblem();
  }
}

}  // namespace page_host
