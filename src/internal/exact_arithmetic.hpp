// Stops sources of the library from being compiled under flags that loosen floating-point arithmetic.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cfloat>

// The library's own build (cmake/target_options.cmake) undoes such flags wherever they come from; this catches other
// ways to compile the sources. clang has macros for the first two alone.
#if defined(__FAST_MATH__) || (defined(__FINITE_MATH_ONLY__) && __FINITE_MATH_ONLY__ != 0) || \
    defined(__NO_SIGNED_ZEROS__) || defined(__RECIPROCAL_MATH__) || defined(__ASSOCIATIVE_MATH__)
#error \
    "velmora promises results to the last bit, and errors for NaN: compile its sources without -ffast-math, -Ofast, -ffinite-math-only, -funsafe-math-optimizations and their parts, or add -fno-fast-math after them."
#elif FLT_EVAL_METHOD != 0
#error \
    "velmora promises results to the last bit: double arithmetic must be evaluated in double precision; compile its sources with -mfpmath=sse."
#endif
