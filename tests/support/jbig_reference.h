// A JBIG decoder as slow as it is plain: one decision a pixel, one byte at a time. The judge of the
// library's: beside the rows it foretells the messages and each request for input.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace test_support
{
struct JbigInput {
    std::vector<uint8_t> bytes;
    size_t start = 0;              // of the image entity within the bytes
    bool mapped = false;           // in memory; else a stream
    size_t most_a_read = SIZE_MAX; // a stream that breaks off gives no more than this at a time, ...
    size_t most_in_all = SIZE_MAX; // ... and nothing behind this many bytes from the start on
    int error = 22;                // errno after a short read or a failed seek
};

class JbigReference
{
public:
    // Messages are kept with N for source lines.
    explicit JbigReference(const JbigInput& input);

    bool is_open = false;
    // Appends up to `lines` rows of (width + 7) / 8 bytes; null passes over them. Gives their number.
    int Decode(int lines, std::vector<uint8_t>* rows);

    std::string messages;
    std::string error;         // text of the first error
    std::vector<size_t> reads; // bytes asked for, by request
    size_t position = 0;       // of the next byte to decode within the bytes
    uint32_t width = 0, stripe_lines = 0, stripe_number = 0;
    // The registers, and the contexts as twice the state plus the more probable pixel.
    uint32_t a = 0, c = 0;
    int ct = 0;
    std::vector<uint8_t> Adaptor() const;
    bool states_met[113] = {};

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

    const JbigInput m_input;
    size_t m_stream = 0; // position of the stream
    int64_t m_bytes_left = 0;
    std::vector<uint8_t> m_buffer;
    size_t m_next = 0; // in the buffer
    int m_errors = 0;
    bool m_marker_seen = false, m_reset_pending = false;
    std::vector<Context> m_contexts;
    std::vector<std::vector<int>> m_stripe; // rows of single pixels, two of the stripe before first
    size_t m_lines_left = 0;
    uint32_t m_line = 0, m_column = 0;                 // as reported
    uint32_t m_line_at_work = 0, m_column_at_work = 0; // of the pixel being decoded
    bool m_in_rows = false;
};
} // namespace test_support
