#include "tools/web_check/Handshake.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <system_error>

#include "tools/json/JsonDocument.h"
#include "tools/json/JsonError.h"
#include "tools/web_check/BoundedChild.h"

using json::JsonDocument;

namespace web_check {

namespace {

constexpr int kAnswerMs = 5000;
constexpr int kNotStarted = 127;

std::string frame(const std::string& json) {
  const uint32_t size = static_cast<uint32_t>(json.size());
  std::string bytes(reinterpret_cast<const char*>(&size), sizeof(size));
  return bytes + json;
}

// The end to read of a pipe that holds the bytes and then ends.
int pipeWith(const std::string& bytes) {
  int pipe[2];
  if (pipe2(pipe, O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "no pipe");
  }
  const ssize_t written = write(pipe[1], bytes.data(), bytes.size());
  close(pipe[1]);
  if (written != static_cast<ssize_t>(bytes.size())) {
    close(pipe[0]);
    throw std::system_error(errno, std::generic_category(), "no pipe");
  }
  return pipe[0];
}

std::string greeting(const Browser& browser) {
  return frame(
             R"({"hello":1,"origin":"https://orvane.invalid","address":"https://orvane.invalid/",)"
             R"("agent":"orvane-web-check","browser":")" +
             std::string(browser.name) +
             R"(","version":")" ORVANE_VERSION R"(","private":false,"page":false})") +
         frame(R"({"n":1,"op":"state"})");
}

[[noreturn]] void start(const std::string& host, const std::string& first,
                        const std::string& second) {
  execl(host.c_str(), host.c_str(), first.c_str(), second.empty() ? nullptr : second.c_str(),
        nullptr);
  _exit(kNotStarted);
}

void readMessage(const std::string& text, Handshake* result) {
  const JsonDocument message(text);
  if (message.root().member("hello") != nullptr) {
    result->version = JsonDocument::string(message.root(), {"version"}).value_or("");
  } else if (message.root().member("answer") != nullptr) {
    result->modulePath =
        JsonDocument::string(message.root(), {"value", "module", "path"}).value_or("");
    result->moduleError =
        JsonDocument::string(message.root(), {"value", "module", "error"}).value_or("");
  } else {
    result->error = JsonDocument::string(message.root(), {"fatal"}).value_or("");
  }
}

void readFrames(const std::string& bytes, Handshake* result) {
  uint32_t size = 0;
  for (size_t at = 0; at + sizeof(size) <= bytes.size(); at += size) {
    std::memcpy(&size, bytes.data() + at, sizeof(size));
    at += sizeof(size);
    if (size > bytes.size() - at) {
      throw json::JsonError("not the messages of the host");
    }
    readMessage(bytes.substr(at, size), result);
  }
}

std::string describeEnd(const ChildResult& result) {
  if (result.timedOut) {
    return "it took more than " + std::to_string(kAnswerMs / 1000) + " s";
  }
  if (WIFSIGNALED(result.waitStatus)) {
    return "it crashed (" + std::string(strsignal(WTERMSIG(result.waitStatus))) + ")";
  }
  return WEXITSTATUS(result.waitStatus) == kNotStarted
             ? "it cannot be started"
             : "it ended with code " + std::to_string(WEXITSTATUS(result.waitStatus));
}

}  // namespace

Handshake shakeHands(const Browser& browser, const std::string& host, const std::string& manifest) {
  const bool isFirefox = browser.name == std::string("firefox");
  const int input = pipeWith(greeting(browser));
  const ChildResult child = runBounded(
      [&](int output) {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(input, STDIN_FILENO);
        dup2(output, STDOUT_FILENO);
        dup2(nowhere, STDERR_FILENO);
        start(host, isFirefox ? manifest : browser.caller, isFirefox ? browser.caller : "");
      },
      kAnswerMs);
  close(input);
  Handshake result;
  try {
    readFrames(child.output, &result);
  } catch (const json::JsonError& error) {
    result.error = std::string("its answer cannot be understood: ") + error.what();
  }
  if (result.version.empty() && result.error.empty()) {
    result.error = "it does not answer: " + describeEnd(child);
  }
  return result;
}

std::string siteComplaints(const std::string& host) {
  const ChildResult child = runBounded(
      [&](int output) {
        const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
        dup2(nowhere, STDIN_FILENO);
        dup2(nowhere, STDOUT_FILENO);
        dup2(output, STDERR_FILENO);
        start(host, "--sites", "");
      },
      kAnswerMs);
  return child.timedOut || child.waitStatus != 0 ? describeEnd(child) + " " + child.output
                                                 : child.output;
}

}  // namespace web_check
