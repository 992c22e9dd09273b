#ifndef _BITS_FLOATN_H
#define _BITS_FLOATN_H

// For the Linux check only: the C library of the Linux machine, read for a macOS target, would
// declare a 128-bit float type that clang has no such type for on that target. Same as the C
// library's own header, without it.

#include <features.h>

#define __HAVE_FLOAT128 0
#define __HAVE_DISTINCT_FLOAT128 0
#define __HAVE_FLOAT64X 1
#define __HAVE_FLOAT64X_LONG_DOUBLE 1

#include <bits/floatn-common.h>

#endif
