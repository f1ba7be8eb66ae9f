// SPDX-License-Identifier: MIT
// A slow and simple JBIG decoder: one decision per pixel, one byte at a time. Tests compare the library with
// it. In addition to the rows, it predicts the messages and each request for input.
#pragma once

#include "tests/support/test_block.h"

#include <cstdint>
#include <string>
#include <vector>

namespace test_support
{
class JbigReference
{
public:
    // Line numbers of sources are replaced by N in the messages.
    explicit JbigReference(const TestInput& input);

    bool is_open = false;
    // Decodes up to `lines` rows and appends them to `rows`, (width + 7) / 8 bytes each. If `rows` is null,
    // they are skipped. Returns the number of rows decoded.
    int Decode(int lines, std::vector<uint8_t>* rows);

    std::string messages;
    std::string error;         // text of the first error
    std::vector<size_t> reads; // requested bytes of each read
    size_t position = 0;       // position in `bytes` of the next byte to decode
    uint32_t width = 0, stripe_lines = 0, stripe_number = 0;
    // The registers, and the contexts as 2 * state + the more probable pixel.
    uint32_t a = 0, c = 0;
    int ct = 0;
    std::vector<uint8_t> Adaptor() const;

private:
    struct Context {
        int state = 0;
        int mps = 0;
    };
    bool Open();
    bool ReadHeader();
    size_t Fetch(size_t wanted, std::vector<uint8_t>* bytes);
    void Error(const std::string& text, const char* file);
    void Refill();
    void ByteIn();
    int Decide(Context& context);
    void DecodeStripe();

    const TestInput m_input;
    size_t m_stream = 0; // position of the stream
    int64_t m_bytes_left = 0;
    std::vector<uint8_t> m_buffer;
    size_t m_next = 0; // position in the buffer
    int m_errors = 0;
    bool m_marker_seen = false, m_reset_pending = false;
    std::vector<Context> m_contexts;
    std::vector<std::vector<int>> m_stripe; // rows, one int per pixel; the first two are from the last stripe
    size_t m_lines_left = 0;
    uint32_t m_line = 0, m_column = 0;                 // position in messages
    uint32_t m_line_at_work = 0, m_column_at_work = 0; // position of the pixel that is being decoded
    bool m_in_rows = false;
};
} // namespace test_support
