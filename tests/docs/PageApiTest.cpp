#include <httplib.h>
#include <signal.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <thread>

#include "tests/docs/Examples.h"
#include "tests/page_host/PageRunner.h"
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

// Serves one file to be downloaded.
class FileServer {
 public:
  FileServer() : _port(_server.bind_to_any_port("127.0.0.1")) {
    _server.Get("/report.pdf", [](const httplib::Request&, httplib::Response& response) {
      response.set_content(std::string(30000, 'r'), "application/pdf");
    });
    _thread = std::thread([this] { _server.listen_after_bind(); });
  }
  ~FileServer() {
    _server.stop();
    _thread.join();
  }
  FileServer(const FileServer&) = delete;
  FileServer& operator=(const FileServer&) = delete;

  std::string address() const {
    return "http://127.0.0.1:" + std::to_string(_port) + "/report.pdf";
  }

 private:
  httplib::Server _server;
  int _port;
  std::thread _thread;
};

std::string replaced(std::string text, const std::string& name, const std::string& value) {
  const size_t at = text.find(name);
  return at == std::string::npos ? text : text.replace(at, name.size(), value);
}

// The first word, and the rest behind the blank.
std::pair<std::string, std::string> split(const std::string& text) {
  const size_t blank = std::min(text.find(' '), text.size());
  return {text.substr(0, blank), blank < text.size() ? text.substr(blank + 1) : ""};
}

}  // namespace

// The examples with the real module, which launches the real application, and a user at a screen.
class DocExample : public test_support::PageRunner, public testing::WithParamInterface<Example> {
 protected:
  DocExample() {
    writePathFile(APPLICATIONS);
    for (const char* folder : {"picked", "received", ".local/share", ".config/gtk-2.0"}) {
      fs::create_directories(path(folder));
    }
    for (const char* variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"}) {
      unsetenv(variable);
    }
    test_support::writeFile(
        path(".config/gtk-2.0/gtkfilechooser.ini"),
        "[Filechooser Settings]\nLocationMode=filename-entry\nStartupMode=cwd\n");
    for (const char* name : {"notes.txt", "report.pdf", "at 9:30.txt"}) {
      test_support::writeFile(path(name), name);
    }
    std::string picture = "P6 400 400 255\n";
    for (int i = 0; i < 400 * 400; ++i) {
      picture +=
          {char(kPictureColor >> 16), char(kPictureColor >> 8 & 0xFF), char(kPictureColor & 0xFF)};
    }
    test_support::writeFile(path("picture.ppm"), picture);
  }

  ~DocExample() override {
    const std::string pid = test_support::readFile(dataPath("var/run/process.pid"));
    if (!pid.empty()) {
      kill(static_cast<pid_t>(std::stol(pid)), SIGTERM);
      EXPECT_TRUE(
          test_support::waitFor([&] { return !fs::exists(dataPath("var/run/process.pid")); }));
    }
  }

  // Starts the example in a page that ends once it has printed `lines` lines.
  void startExample(const Example& example, size_t lines) {
    const std::string preamble =
        "const orvane = plugin;\nconst { source, upload, target } = page.args;\n"
        "{ const print = console.log; let left = " +
        std::to_string(lines) +
        ";\n"
        "  console.log = (...words) => {\n"
        "    print(...words);\n"
        "    left -= 1;\n"
        "    if (left === 0) { setTimeout(() => quit(0), 100); }\n"
        "  };\n}\n";
    const std::string target = "file://" + path("received/");
    std::vector<std::string> options = {"--module",    MODULE,
                                        "--fail-fast", "--window",
                                        "--width",     "600",
                                        "--height",    "500",
                                        "--arg",       "source=" + _server.address(),
                                        "--arg",       "upload=" + path("notes.txt"),
                                        "--arg",       "target=" + target};
    for (const auto& [name, text] : example.parameters) {
      const std::string value = replaced(replaced(text, "{target}", target), "{picture}",
                                         "file://" + path("picture.ppm"));
      options.insert(options.end(), {"--param", name + "=" + value});
    }
    startPage(preamble + example.script, options);
  }

  void drop(const std::string& names) {
    std::vector<std::string> command = {DRAG_SOURCE};
    std::istringstream list(names);
    for (std::string name; std::getline(list, name, ',');) {
      command.push_back("file://" + replaced(path(name), " ", "%20"));
    }
    const std::string area = user::waitForWindow(kPageTitle);
    test_support::ChildProgram source(command);
    source.readLine();
    user::drag(user::waitForWindow("Drag source"), area);
    EXPECT_EQ(source.readLine(), "accepted");
  }

  // The colour in the middle of the page's window, which lies in the plugin's area.
  unsigned long areaColor() {
    const Window window = std::stoul(user::waitForWindow(kPageTitle));
    Display* display = XOpenDisplay(nullptr);
    XWindowAttributes at;
    XGetWindowAttributes(display, window, &at);
    XImage* image =
        XGetImage(display, window, at.width / 2, at.height / 2, 1, 1, AllPlanes, ZPixmap);
    const unsigned long color = XGetPixel(image, 0, 0) & 0xFFFFFF;
    XDestroyImage(image);
    XCloseDisplay(display);
    return color;
  }

  void act(const std::string& step) {
    const auto [what, object] = split(step);
    if (what == "drop") {
      drop(object);
    } else if (what == "open") {
      user::choosePath("Open", path(object));
    } else if (what == "folder") {
      user::choosePath("Select Folder", path(object));
    } else if (what == "save") {
      user::choosePath("Save As", path(object));
    } else if (what == "cancel") {
      user::cancel(object);
    } else if (what == "window") {
      user::waitForWindow(object);
    } else if (what == "picture") {
      EXPECT_TRUE(test_support::waitFor([&] { return areaColor() == kPictureColor; }));
    } else if (!what.empty()) {
      ADD_FAILURE() << "nobody knows how to " << step;
    }
  }

 private:
  test_support::XDisplay _screen;
  FileServer _server;
};

TEST_P(DocExample, printsWhatThePageSays) {
  const Example& example = GetParam();
  const bool staysOpen = example.user == "picture";
  startExample(example, staysOpen ? 1000 : example.prints.size());
  ASSERT_NO_THROW(act(example.user));
  if (staysOpen) {
    kill(process(), SIGTERM);
  }
  const auto result = finishPage();
  EXPECT_TRUE(staysOpen || result.code == 0) << result.err;
  std::vector<std::string> expected = example.prints;
  std::istringstream lines(result.out);
  for (std::string line; std::getline(lines, line);) {
    const auto found = std::find_if(expected.begin(), expected.end(), [&](const auto& pattern) {
      return docs::matches(line, pattern);
    });
    if (found == expected.end()) {
      ADD_FAILURE() << "not expected: " << line;
    } else {
      expected.erase(found);
    }
  }
  EXPECT_TRUE(expected.empty()) << "missing: " << expected.front() << "\n" << result.err;
}

std::string testName(const testing::TestParamInfo<Example>& test) {
  std::string name = test.param.name;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(PageApi, DocExample,
                         testing::ValuesIn(docs::readExamples("docs/page-api.md")), testName);
INSTANTIATE_TEST_SUITE_P(Events, DocExample,
                         testing::ValuesIn(docs::readExamples("docs/events.md")), testName);

// The page says that the address must be the absolute one.
TEST_F(DocExample, aRelativeImageIsRefused) {
  startExample({"", "", {{"image", "picture.ppm"}}, "", {}}, 1000);
  EXPECT_TRUE(test_support::waitFor([&] { return !logLines("NPP_DestroyStream()").empty(); }));
  EXPECT_FALSE(test_support::waitFor([&] { return areaColor() == kPictureColor; },
                                     std::chrono::milliseconds(500)));
  kill(process(), SIGTERM);
  finishPage();
}

TEST(PageApi, hasASectionAndAnExampleForEverythingThatAPageCanUse) {
  const std::string page = docs::readProjectFile("docs/page-api.md");
  const std::string code =
      docs::readProjectFile("browsers/npapi_common/ovOrvaneWebScriptObject.cpp");
  std::set<std::string> examples;
  for (const Example& example : docs::readExamples("docs/page-api.md")) {
    EXPECT_TRUE(examples.insert(example.name).second) << "twice: " << example.name;
  }
  static const std::regex method("\\{\"(\\w+)\", &Plugin::");
  size_t methods = 0;
  for (std::sregex_iterator found(code.begin(), code.end(), method), end; found != end; ++found) {
    const std::string name = (*found)[1];
    ++methods;
    EXPECT_NE(page.find("\n#### `" + name + "("), std::string::npos) << name;
    EXPECT_EQ(examples.count(name), 1u) << name;
  }
  EXPECT_EQ(methods, 27u);
  for (const char* name : {"name", "dropObserver", "eventHandler"}) {
    EXPECT_NE(code.find(std::string("= \"") + name + "\";"), std::string::npos) << name;
    EXPECT_NE(page.find(std::string("\n### `") + name + "`\n"), std::string::npos) << name;
    EXPECT_EQ(examples.count(name), 1u) << name;
  }
  static const std::regex parameter("(?:params|parameters)\\[\"([a-z-]+)\"\\]");
  const std::string readers = docs::readProjectFile("browsers/npapi_common/ovOrvaneWebPlugin.cpp") +
                              docs::readProjectFile("plugin/src/PlugIn.cpp");
  std::set<std::string> parameters;
  for (std::sregex_iterator found(readers.begin(), readers.end(), parameter), end; found != end;
       ++found) {
    parameters.insert((*found)[1]);
    EXPECT_NE(page.find("| [`" + (*found)[1].str() + "`]("), std::string::npos) << (*found)[1];
  }
  EXPECT_EQ(parameters.size(), 8u);
}
