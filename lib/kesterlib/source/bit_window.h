// SPDX-License-Identifier: MIT
// The bit window of the row loops: 64 bits in locals, refilled by one load. It replaces the frame's own
// window of 32 bits.
#pragma once

#include "bits.h"
#include "run_frame.h"
#include "trace.h"

#include <cstddef>
#include <cstdint>

namespace kesterlib
{
namespace
{
constexpr int32_t kSlack = 16; // bytes of a frame that may be read after its in_buffer
static_assert(sizeof(UNCOMP) - offsetof(UNCOMP, in_buffer) - UNCOMP_IN_BUFFER >= kSlack);

// Holds at least 56 bits after a refill, the next bit in the top bit. Bits below the valid ones are 0 or
// the bits that come next in the stream.
struct Window {
    uint64_t bits;
    const uint8_t* next; // the byte after the valid bits
    uint32_t valid;      // number of valid bits

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
    // The byte that contains the next bit, and the number of its bits that are used.
    const uint8_t* byte() const { return next - ((valid + 7) >> 3); }
    uint32_t used_bits() const { return (0 - valid) & 7; }
};

// A window that starts at the frame's next bit, and the limits within which a row loop may work.
struct Reach {
    Window window;
    // Largest window.next after a refill. If window.next is larger, too few bits are left for a code and the
    // frame's own window, or a load would read outside the allowed memory.
    const uint8_t* next_limit;
    // Last entries of ref_list and cur_list from which kLanes + 1 entries can be read or written.
    const int32_t* ref_limit;
    const int32_t* out_limit;

    // Returns false if the bytes of the frame's own window are not all in the buffer, the end of the input is
    // near, or a list is too short.
    bool start(const Frame& frame)
    {
        if constexpr (kTracesCodes)
            return false;
        const UNCOMP& base = frame.base;
        const uint8_t* const loaded_from = base.in_ptr - ((base.bitsloaded + 7) >> 3);
        if (base.in_ptr - base.buf_start < 3 || base.in_end - loaded_from < kSlack ||
            base.cur_end - base.cur_list <= kLanes)
            return false;
        const bool mapped = base.buf_start != base.in_buffer;
        next_limit = mapped ? base.in_end - 8 : base.in_end + 2;
        const int32_t* const ref_end = base.ref_list + frame.ref_count;
        ref_limit = (base.ref_end - ref_end < kLanes ? base.ref_end : ref_end + kLanes) - (kLanes + 1);
        out_limit = base.cur_end - (kLanes + 1);
        window.start(loaded_from, static_cast<uint32_t>(-base.bitsloaded) & 7);
        return true;
    }
};

// Fills the frame's own window with 16 to 23 bits, starting `used_bits` bits after the start of `byte`.
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
