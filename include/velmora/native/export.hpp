// Marks what the shared library exports; everything else is hidden.
#pragma once

#if defined(__GNUC__)
#define VELMORA_EXPORT __attribute__((visibility("default")))
#else
#define VELMORA_EXPORT
#endif
