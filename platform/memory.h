// How much memory is left, as two figures whose sum fits unsigned 32 bits.
#pragma once

#include <cstdint>
#include <string_view>

struct MemoryStatus {
    uint32_t available_physical = 0;  // bytes, at most 0x7fffffff
    uint32_t available_page_file = 0; // bytes, at most 0x7fffffff
};

MemoryStatus GlobalMemoryStatus();

// The most bytes that a single block may take: half of what is left. A larger one would be granted, and the
// program ended when it is filled.
int64_t LargestBlock();

// From the text of the kernel's meminfo. A figure that is missing or no number is 0.
MemoryStatus ParseMemoryStatus(std::string_view meminfo);

// Replaces the figures for tests; null restores the real ones.
void SetMemoryStatusSource(MemoryStatus (*source)());
