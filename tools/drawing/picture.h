// SPDX-License-Identifier: MIT
// Pictures for the test pages: a landscape and a grey ramp as small grey maps, an enlarger that works row by
// row, and the screen that turns tones into dots.
#pragma once

#include "pages.h"

#include <array>

namespace pages
{

// Draws sky, sun, mountains, a lake and trees. The picture is the same at every size.
GreyMap landscape(int width, int height);

// Returns two pixels: white on the left, black on the right.
GreyMap grey_ramp();

// Enlarges a grey map row by row, with linear interpolation.
class Enlarger
{
public:
    Enlarger(const GreyMap& picture, int width, int height);

    // Returns row y of the enlarged picture, `width` bytes, valid until the next call.
    const uint8_t* row(int y);

private:
    const GreyMap& m_picture;
    int m_width, m_height;
    std::vector<int32_t> m_line; // row of the picture, interpolated between two rows; 8 bits of fraction
    std::vector<uint8_t> m_tones;
};

// Halftone screen: clustered dots on a lattice at 45 degrees, `cell` px from dot to dot. A tone of t blackens
// (255 - t) / 255 of the area.
class Screen
{
public:
    explicit Screen(int cell);

    // Screens `width` tones into the packed row `bits`, from pixel x on. y is the row of the page.
    void row(const uint8_t* tones, int x, int y, int width, uint8_t* bits) const;

private:
    static constexpr int kPhaseBits = 7;
    static constexpr int kPhases = 1 << kPhaseBits;

    uint32_t m_step;                                                   // phase of one pixel; a cell is 2^32
    std::array<uint8_t, std::size_t{kPhases} * kPhases> m_threshold{}; // a pixel with a lower tone is black
};

} // namespace pages
