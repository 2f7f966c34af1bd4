#include <gmock/gmock.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "tests/pellion_simulator/Simulator.h"
#include "tests/support/ScriptedServer.h"

namespace test_support {
namespace {

namespace fs = std::filesystem;
using testing::AnyOf;
using testing::Each;
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

// One thing is wrong: this check's line says so, every line before it is ok, and the exit code is
// the worst status.
struct Breakage {
  std::string label;
  std::string make;  // shell commands, which may change the program's environment
  std::string check, status;
  std::string seen;          // "~" is the home directory
  std::string stopped = {};  // a check that cannot be made then
};

// For those commands: puts a file in the module's place, sets the path file and the address file,
// and moves the application to its default place.
const char kShell[] = R"(set -eu
use() { mkdir ~/p; cp $1 ~/p/nporvaneweb.so; export MOZ_PLUGIN_PATH=$HOME/p; }
name() { printf '%s' "$1" >$DATA/etc/orvanepellion.path; }
publish() { printf "$1" >$DATA/var/run/http.uri; }
move() { mkdir -p ~/opt/orvane/pellion; mv ~/application ~/opt/orvane/pellion/bin; }
)";

// A private home with a module to be found and a path file that leads to an executable.
class WebCheck : public SimulatorTest {
 protected:
  WebCheck() {
    setenv("MOZ_PLUGIN_PATH", ORVANE_MODULE_DIRECTORY, 1);
    setenv("DATA", dataPath("").c_str(), 1);
    setenv("BROWSERS", path("browsers").c_str(), 1);
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

  // After the commands, in the same shell.
  Outcome check(const std::string& arguments = "", const std::string& commands = "") const {
    FILE* const output =
        popen((kShell + commands + "\n" + program + " " + arguments + " 2>&1").c_str(), "re");
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

  // Without the machine's own browsers.
  std::string program = "PATH=$BROWSERS " WEB_CHECK_PROGRAM;

  void expectBroken(const Breakage& row) const;
};

void PrintTo(const Breakage& row, std::ostream* out) {
  *out << row.label;
}

class BrokenLink : public WebCheck, public testing::WithParamInterface<Breakage> {};

void WebCheck::expectBroken(const Breakage& row) const {
  const Outcome outcome = check("", row.make);
  SCOPED_TRACE(row.label + "\n" + outcome.text);
  ASSERT_THAT(outcome.lines, SizeIs(kChecks + 1));
  const std::string status = row.status + " ";
  EXPECT_EQ(outcome.code, row.status == "failed" ? 2 : 1);
  const std::string line = outcome.line(row.check);
  EXPECT_THAT(line, StartsWith(status));
  EXPECT_THAT(line, HasSubstr(std::regex_replace(row.seen, std::regex("~"), home())));
  EXPECT_THAT(line, HasSubstr("; to do: "));
  for (size_t i = 0; outcome.lines[i] != line && i < kChecks; ++i) {
    EXPECT_THAT(outcome.lines[i], StartsWith("ok "));
  }
  EXPECT_EQ(outcome.lines.back(),
            (row.status == "failed" ? "The broken link: " : "Look first at: ") + row.check);
  if (!row.stopped.empty()) {
    EXPECT_THAT(outcome.line(row.stopped), StartsWith(status));
    EXPECT_THAT(outcome.line(row.stopped), HasSubstr("not checked; to do: see " + row.check));
  }
}

TEST_P(BrokenLink, isNamed) {
  const auto simulator = start();
  setenv("URL", readFile(dataPath("var/run/http.uri")).c_str(), 1);
  setenv("PORT", std::to_string(port()).c_str(), 1);
  expectBroken(GetParam());
}

#define ODD_MODULE_PATH "MOZ_PLUGIN_PATH=" ODD_MODULE_DIRECTORY
const Breakage kBreakages[] = {
    {"noModule", "export MOZ_PLUGIN_PATH=/nowhere:/", "module", "failed",
     "in none of /nowhere (no such directory), /, ", "mime-type"},
    {"aDirectoryForTheModule", "mkdir -p ~/p/nporvaneweb.so; export MOZ_PLUGIN_PATH=$HOME/p",
     "module", "failed", "/p (its nporvaneweb.so is no file)", "loads"},
    {"aMissingLibrary", "export MOZ_PLUGIN_PATH=" NEEDY_MODULE_DIRECTORY, "dependencies", "failed",
     "missing: libweb_check_gone.so", "loads"},
    {"noLibraryAtAll", "use /etc/passwd", "dependencies", "failed", "the loader does not list them",
     "loads"},
    {"anotherLibrary", "use " GONE_LIBRARY, "loads", "failed", "it has no NP_Initialize",
     "mime-type"},
    {"anotherPlugin", "export " ODD_MODULE_PATH, "mime-type", "failed",
     "\"application/x-odd::Odd\" instead of \"application/x-orvane-web::Orvane Web\""},
    {"aCrash", "export ODD_MODULE=crash " ODD_MODULE_PATH, "loads", "failed",
     "it crashed (Aborted)", "mime-type"},
    {"noEnd", "export ODD_MODULE=hang " ODD_MODULE_PATH, "loads", "failed", "it took more than 5 s",
     "mime-type"},
    {"twoModules", "mkdir -p ~/.mozilla/plugins; : >~/.mozilla/plugins/nporvaneweb.so", "module",
     "warning", "and ~/.mozilla/plugins/nporvaneweb.so"},

    {"noHome", "unset HOME", "home", "failed", "HOME names no absolute path", "url-file"},
    {"aRelativeHome", "HOME=here", "home", "failed", "HOME names", "log-directory"},
    {"aHomeThatIsNowhere", "HOME=$HOME/nobody", "home", "failed",
     "/nobody: No such file or directory", "directories"},
    {"blanksInTheHome", "mkdir ~/'a b'; ln -s $DATA/../ ~/'a b/.orvane'; HOME=\"$HOME/a b\"",
     "home", "warning", "has blanks"},
    {"noSettings", "rm -r $DATA/etc; move", "directories", "warning",
     "missing: ~/.orvane/pellion/etc"},
    {"aFileForSettings", "rm -r $DATA/etc; : >$DATA/etc", "directories", "failed",
     "~/.orvane/pellion/etc (Not a directory)"},
    {"noLog", "rm -r $DATA/var/log", "log-directory", "warning",
     "missing: ~/.orvane/pellion/var/log"},
    {"aFileForTheLog", "rm -r $DATA/var/log; : >$DATA/var/log", "log-directory", "warning",
     "cannot be written: ~/.orvane/pellion/var/log (Not a directory)"},

    {"anEmptyPathFileWithADefault", "name ''; move", "path-file", "warning",
     "its first line is empty"},
    {"anEmptyPathFile", "name ''", "path-file", "failed", "its first line is empty"},
    {"aRelativePath", "name application", "path-file", "failed",
     "names \"application\", which is no absolute path"},
    {"aBlankBehindThePath", "name \"$HOME/application \"", "path-file", "failed",
     "/application \", which is no directory"},
    {"noApplicationThere", "name $HOME", "path-file", "failed", "where there is no orvanepellion"},
    {"noApplicationAtAll", "rm $DATA/etc/orvanepellion.path", "executable", "failed",
     "orvanepellion is neither in"},
    {"notExecutable", "printf '\\nmore' >>$DATA/etc/orvanepellion.path; chmod 400 ~/application/*",
     "executable", "failed", "~/application/orvanepellion cannot be run: Permission denied"},
    {"aDirectoryForTheApplication", "rm ~/application/*; mkdir ~/application/orvanepellion",
     "executable", "failed", "~/application/orvanepellion is no file"},
    {"blanksInThePath", "mv ~/application ~/'my apps'; name \"$HOME/my apps\"", "executable",
     "warning", "\"~/my apps/orvanepellion\" has blanks"},

    {"noAddress", "publish hello", "url-file", "failed", "holds \"hello\", which is no address",
     "port"},
    {"anotherMachine", "publish http://192.0.2.1:80/", "url-file", "failed", "no address on this",
     "activity"},
    {"noPort", "publish http://127.0.0.1/", "url-file", "failed", "no address", "version"},
    {"aLineBreakBehindTheAddress", "publish $URL'\\n'", "url-file", "warning",
     "/\\x0a\", which the plugin reads as http://127.0.0.1:"},
    {"aPortThatIsTooLarge", "publish http://127.0.0.1:$((PORT + 65536))/", "url-file", "warning",
     "which the plugin reads as http://127.0.0.1:"},
    {"leftOver", "publish http://127.0.0.1:1/", "port", "warning", "nothing listens at 127.0.0.1:1",
     "version"},
    {"noFile", "rm $DATA/var/run/http.uri", "url-file", "warning",
     "the application does not run (there is no ", "port"},
};
#undef ODD_MODULE_PATH
INSTANTIATE_TEST_SUITE_P(Each, BrokenLink, testing::ValuesIn(kBreakages),
                         [](const auto& row) { return row.param.label; });

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

  const Outcome refused = check("--fix", "rm -r $DATA/var; : >$DATA/var");
  EXPECT_THAT(refused.line("directories"), StartsWith("failed"));
  EXPECT_THAT(refused.line("directories"), HasSubstr("Not a directory"));
  setenv("HOME", path("nobody").c_str(), 1);
  EXPECT_THAT(check("--fix").line("home"), StartsWith("failed"));
  EXPECT_FALSE(fs::exists(path("nobody")));
}

// Permissions do not stop root, who checks as somebody else.
TEST_F(WebCheck, namesWhatMayNotBeReadOrWritten) {
  std::string commands =
      "use " ORVANE_MODULE_DIRECTORY
      "/nporvaneweb.so; chmod 0 ~/p/nporvaneweb.so; "
      "cd $DATA; : >var/log/orvane-pellion-browser-plugin.0.log; "
      "chmod 400 var/log/*.log; chmod 500 etc; cp " WEB_CHECK_PROGRAM " ~; cd /; ";
  program = "PATH=$BROWSERS ~/orvane-web-check";
  if (geteuid() == 0) {
    commands += "chown -R 65534:65534 ~";
    program =
        "PATH=$BROWSERS /usr/bin/setpriv --reuid=65534 --regid=65534 --clear-groups "
        "~/orvane-web-check";
  }
  const Outcome outcome = check("", commands);
  EXPECT_EQ(outcome.code, 2);
  const std::string denied = "Permission denied";
  EXPECT_THAT(outcome.line("module"), HasSubstr("/p/nporvaneweb.so cannot be read: " + denied));
  EXPECT_THAT(outcome.line("loads"), HasSubstr("see module"));
  EXPECT_THAT(outcome.line("directories"), StartsWith("failed "));
  EXPECT_THAT(outcome.line("directories"), HasSubstr(dataPath("etc") + " (" + denied));
  EXPECT_THAT(outcome.line("log-directory"), StartsWith("warning "));
  EXPECT_THAT(outcome.line("log-directory"), HasSubstr("plugin.0.log (" + denied));
  fs::permissions(dataPath("etc"), fs::perms::owner_all);
}

TEST_F(WebCheck, namesAnswersThatAreNotTheApplications) {
  const std::string version = httpResponse("{\"version\":\"1\"}");
  const std::string error = httpResponse("{\"error\":{\"code\":-1}}");
  const struct {
    const char *label, *check, *status, *seen, *stopped;
    std::string toVersion, toActivity;
  } kRows[] = {
      {"closes at once", "version", "failed", "no answer (what came is no HTTP", "activity", "",
       ""},
      {"another protocol", "version", "failed", "no HTTP response", "activity", "220 mail\r\n", ""},
      {"no such path", "version", "failed", "status 404, \"{}\"", "activity",
       httpResponse("{}", "404 Not Found"), ""},
      {"a web page", "version", "failed", "\"<html>\"", "activity", httpResponse("<html>"), ""},
      {"no version", "version", "warning", "names no version", "", httpResponse("{}"),
       httpResponse("{\"iteration_token\":\"1\"}")},
      {"an error", "activity", "failed",
       "POST /v4/transfers/activity: status 200, \"{\"error\":", "", version, error},
      {"no token, and much to tell", "activity", "warning", "without a token", "", version,
       httpResponse("{\"transfers\":\"" + std::string(5'000'000, 'x') + "\"}")},
  };
  for (const auto& row : kRows) {
    ScriptedServer server([&row](int connection, const std::string& request, size_t) {
      const bool isFirst = request.find("GET /v4/pellion/version ") == 0;
      sendAll(connection, isFirst ? row.toVersion : row.toActivity);
    });
    writeUrlFile(server.port());
    expectBroken({row.label, "", row.check, row.status, row.seen, row.stopped});
    EXPECT_THAT(server.requests(),
                Each(AnyOf(StartsWith("GET "), HasSubstr("\"app_id\": \"orvane-web-check\""))));
  }
}

TEST_F(WebCheck, doesNotWaitForAServerThatNeverFinishes) {
  for (const bool drips : {false, true}) {
    ScriptedServer server([=](int connection, const std::string&, size_t) {
      pollfd peer = {connection, POLLRDHUP, 0};
      while (poll(&peer, 1, 20) == 0 && (!drips || sendAll(connection, "x"))) {
      }
    });
    writeUrlFile(server.port());
    const auto begin = std::chrono::steady_clock::now();
    expectBroken({drips ? "drips" : "is silent", "", "version", "failed",
                  "no answer (Connection timed out)", "activity"});
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
  }
}

// Another program reads it, and writes the lines.
TEST_F(WebCheck, writesJson) {
  writeFile(path("lines.py"), R"(
import json, sys
report = json.load(sys.stdin)
for check in report.pop("checks"):
  line = "{status:7} {name:13} {seen}".format(**check)
  print(line + ("; to do: " + check["remedy"] if check["remedy"] else ""))
print(report))");
  writeUrlFile("\"\\\x1b\xff\n\xc3\xa4 http://");
  EXPECT_EQ(check("--json").code, 2);
  Outcome plain = check();
  EXPECT_THAT(plain.line("url-file"), HasSubstr("holds \"\"\\\\x1b\\xff\\x0a\xc3\xa4 http://\""));
  plain.lines.back() =
      "{'version': '" ORVANE_VERSION "', 'status': 'failed', 'broken': 'url-file'}";
  const std::string read = "--json | python3 ~/lines.py";
  EXPECT_EQ(check(read, "export PYTHONUTF8=1").lines, plain.lines);

  const auto simulator = start();
  EXPECT_THAT(check(read).lines.back(), HasSubstr("'status': 'ok', 'broken': None"));
}

// Both browsers with all that they need: programs, profiles with the extension, manifests.
const char kBrowsers[] = R"(
mkdir -p $BROWSERS ~/.mozilla/firefox/p ~/.mozilla/native-messaging-hosts
mkdir -p ~/.config/chromium/Default ~/.config/chromium/NativeMessagingHosts
for program in firefox-esr chromium; do
  printf '#!/bin/sh\n' >$BROWSERS/$program
  chmod +x $BROWSERS/$program
done
cp -r $EXTENSION ~/extension
FIREFOX=$HOME/.mozilla/native-messaging-hosts/example.orvane.web_host.json
CHROMIUM=$HOME/.config/chromium/NativeMessagingHosts/example.orvane.web_host.json
ADDONS=$HOME/.mozilla/firefox/p/extensions.json
PREFERENCES=$HOME/.config/chromium/Default/Preferences
SITES=$HOME/.config/orvane-web/sites
manifest() {
  printf '{"name":"example.orvane.web_host","type":"stdio","path":"%s","%s":["%s"]}' "$HOST" $2 $3 >$1
}
firefox() { MANIFEST=$FIREFOX; manifest $FIREFOX allowed_extensions orvane-web@orvane.example; }
chromium() { MANIFEST=$CHROMIUM; manifest $CHROMIUM allowed_origins chrome-extension://$ID/; }
firefox
chromium
addons() { printf '{"addons":[{"id":"orvane-web@orvane.example","version":"%s","active":%s}]}' $1 $2 >$ADDONS; }
addons $VERSION true
preferences() {
  printf '{"extensions":{"settings":{"%s":{"path":"%s/extension","disable_reasons":%s}}}}' $ID $HOME $1 >$PREFERENCES
}
preferences '[]'
host() { printf '#!/bin/sh\n%s\n' "$1" >~/host; chmod +x ~/host; HOST=$HOME/host; }
)";

class BrowserLink : public WebCheck {
 protected:
  BrowserLink() {
    setenv("HOST", WEB_HOST_PROGRAM, 1);
    setenv("EXTENSION", EXTENSION_DIRECTORY, 1);
    setenv("ID", ORVANE_CHROMIUM_ID, 1);
    setenv("VERSION", ORVANE_VERSION, 1);
    unsetenv("XDG_CONFIG_HOME");
    unsetenv("CHROME_CONFIG_HOME");
    unsetenv("ORVANE_WEB_MODULE");
  }
  void SetUp() override {
    WebCheck::SetUp();
    if (fs::exists("/usr/share/webext/orvane-web")) {
      GTEST_SKIP() << "the extension is on this machine";
    }
  }
};

TEST_F(BrowserLink, isNamed) {
  // A row is tried in both browsers unless it names one; "again" writes the manifest anew.
  const std::string flatpak =
      "mkdir -p ~/.local/share/flatpak/app/org.mozilla.firefox "
      "~/.local/share/flatpak/app/org.chromium.Chromium; ";
  const struct {
    const char *label, *browser;
    std::string make;
    const char *check, *status, *seen;
  } kRows[] = {
      {"nothing wrong", "", "", "extension", "ok", "version " ORVANE_VERSION " in "},
      {"nothing wrong", "", "", "sites", "ok", "can be read"},
      {"no browser", "firefox", "rm $BROWSERS/*", "program", "failed", "no firefox-esr in PATH"},
      {"no browser", "chromium", "rm $BROWSERS/*", "program", "failed", "no chromium in PATH"},
      {"a Flatpak alone", "firefox", flatpak + "rm $BROWSERS/*", "program", "failed",
       "a Flatpak (org.mozilla.firefox), in a sandbox: extensions start programs there only"},
      {"a Flatpak alone", "chromium", flatpak + "rm $BROWSERS/*", "program", "failed",
       "a Flatpak (org.chromium.Chromium), in a sandbox: extensions start no programs"},
      {"a script that starts a snap", "firefox",
       "echo 'exec /snap/bin/firefox \"$@\"' >>$BROWSERS/firefox-esr", "program", "failed",
       "no firefox-esr in PATH"},
      {"a Flatpak as well", "", flatpak, "program", "warning", "; there is a Flatpak"},
      {"no extension", "", "rm $ADDONS $PREFERENCES", "extension", "failed", "neither"},
      {"its directory gone", "chromium", "rm -r ~/extension", "extension", "failed", "neither"},
      {"another's key", "chromium", "sed -i 's/\"MII/\"MIJ/' ~/extension/manifest.json",
       "extension", "failed", "neither"},
      {"an older one", "firefox", "addons 3.0.0 true", "extension", "failed",
       "version \"3.0.0\" instead of " ORVANE_VERSION},
      {"an older one", "chromium",
       "sed -i 's/\"version\": \".*\"/\"version\": \"3.0.0\"/' ~/extension/manifest.json",
       "extension", "failed", "version \"3.0.0\""},
      {"switched off", "firefox", "addons $VERSION false", "extension", "failed", "switched off"},
      {"switched off", "chromium", "preferences '[1]'", "extension", "failed", "switched off"},
      {"no manifest", "firefox", "rm $FIREFOX", "manifest", "failed",
       "~/.mozilla/native-messaging-hosts"},
      {"no manifest", "chromium", "rm $CHROMIUM", "manifest", "failed",
       "~/.config/chromium/NativeMessagingHosts"},
      {"no JSON", "", "echo { >$MANIFEST", "manifest", "failed", "it is no manifest"},
      {"another name", "", "sed -i 's/web_host\"/other\"/' $MANIFEST", "manifest", "failed",
       "its name is not"},
      {"another type", "", "sed -i 's/stdio/tcp/' $MANIFEST", "manifest", "failed", "not stdio"},
      {"a relative path", "", "HOST=host; again", "manifest", "failed", "not absolute"},
      {"another caller", "firefox", "sed -i 's/orvane-web@/other@/' $FIREFOX", "manifest", "failed",
       "lack orvane-web@orvane.example"},
      {"another caller", "chromium", "sed -i 's|//.*/\"|//x/\"|' $CHROMIUM", "manifest", "failed",
       "lack chrome-extension://"},
      {"no host", "", "HOST=/nowhere; again", "host", "failed", "/nowhere is not there"},
      {"no program", "", "host ''; chmod -x ~/host; again", "host", "failed", "cannot be run"},
      {"a silent host", "", "host 'exit 3'; again", "host", "failed", "it ended with code 3"},
      {"a host that hangs", "firefox", "host 'while :; do :; done'; again", "host", "failed",
       "more than 5 s"},
      {"no messages", "", "host 'echo Hello, browser'; again", "host", "failed",
       "cannot be understood"},
      {"an older host", "",
       "host \"printf '\\\\033\\\\0\\\\0\\\\0{\\\"hello\\\":1,\\\"version\\\":\\\"1.0\\\"}'\"; "
       "again",
       "host", "failed", "of version \"1.0\""},
      {"no module for it", "",
       "cp $HOST ~/alone; HOST=$HOME/alone; MOZ_PLUGIN_PATH=/nowhere; again", "host-module",
       "failed", "nporvaneweb.so"},
      {"a broken line", "", "mkdir -p ~/.config/orvane-web; echo perhaps >$SITES", "sites",
       "warning", "sites, line 1"},
  };
  for (const auto& row : kRows) {
    for (const std::string browser : {"firefox", "chromium"}) {
      if (row.browser != std::string() && row.browser != browser) {
        continue;
      }
      for (const char* left : {".mozilla", ".config", ".local", "browsers", "extension"}) {
        fs::remove_all(path(left));
      }
      const Outcome outcome = check("--browser " + browser, kBrowsers + browser + "; again() { " +
                                                                browser + "; }\n" + row.make);
      SCOPED_TRACE(browser + ": " + row.label + "\n" + outcome.text);
      const std::string line = outcome.line(browser + "-" + row.check);
      EXPECT_THAT(line, StartsWith(row.status));
      EXPECT_THAT(line, HasSubstr(std::regex_replace(row.seen, std::regex("~"), home())));
      if (row.status != std::string("ok")) {
        EXPECT_THAT(line, HasSubstr("; to do: "));
      }
      for (size_t i = kChecks; i < outcome.lines.size() && outcome.lines[i] != line; ++i) {
        EXPECT_THAT(outcome.lines[i], StartsWith("ok "));
      }
    }
  }
}

TEST_F(BrowserLink, isMadeOnRequestAndLookedAtWhereItIsInstalled) {
  const std::string commands = std::string(kBrowsers) + R"(
mkdir -p ~/prefix/bin ~/prefix/libexec
cp $HOST ~/prefix/libexec; cp $REGISTER $CHECK ~/prefix/bin
rm $FIREFOX $CHROMIUM)";
  setenv("REGISTER", REGISTER_PROGRAM, 1);
  setenv("CHECK", WEB_CHECK_PROGRAM, 1);
  // Its tools are the machine's.
  program = "PATH=$BROWSERS:/usr/bin:/bin ~/prefix/bin/orvane-web-check";
  const Outcome fixed = check("--fix", commands);
  for (const char* browser : {"firefox", "chromium"}) {
    EXPECT_THAT(fixed.line(browser + std::string("-manifest")), HasSubstr(" created " + home()));
    EXPECT_THAT(fixed.line(browser + std::string("-host")),
                HasSubstr("/prefix/libexec/orvane-web-host answers"));
  }
  const Outcome unloaded = check("", "rm -r ~/.mozilla/firefox ~/extension");
  for (const char* browser : {"firefox", "chromium"}) {
    EXPECT_THAT(unloaded.line(browser + std::string("-extension")), StartsWith("failed "));
  }
  const Outcome bare = check("", "rm -r ~/.mozilla ~/.config");
  EXPECT_THAT(bare.line("firefox"), StartsWith("ok "));
  EXPECT_EQ(bare.line("firefox-manifest"), "");
}

TEST_F(WebCheck, refusesWhatItCannotCarryOut) {
  EXPECT_EQ(check("--version").text, "orvane-web-check " ORVANE_VERSION "\n");
  EXPECT_EQ(check("--help").code, 0);
  EXPECT_THAT(check("--help").text, HasSubstr("--fix"));
  for (const char* arguments : {"--nothing", "more", "--json=1", "--browser other"}) {
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
