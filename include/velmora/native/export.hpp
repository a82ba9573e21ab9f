// What every header needs: C++17, and the mark of what a shared library exports; everything else is hidden.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#if __cplusplus < 201703L
#error "velmora needs C++17: compile this file with -std=c++17 or a later standard."
#include "velmora/end_of_compilation"  // A file that is missing ends it, so that nothing buries the sentence above.
#endif

#if defined(__GNUC__)
#define VELMORA_EXPORT __attribute__((visibility("default")))
#else
#define VELMORA_EXPORT
#endif

// For an inline member that the shared library promises to hold: the one source that defines
// VELMORA_EMIT_INLINE_MEMBERS emits it even where every call is inlined.
#if defined(VELMORA_EMIT_INLINE_MEMBERS)
#define VELMORA_EXPORT_INLINE VELMORA_EXPORT __attribute__((used))
#else
#define VELMORA_EXPORT_INLINE VELMORA_EXPORT
#endif
