// SPDX-License-Identifier: MIT
// Encodes rows as JBIG, a stripe at a time. The bytes of a stripe are kept until the stripe ends, because a
// later carry can change them. At the end of the stripe, zeros at the end of its bytes are dropped, because a
// decoder adds them itself. Then bytes of 0xff are escaped.

#include "jbigencode.h"

#include "qm_states.h"

#include <algorithm>
#include <cassert>
#include <iterator>
#include <utility>

namespace pages
{
namespace
{

constexpr uint8_t kEscape = 0xff;
// Bytes after 0xff: STUFF, SDNORM, SDRST.
constexpr uint8_t kStuffed = 0x00, kNormalEnd = 0x02, kResetEnd = 0x03;

// The states of the estimator, indexed by a context's byte: 2 * state + the more probable pixel.
struct State {
    uint16_t less_probable;
    uint8_t after_less_probable, after_more_probable;
};
constexpr std::size_t kStates = std::size_t{2} * kesterlib::kQmStates;
constexpr std::array<State, kStates> make_states()
{
    std::array<State, kStates> states{};
    for (std::size_t at = 0; at < kStates; ++at) {
        const kesterlib::QmState& from = kesterlib::kQmTable[at / 2];
        const int pixel = at % 2;
        states[at] = {from.qe, static_cast<uint8_t>(from.after_lps << 1 | (pixel ^ from.exchange)),
                      static_cast<uint8_t>(from.after_mps << 1 | pixel)};
    }
    return states;
}
constexpr std::array<State, kStates> kCoder = make_states();

constexpr uint32_t kLeastInterval = 0x8000, kWholeInterval = 0x10000;
constexpr int kByteAt = 19, kCarryAt = kByteAt + 8; // bit positions in the code register
constexpr uint32_t kBelowByte = (1U << kByteAt) - 1;

void put_number(uint32_t value, std::vector<uint8_t>& stream)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        stream.push_back(static_cast<uint8_t>(value >> shift));
}

} // namespace

JbigEncoder::Registers JbigEncoder::fresh_registers()
{
    // The code has 16 bits at first. After 11 shifts its top bit, 15, is the top bit of the byte, 26.
    return {kWholeInterval, 0, kByteAt - 8};
}

JbigEncoder::JbigEncoder(int width, int height, const JbigOptions& options)
    : m_width(width), m_height(height), m_options(options)
{
    assert(width >= 1 && height >= 1);
    if (m_options.stripe_rows == 0)
        m_options.stripe_rows = static_cast<uint32_t>(height);
    const std::size_t bytes = (static_cast<std::size_t>(width) + 7) / 8 + 2; // a byte of margin on each side
    for (std::vector<uint8_t>* const row : {&m_current, &m_above, &m_above2})
        row->resize(bytes);
}

void JbigEncoder::put_header(std::vector<uint8_t>& stream) const
{
    const uint8_t layers_and_planes[] = {0, 0, 1, 0}; // first and last layer 0, one plane, fill
    stream.insert(stream.end(), std::begin(layers_and_planes), std::end(layers_and_planes));
    put_number(static_cast<uint32_t>(m_width), stream);
    put_number(static_cast<uint32_t>(m_height), stream);
    put_number(m_options.stripe_rows, stream);
    put_number(0, stream); // 4 bytes: reach of the adaptive pixel across and down, order, options
}

// Makes `row` the current row, in the stream's polarity, and moves the two rows before it up.
void JbigEncoder::take_row(const uint8_t* row)
{
    std::swap(m_above, m_above2);
    std::swap(m_current, m_above);
    const std::size_t row_bytes = m_current.size() - 2;
    const auto flip = static_cast<uint8_t>(m_options.one == JbigOne::White ? 0xff : 0);
    std::transform(row, row + row_bytes, m_current.begin() + 1,
                   [flip](uint8_t pixels) { return static_cast<uint8_t>(pixels ^ flip); });
    if (const int in_last = m_width % 8; in_last != 0)
        m_current[row_bytes] &= static_cast<uint8_t>(0xff00 >> in_last);
}

// Appends the byte at the top of the code register. A later carry can still change it.
void JbigEncoder::put_byte(Registers& registers)
{
    if (registers.code >> kCarryAt != 0) // the code is a fraction below 1: no carry passes the first byte
        for (std::size_t at = m_data.size(); at > 0 && ++m_data[at - 1] == 0;)
            --at;
    m_data.push_back(static_cast<uint8_t>(registers.code >> kByteAt));
    registers.code &= kBelowByte;
    registers.shifts = 8;
}

inline void JbigEncoder::encode(Registers& registers, uint32_t context, uint32_t pixel)
{
    uint8_t& place = m_contexts[context];
    const State& state = kCoder[place];
    registers.interval -= state.less_probable;
    const bool more_probable = pixel == (place & 1U);
    if (more_probable && registers.interval >= kLeastInterval)
        return;
    // The lower part is `interval` large, the upper one `less_probable`. The more probable pixel has the
    // larger of the two.
    const bool lower = more_probable == (registers.interval >= state.less_probable);
    if (!lower) {
        registers.code += registers.interval;
        registers.interval = state.less_probable;
    }
    place = more_probable ? state.after_more_probable : state.after_less_probable;
    do {
        registers.interval <<= 1;
        registers.code <<= 1;
        if (--registers.shifts == 0)
            put_byte(registers);
    } while (registers.interval < kLeastInterval);
}

// The template: two pixels to the left, five in the row above and three in the row above that.
void JbigEncoder::code_row()
{
    Registers registers = m_registers; // a local copy: each write of a context, a byte, may alias a member
    uint32_t current = 0, above = m_above[1], above2 = m_above2[1]; // bytes, the latest one lowest
    for (int x = 0; x < m_width; x += 8) {
        const auto next = static_cast<std::size_t>(x / 8) + 2;
        current = current << 8 | m_current[next - 1];
        above = above << 8 | m_above[next];
        above2 = above2 << 8 | m_above2[next];
        const int pixels = std::min(8, m_width - x);
        for (int k = 0; k < pixels; ++k) {
            const uint32_t context =
                (above2 >> (14 - k) & 7) << 7 | (above >> (13 - k) & 31) << 2 | (current >> (8 - k) & 3);
            encode(registers, context, current >> (7 - k) & 1);
        }
    }
    m_registers = registers;
}

void JbigEncoder::end_stripe(std::vector<uint8_t>& stream)
{
    // Chooses the number in the interval with the most zeros at its end, and writes all of it.
    Registers registers = m_registers;
    const uint32_t last = registers.code + registers.interval - 1;
    const uint32_t rounded = last & ~0xffffU;
    registers.code = rounded < registers.code ? rounded + kLeastInterval : rounded;
    registers.code <<= registers.shifts;
    put_byte(registers);
    registers.code <<= 8;
    put_byte(registers);
    m_registers = fresh_registers();

    while (!m_data.empty() && m_data.back() == 0)
        m_data.pop_back();
    for (const uint8_t byte : m_data) {
        stream.push_back(byte);
        if (byte == kEscape)
            stream.push_back(kStuffed);
    }
    m_data.clear();
    const bool reset = m_options.stripe_end == StripeEnd::ResetContexts;
    stream.push_back(kEscape);
    stream.push_back(reset ? kResetEnd : kNormalEnd);
    if (reset)
        m_contexts.fill(0);
    m_row_in_stripe = 0;
}

void JbigEncoder::add_row(const uint8_t* row, std::vector<uint8_t>& stream)
{
    assert(m_row < m_height);
    if (m_row == 0)
        put_header(stream);
    take_row(row);
    code_row();
    ++m_row;
    if (++m_row_in_stripe == m_options.stripe_rows || m_row == m_height)
        end_stripe(stream);
}

std::vector<uint8_t> encode_jbig(const Bitmap& page, const JbigOptions& options)
{
    JbigEncoder encoder(page.width, page.height, options);
    std::vector<uint8_t> stream;
    for (int y = 0; y < page.height; ++y)
        encoder.add_row(page.row(y), stream);
    return stream;
}

} // namespace pages
