#include "tools/pellion_simulator/Log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <ctime>

#include "tools/pellion_simulator/FileIo.h"

namespace pellion_simulator {

namespace {

const off_t kLargestLog = off_t{1024} * 1024;

// Each line is a single append, so that lines of several threads never mix.
std::atomic<int> logFd{-1};
std::atomic<bool> logVerbose{false};

std::string timeStamp() {
  timeval now = {};
  gettimeofday(&now, nullptr);
  tm local = {};
  localtime_r(&now.tv_sec, &local);
  char text[64];
  const size_t length = strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &local);
  snprintf(text + length, sizeof(text) - length, ".%03d ", static_cast<int>(now.tv_usec / 1000));
  return text;
}

}  // namespace

void openLog(const std::string& path, bool verbose) {
  struct stat info = {};
  if (stat(path.c_str(), &info) == 0 && info.st_size > kLargestLog) {
    rename(path.c_str(), (path + ".1").c_str());
  }
  const int fd = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  if (fd < 0) {
    throw FileError("cannot write the log", path, errno);
  }
  logFd = fd;
  logVerbose = verbose;
}

void logLine(const std::string& text) {
  std::string line = timeStamp() + text;
  std::replace_if(
      line.begin(), line.end(), [](unsigned char c) { return c < ' ' || c == 0x7f; }, '?');
  line += '\n';
  // There is nobody to tell when even the log cannot be written.
  for (const int fd : {logFd.load(), logVerbose ? STDERR_FILENO : -1}) {
    if (fd >= 0 && write(fd, line.data(), line.size()) < 0) {
      continue;
    }
  }
}

}  // namespace pellion_simulator
