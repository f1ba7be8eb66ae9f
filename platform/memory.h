// How much memory this process may still take.
#pragma once

#include <cstdint>
#include <string_view>

// Bytes. What is left of the machine's memory, or less if a control group or RLIMIT_AS allows less.
struct FreeMemory {
    uint64_t physical = 0;
    uint64_t page_file = 0; // swap space
};

// root is put before /proc and /sys; for tests. A file that is missing or holds no number is ignored, but
// without /proc/meminfo both figures are 0.
FreeMemory ReadFreeMemory(std::string_view root = {});

// The same as two figures whose sum fits unsigned 32 bits.
struct MemoryStatus {
    uint32_t available_physical = 0;  // bytes, at most 0x7fffffff
    uint32_t available_page_file = 0; // bytes, at most 0x7fffffff
};
MemoryStatus ClampToStatus(const FreeMemory& memory);
MemoryStatus GlobalMemoryStatus();

// The largest size of a single block: half of what is left. A larger one would be granted, and the program
// ended when it is filled.
int64_t LargestBlock();

// Replaces the figures in tests; null restores the real ones. ReadFreeMemory with a root is never replaced.
void SetMemoryStatusSource(MemoryStatus (*source)());
