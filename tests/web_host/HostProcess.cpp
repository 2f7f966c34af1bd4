#include "tests/web_host/HostProcess.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

#include "tests/support/Sandbox.h"
#include "tests/support/WaitFor.h"
#include "tools/json/JsonDocument.h"
#include "tools/web_host/FrameParser.h"

namespace test_support {

HostProcess::HostProcess(const std::string& errorFile, bool inWindow)
    : _errorFile(errorFile),
      _program(
          inWindow
              ? std::vector<std::string>{BROWSER_WINDOW, "Browser", WEB_HOST_PROGRAM, "manifest"}
              : std::vector<std::string>{WEB_HOST_PROGRAM, "chrome-extension://extension/"},
          {"", errorFile}) {}

HostProcess::~HostProcess() {
  closeInput();
  wait();
}

void HostProcess::sendBytes(const std::string& bytes) {
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t size = write(_program.input(), bytes.data() + done, bytes.size() - done);
    if (size <= 0) {
      throw std::runtime_error("the host does not read");
    }
    done += static_cast<size_t>(size);
  }
}

void HostProcess::send(const std::string& text) {
  sendBytes(web_host::frameOf(text));
}

void HostProcess::greet(const std::string& origin, const std::string& address, bool isPrivate) {
  send(R"({"hello":1,"origin":")" + origin + R"(","address":")" + address +
       R"(","agent":"Browser/1","browser":"firefox","version":"1","private":)" +
       (isPrivate ? "true}" : "false}"));
  EXPECT_EQ(receive(), R"({"hello":1,"version":")" ORVANE_VERSION R"("})");
}

std::string HostProcess::receiveFrame() {
  std::string bytes;
  size_t wanted = sizeof(uint32_t);
  while (bytes.size() < wanted) {
    pollfd watched = {_program.output(), POLLIN, 0};
    if (poll(&watched, 1, 20000) <= 0) {
      throw std::runtime_error("no message");
    }
    char buffer[65536];
    const ssize_t size =
        read(_program.output(), buffer, std::min(sizeof(buffer), wanted - bytes.size()));
    if (size <= 0) {
      return std::string();
    }
    bytes.append(buffer, static_cast<size_t>(size));
    if (bytes.size() == sizeof(uint32_t)) {
      wanted += *reinterpret_cast<const uint32_t*>(bytes.data());
    }
  }
  EXPECT_LE(wanted, 1024u * 1024);
  return bytes.substr(sizeof(uint32_t));
}

std::string HostProcess::receive() {
  std::string text, place;
  for (_frames = 1;; ++_frames) {
    std::string frame = receiveFrame();
    if (frame.compare(0, 9, "{\"whole\":") == 0) {
      frame = frame.substr(9, frame.size() - 10);
      return frame.replace(frame.find(place), place.size(), "\"" + text + "\"");
    }
    if (frame.compare(0, 9, "{\"piece\":") != 0) {
      return frame;
    }
    const size_t start = frame.find(",\"text\":\"");  // as JSON, which pieces do not split
    place = "{\"v\":\"pieces\",\"id\":" + frame.substr(9, start - 9) + "}";
    EXPECT_NO_THROW(json::JsonDocument{frame});
    text += frame.substr(start + 9, frame.size() - start - 11);
  }
}

int HostProcess::wait() {
  if (!waitFor([this] { return _program.hasEnded(); })) {
    _program.signal(SIGKILL);
  }
  const std::string errors = readFile(_errorFile);
  EXPECT_EQ(errors.find("Sanitizer"), std::string::npos) << errors;
  return _program.wait();
}

void addOption(const char* variable, const std::string& option) {
  if (const char* options = std::getenv(variable)) {
    setenv(variable, (std::string(options) + ":" + option).c_str(), 1);
  }
}

void setUpHost(const std::string& home) {
  addOption("TSAN_OPTIONS", "report_thread_leaks=0");  // an end without order joins no thread
  signal(SIGPIPE, SIG_IGN);
  setenv("ORVANE_WEB_MODULE", MODULE, 1);
  setenv("XDG_CONFIG_DIRS", (home + "/etc").c_str(), 1);
  setenv("XDG_RUNTIME_DIR", home.c_str(), 1);
  unsetenv("XDG_CONFIG_HOME");
}

std::string makeElement(const std::string& params) {
  return R"({"n":1,"op":"make","element":1,"params":[["type","application/x-orvane-web"])" +
         params + R"(],"width":300,"height":80})";
}

}  // namespace test_support
