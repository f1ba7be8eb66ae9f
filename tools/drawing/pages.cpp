// SPDX-License-Identifier: MIT
// The kinds of pages. Each is drawn on a surface, which is a bitmap or a grey map, so that a page looks the
// same in both. A surface fills rectangles, stamps glyphs and draws pictures, and clips all three.

#include "pages.h"

#include "font.h"
#include "picture.h"
#include "squareroot.h"

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace pages
{
namespace
{

constexpr DrawName kDrawNames[] = {
    {Draw::Text, "text", "headings and ragged paragraphs, 10 pt"},
    {Draw::Halftone, "halftone", "grey ramp and picture, dots at 45 degrees, 16 px per cell"},
    {Draw::Mixed, "mixed", "text in the upper half, a picture on a quarter of the page"},
    {Draw::Blank, "blank", "page number and crop marks only"},
    {Draw::Line, "line", "rules of 1 and 2 px, circles, 4 pt text"},
    {Draw::Noise, "noise", "each pixel black or white at random"},
    {Draw::Sample, "sample", "a page to show: title, prose, picture, border"},
};

constexpr int kScreenCell = 16; // px from dot to dot

struct Box {
    int left, top, right, bottom; // px; right and bottom are exclusive
    int width() const { return right - left; }
    int height() const { return bottom - top; }
};

Box intersection(const Box& a, const Box& b)
{
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

class Random
{
public:
    explicit Random(uint64_t seed) : m_state(seed) {}
    uint64_t bits()
    {
        m_state += 0x9e3779b97f4a7c15U;
        uint64_t value = m_state;
        value = (value ^ value >> 30) * 0xbf58476d1ce4e5b9U;
        value = (value ^ value >> 27) * 0x94d049bb133111ebU;
        return value ^ value >> 31;
    }
    // Returns a number from least to most, both included.
    int between(int least, int most)
    {
        return least + static_cast<int>(bits() % static_cast<uint64_t>(most - least + 1));
    }

private:
    uint64_t m_state;
};

struct Glyph {
    int left = 0, top = 0; // px, as in GlyphImage
    int advance = 0;       // 1/64 px
    Bitmap bits;           // for a bitmap
    GreyMap ink;           // for a grey map: 255 is black
};

class Surface
{
public:
    Surface(int width, int height) : m_page{0, 0, width, height} {}
    Surface(const Surface&) = delete;
    Surface& operator=(const Surface&) = delete;
    virtual ~Surface() = default;

    const Box& page() const { return m_page; }

    virtual void fill(const Box& box) = 0; // black
    virtual Glyph glyph(char character, Weight weight, int64_t em_x, int64_t em_y) const = 0;
    virtual void stamp(const Glyph& glyph, int x, int baseline) = 0;
    virtual void picture(const GreyMap& tones, const Box& box, int cell) = 0; // box is not empty
    virtual void noise(Random& random) = 0;

private:
    Box m_page;
};

class BitSurface final : public Surface
{
public:
    explicit BitSurface(Bitmap& bitmap) : Surface(bitmap.width, bitmap.height), m_bitmap(bitmap) {}

    void fill(const Box& wanted) override
    {
        const Box box = intersection(wanted, page());
        if (box.width() <= 0)
            return;
        const int first = box.left / 8, last = (box.right - 1) / 8;
        const unsigned first_mask = 0xffU >> (box.left & 7),
                       last_mask = 0xff00U >> (((box.right - 1) & 7) + 1) & 0xffU;
        for (int y = box.top; y < box.bottom; ++y) {
            uint8_t* const row = m_bitmap.row(y);
            if (first == last) {
                row[first] = static_cast<uint8_t>(row[first] | (first_mask & last_mask));
                continue;
            }
            row[first] = static_cast<uint8_t>(row[first] | first_mask);
            std::fill(row + first + 1, row + last, uint8_t{0xff});
            row[last] = static_cast<uint8_t>(row[last] | last_mask);
        }
    }

    Glyph glyph(char character, Weight weight, int64_t em_x, int64_t em_y) const override
    {
        GlyphImage image = draw_glyph(character, weight, em_x, em_y);
        return {image.left, image.top, image.advance, std::move(image.bits), {}};
    }

    void stamp(const Glyph& glyph, int x, int baseline) override
    {
        const Box whole{x + glyph.left, baseline - glyph.top, x + glyph.left + glyph.bits.width,
                        baseline - glyph.top + glyph.bits.height};
        const Box seen = intersection(whole, page());
        if (seen.left != whole.left || seen.right != whole.right) {
            stamp_pixels(glyph, whole, seen);
            return;
        }
        const int shift = whole.left & 7;
        for (int y = seen.top; y < seen.bottom; ++y) {
            const uint8_t* const from = glyph.bits.row(y - whole.top);
            uint8_t* const to = m_bitmap.row(y) + whole.left / 8;
            for (std::size_t i = 0; i < glyph.bits.row_bytes; ++i) {
                const unsigned two = unsigned{from[i]} << (8 - shift);
                to[i] = static_cast<uint8_t>(to[i] | two >> 8);
                if ((two & 0xff) != 0) // otherwise the next byte may be after the end of the row
                    to[i + 1] = static_cast<uint8_t>(to[i + 1] | (two & 0xff));
            }
        }
    }

    void picture(const GreyMap& tones, const Box& box, int cell) override
    {
        Enlarger enlarger(tones, box.width(), box.height());
        const Screen screen(cell);
        const Box seen = intersection(box, page());
        const uint8_t* line = nullptr;
        for (int y = seen.top; y < seen.bottom && seen.width() > 0; ++y) {
            if ((y - seen.top) % 4 == 0) // every 4th row is enough: dots are larger
                line = enlarger.row(y - box.top) + (seen.left - box.left);
            screen.row(line, seen.left, y, seen.width(), m_bitmap.row(y));
        }
    }

    void noise(Random& random) override
    {
        for (int y = 0; y < m_bitmap.height; ++y) {
            uint8_t* const row = m_bitmap.row(y);
            uint64_t word = 0;
            for (std::size_t i = 0; i < m_bitmap.row_bytes; ++i, word >>= 8) {
                if (i % 8 == 0)
                    word = random.bits();
                row[i] = static_cast<uint8_t>(word & 0xff);
            }
            const int unused = static_cast<int>(m_bitmap.row_bytes) * 8 - m_bitmap.width;
            uint8_t& last = row[m_bitmap.row_bytes - 1];
            last = static_cast<uint8_t>(last & 0xff << unused);
        }
    }

private:
    void stamp_pixels(const Glyph& glyph, const Box& whole, const Box& seen)
    {
        for (int y = seen.top; y < seen.bottom; ++y)
            for (int x = seen.left; x < seen.right; ++x) {
                const int at = x - whole.left;
                if ((glyph.bits.row(y - whole.top)[at / 8] & 0x80 >> (at & 7)) != 0)
                    m_bitmap.row(y)[x / 8] = static_cast<uint8_t>(m_bitmap.row(y)[x / 8] | 0x80 >> (x & 7));
            }
    }

    Bitmap& m_bitmap;
};

class GreySurface final : public Surface
{
public:
    explicit GreySurface(GreyMap& map) : Surface(map.width, map.height), m_map(map) {}

    void fill(const Box& wanted) override
    {
        const Box box = intersection(wanted, page());
        if (box.width() > 0)
            for (int y = box.top; y < box.bottom; ++y)
                std::fill_n(m_map.row(y) + box.left, box.width(), uint8_t{0});
    }

    // Anti-aliasing: draws the glyph kFiner times as large, then counts its pixels.
    Glyph glyph(char character, Weight weight, int64_t em_x, int64_t em_y) const override
    {
        constexpr int kFiner = 4;
        const GlyphImage fine = draw_glyph(character, weight, em_x * kFiner, em_y * kFiner);
        const auto floor4 = [](int value) { return (value - (value & (kFiner - 1))) / kFiner; };
        Glyph glyph{floor4(fine.left), floor4(fine.top + kFiner - 1), fine.advance / kFiner, {}, {}};
        if (fine.bits.width == 0)
            return glyph;
        const int skip_x = fine.left - glyph.left * kFiner, skip_y = glyph.top * kFiner - fine.top;
        glyph.ink = GreyMap(floor4(fine.bits.width + skip_x + kFiner - 1),
                            floor4(fine.bits.height + skip_y + kFiner - 1));
        std::fill(glyph.ink.rows.begin(), glyph.ink.rows.end(), uint8_t{0});
        constexpr int kInkPerBit = 256 / (kFiner * kFiner);
        for (int y = 0; y < fine.bits.height; ++y)
            for (int x = 0; x < fine.bits.width; ++x)
                if ((fine.bits.row(y)[x / 8] & 0x80 >> (x & 7)) != 0) {
                    uint8_t& ink = glyph.ink.row((y + skip_y) / kFiner)[(x + skip_x) / kFiner];
                    ink = static_cast<uint8_t>(std::min(255, ink + kInkPerBit));
                }
        return glyph;
    }

    void stamp(const Glyph& glyph, int x, int baseline) override
    {
        const int left = x + glyph.left, top = baseline - glyph.top;
        const Box seen = intersection({left, top, left + glyph.ink.width, top + glyph.ink.height}, page());
        for (int py = seen.top; py < seen.bottom; ++py)
            for (int px = seen.left; px < seen.right; ++px) {
                uint8_t& paper = m_map.row(py)[px];
                const int ink = glyph.ink.row(py - top)[px - left];
                paper = static_cast<uint8_t>(paper * (255 - ink) / 255);
            }
    }

    void picture(const GreyMap& tones, const Box& box, int /*cell*/) override
    {
        Enlarger enlarger(tones, box.width(), box.height());
        const Box seen = intersection(box, page());
        for (int y = seen.top; y < seen.bottom && seen.width() > 0; ++y)
            std::copy_n(enlarger.row(y - box.top) + (seen.left - box.left), seen.width(),
                        m_map.row(y) + seen.left);
    }

    void noise(Random& random) override
    {
        uint64_t word = 0;
        for (std::size_t i = 0; i < m_map.rows.size(); ++i, word >>= 8) {
            if (i % 8 == 0)
                word = random.bits();
            m_map.rows[i] = static_cast<uint8_t>(word & 0xff);
        }
    }

private:
    GreyMap& m_map;
};

struct Type {
    Weight weight;
    int size; // 1/10 pt
};

// Sets type at the page's resolutions, and converts lengths from 1/10 pt to pixels and back.
class Setter
{
public:
    Setter(Surface& surface, const PageOptions& options)
        : m_surface(surface), m_dpi_x(std::clamp(options.dpi_x, kLeastDpi, kMostDpi)),
          m_dpi_y(std::clamp(options.dpi_y, kLeastDpi, kMostDpi))
    {
    }

    Surface& surface() { return m_surface; }
    const Box& page() const { return m_surface.page(); }
    int across(int tenths) const { return static_cast<int>(int64_t{tenths} * m_dpi_x / 720); }
    int down(int tenths) const { return std::max(1, static_cast<int>(int64_t{tenths} * m_dpi_y / 720)); }
    int tenths_across(int px) const { return static_cast<int>(int64_t{px} * 720 / m_dpi_x); }
    int tenths_down(int px) const { return static_cast<int>(int64_t{px} * 720 / m_dpi_y); }

    // Returns the page without its margins. A margin is `tenths` / 10 pt, but at most a tenth of the page.
    Box within(int tenths) const
    {
        const int x = std::min(across(tenths), page().right / 10),
                  y = std::min(down(tenths), page().bottom / 10);
        return {x, y, page().right - x, page().bottom - y};
    }

    int64_t width64(Type type, std::string_view text)
    {
        int64_t width = 0;
        for (const char character : text)
            width += glyph(type, character).advance;
        return width;
    }

    void set(Type type, int x, int baseline, std::string_view text)
    {
        int64_t place = int64_t{x} * 64;
        for (const char character : text) {
            const Glyph& letter = glyph(type, character);
            m_surface.stamp(letter, static_cast<int>((place + 32) / 64), baseline);
            place += letter.advance;
        }
    }

    void set_centred(Type type, int middle, int baseline, std::string_view text)
    {
        set(type, std::max(0, middle - static_cast<int>(width64(type, text) / 128)), baseline, text);
    }

    // Sets the words of `text` in lines `leading` px apart, from box.top on, ragged on the right. The first
    // indented_lines lines begin `indent` px further right. Words that do not fit into the box are dropped.
    // Returns the top of the line after the last one.
    int paragraph(Type type, const Box& box, int leading, std::string_view text, int indent = 0,
                  int indented_lines = 0)
    {
        return paragraph_part(type, box, leading, text, indent, indented_lines);
    }

    // The same, but leaves in `text` the words that do not fit.
    int paragraph_part(Type type, const Box& box, int leading, std::string_view& text, int indent,
                       int indented_lines)
    {
        const int baseline_in_line = (leading * 8 + 5) / 10;
        int top = box.top;
        for (int line = 0; !text.empty() && top + leading <= box.bottom; ++line, top += leading) {
            const int left = box.left + (line < indented_lines ? indent : 0);
            const int64_t room = int64_t{box.right - left} * 64;
            int64_t used = 0;
            std::size_t taken = 0; // bytes of the whole words that fit, at least one word
            for (std::size_t at = 0; at < text.size();) {
                const std::size_t end = std::min(text.find(' ', at), text.size());
                used += width64(type, text.substr(at, end - at));
                if (used > room && taken != 0)
                    break;
                taken = end;
                if (end == text.size() || used > room)
                    break;
                used += width64(type, " ");
                at = end + 1;
            }
            set(type, left, top + baseline_in_line, text.substr(0, taken));
            text.remove_prefix(std::min(taken + 1, text.size()));
        }
        return top;
    }

private:
    static constexpr int kLeastDpi = 50, kMostDpi = 4800;

    const Glyph& glyph(Type type, char character)
    {
        const auto index = static_cast<std::size_t>(static_cast<unsigned char>(character) & 0x7f);
        std::unique_ptr<Glyph>& cached = m_glyphs[{type.weight, type.size}][index];
        if (!cached)
            cached = std::make_unique<Glyph>(m_surface.glyph(character, type.weight,
                                                             int64_t{type.size} * m_dpi_x * 64 / 720,
                                                             int64_t{type.size} * m_dpi_y * 64 / 720));
        return *cached;
    }

    Surface& m_surface;
    int m_dpi_x, m_dpi_y;
    std::map<std::pair<Weight, int>, std::array<std::unique_ptr<Glyph>, 128>> m_glyphs;
};

constexpr std::string_view kWords[] = {
    "a",        "about",  "after",   "again",   "all",      "always",  "an",      "and",    "and",
    "any",      "are",    "as",      "at",      "balance",  "because", "before",  "black",  "book",
    "both",     "but",    "by",      "can",     "careful",  "change",  "close",   "column", "copy",
    "corner",   "day",    "depth",   "does",    "edge",     "engine",  "even",    "every",  "eye",
    "few",      "figure", "fine",    "first",   "for",      "form",    "from",    "give",   "grain",
    "great",    "half",   "hand",    "heading", "height",   "in",      "ink",     "into",   "is",
    "it",       "job",    "journal", "just",    "keep",     "known",   "large",   "last",   "leading",
    "letter",   "light",  "line",    "little",  "long",     "machine", "make",    "margin", "mark",
    "measure",  "metal",  "more",    "morning", "narrow",   "never",   "no",      "not",    "number",
    "of",       "of",     "often",   "old",     "on",       "one",     "only",    "order",  "other",
    "page",     "paper",  "part",    "picture", "plain",    "plate",   "point",   "press",  "proof",
    "question", "quick",  "quiet",   "reader",  "register", "river",   "room",    "round",  "row",
    "rule",     "same",   "sheet",   "shop",    "should",   "side",    "simple",  "size",   "small",
    "so",       "space",  "square",  "stands",  "still",    "stone",   "surface", "table",  "take",
    "text",     "that",   "the",     "the",     "the",      "the",     "then",    "there",  "this",
    "through",  "time",   "to",      "to",      "tone",     "turn",    "two",     "type",   "under",
    "until",    "upon",   "usual",   "very",    "water",    "weight",  "well",    "what",   "when",
    "where",    "which",  "white",   "width",   "will",     "with",    "without", "word",   "work",
    "year",     "yellow", "zone",    "zinc",    "justify",  "kept",    "exact",   "six",
};

std::string random_words(Random& random, int count)
{
    std::string words;
    for (int i = 0; i < count; ++i) {
        if (i != 0)
            words += ' ';
        words += kWords[random.bits() % std::size(kWords)];
    }
    words[0] = static_cast<char>(words[0] - 'a' + 'A');
    return words;
}

std::string random_paragraph(Random& random)
{
    std::string paragraph;
    for (int sentences = random.between(5, 14); sentences > 0; --sentences) {
        std::string sentence = random_words(random, random.between(5, 11));
        switch (random.between(0, 5)) {
        case 0: sentence += " (see page " + std::to_string(random.between(2, 480)) + ")"; break;
        case 1: sentence += ", " + std::to_string(random.between(1450, 1999)); break;
        case 2: sentence += "; " + std::string(kWords[random.bits() % std::size(kWords)]) + " it is"; break;
        default: break;
        }
        paragraph += sentence + (random.between(0, 9) == 0 ? "? " : ". ");
    }
    paragraph.pop_back();
    return paragraph;
}

// Sets headings and paragraphs down to the end of the box.
void flow_text(Setter& setter, Box box, int size, Random& random)
{
    const Type body{Weight::Regular, size}, heading{Weight::Bold, size * 14 / 10};
    const int leading = setter.down(size * 12 / 10), heading_leading = setter.down(size * 24 / 10);
    while (box.top + leading <= box.bottom) {
        box.top = setter.paragraph(heading, box, heading_leading, random_words(random, random.between(2, 5)));
        for (int paragraphs = random.between(2, 5); paragraphs > 0; --paragraphs) {
            box.top = setter.paragraph(body, box, leading, random_paragraph(random)) + leading / 2;
            if (box.top + leading > box.bottom)
                return;
        }
        box.top += leading / 2;
    }
}

void folio(Setter& setter, Random& random)
{
    const Box page = setter.page();
    const int baseline = page.bottom - std::min(setter.down(300), page.bottom / 20);
    setter.set_centred({Weight::Regular, 100}, page.right / 2, baseline,
                       "- " + std::to_string(random.between(1, 400)) + " -");
}

// Draws the landscape at most kMostWidth px wide, then enlarges it: enlarging is much faster than drawing.
void landscape_in(Setter& setter, const Box& box, int cell)
{
    constexpr int kMostWidth = 1024;
    if (box.width() <= 0 || box.height() <= 0)
        return;
    const int width = std::min(box.width(), kMostWidth);
    const auto height =
        static_cast<int>(std::clamp<int64_t>(int64_t{box.height()} * width / box.width(), 1, 4096));
    setter.surface().picture(landscape(width, height), box, cell);
}

void ramp_in(Setter& setter, const Box& box, int cell)
{
    if (box.width() > 0 && box.height() > 0)
        setter.surface().picture(grey_ramp(), box, cell);
}

void frame(Surface& surface, const Box& box, int thick_x, int thick_y)
{
    surface.fill({box.left, box.top, box.right, box.top + thick_y});
    surface.fill({box.left, box.bottom - thick_y, box.right, box.bottom});
    surface.fill({box.left, box.top, box.left + thick_x, box.bottom});
    surface.fill({box.right - thick_x, box.top, box.right, box.bottom});
}

Box inside(const Box& box, int x, int y)
{
    return {box.left + x, box.top + y, box.right - x, box.bottom - y};
}

void circle(Surface& surface, int middle_x, int middle_y, int radius, int thick)
{
    const int64_t outer = int64_t{radius} * radius, inner = int64_t{radius - thick} * (radius - thick);
    for (int y = -radius + 1; y < radius; ++y) {
        const auto out = static_cast<int>(square_root(static_cast<uint64_t>(outer - int64_t{y} * y)));
        const int64_t hole_square = inner - int64_t{y} * y;
        const int row = middle_y + y;
        if (hole_square <= 0) {
            surface.fill({middle_x - out, row, middle_x + out, row + 1});
            continue;
        }
        const auto hole = static_cast<int>(square_root(static_cast<uint64_t>(hole_square)));
        surface.fill({middle_x - out, row, middle_x - hole, row + 1});
        surface.fill({middle_x + hole, row, middle_x + out, row + 1});
    }
}

void draw_text(Setter& setter, Random& random)
{
    folio(setter, random);
    flow_text(setter, setter.within(400), 100, random);
}

void draw_halftone(Setter& setter)
{
    const Box page = setter.page();
    const int split = page.bottom / 8;
    ramp_in(setter, {0, 0, page.right, split}, kScreenCell);
    landscape_in(setter, {0, split, page.right, page.bottom}, kScreenCell);
}

void draw_mixed(Setter& setter, Random& random)
{
    const Box page = setter.page(), area = setter.within(400);
    folio(setter, random);
    flow_text(setter, {area.left, area.top, area.right, page.bottom / 2}, 100, random);
    const int top = page.bottom / 2 + setter.down(120);
    const Box picture{area.left, top, std::min(page.right, area.left + page.right / 2),
                      std::min(area.bottom, top + page.bottom / 2)};
    landscape_in(setter, picture, kScreenCell);
    const Box caption{picture.right + setter.across(120), picture.top, area.right, area.bottom};
    setter.paragraph({Weight::Regular, 100}, caption, setter.down(120), random_paragraph(random));
}

void draw_blank(Setter& setter, Random& random)
{
    const Box corner = setter.within(180);
    const int thick_x = std::max(1, setter.across(5)), thick_y = setter.down(5);
    const int long_x = std::max(1, std::min(setter.across(180), corner.width() / 4));
    const int long_y = std::max(1, std::min(setter.down(180), corner.height() / 4));
    for (const int x : {corner.left, corner.right - thick_x})
        for (const int y : {corner.top, corner.bottom - thick_y}) {
            const int away_x = x == corner.left ? x : x + thick_x - long_x;
            const int away_y = y == corner.top ? y : y + thick_y - long_y;
            setter.surface().fill({away_x, y, away_x + long_x, y + thick_y});
            setter.surface().fill({x, away_y, x + thick_x, away_y + long_y});
        }
    folio(setter, random);
}

void draw_line(Setter& setter, Random& random)
{
    Surface& surface = setter.surface();
    const Box area = setter.within(360);
    frame(surface, area, 2, 2);

    // Upper half: a table with small print in its cells.
    const int middle = area.top + area.height() / 2;
    const int row_step = setter.down(240), column_step = std::max(8, setter.across(720));
    const Type small{Weight::Regular, 40};
    const int inset = std::max(1, setter.across(30));
    int rows = 0;
    for (int y = area.top; y < middle; y += row_step, ++rows) {
        surface.fill({area.left, y, area.right, y + 1 + rows % 2});
        for (int x = area.left; x < area.right; x += column_step)
            setter.paragraph(small,
                             {x + inset, y + 2, std::min(x + column_step, area.right) - inset,
                              std::min(y + row_step, middle)},
                             setter.down(52), random_words(random, 30));
    }
    surface.fill({area.left, middle, area.right, middle + 2});
    int columns = 0;
    for (int x = area.left; x < area.right; x += column_step, ++columns)
        surface.fill({x, area.top, x + 1 + columns % 2, middle});

    // Lower half: concentric circles on a fine grid.
    const int grid_x = std::max(8, setter.across(360)), grid_y = std::max(8, setter.down(360));
    for (int y = middle + grid_y; y < area.bottom; y += grid_y)
        surface.fill({area.left, y, area.right, y + 1});
    for (int x = area.left + grid_x; x < area.right; x += grid_x)
        surface.fill({x, middle, x + 1, area.bottom});
    const int largest = std::min(area.width(), area.bottom - middle) * 48 / 100;
    const int apart = std::max(6, std::min(setter.across(100), largest / 4));
    int circles = 0;
    for (int radius = largest; radius > 2; radius -= apart, ++circles)
        circle(surface, (area.left + area.right) / 2, (middle + area.bottom) / 2, radius, 1 + circles % 2);
}

struct Passage {
    std::string_view heading; // empty: no heading
    std::string_view text;
};
constexpr Passage kProse[] = {
    {"", "Every page begins as white paper. What is put on it is either ink or it is not: there is no grey "
         "in the can. "
         "All that a reader takes for shade is made of black marks and of the room between them."},
    {"The letters", "A letter is a path that a pen has taken. Where the broad pen moves down it leaves a "
                    "stem, where it moves across "
                    "it leaves a hairline, and the small feet at the ends keep a line of words level to the "
                    "eye. Stems of one size "
                    "are equally wide, whatever the letter, or the text would look spotted from afar."},
    {"", "Ten or eleven points are enough for a book that is held in the hand. The lines should be a little "
         "further "
         "apart than the letters are high, and short enough that the eye finds the next one without a "
         "search; sixty "
         "letters are comfortable, and a column of forty can still be pleasant."},
    {"The dots", "A picture has every tone from paper to ink. The screen cuts it into cells and gives each "
                 "cell a dot: a small one "
                 "where the sky is bright, a large one in the shadow of the firs, and in the middle tones a "
                 "chessboard whose "
                 "corners just touch. Held at arm's length the dots melt into hills and water."},
    {"", "The rows of dots stand at 45 degrees, for the eye is quick to see what is level or upright and "
         "slow to see "
         "a slant. How fine it may be is for the press to say: 65 lines an inch for a newspaper, "
         "200 on coated paper."},
    {"The rules", "Rules divide what belongs apart and hold together what does not. A hairline between "
                  "columns, a heavier one below "
                  "the title, and a border round it all: one may look at them for years without seeing them, "
                  "and would miss them "
                  "at once if they were gone."},
    {"", "On a plate of 1000 dots an inch a hairline is three or four dots wide. Nothing may be lost there: "
         "where a "
         "rule is one dot thin in the one place and two in the other, it shows in print."},
    {"The proof", "That is why a page is read twice before any ink is spent. The first look is from afar, "
                  "the whole sheet at once: "
                  "do the columns end together, is the picture where it should be, is the grey of the text "
                  "even? The second is from "
                  "close by, one dot of the plate to one dot of the screen, from the top left corner to the "
                  "bottom right."},
    {"", "What is found then costs a minute. What is found later costs a plate, and what the reader finds "
         "costs more "
         "than that. Quick eyes, a good light and a page that comes up at once are the tools of the trade."},
    {"", "Below is a strip with every tone from paper to ink. If its left end is quite white, its right end "
         "quite "
         "black, and no step is seen on the way from one to the other, the page may go to press."},
};

// All lengths are proportional to the width of the page, so that it looks the same at any resolution.
void draw_sample(Setter& setter)
{
    Surface& surface = setter.surface();
    const Box page = setter.page();
    // A hundredth of the width, in 1/10 pt. Less if the page is wider than 5 : 7, and at least 4.
    const int unit = std::max(
        4, std::min(setter.tenths_across(page.right), setter.tenths_down(page.bottom) / 7 * 5) / 100);
    const auto x = [&](int hundredths) { return setter.across(unit * hundredths / 100); };
    const auto y = [&](int hundredths) { return setter.down(unit * hundredths / 100); };

    const Box border{x(300), y(300), page.right - x(300), page.bottom - y(300)};
    frame(surface, border, std::max(1, x(32)), std::max(1, y(32)));
    frame(surface, inside(border, x(70), y(70)), std::max(1, x(8)), std::max(1, y(8)));

    const Box area{x(750), y(600), page.right - x(750), page.bottom - y(1050)};
    setter.set({Weight::Bold, unit * 54 / 10}, area.left, area.top + y(400), "Ink and Paper");
    const Type under_title{Weight::Regular, unit * 22 / 10};
    setter.set(under_title, area.left, area.top + y(790), "Notes on letters, dots and rules");
    surface.fill({area.left, area.top + y(930), area.right, area.top + y(965)});
    surface.fill({area.left, area.top + y(995), area.right, area.top + y(1000)});

    const int gutter = x(400), column_width = (area.width() - gutter) / 2, top = area.top + y(1150);
    const int strip_top = area.bottom - y(700);
    surface.fill({area.left + column_width + gutter / 2, top,
                  area.left + column_width + gutter / 2 + std::max(1, x(5)), strip_top - y(200)});

    // Two columns. The picture is in the first one, below the opening passage.
    const Type body{Weight::Regular, unit * 185 / 100}, heading{Weight::Bold, unit * 22 / 10};
    const Type caption{Weight::Regular, unit * 14 / 10}, initial{Weight::Bold, unit * 92 / 10};
    const int leading = setter.down(unit * 245 / 100);
    Box column{area.left, top, area.left + column_width, strip_top - y(200)};
    bool second_column = false;
    const auto next_column = [&] {
        column = {column.right + gutter, top, area.right, column.bottom};
        second_column = true;
    };
    for (const Passage& passage : kProse) {
        std::string_view rest = passage.text;
        if (&passage == std::begin(kProse)) {
            const std::string_view first = rest.substr(0, 1);
            const int wide = static_cast<int>(setter.width64(initial, first) / 64) + x(20);
            setter.set(initial, column.left - x(20), column.top + 2 * leading + leading * 8 / 10, first);
            rest.remove_prefix(1);
            column.top = setter.paragraph(body, column, leading, rest, wide, 3) + leading / 2;
            const Box picture{column.left, column.top, column.right,
                              std::min(column.bottom, column.top + column_width * 2 / 3)};
            landscape_in(setter, picture, std::max(4, x(32)));
            frame(surface, picture, std::max(1, x(8)), std::max(1, y(8)));
            column.top = picture.bottom + leading / 3;
            column.top = setter.paragraph(caption, column, setter.down(unit * 19 / 10),
                                          "Firs by the lake, early in the morning.") +
                         leading / 2;
            continue;
        }
        if (!passage.heading.empty()) {
            if (column.top + 5 * leading > column.bottom && !second_column)
                next_column();
            else
                column.top += leading / 2;
            column.top = setter.paragraph(heading, column, leading * 5 / 4, passage.heading);
        }
        column.top =
            setter.paragraph_part(body, column, leading, rest, x(150), passage.heading.empty() ? 1 : 0);
        if (!rest.empty() && !second_column) {
            next_column();
            column.top = setter.paragraph(body, column, leading, rest);
        }
    }

    // Concentric circles fill the rest of the second column.
    const Box figure{column.left, column.top + leading, column.right, column.bottom};
    if (second_column && figure.height() > 6 * leading) {
        frame(surface, figure, std::max(1, x(8)), std::max(1, y(8)));
        const int largest = std::min(figure.width(), figure.height()) * 45 / 100,
                  apart = std::max(4, largest / 18);
        for (int radius = largest; radius > apart / 2; radius -= apart)
            circle(surface, (figure.left + figure.right) / 2, (figure.top + figure.bottom) / 2, radius,
                   std::clamp((largest - radius) / apart / 3, 1, std::max(1, apart - 1)));
    }

    const Box strip{area.left, strip_top, area.right, area.bottom};
    ramp_in(setter, strip, std::max(4, x(32)));
    frame(surface, strip, std::max(1, x(8)), std::max(1, y(8)));
    setter.set_centred(caption, page.right / 2, area.bottom + y(420), "- 1 -");
}

void draw_on(Surface& surface, const PageOptions& options)
{
    Setter setter(surface, options);
    Random random(options.seed);
    switch (options.draw) {
    case Draw::Text: draw_text(setter, random); break;
    case Draw::Halftone: draw_halftone(setter); break;
    case Draw::Mixed: draw_mixed(setter, random); break;
    case Draw::Blank: draw_blank(setter, random); break;
    case Draw::Line: draw_line(setter, random); break;
    case Draw::Noise: surface.noise(random); break;
    case Draw::Sample: draw_sample(setter); break;
    }
}

} // namespace

Bitmap::Bitmap(int width_px, int height_px)
    : width(width_px), height(height_px), row_bytes((static_cast<std::size_t>(width_px) + 7) / 8),
      rows(row_bytes * static_cast<std::size_t>(height_px))
{
}

GreyMap::GreyMap(int width_px, int height_px)
    : width(width_px), height(height_px),
      rows(static_cast<std::size_t>(width_px) * static_cast<std::size_t>(height_px), uint8_t{255})
{
}

std::span<const DrawName> draw_names()
{
    return kDrawNames;
}

std::optional<Draw> draw_by_name(std::string_view name)
{
    for (const DrawName& known : kDrawNames)
        if (known.name == name)
            return known.draw;
    return std::nullopt;
}

int64_t bitmap_bytes(int width, int height)
{
    return (int64_t{width} + 7) / 8 * height;
}
int64_t grey_bytes(int width, int height)
{
    return int64_t{width} * height;
}

Bitmap draw_page(const PageOptions& options)
{
    Bitmap page(options.width, options.height);
    BitSurface surface(page);
    draw_on(surface, options);
    return page;
}

GreyMap draw_grey_page(const PageOptions& options)
{
    GreyMap page(options.width, options.height);
    GreySurface surface(page);
    draw_on(surface, options);
    return page;
}

} // namespace pages
