#include <filesystem>
#include <map>
#include <regex>
#include <sstream>

#include "tests/browsers_today/BrowserPage.h"
#include "tests/docs/Examples.h"
#include "tests/support/WaitFor.h"
#include "tests/support/XDisplay.h"

namespace test_support {
namespace {

namespace fs = std::filesystem;
using docs::Example;

const char kAreaFillsThePage[] = R"(<style>
embed { position: fixed; inset: 0; width: 100%; height: 100% }
</style>
<script>
addEventListener('load', function look() {
  const there = document.elementFromPoint(innerWidth / 2, innerHeight / 2)?.localName === 'orvane-web-area';
  there ? say('the area is there') : setTimeout(look, 20);
});
</script>
)";
// Of a picture.
const char kColor[] = "\\xCC\\x22\\x11";

// Downloads once the page is ready, and tells what the page says at the end.
const char kFirstUser[] = R"(<script src="/checks.js"></script>
<script>
  let clicked = false;
  const look = setInterval(() => {
    const text = document.querySelector('pre, output').textContent.trim();
    if (/completed/.test(text)) {
      clearInterval(look);
      say(text.split('\n').pop());
      say('PAGE DONE 0');
    } else if (!clicked && /app_id|Ready/.test(text)) {
      clicked = true;
      document.querySelector('button').click();
    }
  }, 50);
</script>)";

// The element with the example's parameters, in which "{name}" stands for what is given.
std::string embedElement(const Example& example, const std::map<std::string, std::string>& given) {
  std::string attributes = example.parameters.empty() ? " type=\"application/x-orvane-web\"" : "";
  for (auto [name, value] : example.parameters) {
    const auto text =
        value.front() == '{' ? given.find(value.substr(1, value.size() - 2)) : given.end();
    value = text != given.end() ? text->second : value;
    attributes.append(" ").append(name).append("=\"").append(value).append("\"");
  }
  return "<embed" + attributes + ">\n";
}

// A page as its author would write it: nothing in it knows that it is a test, but for the lines
// that take what it prints.
std::string examplePage(const Example& example, const std::map<std::string, std::string>& given) {
  std::string page = "<!DOCTYPE html>\n<meta charset=\"utf-8\">\n<title>" + example.name +
                     "</title>\n<body>\n" + embedElement(example, given);
  page += example.awaits() ? "<script type=\"module\">\n"
                             "import { connect, OrvaneWebError } from '/orvane-web.mjs';\n"
                             "{\nconst plugin"
                           : "<script>\n{\nconst orvane";
  page += " = document.querySelector('embed');\n";
  for (const auto& [name, text] : given) {
    page += "const " + name + " = '" + text + "';\n";
  }
  return page + scriptOf(example) + "}\n</script>\n";
}

class ExamplesToday : public BrowserPage {
 protected:
  ExamplesToday() {
    allow("127.0.0.1");
    docs::writeFiles(home());
    writeFile(path("files/orvane-web.mjs"), docs::readProjectFile("web/orvane-web.mjs"));
    makeFile(path("files/report.pdf"), 30000);
    EXPECT_EQ(
        std::system(("convert -size 400x400 'xc:#CC2211' " + path("files/picture.ppm")).c_str()),
        0);
  }

  void runExamples(const std::string& document) {
    for (const Example& example : docs::readExamples(document)) {
      SCOPED_TRACE(document + ", " + example.name);
      ASSERT_NO_THROW(runExample(example));
      forget();
    }
  }

  // The next example shall find what a new user has.
  void forget() {
    endApplication();
    for (const char* folder : {"Downloads", "received", "picked"}) {
      fs::remove_all(path(folder));
    }
    fs::remove_all(dataPath("var"));
    fs::create_directories(dataPath("var/log"));
    fs::create_directories(dataPath("var/run"));
    docs::writeFiles(home());
  }

 private:
  void runExample(const Example& example) {
    const std::map<std::string, std::string> given = {{"source", address("files/report.pdf")},
                                                      {"upload", path("notes.txt")},
                                                      {"target", "file://" + path("received/")},
                                                      {"picture", address("picture.ppm")}};
    const std::string lines = std::to_string(example.prints.size());
    writeFile(
        path("files/example.html"),
        "<script src=\"/checks.js\"></script>\n<script>\nvar left = " + lines +
            ";\nfunction print(line) {\n  say(line);\n"
            "  if (--left === 0) { whenTold(() => setTimeout(() => say('PAGE DONE 0'), 100)); "
            "}\n}\nconsole.log = (...words) => print(words.map(String).join(' '));\n"
            "</script>\n" +
            (looksAtTheArea(example) ? kAreaFillsThePage : "") + examplePage(example, given));
    open(address("example.html"));
    const std::string before = act(example);
    go();
    EXPECT_EQ(docs::difference(example, before + linesUntil("PAGE DONE 0")), "");
  }

  static bool looksAtTheArea(const Example& example) {
    return example.user == "picture" || example.user.rfind("drop ", 0) == 0;
  }

  std::string linesUntil(const std::string& last) {
    std::string lines;
    for (std::string line; (line = waitForLine("")) != last;) {
      lines += line + "\n";
    }
    return lines;
  }

  // Answers what the page prints until there is something to act on.
  std::string act(const Example& example) {
    if (!looksAtTheArea(example)) {
      docs::act(example.user, home());
      return "";
    }
    const std::string printed = linesUntil("the area is there");
    if (example.user == "picture") {
      EXPECT_TRUE(waitFor([] { return pixels(kColor) > 10000; }, std::chrono::seconds(20)));
      return printed;
    }
    std::vector<std::string> source = {DRAG_SOURCE};
    std::istringstream names(example.user.substr(example.user.find(' ') + 1));
    for (std::string name; std::getline(names, name, ',');) {
      source.push_back("file://" + std::regex_replace(path(name), std::regex(" "), "%20"));
    }
    drop(source, example.name + " .{1,3} .*");
    return printed;
  }
};

TEST_P(ExamplesToday, ofThePageApiPrintWhatTheySay) {
  runExamples("docs/page-api.md");
  runExamples("docs/events.md");
}

TEST_P(ExamplesToday, ofThePromiseApiPrintWhatTheySay) {
  runExamples(docs::kPromiseApi);
}

TEST_P(ExamplesToday, letANewUserDownloadAFile) {
  for (const char* document : {"docs/page-api.md", docs::kPromiseApi}) {
    SCOPED_TRACE(document);
    writeFile(path("files/first.html"), docs::firstPage(document) + kFirstUser);
    open(address("first.html"));
    EXPECT_EQ(waitForLine("completed"), "completed " + path("Downloads/GPL-3"));
    expectDone();
    forget();
  }
}

INSTANTIATE_TEST_SUITE_P(Browsers, ExamplesToday, testing::Values("firefox", "chromium"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
}  // namespace test_support
