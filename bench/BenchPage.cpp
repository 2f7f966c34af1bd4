#include "bench/BenchPage.h"

#include <sstream>

namespace bench {

BenchPage& BenchPage::get() {
  static BenchPage page;
  return page;
}

BenchPage::BenchPage() {
  _home.publish(_application.port());
  _element = _browser.open();
  _object = _browser.scriptObject(_element);
  learnLines();
}

BenchPage::~BenchPage() {
  _browser.close(_element);
}

void BenchPage::request(const char* method, NPObject* callback) {
  SmallBrowser::call(
      _object, method,
      {"POST", "/v4/transfers/list", "{\"orvane_pellion_settings\":{\"app_id\":\"bench\"}}"},
      callback);
}

std::string BenchPage::readLog() const {
  return test_support::readFile(_home.besideLog("orvane-pellion-browser-plugin.0.log"));
}

// A line that does not start with a header goes on with the text before it.
void BenchPage::learnLines() {
  const size_t before = readLog().size();
  _browser.close(_browser.open());
  std::istringstream written(readLog().substr(before));
  for (std::string line; std::getline(written, line);) {
    const size_t level = line.find("] ") + 2;
    if (line.compare(0, 2, "20") == 0 && level != 1) {
      _lines.push_back(line.substr(level + 4));
    } else {
      _lines.back() += "\n" + line;
    }
  }
}

}  // namespace bench
