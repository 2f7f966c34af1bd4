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
#include <mutex>

#include "tools/pellion_simulator/FileIo.h"

namespace pellion_simulator {

namespace {

const off_t kLargestLog = off_t{1024} * 1024;

// The file, and the file before it.
class LogFile {
 public:
  // Throws FileError.
  void open(const std::string& path);
  void append(const std::string& line);

 private:
  void openAnew();
  void turnOver();

  std::mutex _mutex;
  std::string _path;  // these three are guarded by _mutex
  FdGuard _fd;
  off_t _size = 0;
};

void LogFile::open(const std::string& path) {
  std::lock_guard<std::mutex> lock(_mutex);
  _path = path;
  openAnew();
}

void LogFile::openAnew() {
  FdGuard fd(::open(_path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600));
  struct stat info = {};
  if (fd.get() < 0 || fstat(fd.get(), &info) != 0) {
    throw FileError("cannot write the log", _path, errno);
  }
  _fd = std::move(fd);
  _size = info.st_size;
}

void LogFile::append(const std::string& line) {
  std::lock_guard<std::mutex> lock(_mutex);
  if (_fd.get() < 0) {
    return;
  }
  if (_size >= kLargestLog) {
    turnOver();
  }
  // There is nobody to tell when even the log cannot be written.
  const ssize_t count = write(_fd.get(), line.data(), line.size());
  _size += std::max<ssize_t>(count, 0);
}

void LogFile::turnOver() {
  try {
    if (rename(_path.c_str(), (_path + ".1").c_str()) == 0) {
      openAnew();
    }
  } catch (const FileError&) {
    // The old one is still open; below it is cut.
  }
  if (_size >= kLargestLog && ftruncate(_fd.get(), 0) == 0) {
    _size = 0;
  }
}

LogFile& logFile() {
  static LogFile file;
  return file;
}

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
  logFile().open(path);
  logVerbose = verbose;
}

void logLine(const std::string& text) {
  std::string line = timeStamp() + text;
  std::replace_if(
      line.begin(), line.end(), [](unsigned char c) { return c < ' ' || c == 0x7f; }, '?');
  line += '\n';
  logFile().append(line);
  if (logVerbose) {
    fputs(line.c_str(), stderr);
  }
}

}  // namespace pellion_simulator
