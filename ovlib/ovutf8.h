#ifndef OVLIB_OVUTF8_H_
#define OVLIB_OVUTF8_H_

#include <cstddef>

// Cuts an incomplete UTF-8 sequence off the end of the `*length` bytes at `text`: writes a
// terminator where the sequence began and lowers `*length`. Text that ends in ASCII or in a whole
// sequence stays. OV_EINVAL (nothing changed) when the end is no UTF-8: continuation bytes without
// a lead byte.
int ov_utf8_trim_trailing_partial(char* text, size_t* length);

#endif  // OVLIB_OVUTF8_H_
