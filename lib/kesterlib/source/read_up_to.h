// SPDX-License-Identifier: MIT
// The loop that reads a number of bytes from a source that may return them in pieces.
#pragma once

#include "kesterlib/callback.h"

#include <cstddef>
#include <cstdint>

namespace kesterlib
{
// Calls read(to, count) until `bytes` bytes are in the buffer or a call returns 0. A call that returns more
// than `count` is treated as the end of input. Returns the number of bytes in the buffer.
template <typename Read>
[[nodiscard]] size_t read_up_to(void* buffer, size_t bytes, const Read& read)
{
    auto* const to = static_cast<uint8_t*>(buffer);
    size_t arrived = 0;
    while (arrived < bytes) {
        const size_t missing = bytes - arrived;
        const size_t got = read(to + arrived, missing);
        if (got < 1 || got > missing)
            break;
        arrived += got;
    }
    return arrived;
}

// The same for the stream of a block.
[[nodiscard]] inline size_t read_up_to(callback_block* block, void* buffer, size_t bytes)
{
    return read_up_to(buffer, bytes,
                      [block](void* to, size_t count) { return callback_fread(block, 1, count, to); });
}
} // namespace kesterlib
