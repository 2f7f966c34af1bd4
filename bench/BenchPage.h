#ifndef BENCH_BENCHPAGE_H_
#define BENCH_BENCHPAGE_H_

#include <string>
#include <vector>

#include "bench/BenchHome.h"
#include "bench/BenchServer.h"
#include "bench/SmallBrowser.h"

namespace bench {

// The module in a small browser, with one element on its page and an application that answers.
class BenchPage {
 public:
  // The program's one page.
  static BenchPage& get();

  SmallBrowser& browser() { return _browser; }
  // The element's script object.
  NPObject* object() const { return _object; }
  // Calls one of the element's two methods for requests.
  void request(const char* method, NPObject* callback);

  int port() const { return _application.port(); }
  size_t responseSize() const { return _application.responseSize(); }
  // The texts of the log lines that an element costs which comes and goes, without their headers.
  const std::vector<std::string>& linesOfOneElement() const { return _lines; }

 private:
  BenchPage();
  ~BenchPage();
  std::string readLog() const;
  void learnLines();

  const BenchHome& _home = BenchHome::get();
  BenchServer _application{200};
  SmallBrowser _browser;
  NPP _element;
  NPObject* _object;
  std::vector<std::string> _lines;
};

}  // namespace bench

#endif  // BENCH_BENCHPAGE_H_
