// SPDX-License-Identifier: MIT
// Decodes the strips of a TIFF file row by row, and checks each row. After a row that cannot be a row of the
// page, the rest of its strip fails.
#include "app/group4strips.h"

#include <algorithm>
#include <cstring>
#include <kesterlib/unccitt.h>
#include <tiffio.h>
#include <unistd.h>

namespace
{
constexpr uint32_t kEndCodeBits = 12; // the end of line code: eleven bits of 0, then a 1

// Returns the number of bits that the decoder has used so far, modulo 2^32.
uint32_t BitsUsed(const UNCOMP& decoder)
{
    const auto in_buffer = static_cast<uint32_t>(decoder.in_ptr - decoder.buf_start);
    return (static_cast<uint32_t>(decoder.bytes_before) + in_buffer) * 8 -
           static_cast<uint32_t>(decoder.bitsloaded);
}

// Returns whether the next bits are an end code.
bool IsAtEndCode(const UNCOMP& decoder)
{
    return decoder.bits_hi >> (16 - kEndCodeBits) == 1;
}
} // namespace

void StripInput::Start(int file, uint64_t offset, uint64_t bytes, bool last_bit_first)
{
    m_file = file;
    m_offset = static_cast<int64_t>(std::min<uint64_t>(offset, INT64_MAX));
    m_left = offset == 0 ? 0 : std::min<uint64_t>(bytes, static_cast<uint64_t>(INT64_MAX - m_offset));
    m_last_bit_first = last_bit_first;
    m_delivered = m_piece_bytes = 0;
}

size_t StripInput::Read(void* buffer, size_t size)
{
    if (m_delivered == m_piece_bytes)
        Fill();
    const size_t bytes = std::min(size, m_piece_bytes - m_delivered);
    memcpy(buffer, m_piece + m_delivered, bytes);
    m_delivered += bytes;
    return bytes;
}

void StripInput::Fill()
{
    m_delivered = m_piece_bytes = 0;
    const auto wanted = static_cast<size_t>(std::min<uint64_t>(m_left, kPieceBytes));
    const ssize_t got = wanted == 0 ? 0 : pread(m_file, m_piece, wanted, m_offset);
    if (got <= 0) { // the file may have become shorter
        m_left = 0;
        return;
    }
    if (m_last_bit_first)
        TIFFReverseBits(m_piece, got);
    m_offset += got;
    m_left -= static_cast<uint64_t>(got);
    m_piece_bytes = static_cast<size_t>(got);
}

bool Group4Strips::Start(tiff* file, int32_t width, int32_t height)
{
    End();
    m_tiff = file;
    m_width = width;
    uint32_t rows = 0;
    uint16_t fill_order = FILLORDER_MSB2LSB;
    TIFFGetFieldDefaulted(file, TIFFTAG_ROWSPERSTRIP, &rows);
    TIFFGetFieldDefaulted(file, TIFFTAG_FILLORDER, &fill_order);
    m_height = static_cast<uint32_t>(height);
    m_rows_per_strip = rows == 0 || rows > m_height ? std::max(m_height, 1U) : rows;
    m_last_bit_first = fill_order == FILLORDER_LSB2MSB;
    return StartStrip(0);
}

void Group4Strips::End()
{
    if (m_decoder)
        Uncomp_Free(m_decoder);
    m_decoder = nullptr;
}

bool Group4Strips::StartStrip(uint32_t strip)
{
    End();
    int no_offset = 0;
    int no_bytes = 0;
    const uint64_t offset = TIFFGetStrileOffsetWithErr(m_tiff, strip, &no_offset);
    const uint64_t bytes = TIFFGetStrileByteCountWithErr(m_tiff, strip, &no_bytes);
    m_input.Start(TIFFFileno(m_tiff), no_offset ? 0 : offset, no_bytes ? 0 : bytes, m_last_bit_first);
    m_decoder = Unccitt4_Open_Callback(m_block.ForInput(&m_input), m_width, m_width / 8 + (m_width % 8 != 0),
                                       nullptr);
    m_strip = strip;
    m_next = 0;
    m_damaged = !m_decoder;
    return !m_damaged;
}

Group4Strips::Row Group4Strips::ReadRow(uint8_t* buffer, int32_t row_bytes, uint32_t row)
{
    if (row >= m_height)
        return Row::Failed;
    const uint32_t in_strip = row % m_rows_per_strip;
    if (row / m_rows_per_strip != m_strip || in_strip < m_next)
        StartStrip(row / m_rows_per_strip);
    Row result = Row::Failed;
    while (m_next <= in_strip)
        result = DecodeNext(buffer, row_bytes);
    return result;
}

uint32_t Group4Strips::SkipWhiteRows(uint32_t row, uint32_t count)
{
    if (m_damaged || !m_decoder->eol_seen || row >= m_height || row / m_rows_per_strip != m_strip ||
        row % m_rows_per_strip != m_next)
        return 0;
    const uint32_t rows = std::min({count, m_rows_per_strip - m_next, m_height - row});
    m_next += rows;
    return rows;
}

// Decodes row m_next of the strip. m_next then grows by 1, even if the row fails.
Group4Strips::Row Group4Strips::DecodeNext(uint8_t* buffer, int32_t row_bytes)
{
    const auto row = static_cast<int32_t>(m_next++);
    m_damaged = m_damaged || !DecodePlausible(buffer, row_bytes);
    if (m_damaged)
        return Row::Failed;
    return Uncomp_First_Suspicious_Row(m_decoder, UNCOMP_PAST_WIDTH) == row ? Row::Suspicious : Row::Good;
}

// Decodes a row. Returns false if it cannot be a row of the page.
bool Group4Strips::DecodePlausible(uint8_t* buffer, int32_t row_bytes)
{
    const bool had_end_code = m_decoder->eol_seen != 0;
    const uint32_t start = BitsUsed(*m_decoder);
    if (Unccitt4_Decode(m_decoder, 1, buffer, row_bytes) != 1 ||
        Uncomp_First_Suspicious_Row(m_decoder, UNCOMP_DECREASING | UNCOMP_FILLER) >= 0)
        return false;
    if (m_decoder->eol_seen == 0 || had_end_code)
        return true;
    // This call has read the first end code. At a true end of the strip there is at least one row before this
    // code, the code begins directly after that row, and a second end code follows. All later rows are white.
    return m_next > 1 && BitsUsed(*m_decoder) - start == kEndCodeBits && IsAtEndCode(*m_decoder);
}
