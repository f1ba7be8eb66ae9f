// A stripe's bytes are kept until the stripe ends. This allows a carry to run back through them. Zeros at
// their end are dropped, because a decoder supplies them itself. Only then are bytes of 0xff escaped.

#include "jbigencode.h"

#include <algorithm>
#include <cassert>
#include <iterator>
#include <utility>

namespace pages
{
namespace
{

constexpr uint8_t kEscape = 0xff;
constexpr uint8_t kStuffed = 0x00, kNormalEnd = 0x02, kResetEnd = 0x03; // after it: STUFF, SDNORM, SDRST

struct Estimate {
    uint16_t less_probable;                           // the less probable pixel's part of the interval
    uint8_t after_less_probable, after_more_probable; // next state after such a pixel
    uint8_t swaps; // 1: after a less probable pixel that colour becomes the more probable one
};
// ITU-T T.82, table 24.
constexpr Estimate kEstimates[] = {
    {0x5a1d, 1, 1, 1},     {0x2586, 14, 2, 0},    {0x1114, 16, 3, 0},    {0x080b, 18, 4, 0},
    {0x03d8, 20, 5, 0},    {0x01da, 23, 6, 0},    {0x00e5, 25, 7, 0},    {0x006f, 28, 8, 0},
    {0x0036, 30, 9, 0},    {0x001a, 33, 10, 0},   {0x000d, 35, 11, 0},   {0x0006, 9, 12, 0},
    {0x0003, 10, 13, 0},   {0x0001, 12, 13, 0},   {0x5a7f, 15, 15, 1},   {0x3f25, 36, 16, 0},
    {0x2cf2, 38, 17, 0},   {0x207c, 39, 18, 0},   {0x17b9, 40, 19, 0},   {0x1182, 42, 20, 0},
    {0x0cef, 43, 21, 0},   {0x09a1, 45, 22, 0},   {0x072f, 46, 23, 0},   {0x055c, 48, 24, 0},
    {0x0406, 49, 25, 0},   {0x0303, 51, 26, 0},   {0x0240, 52, 27, 0},   {0x01b1, 54, 28, 0},
    {0x0144, 56, 29, 0},   {0x00f5, 57, 30, 0},   {0x00b7, 59, 31, 0},   {0x008a, 60, 32, 0},
    {0x0068, 62, 33, 0},   {0x004e, 63, 34, 0},   {0x003b, 32, 35, 0},   {0x002c, 33, 9, 0},
    {0x5ae1, 37, 37, 1},   {0x484c, 64, 38, 0},   {0x3a0d, 65, 39, 0},   {0x2ef1, 67, 40, 0},
    {0x261f, 68, 41, 0},   {0x1f33, 69, 42, 0},   {0x19a8, 70, 43, 0},   {0x1518, 72, 44, 0},
    {0x1177, 73, 45, 0},   {0x0e74, 74, 46, 0},   {0x0bfb, 75, 47, 0},   {0x09f8, 77, 48, 0},
    {0x0861, 78, 49, 0},   {0x0706, 79, 50, 0},   {0x05cd, 48, 51, 0},   {0x04de, 50, 52, 0},
    {0x040f, 50, 53, 0},   {0x0363, 51, 54, 0},   {0x02d4, 52, 55, 0},   {0x025c, 53, 56, 0},
    {0x01f8, 54, 57, 0},   {0x01a4, 55, 58, 0},   {0x0160, 56, 59, 0},   {0x0125, 57, 60, 0},
    {0x00f6, 58, 61, 0},   {0x00cb, 59, 62, 0},   {0x00ab, 61, 63, 0},   {0x008f, 61, 32, 0},
    {0x5b12, 65, 65, 1},   {0x4d04, 80, 66, 0},   {0x412c, 81, 67, 0},   {0x37d8, 82, 68, 0},
    {0x2fe8, 83, 69, 0},   {0x293c, 84, 70, 0},   {0x2379, 86, 71, 0},   {0x1edf, 87, 72, 0},
    {0x1aa9, 87, 73, 0},   {0x174e, 72, 74, 0},   {0x1424, 72, 75, 0},   {0x119c, 74, 76, 0},
    {0x0f6b, 74, 77, 0},   {0x0d51, 75, 78, 0},   {0x0bb6, 77, 79, 0},   {0x0a40, 77, 48, 0},
    {0x5832, 80, 81, 1},   {0x4d1c, 88, 82, 0},   {0x438e, 89, 83, 0},   {0x3bdd, 90, 84, 0},
    {0x34ee, 91, 85, 0},   {0x2eae, 92, 86, 0},   {0x299a, 93, 87, 0},   {0x2516, 86, 71, 0},
    {0x5570, 88, 89, 1},   {0x4ca9, 95, 90, 0},   {0x44d9, 96, 91, 0},   {0x3e22, 97, 92, 0},
    {0x3824, 99, 93, 0},   {0x32b4, 99, 94, 0},   {0x2e17, 93, 86, 0},   {0x56a8, 95, 96, 1},
    {0x4f46, 101, 97, 0},  {0x47e5, 102, 98, 0},  {0x41cf, 103, 99, 0},  {0x3c3d, 104, 100, 0},
    {0x375e, 99, 93, 0},   {0x5231, 105, 102, 0}, {0x4c0f, 106, 103, 0}, {0x4639, 107, 104, 0},
    {0x415e, 103, 99, 0},  {0x5627, 105, 106, 1}, {0x50e7, 108, 107, 0}, {0x4b85, 109, 103, 0},
    {0x5597, 110, 109, 0}, {0x504f, 111, 107, 0}, {0x5a10, 110, 111, 1}, {0x5522, 112, 109, 0},
    {0x59eb, 112, 111, 1},
};

// The same table, indexed by a context's byte: 2 * state + the more probable pixel.
struct State {
    uint16_t less_probable;
    uint8_t after_less_probable, after_more_probable;
};
constexpr std::size_t kStates = 2 * std::size(kEstimates);
constexpr std::array<State, kStates> make_states()
{
    std::array<State, kStates> states{};
    for (std::size_t at = 0; at < kStates; ++at) {
        const Estimate& from = kEstimates[at / 2];
        const int pixel = at % 2;
        states[at] = {from.less_probable,
                      static_cast<uint8_t>(from.after_less_probable << 1 | (pixel ^ from.swaps)),
                      static_cast<uint8_t>(from.after_more_probable << 1 | pixel)};
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
    // The code has 16 bits at first. Its top bit, 15, is at the top of the byte, bit 26, after 11 shifts.
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
