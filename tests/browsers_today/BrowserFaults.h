#ifndef TESTS_BROWSERS_TODAY_BROWSER_FAULTS_H_
#define TESTS_BROWSERS_TODAY_BROWSER_FAULTS_H_

#include <string>

#include "tests/browsers_today/BrowserPage.h"

namespace test_support {

// Pages around which something goes wrong, a row of the fault table each (scripts/faults). One
// browser serves many rows: between two of them it has no page with an element, and then there is
// no more of anything than before the row.
class BrowserFaults : public BrowserPage {
 protected:
  BrowserFaults();

  // Does in the browser what no page can: an action of remote.py. Its result, as JSON.
  std::string act(const std::string& action) const;
  enum class Is { kProgram, kText, kMissing };
  // In place of the host program a shell script, whose process `substitute` is then; an empty one
  // stands for the host program itself.
  void replaceHost(const std::string& script, Is is = Is::kProgram);
  pid_t substitute() const;

  void beginRow();
  // What is left must be what was there; prints the row.
  void endRow(const std::string& fault, const std::string& outcome);
  void expectHosts(size_t count);
  // What the running host programs have resident.
  size_t hostsKib() const;
  // `rules` are Chromium's, Firefox has none. What scripts hold once the browser has collected
  // garbage: the extension's (none where Chromium's background sleeps), and those in the page's
  // process, which only Firefox tells.
  struct Levels {
    size_t hosts, files, rules, descriptors, extensionKib, pageKib;
  };
  Levels levels() const;

 private:
  void printRow(const std::string& fault, const std::string& outcome, const Levels& after) const;
  std::string profile() const { return path(std::string(".orvane-browser/") + GetParam()); }
  std::string manifest() const;

  std::string _host;
  Levels _before = {};
};

}  // namespace test_support

#endif  // TESTS_BROWSERS_TODAY_BROWSER_FAULTS_H_
