#ifndef OVLIB_OVASSERT_H_
#define OVLIB_OVASSERT_H_

// Assertions are part of the behaviour, in every build.
#ifdef NDEBUG
#error "NDEBUG takes the assertions out: build without it"
#endif

#include <cassert>

#endif  // OVLIB_OVASSERT_H_
