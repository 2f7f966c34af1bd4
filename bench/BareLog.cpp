#include "bench/BareLog.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <stdexcept>

#include "bench/BenchHome.h"

namespace bench {

namespace {

constexpr off_t kLimit = 10 * 1024 * 1024;
constexpr size_t kLineSize = 4096 + 256;

}  // namespace

BareLog& BareLog::get() {
  static BareLog log(BenchHome::get().besideLog("bare.log"), Size::kCounted);
  return log;
}

BareLog::BareLog(const std::string& path, Size size)
    : _process(static_cast<unsigned>(getpid())),
      _file(open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0660)),
      _size(size) {
  if (_file < 0) {
    throw std::runtime_error("cannot open " + path);
  }
}

BareLog::~BareLog() {
  close(_file);
}

void BareLog::refreshStamp() {
  timeval now;
  gettimeofday(&now, nullptr);
  if (now.tv_sec == _second) {
    return;
  }
  tm local;
  localtime_r(&now.tv_sec, &local);
  strftime(_stamp, sizeof(_stamp), "%Y-%m-%d %H:%M:%S", &local);
  _second = now.tv_sec;
}

void BareLog::line(const char* level, const char* format, ...) {
  char text[kLineSize];
  std::lock_guard<std::mutex> lock(_mutex);
  refreshStamp();
  const int head = snprintf(text, sizeof(text), "%s [%x-%08x] %s ", _stamp, _process,
                            static_cast<unsigned>(pthread_self()), level);
  va_list args;
  va_start(args, format);
  const int length = vsnprintf(text + head, 4090, format, args);
  va_end(args);
  const int end = head + (length < 4089 ? length : 4089);
  text[end] = '\n';
  const ssize_t written = write(_file, text, static_cast<size_t>(end) + 1);
  if (written != end + 1) {
    throw std::runtime_error("the bare log cannot be written");
  }
  if (sizeAfter(written) > kLimit) {
    _counted = ftruncate(_file, 0);
  }
}

// Counting alone would miss what other processes write.
off_t BareLog::sizeAfter(ssize_t written) {
  struct stat status;
  if (_size == Size::kAsked) {
    return fstat(_file, &status) == 0 ? status.st_size : 0;
  }
  return _counted += written;
}

}  // namespace bench
