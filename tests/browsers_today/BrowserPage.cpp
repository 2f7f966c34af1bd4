#include "tests/browsers_today/BrowserPage.h"

#include <gmock/gmock.h>
#include <signal.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "tests/support/WaitFor.h"
#include "tests/support/XDisplay.h"

namespace fs = std::filesystem;

namespace test_support {

namespace {

const std::string kLastWord = "PAGE DONE ";
constexpr auto kEnd = std::chrono::seconds(60);

// What /proc says is no file of a known size.
std::string readAll(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

BrowserPage::BrowserPage() : _server(path("files"), {path("files"), PAGES, SHARED_PAGES}) {
  writeFile(path("files/checks.js"),
            readFile(SHARED_PAGES "/checks.js") + readFile(PAGES "/reporter.js"));
  writePathFile(BUILD "/tools/pellion_simulator");
  setenv("ORVANE_BROWSER_AS_BUILT", BUILD, 1);
  setenv("XDG_RUNTIME_DIR", home().c_str(), 1);
  // Nothing of a session's, which would stay.
  setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
  setenv("NO_AT_BRIDGE", "1", 1);
  for (const char* variable : {"WAYLAND_DISPLAY", "XDG_SESSION_TYPE"}) {
    unsetenv(variable);
  }
  // Gives a new window the keys.
  _windowManager = std::make_unique<ChildProgram>(
      std::vector<std::string>{"openbox"}, ProgramFiles{path("openbox.log"), path("openbox.log")});
  EXPECT_TRUE(waitFor([] {
    return std::system("xprop -root _NET_SUPPORTING_WM_CHECK | grep -q 'window id'") == 0;
  }));
  serve();
  _server.start();
}

void BrowserPage::serve() {
  httplib::Server& routes = _server.routes();
  // The page with that policy, "NAME=VALUE".
  routes.Get("/policy/(.+)", [](const httplib::Request& request, httplib::Response& response) {
    const std::string policy = request.get_param_value("policy");
    const size_t equals = policy.find('=');
    response.set_header(policy.substr(0, equals), policy.substr(equals + 1));
    response.set_content(readFile(PAGES "/" + request.matches[1].str()), "text/html");
  });
  const auto said = [this](const httplib::Request& request, httplib::Response&) {
    const std::string text =
        request.method == "POST" ? request.body : request.get_param_value("text");
    _transcript.say(request.get_param_value("page"), std::stoi(request.get_param_value("line")),
                    text);
  };
  routes.Post("/said", said);
  routes.Get("/said", said);
  routes.Get("/go",
             [this](const httplib::Request&, httplib::Response&) { _transcript.waitForGo(); });
  routes.Get("/next", [this](const httplib::Request&, httplib::Response& response) {
    response.set_content(_transcript.waitForAddress(), "text/plain");
  });
}

BrowserPage::~BrowserPage() {
  _transcript.close();
  endBrowser(SIGTERM);
}

void BrowserPage::TearDown() {
  _transcript.close();
  endBrowser(SIGTERM);
  for (const std::string& path : _server.requestedPaths()) {
    EXPECT_THAT(path, testing::Not(testing::HasSubstr(".orvane")));
  }
}

void BrowserPage::allow(const std::string& host) {
  fs::create_directories(path(".config/orvane-web"));
  std::ofstream(path(".config/orvane-web/sites"), std::ios::app)
      << "allow " << _server.origin(host) << "\n";
}

void BrowserPage::open(const std::string& address) {
  if (_script) {
    _transcript.sendOn(address);
    return;
  }
  // Chromium sometimes starts and never asks for its page, with or without the extension.
  const size_t requests = _server.requestedPaths().size();
  for (int i = 0; i < 3; ++i) {
    const std::string log = path("browser.log");
    _script = std::make_unique<ChildProgram>(
        std::vector<std::string>{SCRIPT, GetParam(), "--home", home(), address},
        ProgramFiles{log, log});
    if (waitFor([&] { return _server.requestedPaths().size() > requests; }, kEnd)) {
      return;
    }
    takeScreenshot("never-asked");
    endBrowser(SIGTERM);
  }
  throw std::runtime_error("the browser never asked for " + address);
}

std::string BrowserPage::waitForLine(const std::string& text) {
  for (;;) {
    const std::string line = readLine();
    if (line.compare(0, text.size(), text) == 0) {
      return line;
    }
    if (line.compare(0, kLastWord.size(), kLastWord) == 0) {
      throw std::runtime_error("the page never said '" + text + "':\n" + _transcript.read());
    }
  }
}

std::string BrowserPage::readLine() {
  try {
    return _transcript.readLine();
  } catch (const std::exception&) {
    takeScreenshot("silent");
    std::string requests;
    for (const std::string& path : _server.requestedPaths()) {
      requests += path + "\n";
    }
    throw std::runtime_error("no page said anything after\n" + _transcript.read() +
                             "The server was asked for\n" + requests);
  }
}

void BrowserPage::expectDone() {
  EXPECT_EQ(waitForLine(kLastWord), kLastWord + "0") << _transcript.read();
}

void BrowserPage::runPage(const std::string& page) {
  open(address(page));
  expectDone();
}

void BrowserPage::answer(const std::string& keys) {
  user::answer("Orvane Web", keys);
}

std::vector<pid_t> BrowserPage::running(const std::string& program) const {
  const std::string mark = std::string("HOME=") + home() + '\0';
  std::vector<pid_t> found;
  std::error_code gone;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    if (name.find_first_not_of("0123456789") == std::string::npos &&
        fs::read_symlink(entry.path() / "exe", gone).filename() == program &&
        readAll(entry.path() / "environ").find(mark) != std::string::npos) {
      found.push_back(std::stoi(name));
    }
  }
  return found;
}

pid_t BrowserPage::browser() const {
  if (!_script) {
    return -1;
  }
  const std::string script = std::to_string(_script->pid());
  const std::string child = readAll("/proc/" + script + "/task/" + script + "/children");
  return child.empty() ? -1 : std::stoi(child);
}

void BrowserPage::endBrowser(int signal) {
  if (!_script) {
    return;
  }
  kill(signal == SIGTERM ? _script->pid() : browser(), signal);
  _script->wait();
  _script.reset();
  for (const char* program : {"orvane-web-host", "orvanepellion", "firefox-esr", "chromium"}) {
    EXPECT_TRUE(waitFor([&] { return running(program).empty(); }, kEnd)) << program;
  }
}

void BrowserPage::drop(const std::vector<std::string>& source, const std::string& title,
                       const std::function<void()>& over) {
  ChildProgram program(source);
  ASSERT_EQ(program.readLine(), "ready");
  user::drag(user::waitForWindow("Drag source"), user::waitForWindow(title), over);
  EXPECT_EQ(program.readLine(), "accepted");
}

size_t BrowserPage::pixels(const std::string& color) {
  const std::string count =
      "import -window root -depth 8 rgb:- | python3 -c 'import sys; "
      "screen = sys.stdin.buffer.read(); "
      "print([screen[i:i + 3] for i in range(0, len(screen), 3)].count(b\"" +
      color + "\"))'";
  return std::stoul(ChildProgram({"sh", "-c", count}).readLine());
}

void BrowserPage::takeScreenshot(const std::string& name) const {
  const std::string file = std::string(SCREENSHOTS) + "/" + GetParam() + "-" + name + ".png";
  EXPECT_EQ(std::system(("import -window root '" + file + "'").c_str()), 0);
}

}  // namespace test_support
