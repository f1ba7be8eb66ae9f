// SPDX-License-Identifier: MIT
// Decodes Squeeze as the format is defined, step by step. Positions have 64 bits, and every bound is checked
// where it applies.

#include "tests/support/sqz_reference.h"

#include <algorithm>
#include <string_view>

namespace test_support
{
namespace
{

using List = std::vector<int64_t>; // head 0, transitions, closing copies of the row length

// In the order of the code indices.
constexpr std::string_view kTableA[] = {"0011110", "0000",    "010",     "1",       "011",     "0001",
                                        "0011111", "0010000", "0010001", "0010010", "0010011", "0010100",
                                        "0010101", "0010110", "0010111", "0011000", "0011001", "0011010",
                                        "0011011", "0011100", "0011101"};
constexpr std::string_view kTableB[] = {"10010", "10000", "1010",  "11",    "1011",  "10001",
                                        "10011", "00000", "00001", "00010", "00011", "00100",
                                        "00101", "00110", "00111", "01000", "01001", "01010",
                                        "01011", "01100", "01101", "01110", "01111"};
constexpr int kVerticals = 7;
constexpr int64_t kBehindEveryRow = int64_t{1} << 40;

struct Failure {
    const char* text;
};
constexpr Failure kTooManyRuns{"number of runs must not overrun buffer"};
constexpr Failure kNotARow{"eof code not zero"};

class Bits
{
public:
    explicit Bits(std::span<const uint8_t> bytes) : m_bytes(bytes) {}

    int next()
    {
        const std::size_t at = m_position / 8;
        const int byte = at < m_bytes.size() ? m_bytes[at] : 0x81;
        return byte >> (7 - m_position++ % 8) & 1;
    }
    int next(int count)
    {
        int value = 0;
        for (int i = 0; i < count; ++i)
            value = value * 2 + next();
        return value;
    }
    void to_byte_end() { m_position = (m_position + 7) / 8 * 8; }
    // More than 100 bytes of filler have been read. The filler repeats without end.
    bool far_behind_end() const { return m_position / 8 > m_bytes.size() + 100; }
    std::size_t bytes() const { return (m_position + 7) / 8; }
    bool past_the_end() const { return bytes() > m_bytes.size(); }

private:
    std::span<const uint8_t> m_bytes;
    std::size_t m_position = 0; // in bits
};

int read_code(Bits& bits, std::span<const std::string_view> table)
{
    for (std::string word;;) {
        word += bits.next() != 0 ? '1' : '0';
        const auto found = std::find(table.begin(), table.end(), word);
        if (found != table.end()) // always found: each sequence of bits starts with a code
            return static_cast<int>(found - table.begin());
    }
}

int64_t read_number(Bits& bits)
{
    int64_t value = 0;
    for (int group = 0; !bits.far_behind_end(); ++group) {
        const int64_t three = bits.next(3);
        value |= group < 11 ? three << (3 * group) : three != 0 ? kBehindEveryRow : 0;
        if (bits.next() == 1)
            return value;
    }
    return kBehindEveryRow;
}

List list_of_pixels(const uint8_t* row, int64_t length)
{
    List list{0};
    for (int64_t x = 0, before = 0; x < length; ++x) {
        const int64_t pixel = row[x / 8] >> (7 - x % 8) & 1;
        if (pixel != before)
            list.push_back(x);
        before = pixel;
    }
    list.insert(list.end(), 3, length);
    return list;
}

void append(List& list, int64_t position, int64_t length)
{
    if (position < 0 || static_cast<int64_t>(list.size()) == length + 5)
        throw kTooManyRuns;
    list.push_back(position);
}

List decode_coded_row(Bits& bits, const List& above, int64_t length)
{
    List list{0};
    int64_t a0 = -1;
    std::size_t r = 0;
    int adds = 0;
    while (a0 < length) {
        const bool first_table = adds < 3;
        const int code = first_table ? read_code(bits, kTableA) : read_code(bits, kTableB);
        if (code < kVerticals) {
            if (++r >= above.size())
                throw kTooManyRuns;
            a0 = above[r] + code - 3;
            append(list, a0, length);
            adds = 0;
            continue;
        }
        const int first_run = code - kVerticals + 1;
        const int long_run = first_table ? 14 : 16;
        a0 += first_run;
        if (first_run == long_run)
            a0 += read_number(bits);
        append(list, a0, length);
        if (a0 >= length)
            break;
        const int second_run = bits.next(2) + 1;
        a0 += second_run;
        if (second_run == 4)
            a0 += read_number(bits);
        append(list, a0, length);
        while (r + 1 < above.size() && a0 - above[r + 1] >= 3)
            r += 2;
        if (first_table)
            ++adds;
    }
    bits.to_byte_end();

    while (list.back() > length)
        list.pop_back();
    for (int i = 0; i < 4 && static_cast<int64_t>(list.size()) < length + 5; ++i)
        list.push_back(length);
    if (list.size() < 4 ||
        !std::all_of(list.end() - 4, list.end(), [length](int64_t entry) { return entry == length; }))
        throw kTooManyRuns;
    return list;
}

// A pair that does not ascend paints only the bits of the masks of its two ends, and nothing between them.
std::vector<uint8_t> paint(const List& list, int width, int row_bytes)
{
    const int64_t used = std::min<int64_t>((int64_t{width} + 7) / 8, row_bytes);
    std::vector<uint8_t> row(static_cast<std::size_t>(row_bytes));
    const auto blacken = [&row, used](int64_t byte, int from, int to) { // bits `from` to `to` - 1 of a byte
        if (byte < used)
            for (int bit = from; bit < to; ++bit)
                row[static_cast<std::size_t>(byte)] |= static_cast<uint8_t>(0x80 >> bit);
    };
    for (std::size_t i = 1; i + 1 < list.size() && list[i] < width; i += 2) {
        const int64_t start = list[i], stop = std::min<int64_t>(list[i + 1], width);
        const int start_bit = static_cast<int>(start % 8), stop_bit = static_cast<int>(stop % 8);
        if (start / 8 == stop / 8) {
            blacken(start / 8, start_bit, stop_bit);
            continue;
        }
        blacken(start / 8, start_bit, 8);
        for (int64_t byte = start / 8 + 1; byte < stop / 8; ++byte)
            blacken(byte, 0, 8);
        blacken(stop / 8, 0, stop_bit);
    }
    for (int64_t x = width; x < int64_t{row_bytes} * 8; ++x) // pairs that do not ascend can paint there
        row[static_cast<std::size_t>(x / 8)] &= static_cast<uint8_t>(~(0x80 >> x % 8));
    return row;
}

} // namespace

SqzReference DecodeSqueeze(std::span<const uint8_t> stream, int width, int row_bytes, int rows,
                           const uint8_t* first_ref_row)
{
    const int64_t length = int64_t{row_bytes} * 8;
    SqzReference result;
    Bits bits(stream);
    List above =
        first_ref_row != nullptr ? list_of_pixels(first_ref_row, length) : List{0, length, length, length};
    try {
        for (int y = 0; y < rows; ++y) {
            if (bits.next() == 0) {
                above = decode_coded_row(bits, above, length);
                if (result.decreasing < 0 && !std::is_sorted(above.begin(), above.end()))
                    result.decreasing = y;
                if (result.filler < 0 && bits.past_the_end())
                    result.filler = y;
                result.rows.push_back(paint(above, width, row_bytes));
                continue;
            }
            if (bits.next(7) != 0)
                throw kNotARow;
            ++result.raw_rows;
            std::vector<uint8_t> row(static_cast<std::size_t>(row_bytes));
            std::generate(row.begin(), row.end(), [&bits] { return static_cast<uint8_t>(bits.next(8)); });
            above = list_of_pixels(row.data(), length);
            if (result.filler < 0 && bits.past_the_end())
                result.filler = y;
            result.rows.push_back(std::move(row));
        }
    } catch (const Failure& failure) {
        result.error = failure.text;
    }
    result.bytes = bits.bytes();
    return result;
}

} // namespace test_support
