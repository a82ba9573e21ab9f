// Marks what the shared library exports; everything else is hidden.
#pragma once

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
