#include "ovlib/ovtime.h"

#include "ovlib/overrno.h"
#include "ovlib/ovlog.h"

namespace {

constexpr suseconds_t kMicrosecondsPerSecond = 1000000;

}  // namespace

int ov_time_init() {
  tzset();
  return OV_OK;
}

int ov_time_gettimeofday(timeval* now) {
  if (now == nullptr) {
    return OV_EINVAL;
  }
  return ov_errno_result(gettimeofday(now, nullptr));
}

void ov_time_tv_add(timeval* tv, const timeval* add) {
  tv->tv_sec += add->tv_sec;
  tv->tv_usec += add->tv_usec;
  if (tv->tv_usec >= kMicrosecondsPerSecond) {
    tv->tv_sec += tv->tv_usec / kMicrosecondsPerSecond;
    tv->tv_usec %= kMicrosecondsPerSecond;
  }
}

int ov_time_localtime(time_t seconds, tm* out) {
  if (out == nullptr) {
    return OV_EINVAL;
  }
  return ov_errno_result(localtime_r(&seconds, out) != nullptr ? 0 : -1);
}

int ov_time_get_usec_since(const timeval* old, uint64_t* microseconds) {
  if (old == nullptr || microseconds == nullptr) {
    return OV_EINVAL;
  }
  timeval now;
  const int result = ov_time_gettimeofday(&now);
  if (result != OV_OK) {
    return result;
  }
  if (timercmp(old, &now, >)) {
    ov_err("get_usec_since: big old %ld.%ld > %ld.%ld", old->tv_sec, old->tv_usec, now.tv_sec,
           now.tv_usec);
    return OV_EINVAL;
  }
  timeval elapsed;
  timersub(&now, old, &elapsed);
  *microseconds = static_cast<uint64_t>(elapsed.tv_sec) * kMicrosecondsPerSecond +
                  static_cast<uint64_t>(elapsed.tv_usec);
  return OV_OK;
}
