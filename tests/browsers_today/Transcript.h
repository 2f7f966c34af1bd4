#ifndef TESTS_BROWSERS_TODAY_TRANSCRIPT_H_
#define TESTS_BROWSERS_TODAY_TRANSCRIPT_H_

#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <string>

namespace test_support {

// What passes between a test and the pages of its browser, each of which is served by another
// thread: the lines that pages say, and the address that the next page shall have.
class Transcript {
 public:
  // Line `number`, from 1, of that page. Lines come out in the order of their numbers.
  void say(const std::string& page, int number, const std::string& text);
  // The next line. Throws a runtime error after three minutes without one: a loaded machine is
  // slow.
  std::string readLine();
  // All that was read, for messages.
  const std::string& read() const { return _read; }

  void sendOn(const std::string& address);
  // Blocks until there is an address; empty after `close`.
  std::string waitForAddress();
  // One `go` lets one `waitForGo` return.
  void go();
  void waitForGo();
  void close();

 private:
  struct Page {
    int next = 1;
    std::map<int, std::string> early;
  };

  std::mutex _mutex;
  std::condition_variable _changed;
  // Guarded by _mutex:
  std::map<std::string, Page> _pages;
  std::deque<std::string> _lines;
  std::string _address;
  int _goes = 0;
  bool _closed = false;
  // The reader's own:
  std::string _read;
};

}  // namespace test_support

#endif  // TESTS_BROWSERS_TODAY_TRANSCRIPT_H_
