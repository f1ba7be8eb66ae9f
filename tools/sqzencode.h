// Squeeze encoder: a two-dimensional run code of 1-bit rows. Given packed rows from the top; hands on the
// stream, which carries neither size nor end mark: who reads it must know the width and the number of rows.
#pragma once

#include "pages.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pages
{

enum class RawRows { WhereShorter, Never, Always };

class SqueezeEncoder
{
public:
    // row_bytes: 1 to 2^27, so that positions fit 32 bits.
    explicit SqueezeEncoder(std::size_t row_bytes, RawRows raw_rows = RawRows::WhereShorter);

    // Codes the next row, of row_bytes, and appends its bytes, which are whole. What lies behind the width is
    // coded like the rest. Good, not the shortest: it looks a few transitions ahead.
    void add_row(const uint8_t* row, std::vector<uint8_t>& stream);

private:
    // A row as positions where the colour changes: a head of 0, the changes, `closing` times the row's length
    // and then kFar, which no code reaches.
    struct Row {
        std::vector<int32_t> at;
        int changes = 0;
    };
    // Where a row's coding stands.
    struct Place {
        int written; // entries of the row, without its head
        int above;   // the entry of the row above that the last code stands at
        int adds;    // add codes since the last vertical one, up to 3: from there the second table
    };

    void find_changes(const uint8_t* row);
    void close(Row& row, int closing) const;
    std::size_t code_row();
    bool vertical_reaches(const Place& place) const;
    Place after_vertical(const Place& place) const;
    Place after_add(const Place& place) const;
    bool take_vertical(const Place& place) const;
    int bits_to(const Place& place, int goal) const;
    int add_bits(const Place& place) const;
    void put_add(const Place& place);
    int32_t position(const Place& place) const
    {
        return place.written == 0 ? -1 : m_row.at[static_cast<std::size_t>(place.written)];
    }
    int32_t offset(const Place& place) const
    {
        return m_row.at[static_cast<std::size_t>(place.written) + 1] -
               m_above.at[static_cast<std::size_t>(place.above) + 1];
    }

    void put(uint32_t bits, int length);
    void put_number(uint32_t value);

    std::size_t m_row_bytes;
    int32_t m_length; // px
    RawRows m_raw_rows;
    Row m_row, m_above;
    int m_ahead; // changes of the next row that a choice looks at

    std::vector<uint8_t> m_coded; // a row at a time
    std::size_t m_coded_bytes = 0;
    uint64_t m_pending = 0; // bits that are not in m_coded yet, the last one lowest
    int m_pending_bits = 0;
};

std::vector<uint8_t> encode_squeeze(const Bitmap& page, RawRows raw_rows = RawRows::WhereShorter);

} // namespace pages
