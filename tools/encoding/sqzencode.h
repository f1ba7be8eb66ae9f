// SPDX-License-Identifier: MIT
// Squeeze encoder: a two-dimensional run code for 1-bit rows. Input: packed rows from the top. Output: a
// stream without sizes and without an end mark. Its reader must know the width and the number of rows.
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

    // Codes the next row, of row_bytes bytes, and appends the code, which is a whole number of bytes. Bits
    // after the width are coded like the others. The code is not the shortest possible, because the encoder
    // looks only a few changes ahead.
    void add_row(const uint8_t* row, std::vector<uint8_t>& stream);

private:
    // A row as a list of positions: a head of 0, the changes of colour, `closing` copies of the row's length,
    // and kFar, which no code reaches.
    struct Row {
        std::vector<int32_t> at;
        int changes = 0;
    };
    // State of the coder within a row.
    struct Place {
        int written; // entries of the row that are coded, without its head
        int above;   // index of the entry of the row above that the last code has reached
        int adds;    // add codes since the last vertical code, up to 3; 3 selects the second table
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
    int m_ahead; // number of changes over which two variants are compared in the next row

    std::vector<uint8_t> m_coded; // code of one row
    std::size_t m_coded_bytes = 0;
    uint64_t m_pending = 0; // bits that are not in m_coded yet, the latest one lowest
    int m_pending_bits = 0;
};

std::vector<uint8_t> encode_squeeze(const Bitmap& page, RawRows raw_rows = RawRows::WhereShorter);

} // namespace pages
