#ifndef OVLIB_OVSYNCHRON_H_
#define OVLIB_OVSYNCHRON_H_

#include <pthread.h>
#include <sys/time.h>

// A POSIX mutex; one made by ov_mutex_init is not recursive.
struct ov_mutex_t {
  pthread_mutex_t handle;
};

// A POSIX condition variable with the mutex it waits with. The mutex is borrowed and must outlive
// it.
struct ov_cond_t {
  pthread_cond_t handle;
  ov_mutex_t* mutex;
};

// Each returns OV_OK or the error of the POSIX call; null handles are OV_EINVAL.
int ov_mutex_init(ov_mutex_t* mutex);
int ov_mutex_acquire(ov_mutex_t* mutex);
int ov_mutex_release(ov_mutex_t* mutex);
int ov_mutex_destroy(ov_mutex_t* mutex);

int ov_cond_init(ov_cond_t* cond, ov_mutex_t* mutex);
int ov_cond_signal(ov_cond_t* cond);
// The caller holds the mutex. May wake without a signal.
int ov_cond_wait(ov_cond_t* cond);
// Like ov_cond_wait, at most `timeout` long from now (seconds and microseconds); without limit when
// null. OV_ETIMEDOUT when the time is over.
int ov_cond_timedwait(ov_cond_t* cond, const timeval* timeout);
int ov_cond_destroy(ov_cond_t* cond);

// Holds a mutex for a scope.
class OvLock {
 public:
  explicit OvLock(ov_mutex_t* mutex) : _mutex(mutex) { ov_mutex_acquire(_mutex); }
  ~OvLock() { ov_mutex_release(_mutex); }
  OvLock(const OvLock&) = delete;
  OvLock& operator=(const OvLock&) = delete;

 private:
  ov_mutex_t* _mutex;
};

#endif  // OVLIB_OVSYNCHRON_H_
