// SPDX-License-Identifier: MIT
// Drops bits from the frame's window.
#include "codetable.h"

namespace kesterlib
{
void uncomp_take(UNCOMP* frame, int32_t bits)
{
    const uint32_t window = (uint32_t{frame->bits_hi} << 16 | frame->bits_lo) << bits;
    frame->bits_hi = static_cast<uint16_t>(window >> 16);
    frame->bits_lo = static_cast<uint16_t>(window);
    frame->bitsloaded -= bits;
    uncomp_load_bits(frame);
}
} // namespace kesterlib
