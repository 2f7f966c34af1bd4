#ifndef OVLIB_OVPROCESS_H_
#define OVLIB_OVPROCESS_H_

#include <sys/types.h>

#include <cstddef>

enum e_ov_process_state {
  OV_PROCESS_ACTIVE = 0,
  OV_PROCESS_EXITED = 1,
  OV_PROCESS_TERMINATED = 2,
};

struct ov_process_t {
  pid_t pid;
};

// Runs `command` through "/bin/sh -c" in a child that has no descriptor of ours above 2. Costs time
// in proportion to the open descriptors, not to the limit. OV_OK or the error of the fork; a
// command that cannot be run is seen later, through ov_process_exited.
int ov_process_create(ov_process_t* process, const char* command);

// The state of a child, without waiting. `exit_code` is written when it ended: its exit status, or
// -1 when a signal ended it. A child that ended is reaped and must not be asked for again. OV_OK or
// the errno of the failed wait.
int ov_process_exited(ov_process_t* process, int* state, int* exit_code);

// Copies an environment variable, bounded. OV_EINVAL when it is missing, OV_EBUFFER when it was
// cut.
int ov_process_getenv(const char* name, char* buffer, size_t size);

#endif  // OVLIB_OVPROCESS_H_
