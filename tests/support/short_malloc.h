// SPDX-License-Identifier: MIT
// A malloc that can fail, for programs that are linked with --wrap=malloc. The linker then replaces malloc by
// __wrap_malloc, and __real_malloc is the system's malloc.
#pragma once

#include <cstddef>

inline int g_mallocs_left = -1; // calls until one returns null; below 0: none does

extern "C" void* __real_malloc(size_t bytes);                     // NOLINT
extern "C" [[gnu::used]] inline void* __wrap_malloc(size_t bytes) // NOLINT: only the linker refers to it
{
    if (g_mallocs_left >= 0 && g_mallocs_left-- == 0)
        return nullptr;
    return __real_malloc(bytes);
}
