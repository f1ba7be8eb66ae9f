// A malloc that can run short, for programs linked with --wrap=malloc: that puts the second function here in
// the place of malloc, and keeps malloc itself as the first.
#pragma once

#include <cstddef>

inline int g_mallocs_left = -1; // then one gives null; below 0: none does

extern "C" void* __real_malloc(size_t bytes);                     // NOLINT
extern "C" [[gnu::used]] inline void* __wrap_malloc(size_t bytes) // NOLINT: else nobody calls it
{
    if (g_mallocs_left >= 0 && g_mallocs_left-- == 0)
        return nullptr;
    return __real_malloc(bytes);
}
