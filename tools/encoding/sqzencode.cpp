// SPDX-License-Identifier: MIT
// Encodes rows as Squeeze. A row consists of vertical codes and add codes. A vertical code says that a change
// is within three pixels of a change in the row above. The next vertical code then refers to the next change
// of the row above. An add code holds two runs, measured from the last change. After it, pairs of changes of
// the row above are skipped if they are three pixels or more to the left of its end. Vertical codes skip no
// changes. So, if the row above has more changes than this row, a longer add code can save bits later. If the
// choice is not clear, the encoder compares both variants over the next few changes.

#include "sqzencode.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstdlib>
#include <cstring>

namespace pages
{
namespace
{

constexpr int kMostOffset = 3;
constexpr int kTablesSwitch = 3;        // add codes in sequence that use the first table
constexpr int32_t kFar = INT32_MAX / 2; // no row is that long
constexpr int kPadding = 4;             // entries of kFar: two that are read, and two spare ones
constexpr int kCodedClosing = 4;        // copies of the length after a coded row, if there is room
constexpr int kRawClosing = 3;          // copies after a raw row, and after the white row above the first
constexpr int kBesides = 5;             // entries that a list has in addition to one per pixel
// Number of changes over which two variants are compared. On a page of noise nearly all rows are raw, and the
// comparison is useless: with the smaller number the encoder is twice as fast there.
constexpr int kAhead = 5, kAheadAfterRaw = 2;
constexpr uint8_t kRawMark = 0x80;

struct Code {
    uint8_t bits, length;
};
// Codes of the offsets -3 to +3, in the first and the second table.
constexpr Code kVertical[2][2 * kMostOffset + 1] = {
    {{0x1e, 7}, {0x0, 4}, {0x2, 3}, {0x1, 1}, {0x3, 3}, {0x1, 4}, {0x1f, 7}},
    {{0x12, 5}, {0x10, 5}, {0xa, 4}, {0x3, 2}, {0xb, 4}, {0x11, 5}, {0x13, 5}}};

// First runs of 1 to base - 1 have consecutive codes. The next code means base or more, and a number follows
// that is added to base.
struct AddCodes {
    uint8_t first, length;
    int32_t base;
};
constexpr AddCodes kAdd[2] = {{0x10, 7, 14}, {0x00, 5, 16}};
constexpr int kSecondRunBits = 2;
constexpr int32_t kLongSecondRun = 4;

int table_of(int adds)
{
    return adds < kTablesSwitch ? 0 : 1;
}

int number_bits(int32_t value)
{
    constexpr int kGroupBits = 4, kGroupData = 3;
    const int data_bits = std::max(1, static_cast<int>(std::bit_width(static_cast<uint32_t>(value))));
    return (data_bits + kGroupData - 1) / kGroupData * kGroupBits;
}

} // namespace

SqueezeEncoder::SqueezeEncoder(std::size_t row_bytes, RawRows raw_rows)
    : m_row_bytes(row_bytes), m_length(static_cast<int32_t>(row_bytes * 8)), m_raw_rows(raw_rows)
{
    assert(row_bytes >= 1 && row_bytes <= std::size_t{1} << 27);
    const auto entries = static_cast<std::size_t>(m_length) + kBesides + kPadding;
    m_row.at.resize(entries);
    m_above.at.resize(entries);
    // One byte per pixel is enough: changes are at least one pixel apart, and each takes at most 7 bits. The
    // additional words are needed because `put` stores whole words.
    m_coded.resize(static_cast<std::size_t>(m_length) + 2 * sizeof(uint64_t));
    close(m_above, kRawClosing);
    m_ahead = kAhead;
}

void SqueezeEncoder::find_changes(const uint8_t* row)
{
    int32_t* out = m_row.at.data();
    *out++ = 0;
    uint64_t before = 0; // last pixel of the word before
    for (std::size_t at = 0; at < m_row_bytes; at += sizeof(uint64_t)) {
        const std::size_t bytes = std::min(sizeof(uint64_t), m_row_bytes - at);
        uint64_t word = 0;
        for (std::size_t i = 0; i < sizeof(uint64_t); ++i)
            word = word << 8 | (i < bytes ? row[at + i] : 0U);
        uint64_t changes = word ^ (word >> 1 | before << 63);
        before = word & 1;
        while (changes != 0) {
            const int in_word = std::countl_zero(changes);
            *out++ = static_cast<int32_t>(at * 8) + in_word;
            changes &= ~(uint64_t{1} << 63 >> in_word);
        }
        if (bytes < sizeof(uint64_t) && out[-1] == m_length)
            --out; // the row ends in black: the white padding after it is not a change
    }
    m_row.changes = static_cast<int>(out - m_row.at.data()) - 1;
}

void SqueezeEncoder::close(Row& row, int closing) const
{
    const auto first = row.at.begin() + row.changes + 1;
    const auto room = static_cast<std::ptrdiff_t>(m_length) + kBesides - row.changes - 1;
    const auto last = first + std::min<std::ptrdiff_t>(closing, room);
    std::fill(first, last, m_length);
    std::fill(last, last + kPadding, kFar);
}

void SqueezeEncoder::put(uint32_t bits, int length)
{
    constexpr int kWordBits = 32;
    m_pending = m_pending << length | bits;
    m_pending_bits += length;
    if (m_pending_bits < kWordBits)
        return;
    m_pending_bits -= kWordBits;
    const auto word = static_cast<uint32_t>(m_pending >> m_pending_bits);
    for (int shift = kWordBits - 8; shift >= 0; shift -= 8)
        m_coded[m_coded_bytes++] = static_cast<uint8_t>(word >> shift);
}

// Writes groups of three bits, the lowest first. After each group one bit says whether it is the last.
void SqueezeEncoder::put_number(uint32_t value)
{
    while (value > 7) {
        put((value & 7) << 1, 4);
        value >>= 3;
    }
    put(value << 1 | 1, 4);
}

bool SqueezeEncoder::vertical_reaches(const Place& place) const
{
    return std::abs(offset(place)) <= kMostOffset;
}

SqueezeEncoder::Place SqueezeEncoder::after_vertical(const Place& place) const
{
    return {place.written + 1, place.above + 1, 0};
}

SqueezeEncoder::Place SqueezeEncoder::after_add(const Place& place) const
{
    Place after = place;
    after.adds = std::min(place.adds + 1, kTablesSwitch);
    ++after.written;
    const int32_t first = position(after);
    if (first == m_length)
        return after;
    ++after.written;
    const int32_t second = position(after);
    while (second - m_above.at[static_cast<std::size_t>(after.above) + 1] >= 3)
        after.above += 2;
    return after;
}

int SqueezeEncoder::add_bits(const Place& place) const
{
    const int32_t* const next = m_row.at.data() + place.written + 1;
    const AddCodes& codes = kAdd[table_of(place.adds)];
    const int32_t first_run = next[0] - position(place);
    int bits = codes.length;
    if (first_run >= codes.base)
        bits += number_bits(first_run - codes.base);
    if (next[0] == m_length)
        return bits;
    bits += kSecondRunBits;
    if (const int32_t second_run = next[1] - next[0]; second_run >= kLongSecondRun)
        bits += number_bits(second_run - kLongSecondRun);
    return bits;
}

void SqueezeEncoder::put_add(const Place& place)
{
    const int32_t* const next = m_row.at.data() + place.written + 1;
    const AddCodes& codes = kAdd[table_of(place.adds)];
    const int32_t first_run = next[0] - position(place);
    put(static_cast<uint32_t>(codes.first + std::min(first_run, codes.base) - 1), codes.length);
    if (first_run >= codes.base)
        put_number(static_cast<uint32_t>(first_run - codes.base));
    if (next[0] == m_length)
        return;
    const int32_t second_run = next[1] - next[0];
    put(static_cast<uint32_t>(std::min(second_run, kLongSecondRun) - 1), kSecondRunBits);
    if (second_run >= kLongSecondRun)
        put_number(static_cast<uint32_t>(second_run - kLongSecondRun));
}

// Returns the bits from `place` until `goal` entries are written, with the shorter code at each step.
int SqueezeEncoder::bits_to(const Place& place, int goal) const
{
    constexpr int kWorthOfOneMore = 3; // bits; an add code may write one entry more than requested
    if (place.written >= goal)
        return place.written > goal ? -kWorthOfOneMore : 0;
    const int by_add = add_bits(place) + bits_to(after_add(place), goal);
    if (!vertical_reaches(place))
        return by_add;
    const int own = kVertical[table_of(place.adds)][offset(place) + kMostOffset].length;
    return std::min(by_add, own + bits_to(after_vertical(place), goal));
}

// Returns whether a vertical code is better than an add code. Call it only if a vertical code is possible.
bool SqueezeEncoder::take_vertical(const Place& place) const
{
    const Place next = after_vertical(place);
    if (m_row.at[static_cast<std::size_t>(next.written)] == m_length)
        return true;
    const int own = kVertical[table_of(place.adds)][offset(place) + kMostOffset].length;
    if (own <= 3 && vertical_reaches(next))
        return true;
    const int goal = std::min(place.written + m_ahead, m_row.changes + 1);
    return own + bits_to(next, goal) <= add_bits(place) + bits_to(after_add(place), goal);
}

// Codes the row into m_coded. Returns its bytes, or the bytes so far if a raw row is already shorter.
std::size_t SqueezeEncoder::code_row()
{
    m_coded_bytes = 0;
    m_pending = 0;
    m_pending_bits = 0;
    put(0, 1);
    for (Place place{0, 0, 0}; position(place) < m_length;) {
        if (vertical_reaches(place) && take_vertical(place)) {
            const Code& code = kVertical[table_of(place.adds)][offset(place) + kMostOffset];
            put(code.bits, code.length);
            place = after_vertical(place);
        } else {
            put_add(place);
            place = after_add(place);
        }
        if (m_coded_bytes > m_row_bytes + 1 && m_raw_rows == RawRows::WhereShorter)
            return m_coded_bytes;
    }
    while (m_pending_bits > 0) {
        m_coded[m_coded_bytes++] = static_cast<uint8_t>(
            m_pending_bits >= 8 ? m_pending >> (m_pending_bits - 8) : m_pending << (8 - m_pending_bits));
        m_pending_bits -= 8;
    }
    return m_coded_bytes;
}

void SqueezeEncoder::add_row(const uint8_t* row, std::vector<uint8_t>& stream)
{
    find_changes(row);
    close(m_row, 2); // the row's length twice: as the last change, and once after it
    const std::size_t raw_bytes = 1 + m_row_bytes;
    const bool raw =
        m_raw_rows == RawRows::Always || (code_row() > raw_bytes && m_raw_rows == RawRows::WhereShorter);
    if (raw) {
        stream.push_back(kRawMark);
        stream.insert(stream.end(), row, row + m_row_bytes);
    } else {
        stream.insert(stream.end(), m_coded.begin(),
                      m_coded.begin() + static_cast<std::ptrdiff_t>(m_coded_bytes));
    }
    // A coded row has one copy more: its last change is at its length.
    close(m_row, raw ? kRawClosing : 1 + kCodedClosing);
    std::swap(m_row, m_above);
    m_ahead = raw ? kAheadAfterRaw : kAhead;
}

std::vector<uint8_t> encode_squeeze(const Bitmap& page, RawRows raw_rows)
{
    SqueezeEncoder encoder(page.row_bytes, raw_rows);
    std::vector<uint8_t> stream;
    for (int y = 0; y < page.height; ++y)
        encoder.add_row(page.row(y), stream);
    return stream;
}

} // namespace pages
