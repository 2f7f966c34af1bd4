#ifndef OVLIB_OVTHREAD_H_
#define OVLIB_OVTHREAD_H_

#include <pthread.h>

// A POSIX thread handle.
struct ov_thread_t {
  pthread_t handle;
};

using ov_thread_routine = void* (*)(void*);

// Starts a thread with default attributes. OV_OK or the error of pthread_create.
int ov_thread_spawn(ov_thread_t* thread, ov_thread_routine routine, void* argument);

// Waits for the thread to end and frees its resources. OV_OK or the error of pthread_join.
int ov_thread_join(ov_thread_t* thread);

// Sleeps for `milliseconds`, also across interruptions by signals. OV_EINVAL for a negative value.
int ov_thread_sleep(int milliseconds);

#endif  // OVLIB_OVTHREAD_H_
