// The rows of Group 4 strips of a TIFF file: libtiff reports where a strip is, the codec library decodes it.
#pragma once

#include "app/decoderblock.h"

#include <cstdint>
#include <kesterlib/uncompress.h>

struct tiff; // libtiff's handle

// The coded bytes of a strip, read in small pieces. The position of the file descriptor is unchanged.
class StripInput final : public DecoderInput
{
public:
    // Without a place, an offset of 0, the input is empty.
    void Start(int file, uint64_t offset, uint64_t bytes, bool last_bit_first);
    size_t Read(void* buffer, size_t size) override;

private:
    void Fill();

    static constexpr size_t kPieceBytes = 4096;

    int m_file = -1;
    int64_t m_offset = 0; // of the next piece
    uint64_t m_left = 0;  // bytes of the strip from there on
    bool m_last_bit_first = false;
    size_t m_taken = 0; // bytes of m_piece
    size_t m_there = 0;
    uint8_t m_piece[kPieceBytes];
};

// Every strip is decoded by itself. After the first row of a strip that is not a row of the page, the other
// rows of the strip fail as well.
class Group4Strips
{
public:
    Group4Strips() = default;
    ~Group4Strips() { End(); }
    Group4Strips(const Group4Strips&) = delete;
    Group4Strips& operator=(const Group4Strips&) = delete;

    // Takes the strips of an open file of one sample of 1 bit, which must stay open until End. False if the
    // codec library has no decoder for this width, or there is no memory for one.
    bool Start(tiff* file, int32_t width, int32_t height);
    void End(); // harmless without Start

    enum class Row { Good, Suspicious, Failed };
    // Reads row `row`, of the page or after it, into row_bytes bytes; the bytes after the row's own are
    // unchanged. The next row of the strip costs one row. For any other row, the rows before it in its strip
    // are decoded again.
    Row ReadRow(uint8_t* buffer, int32_t row_bytes, uint32_t row);
    // Passes over rows from `row` on that are white because the coded data of their strip has ended, at no
    // cost. Returns how many: at most count, and 0 unless `row` is the one after the last that was read.
    uint32_t SkipWhiteRows(uint32_t row, uint32_t count);

private:
    bool StartStrip(uint32_t strip);
    Row DecodeNext(uint8_t* buffer, int32_t row_bytes);
    bool DecodeSound(uint8_t* buffer, int32_t row_bytes);

    tiff* m_tiff = nullptr;
    int32_t m_width = 0;
    uint32_t m_height = 0;
    uint32_t m_rows_per_strip = 1;
    bool m_last_bit_first = false;

    DecoderBlock m_block;
    StripInput m_input;
    UNCOMP* m_decoder = nullptr; // of the strip
    uint32_t m_strip = 0;
    uint32_t m_next = 0;    // row of the strip
    bool m_damaged = false; // the rows from m_next on fail
};
