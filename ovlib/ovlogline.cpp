#include <pthread.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "ovlib/overrno.h"
#include "ovlib/ovlog.h"
#include "ovlib/ovlog_internal.h"
#include "ovlib/ovtime.h"

namespace ov_log_internal {

namespace {

constexpr size_t kHeaderArea = 256;
constexpr size_t kMessageArea = 4096;
constexpr int kTextLimit = 4089;
constexpr size_t kMessageLimit = 4093;

int echo_to_stderr = -1;
int log_to_stderr = 0;
int mypid = 0;

char msg_last[kHeaderArea + kMessageArea];
size_t msg_last_length = 0;
int msg_count = 0;

// The last second that was written, as a header shows it.
tm now;
time_t stamp_second = -1;
char stamp[64];

// The plain header of that second and of the thread that wrote last; no length, no header. Making
// it for each line would cost a tenth of the line's time.
char plain_header[kHeaderArea];
size_t plain_length = 0;
unsigned plain_thread = 0;

bool isRepeat(const char* message, size_t length) {
  return length == msg_last_length && memcmp(message, msg_last, length) == 0;
}

void remember(const char* message, size_t length) {
  memcpy(msg_last, message, length);
  msg_last_length = length;
}

void writeToStandardError(const char* text, size_t size) {
  while (size > 0) {
    const ssize_t written = write(STDERR_FILENO, text, size);
    if (written <= 0) {
      return;
    }
    text += written;
    size -= static_cast<size_t>(written);
  }
}

// Makes `stamp` show the current second.
bool refreshStamp() {
  timeval current;
  if (ov_time_gettimeofday(&current) != OV_OK) {
    return false;
  }
  if (current.tv_sec == stamp_second) {
    return true;
  }
  if (ov_time_localtime(current.tv_sec, &now) != OV_OK) {
    return false;
  }
  snprintf(stamp, sizeof(stamp), "%04d-%02d-%02d %02d:%02d:%02d", now.tm_year + 1900,
           now.tm_mon + 1, now.tm_mday, now.tm_hour, now.tm_min, now.tm_sec);
  stamp_second = current.tv_sec;
  plain_length = 0;
  return true;
}

size_t formatHeader(char* header) {
  const unsigned process = static_cast<unsigned>(mypid);
  const unsigned thread = static_cast<unsigned>(pthread_self());
  // Deliberate: the thread is eight digits wide, but unpadded behind a repeat note, and the note
  // says "1 times".
  if (msg_count != 0) {
    return static_cast<size_t>(snprintf(header, kHeaderArea,
                                        "Last message repeated %d times\n%s [%x-%x] ", msg_count,
                                        stamp, process, thread));
  }
  if (thread != plain_thread || plain_length == 0) {
    plain_thread = thread;
    plain_length = static_cast<size_t>(
        snprintf(plain_header, sizeof(plain_header), "%s [%x-%08x] ", stamp, process, thread));
  }
  memcpy(header, plain_header, plain_length);
  return plain_length;
}

// Writes the line of a message whose buffer has the header area in front of it.
void writeToFile(char* message, size_t length) {
  char header[kHeaderArea];
  const size_t header_length = formatHeader(header);
  char* line = message - header_length;
  memcpy(line, header, header_length);
  appendToRing(line, header_length + length);
  msg_count = 0;
  ov_log_rotate();
}

}  // namespace

void recordProcessId() {
  mypid = getpid();
  plain_length = 0;
}

void selectStandardError(bool selected) {
  log_to_stderr = selected ? 1 : 0;
}

void setEchoLevel(int level) {
  echo_to_stderr = level;
}

int writeLine(int level, const char* format, va_list args) {
  // Deliberate: a log that could not be opened stays silent until its cleanup; no line tries again.
  if (!ringIsOpen() && log_to_stderr == 0) {
    return OV_OK;
  }
  char buffer[kHeaderArea + kMessageArea];
  char* message = buffer + kHeaderArea;
  const int formatted = formatMessage(message, kTextLimit, level, format, args);
  size_t length = formatted < 0 ? strlen(message) : static_cast<size_t>(formatted);
  if (isRepeat(message, length)) {
    ++msg_count;
    return OV_OK;
  }
  remember(message, length);
  length = length < kMessageLimit ? length : kMessageLimit;
  message[length++] = '\n';
  if (log_to_stderr != 0 || level <= echo_to_stderr) {
    writeToStandardError(message, length);
  }
  if (log_to_stderr == 0 && refreshStamp()) {
    writeToFile(message, length);
  }
  return OV_OK;
}

}  // namespace ov_log_internal
