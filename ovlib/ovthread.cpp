#include "ovlib/ovthread.h"

#include <cerrno>
#include <ctime>

#include "ovlib/overrno.h"

int ov_thread_spawn(ov_thread_t* thread, ov_thread_routine routine, void* argument) {
  if (thread == nullptr || routine == nullptr) {
    return OV_EINVAL;
  }
  return pthread_create(&thread->handle, nullptr, routine, argument);
}

int ov_thread_join(ov_thread_t* thread) {
  return thread == nullptr ? OV_EINVAL : pthread_join(thread->handle, nullptr);
}

int ov_thread_sleep(int milliseconds) {
  if (milliseconds < 0) {
    return OV_EINVAL;
  }
  timespec left = {milliseconds / 1000, milliseconds % 1000 * 1000000L};
  while (nanosleep(&left, &left) != 0) {
    if (errno != EINTR) {
      return errno;
    }
  }
  return OV_OK;
}
