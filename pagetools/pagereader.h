// SPDX-License-Identifier: MIT
// Reads a page file of any kind: its header, then its rows from the top.
#pragma once

#include "pageinput.h"

#include <kesterlib/callback.h>
#include <kesterlib/faxhdr.h>
#include <kesterlib/jbig.h>
#include <kesterlib/uncompress.h>

#include <cstdint>
#include <memory>
#include <string>

enum class PageState {
    good,
    damaged,   // some rows are not good
    bad,       // no page file, or no row can be decoded
    unreadable // the file cannot be opened or read, or memory is short
};

struct Verdict {
    PageState state = PageState::good;
    int32_t row = 0;  // damaged: the first row that is not good, counted from 0
    std::string text; // not good: what is wrong
};

// Returns the exit status of a tool for a page with this verdict.
[[nodiscard]] int StatusOf(const Verdict& verdict);

// Returns "OK", "DAMAGED at row N of HEIGHT: TEXT", "BAD: TEXT" or, for an unreadable page, the text alone.
[[nodiscard]] std::string VerdictText(const Verdict& verdict, int32_t height);

// Call ReadHeader, OpenRaster, and then ReadRows or SkipAllRows. If a function fails, GetVerdict
// says why, and only Restart may be called after it.
class PageReader
{
public:
    static constexpr int64_t kNoLimit = INT64_MAX;

    PageReader();
    PageReader(const PageReader&) = delete;
    PageReader& operator=(const PageReader&) = delete;
    ~PageReader();

    // Opens the file and reads its header. "-" is standard input.
    [[nodiscard]] bool ReadHeader(const char* path);
    [[nodiscard]] const FAXHeader& Header() const { return m_header; }

    // Checks the sides and starts the decoder. Refuses a page with more pixels than the limit. A page that is
    // narrower than kLeastCountedWidth counts as having this width, because each row takes some time.
    // With a limit, SkipAllRows also ends if a JBIG raster takes much longer than its data suggest.
    [[nodiscard]] bool OpenRaster(int64_t most_pixels = kNoLimit);
    static constexpr int32_t kLeastCountedWidth = 256;

    [[nodiscard]] int32_t Width() const { return m_width; }
    [[nodiscard]] int32_t Height() const { return m_height; }
    [[nodiscard]] int32_t RowBytes() const { return m_row_bytes; } // (Width() + 7) / 8

    // Reads the next rows into a buffer of rows * RowBytes() bytes, without gaps between them. A 1 is black,
    // and bits after the width are 0. Returns the number of good rows. If it is less than `rows`, the page is
    // not good from the next row on.
    [[nodiscard]] int32_t ReadRows(uint8_t* buffer, int32_t rows);
    // Decodes all remaining rows and drops them. Returns the number of good rows of the page.
    int32_t SkipAllRows();
    // Starts again with the first row.
    [[nodiscard]] bool Restart();

    [[nodiscard]] const Verdict& GetVerdict() const { return m_verdict; }

private:
    bool Fail(PageState state, std::string text);
    [[nodiscard]] bool StartDecoder();
    void EndDecoder();
    [[nodiscard]] int32_t DecodeRows(uint8_t* buffer, int32_t rows);
    [[nodiscard]] int32_t DropRows(int32_t rows);
    int32_t JudgeRows(int32_t delivered, int32_t rows);
    void JudgeMissingRow();
    static int PollDecoder(FILE* stream);
    void AddCost(const uint8_t* first_row, int64_t rows);
    [[nodiscard]] bool IsTooCostly() const;

    struct ReleaseBlock {
        void operator()(callback_block* block) const;
    };

    PageInput m_input;
    // Reads m_input and prints nothing. Its size is that of the library that the program runs with.
    std::unique_ptr<callback_block, ReleaseBlock> m_block;
    FAXHeader m_header{};
    int32_t m_width = 0;
    int32_t m_height = 0;
    int32_t m_row_bytes = 0;
    int64_t m_most_pixels = kNoLimit;
    jbig_limits m_limits{};
    UNCOMP* m_frame = nullptr;    // decoder of a Squeeze or Group 4 raster
    jbig_data* m_jbig = nullptr;  // decoder of a JBIG raster
    int64_t m_cost = 0;           // estimated decisions of the JBIG decoder, see AddCost
    uint32_t m_polled_stripe = 0; // stripe of the last poll
    int64_t m_polled_rows = 0;    // its rows that are in m_cost
    int32_t m_done = 0;           // good rows since the start of the raster
    std::unique_ptr<uint8_t[]> m_dropped;
    Verdict m_verdict;
};
