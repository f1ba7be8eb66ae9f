// SPDX-License-Identifier: MIT
// The pictures of test pages, their enlarger and the halftone screen. The landscape consists of layers of
// lattice noise in integers. Heights and positions are in units of 1/4096 of the picture's height. The
// enlarger and the screen handle every pixel of a page, with a few operations for each.

#include "picture.h"

#include "squareroot.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

namespace pages
{
namespace
{

constexpr int kHigh = 4096;  // units from top to bottom
constexpr int kShore = 2650; // top of the lake
constexpr int kSunX = 2300, kSunY = 800, kSunRadius = 260;

uint32_t scramble(uint32_t value)
{
    value ^= value >> 16;
    value *= 0x7feb352dU;
    value ^= value >> 15;
    value *= 0x846ca68bU;
    return value ^ value >> 16;
}

int lattice(uint32_t salt, int x, int y)
{
    return static_cast<int>(scramble(static_cast<uint32_t>(x) * 0x9e3779b1U ^
                                     scramble(static_cast<uint32_t>(y) * 0x85ebca77U ^ scramble(salt))) &
                            255);
}

// Maps 0 to 256 smoothly to 0 to 256, with a slope of 0 at both ends.
int ease(int fraction)
{
    return fraction * fraction * (768 - 2 * fraction) >> 16;
}

// Smooth noise from 0 to 255. Positions are in 1/256 of a lattice step.
int noise(uint32_t salt, int x, int y = 0)
{
    const int cx = x >> 8, cy = y >> 8, fx = ease(x & 255), fy = ease(y & 255);
    const int above = lattice(salt, cx, cy) * (256 - fx) + lattice(salt, cx + 1, cy) * fx;
    if (fy == 0)
        return above >> 8;
    const int below = lattice(salt, cx, cy + 1) * (256 - fx) + lattice(salt, cx + 1, cy + 1) * fx;
    return (above * (256 - fy) + below * fy) >> 16;
}

// Sum of octaves of noise, each with half the size and half the weight of the one before. About 0 to 510.
int rough(uint32_t salt, int octaves, int x, int y = 0)
{
    int sum = 0;
    for (int i = 0; i < octaves; ++i)
        sum += noise(salt + static_cast<uint32_t>(i), x << i, y << i) >> i;
    return sum;
}

struct Range {
    uint32_t salt;
    int foot, rise; // units: the ridge runs between foot and foot - rise
    int stretch;    // units per lattice step
    int octaves;
    int tone, relief; // grey value, and the largest difference of light and shade from it
};
constexpr Range kRanges[] = {
    {11, 2350, 1650, 1100, 6, 165, 75}, // farthest first
    {23, 2500, 980, 760, 6, 125, 55},
    {31, 2640, 560, 640, 5, 75, 25},
};

int ridge(const Range& range, int x)
{
    return range.foot - rough(range.salt, range.octaves, x * 256 / range.stretch) * range.rise / 510;
}

// Returns the brightness of a mountain side: how steeply the rough ground rises to the right and down.
int relief(const Range& range, int x, int y)
{
    const auto ground = [&](int gx, int gy) {
        return rough(range.salt + 90, 4, (gx + gy / 3) * 256 / 420, (gy - gx / 4) * 256 / 560);
    };
    return std::clamp((ground(x + 36, y + 20) - ground(x - 36, y - 20)) * 3 / 2, -range.relief, range.relief);
}

int sky(int x, int y)
{
    const int64_t dx = x - kSunX, dy = y - kSunY, square = dx * dx + dy * dy;
    if (square < int64_t{kSunRadius} * kSunRadius)
        return 255;
    const int64_t glow = 80 * int64_t{900} * 900 / (int64_t{900} * 900 + square);
    const int cloud = std::max(0, rough(71, 5, x / 5, y / 2) - 230);
    return std::min(248, 110 + y * 70 / kShore + static_cast<int>(glow) + cloud / 3);
}

// The tops of the ranges in each column of a picture, computed once for all rows.
struct Columns {
    std::vector<std::array<int, std::size(kRanges)>> tops; // units, one entry per column
    int height;                                            // px of the picture

    int x(int column) const { return static_cast<int>(int64_t{column} * kHigh / height); }
    const std::array<int, std::size(kRanges)>& at(int x) const
    {
        const int64_t column = int64_t{x} * height / kHigh;
        return tops[static_cast<std::size_t>(
            std::clamp<int64_t>(column, 0, static_cast<int64_t>(tops.size()) - 1))];
    }
};

int land_and_sky(const Columns& columns, int x, int y)
{
    const auto& tops = columns.at(x);
    for (std::size_t i = std::size(kRanges); i-- > 0;) { // the nearest first
        const Range& range = kRanges[i];
        if (y < tops[i])
            continue;
        const int haze = (y - tops[i]) * 50 / std::max(1, range.foot - tops[i] + 200);
        // Ravines run down from the dips of the ridge and meander.
        const int wander =
            (rough(range.salt + 95, 3, x * 256 / 900, y * 256 / 500) - 220) * (y - tops[i]) / 500;
        const int slope = columns.at(x + wander + 30)[i] - columns.at(x + wander - 30)[i];
        const int light = std::clamp(slope + relief(range, x, y) / 2, -range.relief, range.relief);
        return range.tone + light + std::min(haze, 60);
    }
    return sky(x, y);
}

// Returns whether a point is on the near bank or in one of its firs. The firs stand in a row. Position and
// height of each depend on its number.
bool near_bank(int x, int y)
{
    const int bank = 3560 + x / 7 - rough(51, 5, x / 3) / 3;
    if (y >= bank)
        return true;
    constexpr int kApart = 210;
    for (int i = x / kApart - 1; i <= x / kApart + 1; ++i) {
        const int trunk = i * kApart + lattice(61, i, 0) / 2;
        if (trunk > 1900 || trunk < 0)
            continue;
        const int tall = 500 + lattice(62, i, 0) * 3 + std::max(0, 700 - trunk / 2);
        const int tip = 3640 + trunk / 7 - tall, down = y - tip;
        if (down < 0)
            continue;
        const int branch = down % 110; // units from the top of a layer of branches
        const int reach = 10 + down / 6 - (110 - branch) * (40 + down / 8) / 400;
        if (std::abs(x - trunk) < reach + noise(63, x * 12, y * 9) / 16)
            return true;
    }
    return false;
}

int tone_at(const Columns& columns, int x, int y)
{
    if (near_bank(x, y))
        return 18 + rough(81, 3, x * 3, y * 3) / 24;
    if (y < kShore)
        return land_and_sky(columns, x, y);
    const int below = y - kShore;
    const int ripple = (rough(41, 3, x / 3, below * 6) - 220) * (20 + below) / 2200;
    const int mirrored = std::clamp(kShore - below * 3 / 2 + ripple, 0, kShore - 1);
    const int glint = std::max(0, rough(45, 3, x / 2, below * 8) - 330) / 2;
    return std::min(255, land_and_sky(columns, x + ripple, mirrored) * 13 / 16 + 18 + glint);
}

} // namespace

GreyMap landscape(int width, int height)
{
    Columns columns{std::vector<std::array<int, std::size(kRanges)>>(static_cast<std::size_t>(width)),
                    height};
    for (int column = 0; column < width; ++column)
        for (std::size_t i = 0; i < std::size(kRanges); ++i)
            columns.tops[static_cast<std::size_t>(column)][i] = ridge(kRanges[i], columns.x(column));
    GreyMap picture(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            picture.row(y)[x] = static_cast<uint8_t>(std::clamp(
                tone_at(columns, columns.x(x), static_cast<int>(int64_t{y} * kHigh / height)), 0, 255));
    return picture;
}

GreyMap grey_ramp()
{
    GreyMap ramp(2, 1);
    ramp.rows = {255, 0};
    return ramp;
}

Enlarger::Enlarger(const GreyMap& picture, int width, int height)
    : m_picture(picture), m_width(width), m_height(height),
      m_line(static_cast<std::size_t>(picture.width) + 1), m_tones(static_cast<std::size_t>(width))
{
}

const uint8_t* Enlarger::row(int y)
{
    const int64_t place =
        m_height > 1 ? (int64_t{y} << 8) * (m_picture.height - 1) / (m_height - 1) : 0; // 8 bits of fraction
    const auto above = static_cast<int>(place >> 8), fraction = static_cast<int>(place & 255);
    const uint8_t* a = m_picture.row(above);
    const uint8_t* b = m_picture.row(std::min(above + 1, m_picture.height - 1));
    for (int x = 0; x < m_picture.width; ++x)
        m_line[static_cast<std::size_t>(x)] = a[x] * (256 - fraction) + b[x] * fraction;
    m_line.back() = m_line[m_line.size() - 2];

    const int64_t step = m_width > 1 ? (int64_t{m_picture.width - 1} << 16) / (m_width - 1) : 0;
    int64_t across = 0; // 16 bits of fraction
    for (int x = 0; x < m_width; ++x, across += step) {
        const int32_t* const pair = &m_line[static_cast<std::size_t>(across >> 16)];
        const auto part = static_cast<int32_t>(across >> 8 & 255);
        m_tones[static_cast<std::size_t>(x)] =
            static_cast<uint8_t>((pair[0] * (256 - part) + pair[1] * part) >> 16);
    }
    return m_tones.data();
}

Screen::Screen(int cell)
{
    // From one dot to the next, x and y both change by cell / sqrt(2). So x + y or x - y changes by cell *
    // sqrt(2), which is a phase of 2^32. One pixel is a phase of 2^32 / (cell * sqrt(2)).
    m_step = square_root((uint64_t{1} << 63) / (static_cast<uint64_t>(cell) * static_cast<uint64_t>(cell)));

    // The heights of a dot are the sum of two waves. A threshold is the rank of a height, so that the tones
    // are spread evenly.
    std::vector<int> ranked(m_threshold.size());
    std::array<int, kPhases> wave{};
    for (int i = 0; i < kPhases; ++i) {
        const int half = kPhases / 2, in_half = i % half;
        wave[static_cast<std::size_t>(i)] = (i < half ? 1 : -1) * in_half * (half - in_half);
    }
    std::vector<int> heights(m_threshold.size());
    for (std::size_t u = 0; u < kPhases; ++u)
        for (std::size_t v = 0; v < kPhases; ++v)
            heights[u * kPhases + v] = wave[u] + wave[v];
    ranked = heights;
    std::sort(ranked.begin(), ranked.end());
    for (std::size_t i = 0; i < heights.size(); ++i) {
        const auto place = std::lower_bound(ranked.begin(), ranked.end(), heights[i]) - ranked.begin();
        m_threshold[i] = static_cast<uint8_t>(place * 256 / static_cast<std::ptrdiff_t>(ranked.size()));
    }
}

void Screen::row(const uint8_t* tones, int x, int y, int width, uint8_t* bits) const
{
    uint32_t along = (static_cast<uint32_t>(x) + static_cast<uint32_t>(y)) * m_step;
    uint32_t across = (static_cast<uint32_t>(x) - static_cast<uint32_t>(y)) * m_step;
    constexpr int kShift = 32 - kPhaseBits;
    for (int done = 0; done < width;) {
        const int in_byte = (x + done) & 7, take = std::min(8 - in_byte, width - done);
        unsigned byte = 0;
        for (int i = 0; i < take; ++i, along += m_step, across += m_step) {
            const std::size_t phase = std::size_t{along >> kShift} << kPhaseBits | across >> kShift;
            byte = byte << 1 | (tones[done + i] < m_threshold[phase] ? 1U : 0U);
        }
        uint8_t& out = bits[(x + done) / 8];
        out = static_cast<uint8_t>(out | byte << (8 - in_byte - take));
        done += take;
    }
}

} // namespace pages
