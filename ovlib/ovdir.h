#ifndef OVLIB_OVDIR_H_
#define OVLIB_OVDIR_H_

#include <dirent.h>
#include <sys/types.h>

#include <cstddef>

struct ov_dir_t {
  DIR* handle;  // null when closed
};

// Each returns OV_OK or the errno of the failed call.
int ov_dir_open(ov_dir_t* dir, const char* path);
// Copies the next entry's name, bounded. OV_EDIREND at the end of the listing.
int ov_dir_next(ov_dir_t* dir, char* name, size_t size);
int ov_dir_close(ov_dir_t* dir);
// Makes a directory, with all its parents when `recursive`. A directory that exists is a success,
// anything else of that name is OV_ENOTDIR. OV_ERANGE for a prefix longer than 8191 bytes.
int ov_dir_create(const char* path, mode_t mode, bool recursive);

#endif  // OVLIB_OVDIR_H_
