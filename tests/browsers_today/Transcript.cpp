#include "tests/browsers_today/Transcript.h"

#include <chrono>
#include <stdexcept>
#include <utility>

namespace test_support {

void Transcript::say(const std::string& page, int number, const std::string& text) {
  std::lock_guard<std::mutex> lock(_mutex);
  Page& said = _pages[page];
  said.early[number] = text;
  for (auto line = said.early.begin(); line != said.early.end() && line->first == said.next;
       line = said.early.erase(line), ++said.next) {
    _lines.push_back(line->second);
  }
  _changed.notify_all();
}

std::string Transcript::readLine() {
  std::unique_lock<std::mutex> lock(_mutex);
  if (!_changed.wait_for(lock, std::chrono::minutes(3), [this] { return !_lines.empty(); })) {
    throw std::runtime_error("silence");
  }
  const std::string line = _lines.front();
  _lines.pop_front();
  _read += line + "\n";
  return line;
}

void Transcript::sendOn(const std::string& address) {
  std::lock_guard<std::mutex> lock(_mutex);
  _address = address;
  _read = address + "\n";
  _changed.notify_all();
}

std::string Transcript::waitForAddress() {
  std::unique_lock<std::mutex> lock(_mutex);
  _changed.wait(lock, [this] { return _closed || !_address.empty(); });
  return std::exchange(_address, "");
}

void Transcript::go() {
  std::lock_guard<std::mutex> lock(_mutex);
  ++_goes;
  _changed.notify_all();
}

void Transcript::waitForGo() {
  std::unique_lock<std::mutex> lock(_mutex);
  _changed.wait(lock, [this] { return _closed || _goes > 0; });
  --_goes;
}

void Transcript::close() {
  std::lock_guard<std::mutex> lock(_mutex);
  _closed = true;
  _changed.notify_all();
}

}  // namespace test_support
