#include <algorithm>
#include <csignal>
#include <regex>
#include <sstream>

#include "tests/docs/Examples.h"
#include "tests/examples/ApplicationPage.h"
#include "tests/support/ChildProgram.h"
#include "tests/support/WaitFor.h"
#include "tests/support/XDisplay.h"

namespace user = test_support::user;
using docs::Example;

namespace {

const char kPageTitle[] = "page.js - Orvane Page Host";

std::string replaced(std::string text, const std::string& name, const std::string& value) {
  const size_t at = text.find(name);
  return at == std::string::npos ? text : text.replace(at, name.size(), value);
}

// The page host has no modules, and no AbortController.
const std::string kModule =
    "const { connect, OrvaneWebError } = (() => {\n" +
    std::regex_replace(docs::readProjectFile("web/orvane-web.mjs"), std::regex("\nexport "), "\n") +
    R"(return { connect, OrvaneWebError };
})();
class AbortController {
  constructor() {
    const listeners = new Set();
    this.signal = {
      aborted: false,
      addEventListener: (type, listener) => listeners.add(listener),
      removeEventListener: (type, listener) => listeners.delete(listener),
    };
    this.abort = () => {
      this.signal.aborted = true;
      listeners.forEach((listener) => listener());
    };
  }
}
)";

}  // namespace

// The examples with the real module, which launches the real application, and a user at a screen.
class DocExample : public test_support::ApplicationPage,
                   public testing::WithParamInterface<Example> {
 protected:
  DocExample() {
    docs::writeFiles(home());
    test_support::writeFile(path("picture.ppm"), "P6 1 1 255\nred");
  }

  // Starts the example in a page that ends once it has printed `lines` lines.
  void startExample(const Example& example, size_t lines) {
    const std::string preamble = "{ let left = " + std::to_string(lines) + R"(;
      const print = console.log;
      console.log = (...words) => {
        print(...words);
        if (--left === 0) { setTimeout(() => quit(0), 100); }
      };
    }
    const { source, upload, target } = page.args;
    )";
    const std::string target = "file://" + path("received/");
    std::vector<std::string> options = {"--module",    MODULE,
                                        "--fail-fast", "--window",
                                        "--width",     "600",
                                        "--height",    "500",
                                        "--arg",       "source=" + serveFile("report.pdf", 30000),
                                        "--arg",       "upload=" + path("notes.txt"),
                                        "--arg",       "target=" + target};
    for (const auto& [name, text] : example.parameters) {
      const std::string value = replaced(replaced(text, "{target}", target), "{picture}",
                                         "file://" + path("picture.ppm"));
      options.insert(options.end(), {"--param", name + "=" + value});
    }
    startPage(
        preamble + (example.awaits() ? kModule : "const orvane = plugin;\n") + scriptOf(example),
        options);
  }

  // Drops the files from a program beside the page, which says what became of them.
  std::string drop(const std::string& names) {
    std::vector<std::string> command = {DRAG_SOURCE};
    std::istringstream list(names);
    for (std::string name; std::getline(list, name, ',');) {
      command.push_back("file://" + replaced(path(name), " ", "%20"));
    }
    const std::string area = user::waitForWindow(kPageTitle);
    test_support::ChildProgram source(command);
    source.readLine();
    user::drag(user::waitForWindow("Drag source"), area);
    return source.readLine();
  }

  void act(const std::string& step) {
    const size_t blank = std::min(step.find(' '), step.size());
    const std::string what = step.substr(0, blank);
    if (what == "drop") {
      EXPECT_EQ(drop(step.substr(blank + 1)), "accepted");
    } else if (what == "picture") {
      EXPECT_TRUE(test_support::waitFor(
          [&] { return !output().empty() && !logLines("NPP_DestroyStream()").empty(); }));
      EXPECT_EQ(logLines("ERROR: ").size(), 0u) << "it shows the picture";
    } else {
      docs::act(step, home());
    }
  }

 private:
  test_support::XDisplay _screen;
};

TEST_P(DocExample, printsWhatThePageSays) {
  const Example& example = GetParam();
  const bool staysOpen = example.user == "picture";
  startExample(example, staysOpen ? 1000 : example.prints.size());
  ASSERT_NO_THROW(act(example.user));
  if (staysOpen) {
    process().signal(SIGTERM);
  }
  const auto result = finishPage();
  EXPECT_TRUE(staysOpen || result.code == 0) << result.err;
  EXPECT_EQ(docs::difference(example, result.out), "") << result.err;
}

std::string testName(const testing::TestParamInfo<Example>& test) {
  return std::regex_replace(test.param.name, std::regex("-"), "_");
}

INSTANTIATE_TEST_SUITE_P(PageApi, DocExample,
                         testing::ValuesIn(docs::readExamples("docs/page-api.md")), testName);
INSTANTIATE_TEST_SUITE_P(Events, DocExample,
                         testing::ValuesIn(docs::readExamples("docs/events.md")), testName);
// Those that make an element need a document; browsers run them.
std::vector<Example> promiseExamples() {
  std::vector<Example> examples = docs::readExamples(docs::kPromiseApi);
  const std::regex makes("connect\\((\\)|\\{)");
  const auto isOther = [&](const Example& each) { return std::regex_search(each.script, makes); };
  examples.erase(std::remove_if(examples.begin(), examples.end(), isOther), examples.end());
  return examples;
}
INSTANTIATE_TEST_SUITE_P(PromiseApi, DocExample, testing::ValuesIn(promiseExamples()), testName);

TEST_F(DocExample, thePromiseModuleUsesNothingButTheExtensionsPromises) {
  startPage(kModule + docs::readProjectFile("tests/docs/promise_module_checks.js") +
                "checkModule(console.log).then(() => console.log('checked'), console.log)"
                ".then(() => quit(0));",
            {"--module", MODULE});
  const auto result = finishPage();
  EXPECT_EQ(result.out, "checked\n") << result.err;
}
