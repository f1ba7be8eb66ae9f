// SPDX-License-Identifier: MIT
// Decodes JBIG as ITU-T T.82 describes it, and predicts the messages and reads of the library.
#include "tests/support/jbig_reference.h"

#include "qm_states.h"

#include <algorithm>
#include <cstring>

namespace test_support
{
namespace
{
std::string Number(uint64_t number)
{
    return std::to_string(number);
}
} // namespace

JbigReference::JbigReference(const TestInput& input) : m_input(input), m_stream(input.start), m_contexts(1024)
{
    is_open = Open();
}

bool JbigReference::Open()
{
    const std::vector<uint8_t>& bytes = m_input.bytes;
    const size_t size = bytes.size();
    const bool has_end =
        size >= 2 && bytes[size - 2] == 0xFF && (bytes[size - 1] == 2 || bytes[size - 1] == 3);
    if (m_input.mapped) {
        if (!has_end) {
            Error("End of file not in JBIG format", "jbigdecode");
            return false;
        }
        m_buffer.assign(bytes.begin(), bytes.end() - 2); // without the last marker
        if (m_buffer.size() < 20) {
            messages += "not a .jbg file\n";
            return false;
        }
    } else {
        if (size < 2) {
            messages += "\nError: " + std::string(strerror(m_input.error)) + "\nseeking EOF -2\n";
        } else {
            m_stream = size;
            reads.push_back(1);
            if (bytes[size - 2] == 0xFF)
                reads.push_back(1);
            else
                m_stream = size - 1;
        }
        if (!has_end) {
            Error("End of file not in JBIG format", "jbigdecode");
            return false;
        }
        m_stream = m_input.start;
        m_bytes_left = static_cast<int64_t>(size - m_stream);
        if (Fetch(20, &m_buffer) < 20)
            return false;
        m_bytes_left -= 20;
    }
    if (!ReadHeader()) {
        messages += "not a .jbg file\n";
        return false;
    }
    m_stripe.assign(stripe_lines + 2, std::vector<int>(width));
    return true;
}

bool JbigReference::ReadHeader()
{
    const auto number = [this](size_t at) {
        uint32_t value = 0;
        for (size_t i = at; i < at + 4; ++i)
            value = value * 256 + m_buffer[i];
        return value;
    };
    const auto wrong = [this](bool is, const char* text) {
        if (is)
            Error(text, "jbigdecode");
    };
    wrong(m_buffer[0] != 0, "BIE Byte 0 (initial resolution) /= 0");
    wrong(m_buffer[1] != 0, "BIE Byte 1 (final resolution) /= 0");
    wrong(m_buffer[2] != 1, "BIE Byte 2 (number of bitplanes) /= 1");
    wrong(m_buffer[3] != 0, "BIE Byte 3 (spare) /=0");
    width = number(4);
    stripe_lines = number(12);
    wrong(width == 0, "BIE XD (width) is 0");
    wrong(width >= 0x7ffffff8, "BIE XD (width) is too large");
    wrong(stripe_lines == 0, "BIE L0 (lines in a stripe) is 0");
    wrong(width < 0x7ffffff8 && (stripe_lines + uint64_t{2}) * ((width + 7) / 8 + 2) > 256u << 20,
          "BIE stripe is too large");
    wrong(m_buffer[16] != 0, "BIE Byte 16 ( MX ) /= 0");
    wrong(m_buffer[17] != 0, "BIE Byte 17 ( MY ) /= 0");
    wrong(m_buffer[18] != 0, "BIE Byte 18 ( BIH spec ) /= 0");
    wrong(m_buffer[19] != 0, "BIE Byte 19 ( options ) /= 0");
    m_next = 20;
    return m_errors == 0;
}

size_t JbigReference::Fetch(size_t wanted, std::vector<uint8_t>* bytes)
{
    reads.push_back(wanted);
    const size_t end = std::min(m_input.bytes.size(), m_input.most_in_all);
    const size_t there = m_stream < end ? end - m_stream : 0;
    const size_t got = std::min({wanted, there, m_input.most_a_read});
    bytes->assign(m_input.bytes.begin() + static_cast<std::ptrdiff_t>(m_stream),
                  m_input.bytes.begin() + static_cast<std::ptrdiff_t>(m_stream + got));
    m_stream += got;
    return got;
}

void JbigReference::Error(const std::string& text, const char* file)
{
    if (m_errors++ == 0)
        error = text;
    if (m_in_rows) {
        m_line = m_line_at_work;
        m_column = m_column_at_work;
    }
    messages += "\nJbig error, at line N in file " + std::string(file) + ":\n " + text + "\n";
    messages += "stripe " + Number(stripe_number) + ", line " +
                Number(uint64_t{stripe_lines} * stripe_number + m_line) + " in file (" + Number(m_line) +
                " in stripe), column " + Number(m_column) + "\n";
    messages += "file position " + Number(m_input.mapped ? 0 : m_stream - (m_buffer.size() - m_next)) + "  ";
    messages += "buffer position " + Number(m_next) + "\n";
}

void JbigReference::Refill()
{
    if (m_input.mapped || m_bytes_left <= 0)
        return;
    const auto wanted = static_cast<size_t>(std::min<int64_t>(m_bytes_left, 4096));
    const size_t got = Fetch(wanted, &m_buffer);
    m_next = 0;
    m_bytes_left -= static_cast<int64_t>(got);
    if (got < wanted)
        Error(strerror(m_input.error), "qdecoder");
    if (got == 0)
        Error("Ran out of JBIG data", "qdecoder");
}

void JbigReference::ByteIn()
{
    ct = 8;
    if (m_next == m_buffer.size())
        Refill();
    if (m_next == m_buffer.size() || m_marker_seen)
        return;
    const uint32_t byte = m_buffer[m_next++];
    if (byte != 0xFF) {
        c |= byte << 8;
        return;
    }
    if (m_next == m_buffer.size())
        Refill();
    if (m_next == m_buffer.size())
        return;
    const int second = m_buffer[m_next++];
    if (second == 0) {
        c |= 0xFF00;
    } else if (second == 2 || second == 3) {
        m_marker_seen = true;
        m_reset_pending = m_reset_pending || second == 3;
    } else {
        Error("Non-stuffed FF found in PSCD\n", "qdecoder");
    }
}

int JbigReference::Decide(Context& context)
{
    const kesterlib::QmState& state = kesterlib::kQmTable[context.state];
    const uint32_t qe = state.qe;
    a -= qe;
    bool lps = false;
    if (c >> 16 >= a) {
        lps = qe <= a;
        c -= a << 16;
        a = qe;
    } else if (a < 0x8000) {
        lps = qe > a;
    } else {
        return context.mps;
    }
    const int pixel = context.mps ^ static_cast<int>(lps);
    if (lps && state.exchange)
        context.mps ^= 1;
    context.state = lps ? state.after_lps : state.after_mps;
    while (a < 0x8000) {
        if (ct == 0)
            ByteIn();
        a <<= 1;
        c <<= 1;
        --ct;
    }
    return pixel;
}

void JbigReference::DecodeStripe()
{
    if (m_reset_pending)
        m_contexts.assign(1024, Context());
    m_reset_pending = m_marker_seen = false;
    c = 0;
    for (int i = 0; i < 3; ++i) {
        c <<= 8;
        ByteIn();
    }
    a = 0x10000;
    std::copy(m_stripe.end() - 2, m_stripe.end(), m_stripe.begin());
    m_in_rows = true;
    for (size_t y = 2; y < m_stripe.size(); ++y) {
        const auto at = [this, y](size_t above, int64_t x) {
            return x < 0 || x >= int64_t{width}
                       ? 0u
                       : static_cast<unsigned>(m_stripe[y - above][static_cast<size_t>(x)]);
        };
        std::fill(m_stripe[y].begin(), m_stripe[y].end(), 0);
        m_line_at_work = static_cast<uint32_t>(y - 2);
        for (uint32_t x = 0; x < width && (m_errors == 0 || x % 8 != 0 || x == 0); ++x) {
            m_column_at_work = x / 8 * 8;
            unsigned context = 0;
            for (int dx = -1; dx <= 1; ++dx)
                context = context << 1 | at(2, int64_t{x} + dx);
            for (int dx = -2; dx <= 2; ++dx)
                context = context << 1 | at(1, int64_t{x} + dx);
            context = context << 2 | at(0, int64_t{x} - 2) << 1 | at(0, int64_t{x} - 1);
            m_stripe[y][x] = Decide(m_contexts[context]);
        }
        if (m_errors > 0)
            break;
    }
    m_in_rows = false;
    ++stripe_number;
    m_lines_left = stripe_lines;
}

std::vector<uint8_t> JbigReference::Adaptor() const
{
    std::vector<uint8_t> bytes;
    for (const Context& context : m_contexts)
        bytes.push_back(static_cast<uint8_t>(2 * context.state + context.mps));
    return bytes;
}

int JbigReference::Decode(int lines, std::vector<uint8_t>* rows)
{
    int delivered = 0;
    for (; m_errors == 0 && delivered < lines; ++delivered) {
        if (m_lines_left == 0) {
            DecodeStripe();
            if (m_errors > 0)
                break;
        }
        const std::vector<int>& row = m_stripe[m_stripe.size() - m_lines_left--];
        for (size_t x = 0; rows && x < width; ++x) {
            if (x % 8 == 0)
                rows->push_back(0);
            rows->back() = static_cast<uint8_t>(rows->back() | row[x] << (7 - x % 8));
        }
    }
    position = m_input.mapped ? m_next : m_stream - (m_buffer.size() - m_next);
    return delivered;
}
} // namespace test_support
