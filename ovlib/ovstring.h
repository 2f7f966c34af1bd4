#ifndef OVLIB_OVSTRING_H_
#define OVLIB_OVSTRING_H_

#include <cstddef>

// Bounded strings. Sizes are those of the whole destination buffer, terminator included. What does
// not fit is cut on a whole UTF-8 character and reported as OV_EBUFFER.

// Appends `source` after the first `*length` bytes of `destination` (after none when `length` is
// null) and stores the new length. OV_EINVAL, with a log line and `destination` emptied, for null
// arguments or a full destination.
int ov_str_to(char* destination, const char* source, size_t size, size_t* length = nullptr);

// Copies `source` to `destination`.
int ov_str_ncpy(char* destination, const char* source, size_t size);

// Appends `source` to the text in `destination`. OV_EINVAL for null arguments; 0 for an empty
// source; OV_EBUFFER when `destination` is already full.
int ov_str_ncat(char* destination, const char* source, size_t size);

// Decimal value of the leading digits of `text`; 0 when it has none or is null. Out of range values
// are held at the ends of int.
int ov_str_atoi(const char* text);

// Writes the decimal digits of `value`. Returns `buffer`, or null when it does not fit.
char* ov_str_itoa(long long value, char* buffer, size_t size);

#endif  // OVLIB_OVSTRING_H_
