// Pictures for the test pages: a landscape and a grey ramp as small grey maps, their enlargement row by row,
// and the screen that turns tones into dots.
#pragma once

#include "pages.h"

#include <array>

namespace pages
{

// Sky, sun, mountains, a lake and trees; 0 is black. The same picture at every size.
GreyMap landscape(int width, int height);

// Two pixels: white on the left, black on the right.
GreyMap grey_ramp();

// Enlarges a grey map, row by row, with straight lines between its pixels.
class Enlarger
{
public:
    Enlarger(const GreyMap& picture, int width, int height);

    // Row y of the enlarged picture, width bytes, valid until the next call.
    const uint8_t* row(int y);

private:
    const GreyMap& picture_;
    int width_, height_;
    std::vector<int32_t> line_; // one row of the picture, 8 bits of fraction
    std::vector<uint8_t> tones_;
};

// Clustered dots on a lattice at 45 degrees, cell px from dot to dot. A tone of t blackens 255 - t of 255
// parts.
class Screen
{
public:
    explicit Screen(int cell);

    // Blackens pixels x to x + width of a packed row, according to width tones.
    void row(const uint8_t* tones, int x, int y, int width, uint8_t* bits) const;

private:
    static constexpr int kPhaseBits = 7;
    static constexpr int kPhases = 1 << kPhaseBits;

    uint32_t step_;                                                   // phase of one pixel; a cell is 2^32
    std::array<uint8_t, std::size_t{kPhases} * kPhases> threshold_{}; // a pixel whose tone is below is black
};

} // namespace pages
