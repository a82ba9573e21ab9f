# Compile options of this project's own targets; none of them reaches a consumer.
# SPDX-License-Identifier: Apache-2.0

# Results are promised to the last bit, so no multiply and add may be fused but by std::fma, and no flag of a caller may
# loosen the arithmetic. These options come after those of the flags, the toolchain file and the directory, and the last
# one counts. They are one item, since CMake drops an option that a list holds already, and with it its place.
set(exact_arithmetic -fno-fast-math -fno-finite-math-only -fno-associative-math -fno-reciprocal-math -fsigned-zeros)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  list(APPEND exact_arithmetic -fno-unsafe-math-optimizations -ftrapping-math -fno-rounding-math
       -fno-single-precision-constant)
else()
  # clang takes -ftrapping-math, and -fno-unsafe-math-optimizations with it, for a request to forbid vectors: what the
  # latter undoes beside the options above is how subnormals are treated.
  list(APPEND exact_arithmetic -fdenormal-fp-math=ieee)
endif()
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
  list(APPEND exact_arithmetic -mfpmath=sse)
endif()
list(APPEND exact_arithmetic -ffp-contract=off)
list(JOIN exact_arithmetic " " VELMORA_EXACT_ARITHMETIC)

# Every target of ours.
function(velmora_target_options target)
  target_compile_features(${target} PUBLIC cxx_std_17)
  target_compile_options(${target} PRIVATE "SHELL:${VELMORA_EXACT_ARITHMETIC}")
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  if(VELMORA_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
  endif()
endfunction()
