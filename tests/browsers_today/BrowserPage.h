#ifndef TESTS_BROWSERS_TODAY_BROWSER_PAGE_H_
#define TESTS_BROWSERS_TODAY_BROWSER_PAGE_H_

#include <sys/types.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/browsers_today/Transcript.h"
#include "tests/support/ChildProgram.h"
#include "tests/support/DisplaySandbox.h"
#include "tests/support/PageServer.h"

namespace test_support {

// Pages in one of today's browsers, "firefox" or "chromium", which runs with the extension and the
// host program in the test's home. A page says lines, as those of tests/webkit; the browser goes on
// from a page's last word to the next page that is opened. No page's server hears of the extension,
// and nothing runs on after the browser: both are tested at the end of every test.
class BrowserPage : public DisplaySandbox, public testing::WithParamInterface<const char*> {
 protected:
  BrowserPage();
  ~BrowserPage() override;
  void TearDown() override;

  std::string address(const std::string& page, const std::string& host = "127.0.0.1") const {
    return _server.origin(host) + "/" + page;
  }
  bool isFirefox() const { return GetParam() == std::string("firefox"); }
  // What the user has allowed, as the host program keeps it.
  void allow(const std::string& host);

  void open(const std::string& address);
  // Reads what pages say until a line that begins with `text`. Throws a runtime error when nothing
  // is said for three minutes, or the page's last word comes first.
  std::string waitForLine(const std::string& text);
  // Lets the next page, or the one that waits, go on from `whenTold`.
  void go() { _transcript.go(); }
  // The last word, which must be clean.
  void expectDone();
  void runPage(const std::string& page);

  // Answers the question of leave by these keys, as soon as it is asked.
  static void answer(const std::string& keys);

  // The programs of this test's browser that are running, by the name of the file.
  std::vector<pid_t> running(const std::string& program) const;
  size_t hosts() const { return running("orvane-web-host").size(); }
  // The browser's main process; -1 when it has been ended.
  pid_t browser() const;
  // As a user or the system ends it; waits until it has.
  void endBrowser(int signal);
  // Drags what such a program offers to the middle of the browser's window, and drops it there;
  // `over` is called just before that.
  void drop(const std::vector<std::string>& source, const std::string& title,
            const std::function<void()>& over = nullptr);
  // How many pixels of the screen have that colour, "\\x12\\xAB\\x34".
  static size_t pixels(const std::string& color);
  // Kept in the build tree, for people to look at.
  void takeScreenshot(const std::string& name) const;

  PageServer& server() { return _server; }

 private:
  void serve();
  std::string readLine();

  PageServer _server;
  Transcript _transcript;
  std::unique_ptr<ChildProgram> _windowManager;
  std::unique_ptr<ChildProgram> _script;
};

}  // namespace test_support

#endif  // TESTS_BROWSERS_TODAY_BROWSER_PAGE_H_
