// SPDX-License-Identifier: MIT
// JBIG encoder (ITU-T T.82): one bit plane in one resolution, three-line template, no prediction, the
// adaptive pixel at its default position. Input: packed rows from the top. Output: a bi-level image entity.
// Its last two bytes are the marker of the last stripe.
#pragma once

#include "pages.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace pages
{

enum class StripeEnd { KeepContexts, ResetContexts };
enum class JbigOne { Black, White };

struct JbigOptions {
    uint32_t stripe_rows = 128;                     // L0; 0 is one stripe of the whole page
    StripeEnd stripe_end = StripeEnd::KeepContexts; // SDNORM, or SDRST: each stripe has fresh contexts
    JbigOne one = JbigOne::White;                   // meaning of a 1 in the stream; page files use white
};

class JbigEncoder
{
public:
    // Both sides are at least 1.
    JbigEncoder(int width, int height, const JbigOptions& options = {});

    // Codes the next row, in which 1 is black. The first row appends the header to `stream`, and the last row
    // of a stripe appends the stripe. Takes at most `height` rows. Bits after the width are ignored.
    void add_row(const uint8_t* row, std::vector<uint8_t>& stream);

private:
    // Registers of the arithmetic coder: `interval` is A, `code` is C with its carry in bit 27, and `shifts`
    // counts down to the next complete byte.
    struct Registers {
        uint32_t interval, code;
        int shifts;
    };

    static Registers fresh_registers();
    void put_header(std::vector<uint8_t>& stream) const;
    void take_row(const uint8_t* row);
    void code_row();
    void encode(Registers& registers, uint32_t context, uint32_t pixel);
    void put_byte(Registers& registers);
    void end_stripe(std::vector<uint8_t>& stream);

    int m_width, m_height; // px
    JbigOptions m_options;
    int m_row = 0; // rows coded
    uint32_t m_row_in_stripe = 0;

    // The current row and the two above it, in the stream's polarity, each with a byte of 0 at both ends.
    std::vector<uint8_t> m_current, m_above, m_above2;

    std::array<uint8_t, 1024> m_contexts{}; // 2 * state + the more probable pixel
    Registers m_registers = fresh_registers();
    std::vector<uint8_t> m_data; // bytes of the current stripe, before stuffing
};

std::vector<uint8_t> encode_jbig(const Bitmap& page, const JbigOptions& options = {});

} // namespace pages
