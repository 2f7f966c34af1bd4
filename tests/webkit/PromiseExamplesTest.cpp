#include <regex>

#include "tests/docs/ExamplePage.h"
#include "tests/webkit/WebPage.h"

// The examples of the promise API in an engine that knows neither modules nor `await`.
class PromiseExample : public test_support::WebPage,
                       public testing::WithParamInterface<docs::Example> {};

TEST_P(PromiseExample, printsWhatThePageSays) {
  const docs::Example& example = GetParam();
  docs::writeFiles(home());
  makeFile("report.pdf", 30000);
  const std::string print =
      "(function(left) { return function(line) { console.log(line); if (--left === 0) {"
      " setTimeout(function() { console.log('PAGE DONE 0'); }, 100); } }; })(" +
      std::to_string(example.prints.size()) + ")";
  test_support::writeFile(path("files/page.html"),
                          docs::promisePage(example,
                                            {{"source", httpAddress("files/report.pdf")},
                                             {"upload", path("notes.txt")},
                                             {"target", "file://" + path("received/")}},
                                            print));
  open(httpAddress("files/page.html"));
  docs::act(example.user, home());
  std::string printed;
  for (size_t i = 0; i < example.prints.size(); ++i) {
    printed += waitForLine("") + "\n";
  }
  EXPECT_EQ(docs::difference(example, printed), "");
  expectDone();
}

// The engine does not show the area.
INSTANTIATE_TEST_SUITE_P(PromiseApi, PromiseExample,
                         testing::ValuesIn(docs::promiseExamples(false)), [](const auto& test) {
                           return std::regex_replace(test.param.name, std::regex("-"), "_");
                         });
