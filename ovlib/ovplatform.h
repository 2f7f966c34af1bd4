#ifndef OVLIB_OVPLATFORM_H_
#define OVLIB_OVPLATFORM_H_

#include <cstddef>

// Copies the text of an error number into `buffer`, cut to `size` bytes with the terminator.
// OV_EINVAL for a null buffer or a zero size; OV_EBUFFER when the text was cut.
int ov_platform_errstr(int code, char* buffer, size_t size);

// Copies the installation root: the directory above the one that holds the file (module or program)
// this library is linked into. OV_EBUFFER when it does not fit, OV_EINVAL for bad arguments.
int ov_platform_root(char* buffer, size_t size);

#endif  // OVLIB_OVPLATFORM_H_
