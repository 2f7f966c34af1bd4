#include <gmock/gmock.h>
#include <signal.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/ChildProgram.h"
#include "tests/support/DisplaySandbox.h"
#include "tests/support/WaitFor.h"
#include "tests/web_host/HostProcess.h"

namespace test_support {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

const char kWindow[] = "https://a.example - Orvane Web";

std::string output(const std::string& command) {
  FILE* pipe = popen(command.c_str(), "re");
  char text[4096] = {};
  const size_t size = fread(text, 1, sizeof(text) - 1, pipe);
  pclose(pipe);
  return std::string(text, size);
}

// The area of an element in a browser with a window; what is dropped there the page hears as its
// object 7's onDrop.
class Area : public DisplaySandbox {
 protected:
  Area() {
    setUpHost(home());
    fs::create_directories(path("etc/orvane-web"));
    writeFile(path("etc/orvane-web/sites"), "allow https://a.example\n");
    writeFile(path("\u00e4 b"), "");
    writeFile(path("c"), "");
  }

  void make(const std::string& params = R"(,["drop-mode","callback"])", bool inWindow = true) {
    _host = std::make_unique<HostProcess>(path("stderr"), inWindow);
    _host->greet("https://a.example", "https://a.example/");
    _host->send(makeElement(params));
    _host->receive();
    EXPECT_EQ(_host->receive(), R"({"answer":1})");
    EXPECT_EQ(ask(R"("op":"set","element":1,"name":"dropObserver",)"
                  R"("value":{"v":"object","id":7,"methods":["onDrop"]})"),
              "{\"answer\":2}");
  }
  void send(const std::string& operation) {
    _host->send("{\"n\":" + std::to_string(++_number) + "," + operation + "}");
  }
  std::string ask(const std::string& operation) {
    send(operation);
    return _host->receive();
  }
  // A program that offers these URIs.
  std::unique_ptr<ChildProgram> source(const std::vector<std::string>& uris) {
    std::vector<std::string> command = {DRAG_SOURCE};
    command.insert(command.end(), uris.begin(), uris.end());
    auto program = std::make_unique<ChildProgram>(command);
    EXPECT_EQ(program->readLine(), "ready");
    return program;
  }
  std::string uri(const std::string& name) const { return "file://" + path(name); }
  std::string onDrop(const std::string& paths) const {
    return R"({"tell":"call","element":1,"object":7,"method":"onDrop","args":[")" + paths + "\"]}";
  }

  uint64_t _number = 1;
  std::unique_ptr<HostProcess> _host;
};

TEST_F(Area, takesFilesWhosePathsTheDragsSourceGives) {
  std::string many;
  std::string manyPaths;
  for (int i = 0; i < 10000; ++i) {
    many += many.empty() ? "[\"c\"" : ",\"c\"";
    manyPaths += (manyPaths.empty() ? "" : ":") + path("c");
  }
  many += "]";
  const std::string drop = R"("op":"drop","element":1,"names":)";
  const struct {
    const char* label;
    const char* more;
    std::vector<std::string> uris;
    const char *asked, *names, *answer;
    std::string heard;
  } kRows[] = {
      {"one file",
       "",
       {uri("%C3%A4%20b")},
       "\"value\":1}",
       "[\"\u00e4 b\"]",
       "\"value\":true}",
       path("\u00e4 b")},
      {"two, in another order",
       R"(,["drop-allow-multiple","true"])",
       {uri("%C3%A4%20b"), uri("c")},
       "\"value\":2}",
       "[\"c\",\"\u00e4 b\"]",
       "\"value\":true}",
       path("\u00e4 b") + ":" + path("c")},
      {"two, against the element's rules",
       "",
       {uri("c"), uri("%C3%A4%20b")},
       "\"value\":2}",
       "[\"c\",\"\u00e4 b\"]",
       "\"value\":false}",
       ""},
      {"so many that the list comes in pieces", R"(,["drop-allow-multiple","true"])",
       std::vector<std::string>(10000, uri("c")), "\"value\":10000}", many.c_str(),
       "\"value\":true}", manyPaths},
      {"a file and what is none, against the module's rules",
       R"(,["drop-allow-multiple","true"])",
       {uri("c"), "https://a.example/d"},
       "\"value\":1}",
       "[\"c\"]",
       "\"value\":false}",
       ""},
      {"other files than were dropped",
       "",
       {uri("c")},
       "\"value\":1}",
       "[\"d\"]",
       "\"error\":\"Orvane Web: Other files",
       ""},
      {"no files",
       "",
       {"https://a.example/c"},
       "\"error\":\"Orvane Web: The paths",
       "[\"c\"]",
       "\"error\":\"Orvane Web: It is not known",
       ""},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.label);
    _number = 1;
    make(R"(,["drop-mode","callback"])" + std::string(row.more));
    const std::unique_ptr<ChildProgram> files = source(row.uris);
    user::drag(user::waitForWindow("Drag source"), user::waitForWindow("Browser"),
               [&] { EXPECT_THAT(ask(R"("op":"drag","element":1)"), HasSubstr(row.asked)); });
    EXPECT_EQ(files->readLine(), "accepted");
    send(drop + row.names);
    if (!row.heard.empty()) {
      EXPECT_EQ(_host->receive(), onDrop(row.heard));
    }
    EXPECT_THAT(_host->receive(), HasSubstr(row.answer));
    // It was good for one drop.
    EXPECT_THAT(ask(drop + row.names), HasSubstr("It is not known what was dropped."));
  }
}

TEST_F(Area, forgetsADragThatLeftAndWaitsForASlowSource) {
  make();
  const std::unique_ptr<ChildProgram> files = source({uri("c")});
  user::drag(user::waitForWindow("Drag source"), user::waitForWindow("Browser"), [&] {
    EXPECT_THAT(ask(R"("op":"drag","element":1)"), HasSubstr("\"value\":1}"));
    EXPECT_EQ(ask(R"("op":"dragEnd","element":1)"), R"({"answer":4})");
    EXPECT_THAT(ask(R"("op":"drop","element":1,"names":["c"])"), HasSubstr("It is not known"));
    files->signal(SIGSTOP);
    // One that never answers is given up.
    EXPECT_THAT(ask(R"("op":"drag","element":1)"), HasSubstr("The paths of this drag cannot"));
    // The next one follows at once; the second question replaces the first.
    send(R"("op":"drag","element":1)");
    EXPECT_THAT(ask(R"("op":"drag","element":1)"), HasSubstr(R"({"answer":7,"error":)"));
    send(R"("op":"drop","element":1,"names":["c"])");
    files->signal(SIGCONT);
    EXPECT_EQ(_host->receive(), R"({"answer":8,"value":1})");
  });
  // The host's own drag has waited for the end of the user's.
  EXPECT_EQ(files->readLine(), "accepted");
  EXPECT_EQ(_host->receive(), onDrop(path("c")));
  EXPECT_EQ(_host->receive(), R"({"answer":9,"value":true})");
}

// A browser that has no window on this screen, as on Wayland.
TEST_F(Area, opensAsAWindowThatTakesDrops) {
  make(R"(,["drop-mode","callback"])", false);
  const std::unique_ptr<ChildProgram> files = source({uri("c")});
  EXPECT_THAT(ask(R"("op":"drag","element":1)"), HasSubstr("The paths of this drag cannot"));
  send(R"("op":"window","element":1)");
  EXPECT_EQ(_host->receive(), R"({"tell":"window","element":1,"open":true})");
  EXPECT_EQ(_host->receive(), R"({"answer":4})");
  EXPECT_EQ(ask(R"("op":"window","element":1)"), R"({"answer":5})");
  user::drag(user::waitForWindow("Drag source"), user::waitForWindow(kWindow));
  EXPECT_EQ(files->readLine(), "accepted");
  EXPECT_EQ(_host->receive(), onDrop(path("c")));
  EXPECT_EQ(ask(R"("op":"end","element":1)"), R"({"answer":6})");
  EXPECT_THAT(_host->receive() + _host->receive(),
              HasSubstr(R"({"tell":"window","element":1,"open":false})"));
  user::waitForNoWindow(kWindow);
}

TEST_F(Area, liesBesideTheScreenWhateverSizeThePageNames) {
  make();
  std::string large = makeElement(R"(,["drop-mode","callback"])");
  large.replace(large.find("300"), 3, "32000").replace(large.find(":80}"), 4, ":32000}");
  large.replace(large.find("\"n\":1"), 5, "\"n\":3").replace(large.find("nt\":1"), 5, "nt\":2");
  _host->send(large);
  _host->receive();  // of the leave
  EXPECT_EQ(_host->receive(), R"({"answer":3})");
  EXPECT_EQ(output("xwininfo -root -tree | grep -c 32000x32000"), "0\n");
}

TEST_F(Area, andDialogsBelongToTheBrowsersWindow) {
  const ChildProgram manager({"openbox"}, {path("output"), path("errors")});
  EXPECT_TRUE(waitFor([] {
    return output("xprop -root _NET_SUPPORTING_WM_CHECK").find("0x") != std::string::npos;
  }));
  make();
  const std::string browser = user::waitForWindow("Browser");
  char id[32];
  snprintf(id, sizeof(id), "0x%lx", std::stoul(browser));
  const struct {
    const char *operation, *title;
  } kRows[] = {
      {R"("op":"window","element":1)", kWindow},
      {R"("op":"call","element":1,"name":"runOpenFileDialog","args":[false,true])", "Open"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.title);
    send(row.operation);
    const std::string window = user::waitForWindow(row.title);
    EXPECT_THAT(output("xprop -id " + window + " WM_TRANSIENT_FOR"), HasSubstr(id));
    EXPECT_TRUE(waitFor([&] { return output("xdotool getactivewindow") == window + "\n"; }));
    output("xdotool windowminimize " + browser);
    user::waitForNoWindow(row.title);
    output("xdotool windowactivate " + browser);
    user::waitForWindow(row.title);
  }
}

}  // namespace
}  // namespace test_support
