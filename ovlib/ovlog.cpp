#include "ovlib/ovlog.h"

#include <cstdio>
#include <cstring>

#include "ovlib/overrno.h"
#include "ovlib/ovlog_internal.h"

using namespace ov_log_internal;

std::atomic<int> g_dbg_level{0};

ov_mutex_t ov_log_internal::log_lock = {PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP};

namespace {

constexpr size_t kNameLimit = 8192;
constexpr int kFunctionTextLimit = 4091;
constexpr const char* g_levelstr[LEVEL_COUNT] = {"ERR", "LOG", "DBG"};

std::atomic<int> logtype{OV_LOG_NONE};
std::atomic<int> g_log_enabled{1};
std::atomic<int> g_debug_enabled{0};
std::atomic<void (*)(const char*)> log_func{nullptr};

int initFile(const char* name) {
  const bool standard_error = name != nullptr && strcmp(name, "-") == 0;
  selectStandardError(standard_error);
  if (name == nullptr) {
    return OV_EINVAL;
  }
  if (strlen(name) > kNameLimit) {
    return OV_EPATHMAX;
  }
  const int lock_result = openRingLock();
  if (lock_result != OV_OK) {
    return lock_result;
  }
  if (standard_error) {
    recordProcessId();
    return OV_OK;
  }
  const int name_result = setRingName(name);
  if (name_result != OV_OK) {
    return name_result;
  }
  const int result = ov_log_rotate();
  recordProcessId();
  return result;
}

int initSystemLog(const char* ident) {
  logtype = OV_LOG_SYSLOG;
  startSystemLog(ident);
  recordProcessId();
  return OV_OK;
}

__attribute__((format(printf, 2, 0))) int callFunction(int level, const char* format,
                                                       va_list args) {
  char text[kFunctionTextLimit + 5];
  if (formatMessage(text, kFunctionTextLimit, level, format, args) < 0) {
    return OV_ELOG;
  }
  log_func.load()(text);
  return OV_OK;
}

}  // namespace

int ov_log_internal::formatMessage(char* message, int limit, int level, const char* format,
                                   va_list args) {
  constexpr int kTagLength = 4;
  memcpy(message, g_levelstr[level], kTagLength - 1);
  message[kTagLength - 1] = ' ';
  const int length = vsnprintf(message + kTagLength, static_cast<size_t>(limit) + 1, format, args);
  if (length < 0) {
    message[kTagLength] = '\0';
    return -1;
  }
  return kTagLength + (length < limit ? length : limit);
}

int ov_log_init(int type, const char* name) {
  OvLock lock(&log_lock);
  if (logtype != OV_LOG_NONE) {
    return OV_OK;
  }
  if (type == OV_LOG_FUNCTION) {
    return OV_EINVAL;
  }
  if (type != OV_LOG_FILE) {
    return initSystemLog(nullptr);
  }
  // Deliberate: before any check, so that a failed start is not tried again and lines are dropped.
  logtype = OV_LOG_FILE;
  return initFile(name);
}

int ov_log_init_function(void (*function)(const char* text)) {
  OvLock lock(&log_lock);
  if (logtype != OV_LOG_NONE) {
    return OV_OK;
  }
  if (function == nullptr) {
    return OV_EINVAL;
  }
  log_func = function;
  recordProcessId();
  logtype = OV_LOG_FUNCTION;
  return OV_OK;
}

int ov_syslog_init(const char* ident) {
  OvLock lock(&log_lock);
  return logtype != OV_LOG_NONE ? static_cast<int>(OV_OK) : initSystemLog(ident);
}

int ov_log_cleanup() {
  OvLock lock(&log_lock);
  if (logtype == OV_LOG_SYSLOG) {
    logtype = OV_LOG_NONE;
    stopSystemLog();
  } else if (logtype == OV_LOG_FILE) {
    // Deliberate: repeats that no line has told of yet are not written.
    closeRing();
    logtype = OV_LOG_NONE;
  }
  return OV_OK;
}

int ov_log_this(const char* format, int level, va_list args) {
  if (g_log_enabled == 0) {
    return OV_OK;
  }
  if (format == nullptr || level < LEVEL_ERR || level >= LEVEL_COUNT) {
    return OV_EINVAL;
  }
  // The function runs without the lock, since it may do anything. It is never taken back.
  if (logtype == OV_LOG_FUNCTION) {
    return callFunction(level, format, args);
  }
  OvLock lock(&log_lock);
  switch (logtype) {
    case OV_LOG_SYSLOG:
      return writeSystemLog(level, format, args);
    case OV_LOG_FILE:
      return writeLine(level, format, args);
    default:
      return OV_EINVAL;
  }
}

int ov_log(const char* format, ...) {
  if (g_log_enabled != 0) {
    va_list args;
    va_start(args, format);
    ov_log_this(format, LEVEL_LOG, args);
    va_end(args);
  }
  return OV_OK;
}

int ov_dbg(const char* format, ...) {
  if (g_debug_enabled != 0) {
    va_list args;
    va_start(args, format);
    ov_log_this(format, LEVEL_DBG, args);
    va_end(args);
  }
  return OV_OK;
}

int ov_trace(const char* format, ...) {
  if (g_debug_enabled != 0 && g_dbg_level > 1) {
    va_list args;
    va_start(args, format);
    ov_log_this(format, LEVEL_DBG, args);
    va_end(args);
  }
  return OV_OK;
}

int ov_err(const char* format, ...) {
  va_list args;
  va_start(args, format);
  ov_log_this(format, LEVEL_ERR, args);
  va_end(args);
  return OV_OK;
}

void ov_log_set(int enabled) {
  g_log_enabled = enabled;
}

int ov_log_get() {
  return g_log_enabled;
}

void ov_dbg_set(int enabled) {
  g_debug_enabled = enabled;
}

int ov_dbg_get() {
  return g_debug_enabled;
}

void ov_dbg_set_all(int level) {
  g_dbg_level = level;
}

void ov_log_set_echo(int level) {
  OvLock lock(&log_lock);
  setEchoLevel(level);
}
