// SPDX-License-Identifier: MIT
// The memory that this process can still allocate.
#pragma once

#include <cstdint>
#include <string_view>

// The free memory of the machine in bytes, or less if a control group or RLIMIT_AS allows less.
struct FreeMemory {
    uint64_t physical = 0;
    uint64_t page_file = 0; // swap space
};

// Reads the figures from the kernel's files. Tests set `root`, a directory that is put before /proc and /sys.
// A file that is missing or has no number is ignored. Without /proc/meminfo both figures are 0.
[[nodiscard]] FreeMemory ReadFreeMemory(std::string_view root = {});

// The same figures, limited so that their sum fits an unsigned number of 32 bits.
struct MemoryStatus {
    uint32_t available_physical = 0;  // bytes, at most 0x7fffffff
    uint32_t available_page_file = 0; // bytes, at most 0x7fffffff
};
[[nodiscard]] MemoryStatus ClampToStatus(const FreeMemory& memory);
[[nodiscard]] MemoryStatus GlobalMemoryStatus();

// Returns the largest size in bytes of a single block: half of the free memory and swap space. The system
// would grant a larger block, and end the program when the block is filled.
[[nodiscard]] int64_t LargestBlock();
