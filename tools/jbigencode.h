// JBIG encoder (ITU-T T.82): one bit plane in one resolution, the three-line template, nothing predicted, the
// adaptive pixel at its default place. Given packed rows from the top; hands on the bi-level image entity,
// whose last two bytes are the last stripe's marker.
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
    StripeEnd stripe_end = StripeEnd::KeepContexts; // SDNORM, or SDRST and contexts that start anew
    JbigOne one = JbigOne::White;                   // what a 1 in the stream is; page files have white
};

class JbigEncoder
{
public:
    // Sides from 1. The header is written before the first row.
    JbigEncoder(int width, int height, const JbigOptions& options = {});

    // Codes the next row, 1 is black, and appends what is complete: a stripe's bytes stand in the stream with
    // its last row. At most height rows; bits behind the width are not looked at.
    void add_row(const uint8_t* row, std::vector<uint8_t>& stream);

private:
    // The arithmetic coder's registers: A, C with its carry in bit 27, and shifts until a byte is complete.
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

    // The row and the two above it, as coded, each with a byte of 0 on either side.
    std::vector<uint8_t> m_current, m_above, m_above2;

    std::array<uint8_t, 1024> m_contexts{}; // twice the state, and the more probable pixel in bit 0
    Registers m_registers = fresh_registers();
    std::vector<uint8_t> m_data; // of the stripe, nothing stuffed
};

std::vector<uint8_t> encode_jbig(const Bitmap& page, const JbigOptions& options = {});

} // namespace pages
