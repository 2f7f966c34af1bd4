#include <algorithm>
#include <csignal>
#include <filesystem>
#include <memory>
#include <regex>
#include <sstream>

#include "tests/docs/ExamplePage.h"
#include "tests/docs/Examples.h"
#include "tests/examples/ApplicationPage.h"
#include "tests/support/ChildProgram.h"
#include "tests/support/WaitFor.h"
#include "tests/support/XDisplay.h"

// clang-format off
// After the others, whose names its macros would replace.
#include <X11/Xlib.h>
#include <X11/Xutil.h>
// clang-format on

namespace fs = std::filesystem;
namespace user = test_support::user;
using docs::Example;

namespace {

const char kPageTitle[] = "page.js - Orvane Page Host";
const unsigned long kPictureColor = 0xCC2211;

std::string replaced(std::string text, const std::string& name, const std::string& value) {
  const size_t at = text.find(name);
  return at == std::string::npos ? text : text.replace(at, name.size(), value);
}

}  // namespace

// The examples with the real module, which launches the real application, and a user at a screen.
class DocExample : public test_support::ApplicationPage,
                   public testing::WithParamInterface<Example> {
 protected:
  DocExample() {
    docs::writeFiles(home());
    for (const char* folder : {".local/share", ".config/gtk-2.0"}) {
      fs::create_directories(path(folder));
    }
    for (const char* variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"}) {
      unsetenv(variable);
    }
    test_support::writeFile(
        path(".config/gtk-2.0/gtkfilechooser.ini"),
        "[Filechooser Settings]\nLocationMode=filename-entry\nStartupMode=cwd\n");
    const char pixel[] = {char(kPictureColor >> 16), char(kPictureColor >> 8 & 0xFF),
                          char(kPictureColor & 0xFF)};
    std::string picture = "P6 400 400 255\n";
    for (int i = 0; i < 400 * 400; ++i) {
      picture.append(pixel, 3);
    }
    test_support::writeFile(path("picture.ppm"), picture);
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
    const orvane = plugin, { source, upload, target } = page.args;
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
    const bool awaits = example.page == docs::kPromiseApi;
    startPage(preamble + (awaits ? runnerOf(example) : example.script), options);
  }

  // Runs an example of the promise API in a page that has only as much of a document as it needs.
  std::string runnerOf(const Example& example) {
    test_support::writeFile(path("module"), docs::readProjectFile("web/orvane-web.mjs"));
    test_support::writeFile(path("example"), example.script);
    return docs::readProjectFile("tests/docs/page_host_document.js") +
           docs::readProjectFile("tests/docs/promise_runner.js") + "runExample(page.readFile('" +
           path("module") + "'), page.readFile('" + path("example") +
           "'), { plugin, source, upload, target }, (line) => console.log(line));";
  }

  // Drops the files from a program beside the page.
  std::unique_ptr<test_support::ChildProgram> drop(const std::string& names) {
    std::vector<std::string> command = {DRAG_SOURCE};
    std::istringstream list(names);
    for (std::string name; std::getline(list, name, ',');) {
      command.push_back("file://" + replaced(path(name), " ", "%20"));
    }
    const std::string area = user::waitForWindow(kPageTitle);
    auto source = std::make_unique<test_support::ChildProgram>(command);
    source->readLine();
    user::drag(user::waitForWindow("Drag source"), area);
    return source;
  }

  // The colour of a point of the page's window, which lies in the plugin's area.
  unsigned long areaColor() {
    const Window window = std::stoul(user::waitForWindow(kPageTitle));
    Display* display = XOpenDisplay(nullptr);
    XImage* image = XGetImage(display, window, 300, 300, 1, 1, AllPlanes, ZPixmap);
    const unsigned long color = XGetPixel(image, 0, 0) & 0xFFFFFF;
    XDestroyImage(image);
    XCloseDisplay(display);
    return color;
  }

  void act(const std::string& step) {
    const size_t blank = std::min(step.find(' '), step.size());
    const std::string what = step.substr(0, blank);
    if (what == "drop") {
      EXPECT_EQ(drop(step.substr(blank + 1))->readLine(), "accepted");
    } else if (what == "picture") {
      EXPECT_TRUE(test_support::waitFor([&] { return areaColor() == kPictureColor; }));
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
INSTANTIATE_TEST_SUITE_P(PromiseApi, DocExample,
                         testing::ValuesIn(docs::readExamples(docs::kPromiseApi)), testName);

// QtWebKit never shows the area, so that this host stands in for a browser.
TEST_F(DocExample, aDropObserverMayRemoveItsElement) {
  startExample({"",
                "",
                "",
                {{"drop-mode", "callback"}},
                R"(orvane.eventHandler = () => console.log('an event for the dead');
                orvane.dropObserver = { onDrop(path) {
                  console.log(path.split('/').pop());
                  destroyPlugin(orvane);
                  const another = createPlugin({});
                  setTimeout(() => console.log(another.queryVersion()), 100);
                } };)",
                {}},
               2);
  // Whether it hears of the end is not settled: the area that would say so has gone.
  const auto source = drop("notes.txt");
  const auto result = finishPage();
  EXPECT_EQ(result.out, "notes.txt\n3.1\n");
  EXPECT_EQ(result.code, 0) << result.err;
}

TEST_F(DocExample, thePromiseModuleUsesNothingButTheExtensionsPromises) {
  std::string module = docs::readProjectFile("web/orvane-web.mjs");
  startPage(std::regex_replace(module, std::regex("\nexport "), "\n") +
                docs::readProjectFile("tests/docs/promise_module_checks.js") +
                "checkModule(console.log).then(() => console.log('checked'), console.log)"
                ".then(() => quit(0));",
            {"--module", MODULE});
  const auto result = finishPage();
  EXPECT_EQ(result.out, "checked\n") << result.err;
}
