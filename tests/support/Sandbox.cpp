#include "tests/support/Sandbox.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "tests/support/WaitFor.h"

namespace fs = std::filesystem;

namespace test_support {

Sandbox::Sandbox() {
  std::string name = fs::temp_directory_path() / "orvane-test-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("cannot make a private home directory");
  }
  _home = fs::canonical(name);
  for (const char* folder : {"etc", "var/log", "var/run"}) {
    fs::create_directories(dataPath(folder));
  }
  setenv("HOME", _home.c_str(), 1);
}

Sandbox::~Sandbox() {
  std::error_code ignored;
  fs::remove_all(_home, ignored);
}

void Sandbox::writeUrlFile(const std::string& url) const {
  writeFile(dataPath("var/run/http.uri"), url);
}

void Sandbox::writeUrlFile(int port) const {
  writeUrlFile("http://127.0.0.1:" + std::to_string(port) + "/");
}

void Sandbox::writePathFile(const std::string& directory) const {
  writeFile(dataPath("etc/orvanepellion.path"), directory);
}

void Sandbox::installApplication(const std::string& script) const {
  fs::create_directories(path("application"));
  const std::string program = path("application/orvanepellion");
  writeFile(program, script);
  fs::permissions(program, fs::perms::owner_all);
  writePathFile(path("application"));
}

void Sandbox::endApplication() const {
  const std::string pidFile = dataPath("var/run/process.pid");
  const std::string pid = readFile(pidFile);
  if (!pid.empty()) {
    kill(static_cast<pid_t>(std::stol(pid)), SIGTERM);
    EXPECT_TRUE(waitFor([&] { return !fs::exists(pidFile); }));
  }
}

std::string Sandbox::logText() const {
  std::string text;
  for (char digit = '0'; digit <= '9'; ++digit) {
    text +=
        readFile(dataPath(std::string("var/log/orvane-pellion-browser-plugin.") + digit + ".log"));
  }
  return text;
}

std::vector<std::string> Sandbox::logLines(const std::string& text) const {
  std::vector<std::string> found;
  std::istringstream lines(logText());
  for (std::string line; std::getline(lines, line);) {
    if (line.find(text) != std::string::npos) {
      found.push_back(line);
    }
  }
  return found;
}

testing::AssertionResult Sandbox::logged(const std::vector<std::string>& texts) const {
  const std::string log = logText();
  size_t position = 0;
  for (const std::string& text : texts) {
    position = log.find(text, position);
    if (position == std::string::npos) {
      return testing::AssertionFailure() << "no \"" << text << "\" there in\n" << log;
    }
    position += text.size();
  }
  return testing::AssertionSuccess();
}

void skipWhereAnApplicationIsInstalled() {
  for (const char* file : {"/opt/orvane/pellion/bin/orvanepellion", "/opt/orvane/bin/orvanepellion",
                           "/usr/local/bin/orvanepellion", "/usr/bin/orvanepellion"}) {
    if (fs::exists(file)) {
      GTEST_SKIP() << file << " is on this machine";
    }
  }
}

void writeFile(const std::string& path, const std::string& content) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << content;
  if (!file.flush()) {
    throw std::runtime_error("cannot write " + path);
  }
}

void makeFile(const std::string& path, size_t size) {
  std::string content(size, '\0');
  for (size_t i = 0; i < size; ++i) {
    content[i] = static_cast<char>(i * 2654435761u >> 13);
  }
  writeFile(path, content);
}

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

size_t countEntries(const std::string& directory) {
  size_t count = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator(directory)) {
    ++count;
  }
  return count;
}

size_t countDescriptors() {
  return countEntries("/proc/self/fd");
}

size_t countThreads() {
  constexpr unsigned kExiting = 0x4;  // PF_EXITING, in the seventh field after the name
  size_t count = 0;
  for (const auto& task : fs::directory_iterator("/proc/self/task")) {
    const std::string status = readFile(task.path() / "stat");
    const size_t name = status.rfind(") ");
    unsigned flags = kExiting;
    if (name != std::string::npos) {
      std::sscanf(status.c_str() + name, ") %*c %*d %*d %*d %*d %*d %u", &flags);
    }
    count += (flags & kExiting) == 0 ? 1 : 0;
  }
  return count;
}

}  // namespace test_support
