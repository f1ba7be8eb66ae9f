// The row loops' window on the stream: 64 bits in locals, refilled by one load, instead of the frame's
// own 32.
#pragma once

#include "bits.h"
#include "frame.h"

#include <cstddef>
#include <cstdint>

namespace kesterlib
{
namespace
{
constexpr int32_t kSlack = 16; // bytes of a frame that may be read behind its in_buffer
static_assert(sizeof(UNCOMP) - offsetof(UNCOMP, in_buffer) - UNCOMP_IN_BUFFER >= kSlack);

// 56 bits or more behind the byte position of the next code, the first in the top bit. What stands below the
// valid bits is 0 or the bits that come next.
struct Window {
    uint64_t bits;
    const uint8_t* next; // byte that follows the valid bits
    uint32_t valid;      // count of bits

    void start(const uint8_t* byte, uint32_t used_bits)
    {
        bits = load_be64(byte) << used_bits;
        next = byte + 7;
        valid = 56 - used_bits;
    }
    void refill()
    {
        bits |= load_be64(next) >> valid;
        next += (63 - valid) >> 3;
        valid |= 56;
    }
    void drop(uint32_t count)
    {
        bits <<= count;
        valid -= count;
    }
    // The byte that the next bit is in, and the bits of it that are used.
    const uint8_t* byte() const { return next - ((valid + 7) >> 3); }
    uint32_t used_bits() const { return (0 - valid) & 7; }
};

// Bits from a byte on into the frame's own window: 16 to 23 of them.
inline void give_back(UNCOMP* base, const uint8_t* byte, uint32_t used_bits)
{
    const uint32_t bytes = used_bits == 0 ? 2 : 3;
    const uint32_t window =
        (uint32_t{byte[0]} << 24 | uint32_t{byte[1]} << 16 | (bytes == 3 ? uint32_t{byte[2]} << 8 : 0))
        << used_bits;
    base->bits_hi = static_cast<uint16_t>(window >> 16);
    base->bits_lo = static_cast<uint16_t>(window);
    base->bitsloaded = static_cast<int32_t>(bytes * 8 - used_bits);
    base->in_ptr = byte + bytes;
}
} // namespace
} // namespace kesterlib
