#ifndef OVLIB_OVLOG_INTERNAL_H_
#define OVLIB_OVLOG_INTERNAL_H_

#include <cstdarg>
#include <cstddef>

#include "ovlib/ovsynchron.h"

// What the log's sources share: the dispatch and switches (ovlog.cpp), the lines of a file or of
// standard error (ovlogline.cpp), the ring of files (ovlogring.cpp) and the system log
// (ovlogsys.cpp). Everything here except formatMessage is called with `log_lock` held. It is taken
// before the ring's file lock.

namespace ov_log_internal {

enum e_level { LEVEL_ERR = 0, LEVEL_LOG = 1, LEVEL_DBG = 2, LEVEL_COUNT = 3 };

// The one lock of the log. Recursive: a failed write is reported through the log itself.
extern ov_mutex_t log_lock;

// Writes the level's tag, a blank and at most `limit` bytes of the formatted text, terminated, to
// `message` (limit + 5 bytes). The length without the terminator, or -1 when the formatting fails;
// then the tag stands alone.
int formatMessage(char* message, int limit, int level, const char* format, va_list args)
    __attribute__((format(printf, 4, 0)));

// Lines.
void recordProcessId();
void selectStandardError(bool selected);
void setEchoLevel(int level);
int writeLine(int level, const char* format, va_list args) __attribute__((format(printf, 2, 0)));

// The ring.
int setRingName(const char* name);  // Does not open anything.
int openRingLock();
void closeRing();  // Flushes and closes the file, destroys the file lock.
bool ringIsOpen();
// Appends all of `bytes`, unless a write fails.
void appendToRing(const char* bytes, size_t size);

// The system log. `ident` may be null; it is copied.
void startSystemLog(const char* ident);
void stopSystemLog();
int writeSystemLog(int level, const char* format, va_list args)
    __attribute__((format(printf, 2, 0)));

}  // namespace ov_log_internal

// Opens the ring's current file. The caller holds the ring's file lock, too.
int ov_log_openfile();

#endif  // OVLIB_OVLOG_INTERNAL_H_
