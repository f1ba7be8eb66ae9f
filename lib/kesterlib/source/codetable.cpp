// Builds the tables that find a code by its leading bits, and drops bits from the frame's window.
#include "codetable.h"

#include <cstring>

namespace kesterlib
{
void build_decode_table(callback_block* cb, const Code* codes, int32_t ncodes, uint8_t* table,
                        const CodeTableFault& fault)
{
    int32_t length = 0;
    for (int32_t i = 0; i < ncodes; ++i)
        length = codes[i].length > length ? codes[i].length : length;
    if (length == 15 || ncodes > 255) {
        callback_assertion_failed(cb, fault.expression, fault.text, fault.file, __LINE__);
        return;
    }
    memset(table, kNoCode, size_t{1} << length);
    for (int32_t i = 0; i < ncodes; ++i)
        if (codes[i].length != 0)
            memset(table + (codes[i].bits >> (16 - length)), i, size_t{1} << (length - codes[i].length));
}

void uncomp_take(UNCOMP* frame, int32_t bits)
{
    const uint32_t window = (uint32_t{frame->bits_hi} << 16 | frame->bits_lo) << bits;
    frame->bits_hi = static_cast<uint16_t>(window >> 16);
    frame->bits_lo = static_cast<uint16_t>(window);
    frame->bitsloaded -= bits;
    uncomp_load_bits(frame);
}
} // namespace kesterlib
