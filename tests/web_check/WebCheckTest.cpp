#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <yajl/yajl_tree.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/pellion_simulator/Simulator.h"
#include "tests/support/ScriptedServer.h"

namespace test_support {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

struct Outcome {
  int code;
  std::string text;
  std::vector<std::string> lines;

  // The check's line; empty when there is none.
  std::string line(const std::string& check) const {
    for (const std::string& line : lines) {
      if (line.substr(8, check.size() + 1) == check + " ") {
        return line;
      }
    }
    return std::string();
  }
};

constexpr size_t kChecks = 13;

// A private home with a module to be found and a path file that leads to an executable.
class WebCheck : public SimulatorTest {
 protected:
  WebCheck() {
    setenv("MOZ_PLUGIN_PATH", ORVANE_MODULE_DIRECTORY, 1);
    installApplication("#!/bin/sh\ntouch \"$HOME/started\"\n");
  }

  void SetUp() override {
    for (const char* file : {"/usr/lib/mozilla/plugins/nporvaneweb.so", "/usr/bin/orvanepellion",
                             "/usr/local/bin/orvanepellion", "/opt/orvane"}) {
      if (fs::exists(file)) {
        GTEST_SKIP() << file << " is on this machine";
      }
    }
  }
  void TearDown() override { EXPECT_FALSE(fs::exists(path("started"))) << "it started something"; }

  Outcome check(const std::string& arguments = "") const {
    FILE* const output = popen((program + " " + arguments + " 2>&1").c_str(), "re");
    Outcome outcome;
    char buffer[4096];
    for (size_t count; (count = fread(buffer, 1, sizeof(buffer), output)) > 0;) {
      outcome.text.append(buffer, count);
    }
    const int status = pclose(output);
    outcome.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    std::istringstream text(outcome.text);
    for (std::string line; std::getline(text, line);) {
      outcome.lines.push_back(line);
    }
    return outcome;
  }

  std::string program = WEB_CHECK_PROGRAM;

  // A module directory of the sandbox, with this file as the module.
  void useModule(const std::string& file) const {
    fs::create_directories(path("plugins"));
    fs::copy_file(file, path("plugins/nporvaneweb.so"));
    setenv("MOZ_PLUGIN_PATH", path("plugins").c_str(), 1);
  }
  void replaceByFile(const std::string& directory) const {
    fs::remove_all(dataPath(directory));
    writeFile(dataPath(directory), "");
  }
};

// One thing is wrong: this check's line says so, every line before it is ok, and the exit code is
// the worst status.
struct Breakage {
  const char* label;
  std::function<void()> make;
  std::string check;
  std::string status;
  std::string seen;
  std::string stopped = "";  // a check that cannot be made then
};

void expectBroken(const Breakage& row, const Outcome& outcome) {
  SCOPED_TRACE(row.label + std::string("\n") + outcome.text);
  ASSERT_THAT(outcome.lines, SizeIs(kChecks + 1));
  EXPECT_EQ(outcome.code, row.status == "failed" ? 2 : 1);
  const std::string line = outcome.line(row.check);
  EXPECT_THAT(line, StartsWith(row.status + " "));
  EXPECT_THAT(line, HasSubstr(row.seen));
  EXPECT_THAT(line, HasSubstr("; to do: "));
  for (size_t i = 0; outcome.lines[i] != line && i < kChecks; ++i) {
    EXPECT_THAT(outcome.lines[i], StartsWith("ok "));
  }
  EXPECT_THAT(outcome.lines.back(), HasSubstr(": " + row.check));
  if (!row.stopped.empty()) {
    EXPECT_THAT(outcome.line(row.stopped), StartsWith(row.status + " "));
    EXPECT_THAT(outcome.line(row.stopped), HasSubstr("not checked; to do: see " + row.check));
  }
}

TEST_F(WebCheck, findsAllWellWithARunningApplication) {
  const auto simulator = start();
  const std::vector<std::string> before = filesBelow("");
  const Outcome outcome = check();
  ASSERT_THAT(outcome.lines, SizeIs(kChecks + 1)) << outcome.text;
  EXPECT_EQ(outcome.lines.back(), "All is well.");
  EXPECT_EQ(outcome.code, 0) << outcome.text;
  EXPECT_THAT(outcome.line("version"), HasSubstr(ORVANE_VERSION));
  EXPECT_THAT(outcome.line("url-file"), HasSubstr(":" + std::to_string(port()) + "/"));
  EXPECT_EQ(filesBelow(""), before);
}

TEST_F(WebCheck, saysWhatToDoWhereNothingIsInstalled) {
  unsetenv("MOZ_PLUGIN_PATH");
  fs::remove_all(path(".orvane"));
  const Outcome outcome = check();
  EXPECT_EQ(outcome.code, 2);
  ASSERT_THAT(outcome.lines, SizeIs(kChecks + 1)) << outcome.text;
  EXPECT_THAT(outcome.line("module"), HasSubstr(path(".mozilla/plugins") + " (no such directory)"));
  EXPECT_THAT(outcome.line("executable"), HasSubstr("to do: install Orvane Pellion"));
  EXPECT_THAT(outcome.line("log-directory"), HasSubstr("the plugin's log is lost"));
  EXPECT_THAT(outcome.line("log-directory"), HasSubstr("orvane-web-check --fix"));
  EXPECT_EQ(outcome.lines.back(), "The broken link: module");
  EXPECT_FALSE(fs::exists(path(".orvane")));
}

TEST_F(WebCheck, makesMissingDirectoriesOnRequest) {
  fs::remove_all(path(".orvane"));
  EXPECT_THAT(check("--fix").line("log-directory"),
              StartsWith("ok      log-directory created " + dataPath("var/log")));
  for (const char* folder : {"etc", "var/log", "var/run"}) {
    EXPECT_EQ(fs::status(dataPath(folder)).permissions(), fs::perms::owner_all) << folder;
  }
  EXPECT_THAT(filesBelow(".orvane"), SizeIs(0));
  EXPECT_THAT(check().line("log-directory"),
              StartsWith("ok      log-directory " + dataPath("var/log")));

  replaceByFile("var");
  const Outcome refused = check("--fix");
  EXPECT_THAT(refused.line("directories"), StartsWith("failed"));
  EXPECT_THAT(refused.line("directories"), HasSubstr("Not a directory"));
  setenv("HOME", path("nobody").c_str(), 1);
  EXPECT_THAT(check("--fix").line("home"), StartsWith("failed"));
  EXPECT_FALSE(fs::exists(path("nobody")));
}

TEST_F(WebCheck, namesABrokenModule) {
  const auto simulator = start();
  const Breakage kRows[] = {
      {"no module", [] { setenv("MOZ_PLUGIN_PATH", "/nowhere:/", 1); }, "module", "failed",
       "in none of /nowhere (no such directory), /, ", "mime-type"},
      {"a directory of its name",
       [this] {
         fs::create_directories(path("p/nporvaneweb.so"));
         setenv("MOZ_PLUGIN_PATH", path("p").c_str(), 1);
       },
       "module", "failed", "/p (its nporvaneweb.so is no file)", "loads"},
      {"a library is missing", [] { setenv("MOZ_PLUGIN_PATH", NEEDY_MODULE_DIRECTORY, 1); },
       "dependencies", "failed", "missing: libweb_check_gone.so", "loads"},
      {"no library at all",
       [this] {
         writeFile(path("text"), "no module\n");
         useModule(path("text"));
       },
       "dependencies", "failed", "the loader does not list them", "loads"},
      {"another library", [this] { fs::remove_all(path("plugins")), useModule(GONE_LIBRARY); },
       "loads", "failed", "it has no NP_Initialize", "mime-type"},
      {"another plugin", [] { setenv("MOZ_PLUGIN_PATH", ODD_MODULE_DIRECTORY, 1); }, "mime-type",
       "failed", "\"application/x-odd::Odd\" instead of \"application/x-orvane-web::Orvane Web\""},
      {"it crashes", [] { setenv("ODD_MODULE", "crash", 1); }, "loads", "failed",
       "it crashed (Aborted)", "mime-type"},
      {"it hangs", [] { setenv("ODD_MODULE", "hang", 1); }, "loads", "failed",
       "it took more than 5 s", "mime-type"},
      {"two of them",
       [this] {
         setenv("MOZ_PLUGIN_PATH", ORVANE_MODULE_DIRECTORY, 1);
         fs::create_directories(path(".mozilla/plugins"));
         writeFile(path(".mozilla/plugins/nporvaneweb.so"), "");
       },
       "module", "warning", "and " + path(".mozilla/plugins/nporvaneweb.so")},
  };
  for (const Breakage& row : kRows) {
    row.make();
    expectBroken(row, check());
  }
}

TEST_F(WebCheck, namesABrokenHome) {
  const auto simulator = start();
  const auto set = [](const std::string& home) { setenv("HOME", home.c_str(), 1); };
  const Breakage kRows[] = {
      {"no HOME", [] { unsetenv("HOME"); }, "home", "failed", "HOME names no absolute path",
       "url-file"},
      {"a relative HOME", [&] { set("here"); }, "home", "failed", "HOME names", "log-directory"},
      {"HOME is nowhere", [&] { set(path("nobody")); }, "home", "failed",
       "/nobody: No such file or directory", "directories"},
      {"blanks in HOME",
       [&] {
         fs::create_directories(path("a b"));
         fs::create_symlink(path(".orvane"), path("a b/.orvane"));
         set(path("a b"));
       },
       "home", "warning", "has blanks"},
      {"no settings directory",
       [&] {
         set(home());
         fs::remove_all(dataPath("etc"));
         fs::create_directories(path("opt/orvane/pellion"));
         fs::rename(path("application"), path("opt/orvane/pellion/bin"));
       },
       "directories", "warning", "missing: " + dataPath("etc")},
      {"a file in its place", [&] { replaceByFile("etc"); }, "directories", "failed",
       dataPath("etc") + " (Not a directory)"},
      {"no log directory",
       [&] {
         fs::remove(dataPath("etc"));
         fs::create_directories(dataPath("etc"));
         fs::remove_all(dataPath("var/log"));
       },
       "log-directory", "warning", "missing: " + dataPath("var/log")},
      {"a file in its place", [&] { replaceByFile("var/log"); }, "log-directory", "warning",
       "cannot be written: " + dataPath("var/log") + " (Not a directory)"},
  };
  for (const Breakage& row : kRows) {
    row.make();
    expectBroken(row, check());
  }
}

// Permissions do not stop root, who checks as somebody else.
TEST_F(WebCheck, namesWhatCannotBeWritten) {
  const std::string log = dataPath("var/log/orvane-pellion-browser-plugin.0.log");
  writeFile(log, "");
  fs::permissions(log, fs::perms::owner_read);
  fs::permissions(dataPath("etc"), fs::perms::owner_read | fs::perms::owner_exec);
  if (geteuid() == 0) {
    program = "setpriv --reuid=65534 --regid=65534 --clear-groups " + path("orvane-web-check");
    fs::copy_file(WEB_CHECK_PROGRAM, path("orvane-web-check"));
    ASSERT_EQ(chown(home().c_str(), 65534, 65534), 0);
    for (const auto& entry : fs::recursive_directory_iterator(home())) {
      ASSERT_EQ(chown(entry.path().c_str(), 65534, 65534), 0);
    }
  }
  const Outcome outcome = check();
  EXPECT_EQ(outcome.code, 2);
  EXPECT_THAT(outcome.line("directories"), StartsWith("failed "));
  EXPECT_THAT(outcome.line("directories"), HasSubstr(dataPath("etc") + " (Permission denied)"));
  EXPECT_THAT(outcome.line("log-directory"), StartsWith("warning "));
  EXPECT_THAT(outcome.line("log-directory"), HasSubstr(log + " (Permission denied)"));
  fs::permissions(dataPath("etc"), fs::perms::owner_all);
}

TEST_F(WebCheck, namesABrokenWayToTheExecutable) {
  const auto simulator = start();
  const std::string executable = path("application/orvanepellion");
  const Breakage kRows[] = {
      {"an empty path file, for which there is a default",
       [&] {
         writePathFile("");
         fs::create_directories(path("opt/orvane/pellion/bin"));
         fs::copy_file(executable, path("opt/orvane/pellion/bin/orvanepellion"));
       },
       "path-file", "warning", "its first line is empty"},
      {"an empty path file", [this] { fs::remove_all(path("opt")); }, "path-file", "failed",
       "its first line is empty"},
      {"a relative path", [this] { writePathFile("application"); }, "path-file", "failed",
       "names \"application\", which is no absolute path of a directory"},
      {"a blank behind it", [this] { writePathFile(path("application ")); }, "path-file", "failed",
       "no absolute path of a directory"},
      {"no application there", [this] { writePathFile(home()); }, "path-file", "failed",
       "where there is no orvanepellion"},
      {"no application at all", [this] { fs::remove(dataPath("etc/orvanepellion.path")); },
       "executable", "failed", "orvanepellion is neither in"},
      {"not executable",
       [&] {
         writePathFile(path("application") + "\nmore");
         fs::permissions(executable, fs::perms::owner_read);
       },
       "executable", "failed", executable + " cannot be run: Permission denied"},
      {"a directory of its name",
       [&] {
         fs::remove(executable);
         fs::create_directories(executable);
       },
       "executable", "failed", executable + " is no file"},
      {"blanks in its path",
       [&] {
         fs::create_directories(path("my apps"));
         writePathFile(path("my apps"));
         writeFile(path("my apps/orvanepellion"), "#!/bin/sh\n");
         fs::permissions(path("my apps/orvanepellion"), fs::perms::owner_all);
       },
       "executable", "warning", "\"" + path("my apps/orvanepellion") + "\" has blanks"},
  };
  for (const Breakage& row : kRows) {
    row.make();
    expectBroken(row, check());
  }
}

TEST_F(WebCheck, namesABrokenAddress) {
  const auto simulator = start();
  const std::string url = readFile(dataPath("var/run/http.uri"));
  const auto write = [this](const std::string& text) { return [=] { writeUrlFile(text); }; };
  const Breakage kRows[] = {
      {"no address", write("hello"), "url-file", "failed", "holds \"hello\", which is no address",
       "port"},
      {"an empty file", write(""), "url-file", "failed", "holds \"\"", "version"},
      {"another machine", write("http://192.0.2.1:80/"), "url-file", "failed", "no address on this",
       "activity"},
      {"no port", write("http://127.0.0.1/"), "url-file", "failed", "no address", "port"},
      {"a line break behind it", write(url + "\n"), "url-file", "warning",
       "/\\x0a\", which the plugin reads as " + url},
      {"a port that is too large",
       write("http://127.0.0.1:" + std::to_string(port() + 65536) + "/"), "url-file", "warning",
       "which the plugin reads as " + url},
      {"left over", write("http://127.0.0.1:1/"), "port", "warning",
       "nothing listens at 127.0.0.1:1", "version"},
      {"no file", [this] { fs::remove(dataPath("var/run/http.uri")); }, "url-file", "warning",
       "the application does not run (there is no ", "port"},
  };
  for (const Breakage& row : kRows) {
    row.make();
    expectBroken(row, check());
  }
}

TEST_F(WebCheck, namesAnswersThatAreNotTheApplications) {
  const std::string version = httpResponse("{\"version\":\"1\"}");
  std::mutex mutex;
  std::pair<std::string, std::string> answers;  // guarded by mutex
  ScriptedServer server([&](int connection, const std::string& request, size_t) {
    std::lock_guard<std::mutex> lock(mutex);
    sendAll(connection,
            request.find("GET /v4/pellion/version ") == 0 ? answers.first : answers.second);
  });
  writeUrlFile(server.port());
  const auto answer = [&](const std::string& toVersion, const std::string& toActivity) {
    return [&mutex, &answers, toVersion, toActivity] {
      std::lock_guard<std::mutex> lock(mutex);
      answers = {toVersion, toActivity};
    };
  };
  const Breakage kRows[] = {
      {"closes at once", answer("", ""), "version", "failed", "no answer (what came is no HTTP",
       "activity"},
      {"another protocol", answer("220 mail\r\n", ""), "version", "failed", "is no HTTP response",
       "activity"},
      {"no such path", answer(httpResponse("{}", "404 Not Found"), ""), "version", "failed",
       "status 404, \"{}\"", "activity"},
      {"a web page", answer(httpResponse("<html>"), ""), "version", "failed", "\"<html>\"",
       "activity"},
      {"no version", answer(httpResponse("{}"), httpResponse("{\"iteration_token\":\"1\"}")),
       "version", "warning", "names no version"},
      {"an error", answer(version, httpResponse("{\"error\":{\"code\":-1}}")), "activity", "failed",
       "POST /v4/transfers/activity: status 200, \"{\"error\":"},
      {"no token", answer(version, httpResponse("{}")), "activity", "warning", "without a token"},
  };
  for (const Breakage& row : kRows) {
    row.make();
    expectBroken(row, check());
  }
  EXPECT_THAT(server.requests().back(), HasSubstr("\"app_id\": \"orvane-web-check\""));
}

TEST_F(WebCheck, doesNotWaitForAServerThatNeverFinishes) {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), size), 0);
  ASSERT_EQ(getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size), 0);
  ASSERT_EQ(listen(listener, 10), 0);
  ScriptedServer dripping([](int connection, const std::string&, size_t) {
    while (sendAll(connection, "x")) {
      poll(nullptr, 0, 20);
    }
  });
  for (const int port : {static_cast<int>(ntohs(address.sin_port)), dripping.port()}) {
    writeUrlFile(port);
    const auto begin = std::chrono::steady_clock::now();
    expectBroken({"silent or dripping", nullptr, "version", "failed",
                  "no answer (Connection timed out)", "activity"},
                 check());
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
  }
  close(listener);
}

TEST_F(WebCheck, writesJson) {
  writeUrlFile("\"\\\x1b\xff\n\xc3\xa4 http://");
  const Outcome outcome = check("--json");
  EXPECT_EQ(outcome.code, 2);
  char error[1024] = "";
  const std::unique_ptr<yajl_val_s, decltype(&yajl_tree_free)> root(
      yajl_tree_parse(outcome.text.c_str(), error, sizeof(error)), yajl_tree_free);
  ASSERT_NE(root, nullptr) << error << outcome.text;
  const auto get = [](yajl_val node, const char* name) {
    const char* path[] = {name, nullptr};
    return yajl_tree_get(node, path, yajl_t_any);
  };
  const auto text = [&](yajl_val node, const char* name) {
    const yajl_val value = get(node, name);
    return YAJL_IS_STRING(value) ? std::string(YAJL_GET_STRING(value)) : "no string";
  };
  EXPECT_EQ(text(root.get(), "version"), ORVANE_VERSION);
  EXPECT_EQ(text(root.get(), "status"), "failed");
  EXPECT_EQ(text(root.get(), "broken"), "url-file");
  const Outcome plain = check();
  const yajl_val checks = get(root.get(), "checks");
  ASSERT_TRUE(YAJL_IS_ARRAY(checks));
  ASSERT_EQ(checks->u.array.len, kChecks);
  for (size_t i = 0; i < kChecks; ++i) {
    const yajl_val one = checks->u.array.values[i];
    const std::string line = plain.line(text(one, "name"));
    EXPECT_THAT(line, StartsWith(text(one, "status") + " "));
    EXPECT_THAT(line, HasSubstr(text(one, "seen")));
    EXPECT_THAT(line, HasSubstr(text(one, "remedy")));
  }
  EXPECT_THAT(plain.line("url-file"), HasSubstr("holds \"\"\\\\x1b\\xff\\x0a\xc3\xa4 http://\""));

  const auto simulator = start();
  EXPECT_THAT(check("--json").text, HasSubstr("\"status\":\"ok\",\"broken\":null,"));
}

TEST_F(WebCheck, refusesWhatItCannotCarryOut) {
  EXPECT_EQ(check("--version").text, "orvane-web-check " ORVANE_VERSION "\n");
  EXPECT_EQ(check("--help").code, 0);
  EXPECT_THAT(check("--help").text, HasSubstr("--fix"));
  for (const char* arguments : {"--nothing", "more", "--json=1"}) {
    const Outcome outcome = check(arguments);
    EXPECT_EQ(outcome.code, 2) << arguments;
    EXPECT_THAT(outcome.lines, testing::Contains(HasSubstr("see --help"))) << arguments;
  }
  for (const char* arguments : {"--help >/dev/full", "--json >/dev/full"}) {
    EXPECT_EQ(check(arguments).code, 2) << arguments;
  }
}

}  // namespace
}  // namespace test_support
