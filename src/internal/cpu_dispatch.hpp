// Runs a kernel compiled for AVX2 and FMA where the processor has them, else the same kernel compiled for any
// processor.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "internal/exact_arithmetic.hpp"

// A kernel is a struct with one static function template `Run` of the processor, and is inlined with all that it calls
// into the caller that was compiled for the processor at hand. Both variants execute the same operations on each
// element, each rounded alike, so their results are the same to the bit. (Of two NaNs, a sum may take over either.)
//
// All that takes or returns a vector must be inlined, for the two variants pass vectors in different registers.
#define VELMORA_ALWAYS_INLINE inline __attribute__((always_inline))
#define VELMORA_ALWAYS_INLINE_LAMBDA __attribute__((always_inline))

namespace velmora::internal {

struct AnyProcessor {};
struct Avx2Processor {};  ///< with FMA too

#if defined(__x86_64__) && !defined(VELMORA_PLAIN_KERNELS)

template <typename Kernel, typename... Arguments>
__attribute__((target("avx2,fma"))) auto RunCompiledForAvx2(Arguments... arguments) {
  return Kernel::template Run<Avx2Processor>(arguments...);
}

/// Runs `Kernel` with these arguments, which are passed by value.
template <typename Kernel, typename... Arguments>
auto RunKernel(Arguments... arguments) {
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) {
    return RunCompiledForAvx2<Kernel>(arguments...);
  }
  return Kernel::template Run<AnyProcessor>(arguments...);
}

#else

// Other processors, and the build of the tests that compares the plain variant with the other.
template <typename Kernel, typename... Arguments>
auto RunKernel(Arguments... arguments) {
  return Kernel::template Run<AnyProcessor>(arguments...);
}

#endif

}  // namespace velmora::internal
