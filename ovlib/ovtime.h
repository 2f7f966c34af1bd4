#ifndef OVLIB_OVTIME_H_
#define OVLIB_OVTIME_H_

#include <sys/time.h>

#include <cstdint>
#include <ctime>

// Prepares the time zone data that ov_time_localtime reads. Always OV_OK.
int ov_time_init();

// The time of day. OV_OK or the errno of the failed call.
int ov_time_gettimeofday(timeval* now);

// Adds `add` to `tv`; microseconds above 999999 are carried into the seconds.
void ov_time_tv_add(timeval* tv, const timeval* add);

// Broken-down local time of `seconds` since the epoch (reentrant).
int ov_time_localtime(time_t seconds, tm* out);

// Microseconds from `old` to now. OV_EINVAL for null arguments and, with a log line, for an `old`
// that lies in the future.
int ov_time_get_usec_since(const timeval* old, uint64_t* microseconds);

#endif  // OVLIB_OVTIME_H_
