#ifndef OVLIB_OVFILE_H_
#define OVLIB_OVFILE_H_

#include <cstddef>
#include <cstdint>
#include <ctime>

// A file descriptor; -1 when closed. All descriptors are close-on-exec.
using ov_file_t = int;

enum e_ov_file_kind {
  OV_FILE_DIRECTORY = 0,
  OV_FILE_REGULAR = 1,
  OV_FILE_CHAR = 2,
  OV_FILE_BLOCK = 3,
  OV_FILE_FIFO = 4,
  OV_FILE_SOCK = 5,
  OV_FILE_SYMLINK = 6,
  OV_FILE_BLOCK_STREAM = 7,
  OV_FILE_CUSTOM = 8,
  OV_FILE_UNKNOWN = 65535,
};

struct ov_file_status {
  int kind;       // e_ov_file_kind
  uint64_t size;  // bytes
  time_t atime;   // seconds since the epoch
  time_t mtime;
  time_t ctime;
};

// Each returns OV_OK or the errno of the failed call.
int ov_file_init(ov_file_t* file);
int ov_file_openread(ov_file_t* file, const char* path);
// Write only, created when missing with the permission bits `mode`, every write at the end.
int ov_file_openappend(ov_file_t* file, const char* path, unsigned mode);
// One read or write call each; the count may be less than `size`.
int ov_file_read(ov_file_t file, void* buffer, size_t size, size_t* count);
// A failure is also written to the log.
int ov_file_write(ov_file_t file, const void* buffer, size_t size, size_t* count);
// Writes the data to the device. OV_EINVAL for a closed handle.
int ov_file_flush(ov_file_t file);
int ov_file_close(ov_file_t* file);
int ov_file_delete(const char* path);
int ov_file_hardlink(const char* existing, const char* link_name);
// Follows symbolic links.
int ov_file_stat(const char* path, ov_file_status* status);
int ov_file_fstat(ov_file_t file, ov_file_status* status);
// The size alone, which costs much less on a file that is being written: asking for its times makes
// the next write record them anew. Moves the position; what has none is asked for its status.
int ov_file_size(ov_file_t file, uint64_t* size);
// Turns every backslash into '/' in place. OV_EINVAL for null.
int ov_file_tounixpath(char* path);

#endif  // OVLIB_OVFILE_H_
