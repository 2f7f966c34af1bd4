#include "ovlib/ovsynchron.h"

#include "ovlib/overrno.h"
#include "ovlib/ovtime.h"

int ov_mutex_init(ov_mutex_t* mutex) {
  return mutex == nullptr ? OV_EINVAL : pthread_mutex_init(&mutex->handle, nullptr);
}

int ov_mutex_acquire(ov_mutex_t* mutex) {
  return mutex == nullptr ? OV_EINVAL : pthread_mutex_lock(&mutex->handle);
}

int ov_mutex_release(ov_mutex_t* mutex) {
  return mutex == nullptr ? OV_EINVAL : pthread_mutex_unlock(&mutex->handle);
}

int ov_mutex_destroy(ov_mutex_t* mutex) {
  return mutex == nullptr ? OV_EINVAL : pthread_mutex_destroy(&mutex->handle);
}

int ov_cond_init(ov_cond_t* cond, ov_mutex_t* mutex) {
  if (cond == nullptr || mutex == nullptr) {
    return OV_EINVAL;
  }
  cond->mutex = mutex;
  return pthread_cond_init(&cond->handle, nullptr);
}

int ov_cond_signal(ov_cond_t* cond) {
  return cond == nullptr ? OV_EINVAL : pthread_cond_signal(&cond->handle);
}

int ov_cond_wait(ov_cond_t* cond) {
  return cond == nullptr ? OV_EINVAL : pthread_cond_wait(&cond->handle, &cond->mutex->handle);
}

int ov_cond_timedwait(ov_cond_t* cond, const timeval* timeout) {
  if (cond == nullptr || timeout == nullptr) {
    return ov_cond_wait(cond);
  }
  timeval deadline;
  const int result = ov_time_gettimeofday(&deadline);
  if (result != OV_OK) {
    return result;
  }
  ov_time_tv_add(&deadline, timeout);
  const timespec until = {deadline.tv_sec, deadline.tv_usec * 1000};
  return pthread_cond_timedwait(&cond->handle, &cond->mutex->handle, &until);
}

int ov_cond_destroy(ov_cond_t* cond) {
  return cond == nullptr ? OV_EINVAL : pthread_cond_destroy(&cond->handle);
}
