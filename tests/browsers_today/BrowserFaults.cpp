#include "tests/browsers_today/BrowserFaults.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "tests/support/WaitFor.h"

namespace fs = std::filesystem;

namespace test_support {

namespace {

// What a browser opens and keeps by itself between two looks at it.
constexpr size_t kOtherDescriptors = 100;
constexpr size_t kOtherKib = 1024;

std::string firstLine(const std::string& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

size_t residentKib(pid_t process) {
  std::istringstream sizes(firstLine("/proc/" + std::to_string(process) + "/statm"));
  size_t all = 0;
  size_t resident = 0;
  sizes >> all >> resident;
  return resident * 4;
}

}  // namespace

BrowserFaults::BrowserFaults() {
  setenv("ORVANE_BROWSER_REMOTE", "yes", 1);
  allow("127.0.0.1");
  allow("localhost");
}

std::string BrowserFaults::act(const std::string& action) const {
  return ChildProgram({"python3", REMOTE, GetParam(), profile(), action}).readLine();
}

std::string BrowserFaults::manifest() const {
  return (isFirefox() ? path(".mozilla/native-messaging-hosts")
                      : profile() + "/NativeMessagingHosts") +
         "/example.orvane.web_host.json";
}

void BrowserFaults::replaceHost(const std::string& script, Is is) {
  const std::string file = path("substitute");
  std::string host = BUILD "/tools/web_host/orvane-web-host";
  if (!script.empty()) {
    writeFile(file, "#!/bin/sh\necho $$ >" + path("substitute.pid") + "\n" + script + "\n");
    fs::permissions(file, is == Is::kText ? fs::perms::owner_read : fs::perms::owner_all);
    host = is == Is::kMissing ? path("missing") : file;
  }
  std::string text = readFile(manifest());
  const size_t begin = text.find("\"path\": \"") + 9;
  writeFile(manifest(), text.replace(begin, text.find('"', begin) - begin, host));
}

pid_t BrowserFaults::substitute() const {
  std::string line;
  EXPECT_TRUE(waitFor([&] { return !(line = firstLine(path("substitute.pid"))).empty(); }));
  return std::stoi(line);
}

BrowserFaults::Levels BrowserFaults::levels() const {
  Levels levels = {};
  levels.hosts = hosts();
  for (const char* folder : {".orvane", ".config/orvane-web"}) {
    for (const auto& entry : fs::recursive_directory_iterator(path(folder))) {
      levels.files += entry.is_regular_file() ? 1 : 0;
    }
  }
  levels.files += countEntries(home());
  if (browser() > 0) {  // it was not the fault that it ends
    const std::string told = act("levels");
    EXPECT_EQ(std::sscanf(told.c_str(), "[%zu, %zu, %zu]", &levels.rules, &levels.extensionKib,
                          &levels.pageKib),
              3)
        << told;
    levels.descriptors = countEntries("/proc/" + std::to_string(browser()) + "/fd");
  }
  return levels;
}

void BrowserFaults::beginRow() {
  if (_before.descriptors == 0) {
    // As a browser is that had one such page already.
    open(address("fault.html?play=once"));
    EXPECT_EQ(waitForLine("call: "), "call: 3.1");
    expectDone();
    expectHosts(0);
    _before = levels();
    EXPECT_GT(_before.extensionKib, 0u);
  }
  fs::remove(path("substitute.pid"));
  fs::remove(path("files/told"));
}

void BrowserFaults::expectHosts(size_t count) {
  EXPECT_TRUE(waitFor([&] { return hosts() == count; })) << hosts() << " and not " << count;
}

size_t BrowserFaults::hostsKib() const {
  size_t kib = 0;
  for (const pid_t host : running("orvane-web-host")) {
    kib += residentKib(host);
  }
  return kib;
}

void BrowserFaults::endRow(const std::string& fault, const std::string& outcome) {
  fs::remove(path("substitute.pid"));
  fs::remove(path("substitute"));
  expectHosts(0);
  Levels after = {};
  EXPECT_TRUE(waitFor([&] {
    after = levels();
    return after.files <= _before.files && (browser() < 0 || after.rules == _before.rules) &&
           after.descriptors <= _before.descriptors + kOtherDescriptors &&
           after.extensionKib <= _before.extensionKib + kOtherKib;
  })) << fault;
  printRow(fault, outcome, after);
}

void BrowserFaults::printRow(const std::string& fault, const std::string& outcome,
                             const Levels& after) const {
  std::ostringstream row;
  row << "browser-row\t" << fault << '\t' << outcome << '\t' << GetParam();
  for (const auto level : {&Levels::hosts, &Levels::files, &Levels::rules, &Levels::descriptors,
                           &Levels::extensionKib}) {
    row << '\t';
    if (level != &Levels::rules || !isFirefox()) {
      row << _before.*level << '>' << after.*level;
    }
  }
  std::printf("%s\n", row.str().c_str());
  std::fflush(stdout);
}

}  // namespace test_support
