#ifndef OVLIB_OVLOG_H_
#define OVLIB_OVLOG_H_

#include <atomic>
#include <cstdarg>

// The process-wide log: a ring of ten numbered files rotated by size, or the system log (local
// socket or UDP), or standard error. Every function may be called from any thread; none throws.

enum e_ov_log_type {
  OV_LOG_NONE = 0,
  OV_LOG_SYSLOG = 1,
  OV_LOG_FILE = 2,
  OV_LOG_FUNCTION = 3,
};

// Detail level of the debug lines: above 0 for the coarse ones, above 1 (ov_trace) for the rest.
extern std::atomic<int> g_dbg_level;

// Starts the log. OV_LOG_FILE writes to the ring of `name` ("-" is standard error; a trailing ":N"
// sets the size limit to N mebibytes); OV_LOG_FUNCTION is OV_EINVAL; any other type selects the
// system log. Does nothing when the log runs already. OV_OK or an error number; after an error the
// log counts as started and drops its lines.
int ov_log_init(int type, const char* name);
int ov_log_init_function(void (*function)(const char* text));
int ov_syslog_init(const char* ident);
int ov_log_cleanup();

// Writes one line of at most 4089 characters. Always OV_OK.
int ov_log(const char* format, ...) __attribute__((format(printf, 1, 2)));
int ov_dbg(const char* format, ...) __attribute__((format(printf, 1, 2)));
int ov_err(const char* format, ...) __attribute__((format(printf, 1, 2)));
// ov_dbg for the lines that want a detail level above 1. Evaluates its arguments at any level.
int ov_trace(const char* format, ...) __attribute__((format(printf, 1, 2)));
int ov_log_this(const char* format, int level, va_list args) __attribute__((format(printf, 1, 0)));

// Rotates when the current file is over the limit; opens the file when none is open. OV_EINVAL when
// the log has no ring.
int ov_log_rotate();
// (Re)opens the UDP system-log socket.
int ov_openlog();

void ov_log_set(int enabled);  // 0 silences every level
int ov_log_get();
void ov_dbg_set(int enabled);  // non-zero lets ov_dbg through
int ov_dbg_get();
void ov_dbg_set_all(int level);   // sets g_dbg_level
void ov_log_set_echo(int level);  // levels up to this also go to standard error; -1 for none
int ov_log_set_logfile_size(unsigned mebibytes);  // OV_EINVAL for 0 and from 4096 on

#endif  // OVLIB_OVLOG_H_
