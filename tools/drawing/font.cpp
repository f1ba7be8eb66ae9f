// SPDX-License-Identifier: MIT
// The typeface. A glyph is a list of strokes along the centre lines of its stems and bowls. An em has 1000
// units, and the baseline is at y = 0. An elliptical pen, wider than high, follows the strokes: stems are
// heavy and crossbars are fine, as in a book face. The pen is rounded to whole pixels, so that all stems of
// one size are equally wide.

#include "font.h"

#include "squareroot.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>
#include <string_view>
#include <vector>

namespace pages
{
namespace
{

struct GlyphLine {
    char character;
    int advance; // units
    const char* strokes;
};

// Strokes, each a letter and its numbers:
//   l x y x y          straight, broad pen; the ends are cut horizontally (vertically if dx > 2 dy)
//   t x y x y          straight, fine pen
//   c 4 points         cubic curve, broad pen
//   C 4 points         cubic curve, round pen of 15/16 of a stem's width, for spines
//   o x y rx ry        ellipse
//   a x y rx ry q n    elliptical arc from the q-th quarter (0 right, 1 top), n quarters, clockwise if n < 0
//   d x y r            dot
//   s x y              serif on both sides, downwards from y if y > 0, else upwards
//   h x y              the same on the left side only
//   r x y              the same on the right side only
constexpr GlyphLine kGlyphs[] = {
    {'!', 280, "d 140 45 52 l 140 190 140 690"},
    {'"', 360, "l 110 480 110 700 l 250 480 250 700"},
    {'%', 780, "o 190 510 105 150 o 590 150 105 150 t 570 680 210 -20"},
    {'&', 740,
     "C 640 30 520 10 190 420 190 530 c 190 530 190 620 240 670 310 670 c 310 670 380 670 420 630 420 560 "
     "c 420 560 420 440 100 370 100 180 c 100 180 100 80 170 10 290 10 c 290 10 440 10 560 130 590 400 "
     "t 500 400 680 400 r 625 0"},
    {'\'', 220, "l 110 480 110 700"},
    {'(', 320, "c 265 740 65 600 65 -40 265 -180"},
    {')', 320, "c 55 740 255 600 255 -40 55 -180"},
    {'*', 420, "t 210 430 210 690 t 95 495 325 625 t 325 495 95 625"},
    {'+', 560, "t 280 60 280 500 t 60 280 500 280"},
    {',', 250, "d 120 45 52 c 145 50 165 -20 130 -85 85 -115"},
    {'-', 330, "l 50 225 280 225"},
    {'.', 250, "d 120 45 52"},
    {'/', 360, "t 320 720 40 -60"},
    {'0', 500, "o 250 335 165 325"},
    {'1', 500, "l 260 0 260 670 s 260 0 t 260 655 120 600"},
    {'2', 500,
     "d 120 505 46 c 85 505 100 610 160 660 245 660 c 245 660 340 660 395 600 395 500 "
     "C 395 500 395 340 210 220 95 15 t 75 20 410 20 t 400 0 425 140"},
    {'3', 500,
     "d 115 520 46 d 105 150 46 c 85 530 110 615 165 660 240 660 c 240 660 330 660 380 610 380 520 "
     "c 380 520 380 420 320 360 210 355 c 210 355 340 350 405 290 405 185 c 405 185 405 80 340 10 240 10 "
     "c 240 10 155 10 95 60 70 140"},
    {'4', 500, "l 335 0 335 670 s 335 0 t 320 670 60 190 t 45 190 455 190"},
    {'5', 500,
     "d 105 140 46 l 125 640 400 640 t 130 660 115 350 c 115 350 160 410 200 425 245 425 "
     "c 245 425 350 425 410 340 410 220 c 410 220 410 90 340 10 235 10 c 235 10 150 10 95 55 70 130"},
    {'6', 500, "o 255 215 160 205 c 95 215 95 450 200 620 390 665"},
    {'7', 500, "l 80 640 420 640 l 405 650 210 0 t 90 660 78 520"},
    {'8', 500, "o 250 505 135 155 o 250 180 165 170"},
    {'9', 500, "o 245 455 160 205 c 405 455 405 220 300 50 110 5"},
    {':', 260, "d 130 45 52 d 130 400 52"},
    {';', 260, "d 130 45 52 d 130 400 52 c 155 50 175 -20 140 -85 95 -115"},
    {'=', 560, "t 60 200 500 200 t 60 340 500 340"},
    {'?', 440,
     "d 210 45 52 d 105 545 46 c 72 545 85 630 140 690 215 690 c 215 690 310 690 365 630 365 545 "
     "c 365 545 365 400 210 400 210 190"},
    {'A', 680, "t 335 680 90 0 l 335 680 590 0 t 160 220 500 220 s 90 0 s 590 0"},
    {'B', 620,
     "l 130 0 130 680 t 50 660 330 660 t 50 20 340 20 t 130 355 330 355 c 330 660 430 660 480 600 480 507 "
     "c 480 507 480 410 430 355 330 355 c 330 355 460 355 520 290 520 190 c 520 190 520 80 460 20 330 20"},
    {'C', 660,
     "c 575 470 540 590 470 670 350 670 a 350 340 265 330 1 2 c 350 10 460 10 550 80 590 190 t 575 450 575 "
     "675"},
    {'D', 720,
     "l 130 0 130 680 t 50 660 300 660 t 50 20 300 20 c 300 660 500 660 605 530 605 340 "
     "c 605 340 605 150 500 20 300 20"},
    {'E', 600,
     "l 130 0 130 680 t 50 660 515 660 t 50 20 535 20 t 130 350 390 350 t 503 680 520 520 t 525 0 550 175 "
     "t 388 265 388 435"},
    {'F', 570,
     "l 130 0 130 680 s 130 0 t 50 660 510 660 t 130 340 390 340 t 498 680 515 510 t 388 255 388 425"},
    {'G', 710,
     "c 575 470 540 590 470 670 350 670 a 350 340 265 330 1 2 c 350 10 440 10 520 40 575 90 t 575 450 575 "
     "675 "
     "l 575 30 575 300 s 575 310"},
    {'H', 740, "l 130 0 130 680 l 610 0 610 680 s 130 0 s 130 680 s 610 0 s 610 680 t 130 350 610 350"},
    {'I', 330, "l 165 0 165 680 s 165 0 s 165 680"},
    {'J', 420,
     "l 265 150 265 680 s 265 680 c 265 150 265 60 215 10 140 10 c 140 10 95 10 60 40 50 100 d 80 95 46"},
    {'K', 700, "l 130 0 130 680 s 130 0 s 130 680 t 580 680 140 260 l 290 420 590 0 s 590 680 s 600 0"},
    {'L', 580, "l 130 0 130 680 s 130 680 t 50 20 515 20 t 503 0 530 190"},
    {'M', 860,
     "t 120 0 120 680 l 135 680 430 0 t 735 680 430 0 l 740 0 740 680 s 120 0 s 740 0 h 120 680 r 740 680"},
    {'N', 740, "t 120 0 120 680 l 125 680 625 0 t 625 0 625 680 s 120 0 h 120 680 s 625 680"},
    {'O', 740, "o 370 340 285 330"},
    {'P', 590,
     "l 130 0 130 680 s 130 0 t 50 660 310 660 t 130 310 310 310 c 310 660 440 660 500 590 500 487 "
     "c 500 487 500 380 440 310 310 310"},
    {'Q', 740, "o 370 340 285 330 C 340 30 430 -10 500 -130 660 -120"},
    {'R', 670,
     "l 130 0 130 680 s 130 0 t 50 660 310 660 t 130 330 310 330 c 310 660 440 660 500 595 500 497 "
     "c 500 497 500 395 440 330 310 330 l 320 340 555 0 r 570 0"},
    {'S', 540,
     "c 455 480 430 600 370 670 270 670 c 270 670 170 670 110 600 110 515 C 110 515 110 300 455 400 455 180 "
     "c 455 180 455 80 380 10 270 10 c 270 10 170 10 105 80 80 200 t 452 470 452 675 t 83 5 83 210"},
    {'T', 640, "l 320 0 320 680 s 320 0 t 45 660 595 660 t 57 680 45 510 t 583 680 595 510"},
    {'U', 730,
     "l 130 220 130 680 c 130 220 130 80 220 10 365 10 c 365 10 510 10 600 80 600 220 l 600 220 600 680 "
     "s 130 680 s 600 680"},
    {'V', 680, "l 90 680 345 0 t 590 680 345 0 s 90 680 s 590 680"},
    {'W', 960, "l 90 680 295 0 t 485 680 295 0 l 480 680 685 0 t 875 680 685 0 s 90 680 s 482 680 s 875 680"},
    {'X', 680, "l 110 680 565 0 t 555 680 115 0 s 110 680 s 560 680 s 110 0 s 570 0"},
    {'Y', 660, "l 90 680 330 300 t 570 680 330 300 l 330 0 330 320 s 330 0 s 90 680 s 570 680"},
    {'Z', 620, "t 75 660 545 660 t 70 20 555 20 l 525 670 90 10 t 87 680 75 510 t 543 0 565 180"},
    {'a', 450,
     "l 325 0 325 320 c 325 320 325 405 285 450 210 450 c 210 450 150 450 105 425 85 365 d 105 370 42 "
     "c 325 270 180 255 85 215 85 120 c 85 120 85 50 125 10 180 10 c 180 10 240 10 295 50 325 115 r 325 0"},
    {'b', 510, "l 105 0 105 710 h 105 710 o 262 230 157 220"},
    {'c', 430,
     "d 350 365 42 c 380 370 350 430 305 450 250 450 a 250 230 165 220 1 2 c 250 10 310 10 365 50 390 120"},
    {'d', 520, "o 247 230 157 220 l 404 0 404 710 h 404 710 r 404 0"},
    {'e', 445,
     "c 375 255 375 370 325 450 240 450 a 240 230 158 220 1 2 c 240 10 300 10 355 45 385 115 t 85 255 395 "
     "255"},
    {'f', 310,
     "l 130 0 130 550 s 130 0 c 130 550 130 650 170 700 235 700 c 235 700 270 700 290 690 310 655 "
     "d 280 648 40 t 35 440 270 440"},
    {'g', 490,
     "o 230 235 148 215 l 378 -60 378 460 c 378 -60 378 -150 320 -200 225 -200 "
     "c 225 -200 155 -200 105 -170 75 -115 d 105 -120 42 r 378 460"},
    {'h', 540,
     "l 105 0 105 710 h 105 710 s 105 0 c 105 310 140 400 205 450 275 450 c 275 450 365 450 415 400 415 300 "
     "l 415 0 415 300 s 415 0"},
    {'i', 260, "l 128 0 128 460 h 128 460 s 128 0 d 128 630 54"},
    {'j', 260, "l 140 -80 140 460 h 140 460 c 140 -80 140 -165 100 -205 30 -200 d 45 -165 40 d 140 630 54"},
    {'k', 520, "l 105 0 105 710 h 105 710 s 105 0 t 395 460 120 190 l 220 300 420 0 s 400 460 s 425 0"},
    {'l', 260, "l 128 0 128 710 h 128 710 s 128 0"},
    {'m', 800,
     "l 105 0 105 460 h 105 460 s 105 0 c 105 310 135 400 190 450 255 450 c 255 450 335 450 395 400 395 300 "
     "l 395 0 395 300 s 395 0 c 395 310 425 400 480 450 545 450 c 545 450 630 450 685 400 685 300 "
     "l 685 0 685 300 s 685 0"},
    {'n', 540,
     "l 105 0 105 460 h 105 460 s 105 0 c 105 310 140 400 205 450 275 450 c 275 450 365 450 415 400 415 300 "
     "l 415 0 415 300 s 415 0"},
    {'o', 490, "o 245 230 165 220"},
    {'p', 510, "l 105 -210 105 460 h 105 460 s 105 -210 o 262 230 157 220"},
    {'q', 510, "o 247 230 157 220 l 404 -210 404 460 s 404 -210"},
    {'r', 380,
     "l 105 0 105 460 h 105 460 s 105 0 c 105 290 140 400 205 450 280 450 c 280 450 310 450 330 440 350 410 "
     "d 315 400 46"},
    {'s', 400,
     "c 325 330 310 410 265 450 205 450 c 205 450 135 450 90 415 90 350 C 90 350 90 210 325 270 325 120 "
     "c 325 120 325 50 275 10 205 10 c 205 10 135 10 90 50 72 130 t 322 325 322 455 t 74 5 74 140"},
    {'t', 320,
     "l 135 120 135 450 t 135 600 135 440 t 135 590 50 440 c 135 120 135 45 165 10 215 10 "
     "c 215 10 255 10 280 30 300 80 t 35 440 290 440"},
    {'u', 540,
     "l 110 150 110 460 h 110 460 c 110 150 110 60 160 10 245 10 c 245 10 315 10 375 60 415 140 "
     "l 415 0 415 460 h 415 460 r 415 0"},
    {'v', 490, "l 85 460 247 0 t 410 460 247 0 s 85 460 s 410 460"},
    {'w', 730, "l 85 460 230 0 t 370 460 230 0 l 365 460 510 0 t 650 460 510 0 s 85 460 s 367 460 s 650 460"},
    {'x', 500, "l 95 460 400 0 t 395 460 100 0 s 95 460 s 400 460 s 95 0 s 405 0"},
    {'y', 490,
     "l 85 460 250 0 t 410 460 205 -120 c 215 -95 185 -175 150 -205 85 -195 d 90 -168 38 s 85 460 s 410 460"},
    {'z', 450, "t 65 440 375 440 t 60 20 385 20 l 350 450 95 10 t 77 460 65 330 t 375 0 397 140"},
};

// In units: half axes of the broad pen, half width of the fine pen, length of a serif beyond its stem, and
// additional width of a bold letter.
struct Pens {
    int broad_x, broad_y, fine, serif_reach, spread;
};
constexpr Pens kRegular = {42, 18, 20, 50, 0};
constexpr Pens kBold = {63, 23, 27, 52, 50};

constexpr int kUnits = 1000;
constexpr int kBracket = 26;    // units by which a serif is thicker at its stem than at its tip
constexpr int kCurveSteps = 24; // straight pieces per cubic

struct Point {
    int64_t x, y; // 1/64 px, y upwards from the baseline
};

int64_t floor_div(int64_t a, int64_t b)
{
    return a / b - (a % b != 0 && (a < 0) != (b < 0) ? 1 : 0);
}

// Halves a direction vector until the products of its squares and the squares of pen widths fit in 64 bits.
Point short_direction(Point direction)
{
    int64_t largest = std::max(std::abs(direction.x), std::abs(direction.y));
    while (largest >= int64_t{1} << 12) {
        direction.x /= 2;
        direction.y /= 2;
        largest /= 2;
    }
    return direction;
}

struct Pen {
    int64_t x, y; // half axes, 1/64 px
};

// Rounds a half axis so that the whole axis is a whole number of pixels, at least one. A pen of that size
// covers the same number of pixels at every position.
int64_t whole_pixels(int64_t half)
{
    return std::max<int64_t>(1, (2 * half + 32) / 64) * 32;
}

class Outliner
{
public:
    Outliner(Weight weight, int64_t em_x, int64_t em_y)
        : m_pens(weight == Weight::Bold ? kBold : kRegular), m_em_x(em_x),
          m_em_y(em_y), m_broad{whole_pixels(m_pens.broad_x * em_x / kUnits),
                                whole_pixels(m_pens.broad_y * em_y / kUnits)},
          m_fine{whole_pixels(m_pens.fine * em_x / kUnits), whole_pixels(m_pens.fine * em_y / kUnits)},
          m_spine{m_broad.x * 15 / 16, std::max<int64_t>(32, m_broad.x * em_y / em_x * 15 / 16)}
    {
    }

    // Returns polygons whose union is the glyph.
    const std::vector<std::vector<Point>>& run(std::string_view strokes)
    {
        while (!strokes.empty()) {
            const char kind = strokes.front();
            strokes.remove_prefix(1);
            std::array<int, 8> number{};
            std::size_t count = 0;
            while (!strokes.empty() &&
                   (strokes.front() == ' ' || strokes.front() == '-' || is_digit(strokes.front()))) {
                if (strokes.front() == ' ') {
                    strokes.remove_prefix(1);
                    continue;
                }
                const auto end =
                    std::from_chars(strokes.data(), strokes.data() + strokes.size(), number.at(count++));
                strokes.remove_prefix(static_cast<std::size_t>(end.ptr - strokes.data()));
            }
            stroke(kind, number);
        }
        return m_polygons;
    }

private:
    static bool is_digit(char c) { return c >= '0' && c <= '9'; }

    Point at(int x, int y) const { return {(x + m_pens.spread / 2) * m_em_x / kUnits, y * m_em_y / kUnits}; }

    void stroke(char kind, const std::array<int, 8>& n)
    {
        switch (kind) {
        case 'l': line(at(n[0], n[1]), at(n[2], n[3]), m_broad); break;
        case 't': line(at(n[0], n[1]), at(n[2], n[3]), m_fine); break;
        case 'c':
        case 'C':
            curve(at(n[0], n[1]), at(n[2], n[3]), at(n[4], n[5]), at(n[6], n[7]),
                  kind == 'c' ? m_broad : m_spine);
            break;
        case 'o': arc(n[0], n[1], n[2], n[3], 0, 4); break;
        case 'a': arc(n[0], n[1], n[2], n[3], n[4], n[5]); break;
        case 'd': dot(n[0], n[1], n[2]); break;
        case 's': serif(n[0], n[1], true, true); break;
        case 'h': serif(n[0], n[1], true, false); break;
        case 'r': serif(n[0], n[1], false, true); break;
        default: break;
        }
    }

    // A straight stroke is a parallelogram. `cut` is half of the horizontal or vertical cut at its ends.
    void line(Point from, Point to, Pen pen)
    {
        const Point direction = short_direction({to.x - from.x, to.y - from.y});
        const int64_t across_x = pen.x * direction.y, across_y = pen.y * direction.x;
        const int64_t reach = square_root(static_cast<uint64_t>(across_x * across_x + across_y * across_y));
        Point cut{0, 0};
        if (std::abs(direction.x) > 2 * std::abs(direction.y))
            cut.y = reach / std::abs(direction.x);
        else
            cut.x = reach / std::max<int64_t>(1, std::abs(direction.y));
        m_polygons.push_back({{from.x - cut.x, from.y - cut.y},
                              {from.x + cut.x, from.y + cut.y},
                              {to.x + cut.x, to.y + cut.y},
                              {to.x - cut.x, to.y - cut.y}});
    }

    // Each step of a curve is a quadrilateral between the two edges of the area that the pen covers.
    // Successive steps share a side.
    void curve(Point p0, Point p1, Point p2, Point p3, Pen pen)
    {
        Point last{}, last_reach{};
        for (int64_t i = 0; i <= kCurveSteps; ++i) {
            const int64_t s = i, r = kCurveSteps - i;
            const int64_t w0 = r * r * r, w1 = 3 * r * r * s, w2 = 3 * r * s * s, w3 = s * s * s;
            constexpr int64_t kWeights = int64_t{kCurveSteps} * kCurveSteps * kCurveSteps;
            const Point here{floor_div(w0 * p0.x + w1 * p1.x + w2 * p2.x + w3 * p3.x, kWeights),
                             floor_div(w0 * p0.y + w1 * p1.y + w2 * p2.y + w3 * p3.y, kWeights)};
            Point direction =
                short_direction({r * r * (p1.x - p0.x) + 2 * r * s * (p2.x - p1.x) + s * s * (p3.x - p2.x),
                                 r * r * (p1.y - p0.y) + 2 * r * s * (p2.y - p1.y) + s * s * (p3.y - p2.y)});
            if (direction.x == 0 && direction.y == 0)
                direction = short_direction({p3.x - p0.x, p3.y - p0.y});
            // The point of the pen's ellipse whose normal is perpendicular to the direction.
            const int64_t across_x = -pen.x * direction.y, across_y = pen.y * direction.x;
            const int64_t length = std::max<int64_t>(
                1, square_root(static_cast<uint64_t>(across_x * across_x + across_y * across_y)));
            const Point reach{pen.x * across_x / length, pen.y * across_y / length};
            if (i > 0)
                m_polygons.push_back({{last.x - last_reach.x, last.y - last_reach.y},
                                      {last.x + last_reach.x, last.y + last_reach.y},
                                      {here.x + reach.x, here.y + reach.y},
                                      {here.x - reach.x, here.y - reach.y}});
            last = here;
            last_reach = reach;
        }
    }

    void arc(int x, int y, int radius_x, int radius_y, int quarter, int count)
    {
        constexpr int kSine[4] = {0, 1, 0, -1};
        const int step = count < 0 ? -1 : 1;
        for (; count != 0; count -= step, quarter += step) {
            const int c0 = kSine[(quarter + 1) & 3], s0 = kSine[quarter & 3];
            const int c1 = kSine[(quarter + step + 1) & 3], s1 = kSine[(quarter + step) & 3];
            // 0.5523 is the distance, in radii, of a cubic's control points from the ends of a quarter
            // circle.
            const auto on = [&](int cosine, int sine, int other_cosine, int other_sine) {
                return at(x + radius_x * (10000 * cosine + 5523 * other_cosine) / 10000,
                          y + radius_y * (10000 * sine + 5523 * other_sine) / 10000);
            };
            curve(on(c0, s0, 0, 0), on(c0, s0, c1, s1), on(c1, s1, c0, s0), on(c1, s1, 0, 0), m_broad);
        }
    }

    void dot(int x, int y, int radius)
    {
        const Point middle = at(x, y);
        const int64_t reach_x = std::max<int64_t>(32, (radius + m_pens.spread / 4) * m_em_x / kUnits);
        const int64_t reach_y = std::max<int64_t>(32, (radius + m_pens.spread / 4) * m_em_y / kUnits);
        constexpr int64_t kQuarter[] = {0,   195, 383, 556, 707,
                                        831, 924, 981, 1000}; // sine of k/8 of a right angle
        std::vector<Point> round;
        for (int k = 0; k < 32; ++k) {
            const auto sine = [&](int eighths) {
                const int in_half = eighths & 15;
                const int64_t value = kQuarter[in_half <= 8 ? in_half : 16 - in_half];
                return (eighths & 16) != 0 ? -value : value;
            };
            round.push_back({middle.x + reach_x * sine(k + 8) / 1000, middle.y + reach_y * sine(k) / 1000});
        }
        m_polygons.push_back(std::move(round));
    }

    void serif(int x, int y, bool left, bool right)
    {
        const Point foot = at(x, y);
        const int64_t inward = y > 0 ? -1 : 1;
        const int64_t stem = m_broad.x, reach = stem + m_pens.serif_reach * m_em_x / kUnits;
        const int64_t thick = inward * 2 * m_broad.y, swell = thick + inward * kBracket * m_em_y / kUnits;
        std::vector<Point> shape;
        if (left) {
            shape.push_back({foot.x - stem, foot.y + swell});
            shape.push_back({foot.x - reach, foot.y + thick});
            shape.push_back({foot.x - reach, foot.y});
        } else {
            shape.push_back({foot.x, foot.y + swell});
            shape.push_back({foot.x, foot.y});
        }
        if (right) {
            shape.push_back({foot.x + reach, foot.y});
            shape.push_back({foot.x + reach, foot.y + thick});
            shape.push_back({foot.x + stem, foot.y + swell});
        } else {
            shape.push_back({foot.x, foot.y});
            shape.push_back({foot.x, foot.y + swell});
        }
        m_polygons.push_back(std::move(shape));
    }

    Pens m_pens;
    int64_t m_em_x, m_em_y;
    Pen m_broad, m_fine, m_spine;
    std::vector<std::vector<Point>> m_polygons;
};

// Blackens the pixels whose centre is inside. A centre on an edge belongs to the shape on its right.
void fill_polygon(GlyphImage& image, const std::vector<Point>& shape)
{
    const auto [lowest, highest] =
        std::minmax_element(shape.begin(), shape.end(), [](Point a, Point b) { return a.y < b.y; });
    const int64_t first = std::max<int64_t>(0, image.top - floor_div(highest->y + 32, 64));
    const int64_t last = std::min<int64_t>(image.bits.height - 1, image.top - floor_div(lowest->y - 32, 64));
    std::vector<int64_t> crossings;
    for (int64_t row = first; row <= last; ++row) {
        const int64_t centre = (image.top - row) * 64 - 32;
        crossings.clear();
        for (std::size_t i = 0; i < shape.size(); ++i) {
            Point low = shape[i], high = shape[(i + 1) % shape.size()];
            if (low.y > high.y)
                std::swap(low, high);
            if (low.y <= centre && centre < high.y)
                crossings.push_back(low.x + floor_div((centre - low.y) * (high.x - low.x), high.y - low.y));
        }
        std::sort(crossings.begin(), crossings.end());
        uint8_t* bits = image.bits.row(static_cast<int>(row));
        for (std::size_t i = 0; i + 1 < crossings.size(); i += 2) {
            const int64_t from = std::max<int64_t>(0, floor_div(crossings[i] + 31, 64) - image.left);
            const int64_t to =
                std::min<int64_t>(image.bits.width, floor_div(crossings[i + 1] + 31, 64) - image.left);
            for (int64_t x = from; x < to; ++x)
                bits[x / 8] = static_cast<uint8_t>(bits[x / 8] | 0x80 >> (x & 7));
        }
    }
}

} // namespace

GlyphImage draw_glyph(char character, Weight weight, int64_t em_x, int64_t em_y)
{
    const auto* const glyph =
        std::find_if(std::begin(kGlyphs), std::end(kGlyphs),
                     [&](const GlyphLine& line) { return line.character == character; });
    constexpr int kBlankAdvance = 250; // units
    GlyphImage image;
    if (glyph == std::end(kGlyphs)) {
        image.advance = static_cast<int>(kBlankAdvance * em_x / kUnits);
        return image;
    }
    image.advance =
        static_cast<int>((glyph->advance + (weight == Weight::Bold ? kBold.spread : 0)) * em_x / kUnits);

    Outliner outliner(weight, em_x, em_y);
    const auto& polygons = outliner.run(glyph->strokes);
    int64_t left = INT64_MAX, right = INT64_MIN, bottom = INT64_MAX, top = INT64_MIN;
    for (const auto& shape : polygons)
        for (const Point p : shape) {
            left = std::min(left, p.x);
            right = std::max(right, p.x);
            bottom = std::min(bottom, p.y);
            top = std::max(top, p.y);
        }
    image.left = static_cast<int>(floor_div(left, 64));
    image.top = static_cast<int>(floor_div(top + 63, 64));
    image.bits = Bitmap(static_cast<int>(floor_div(right + 63, 64)) - image.left,
                        image.top - static_cast<int>(floor_div(bottom, 64)));
    for (const auto& shape : polygons)
        fill_polygon(image, shape);
    return image;
}

} // namespace pages
