// SPDX-License-Identifier: MIT
// Reads the rows of a TIFF file with Group 4 strips. libtiff reports the position of a strip in the file, and
// kesterlib decodes it. TIFFImage receives the rows.
#pragma once

#include "app/decoderblock.h"

#include <cstdint>
#include <kesterlib/uncompress.h>

struct tiff; // libtiff's handle

// Reads the coded bytes of a strip in small pieces. Reading does not change the position of the file
// descriptor.
class StripInput final : public DecoderInput
{
public:
    // Starts at the first byte of a strip.
    //
    //   file            descriptor of the file, which the caller keeps open
    //   offset, bytes   position and length of the strip in the file; an offset of 0 makes the input empty
    //   last_bit_first  the first bit of the code is the lowest bit of its byte; Read then reverses each byte
    void Start(int file, uint64_t offset, uint64_t bytes, bool last_bit_first);
    [[nodiscard]] size_t Read(void* buffer, size_t size) override;

private:
    void Fill();

    static constexpr size_t kPieceBytes = 4096;

    int m_file = -1;
    int64_t m_offset = 0; // position of the next piece in the file
    uint64_t m_left = 0;  // bytes of the strip from m_offset on
    bool m_last_bit_first = false;
    size_t m_delivered = 0;   // bytes of m_piece that Read has delivered
    size_t m_piece_bytes = 0; // bytes in m_piece
    uint8_t m_piece[kPieceBytes];
};

// Each strip is decoded independently of the others. After the first damaged row of a strip, all later rows
// of this strip fail too.
class Group4Strips
{
public:
    Group4Strips() = default;
    ~Group4Strips() { End(); }
    Group4Strips(const Group4Strips&) = delete;
    Group4Strips& operator=(const Group4Strips&) = delete;

    // Starts with the first strip of a page.
    //
    //   file           an open file with one sample of 1 bit per pixel; must stay open until End
    //   width, height  sides of the page in pixels
    //
    // Returns false if kesterlib has no decoder for this width or there is no memory for one.
    [[nodiscard]] bool Start(tiff* file, int32_t width, int32_t height);
    void End(); // frees the decoder; may be called at any time

    // Suspicious: a run passed the right edge and was clipped. Failed: the row is damaged, comes after a
    // damaged row of its strip, or is outside the page.
    enum class Row { Good, Suspicious, Failed };
    // Reads a row into `buffer`, which has row_bytes bytes. Bytes after the row's own are unchanged. After
    // Failed the contents of the buffer are undefined.
    //
    // Rows that are read in order are decoded once each. A jump forward within a strip decodes the rows in
    // between. A jump back or to another strip decodes from the first row of the strip.
    [[nodiscard]] Row ReadRow(uint8_t* buffer, int32_t row_bytes, uint32_t row);
    // Skips rows, from `row` on, that are white because the coded data of their strip has ended. This takes
    // almost no time. Returns the number of rows skipped: at most `count`, and 0 if `row` is not the row
    // after the last one that was read or skipped.
    [[nodiscard]] uint32_t SkipWhiteRows(uint32_t row, uint32_t count);

private:
    bool StartStrip(uint32_t strip);
    [[nodiscard]] Row DecodeNext(uint8_t* buffer, int32_t row_bytes);
    [[nodiscard]] bool DecodePlausible(uint8_t* buffer, int32_t row_bytes);

    tiff* m_tiff = nullptr;
    int32_t m_width = 0;
    uint32_t m_height = 0;
    uint32_t m_rows_per_strip = 1;
    bool m_last_bit_first = false;

    DecoderBlock m_block;
    StripInput m_input;
    UNCOMP* m_decoder = nullptr; // decodes strip m_strip; owned
    uint32_t m_strip = 0;
    uint32_t m_next = 0;    // the next row of the strip, from 0
    bool m_damaged = false; // all rows of the strip from m_next on fail
};
