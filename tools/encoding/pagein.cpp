// SPDX-License-Identifier: MIT
// Reads pages from TIFF and PBM files. TIFF is read through libtiff, one scanline at a time. If libtiff warns
// about a row, the page is refused as damaged, so that a test never uses rows that libtiff has guessed.

#include "pagein.h"

#include "libtiff.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>

namespace pages
{
namespace
{

constexpr int kMaxDpi = 1'000'000;

struct FileCloser {
    void operator()(FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<FILE, FileCloser>;

std::string judge_size(int64_t width, int64_t height)
{
    if (width < 1 || height < 1 || width > kMaxSide || height > kMaxSide ||
        bitmap_bytes(static_cast<int>(width), static_cast<int>(height)) > kMaxPageBytes)
        return "a page of " + std::to_string(width) + " x " + std::to_string(height) +
               " pixels is not supported";
    return {};
}

// Clears the bits after the width, which a file may have set.
void clear_after_width(Bitmap& page)
{
    if (const int in_last = page.width % 8; in_last != 0)
        for (int y = 0; y < page.height; ++y)
            page.row(y)[page.row_bytes - 1] &= static_cast<uint8_t>(0xff00 >> in_last);
}

// ---- PBM ----------------------------------------------------------------------------------------------

bool is_space(int character)
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

// Returns the next character of the header. Skips a comment and returns the end of its line.
int head_character(FILE* file)
{
    int next = std::fgetc(file);
    if (next == '#')
        while (next != '\n' && next != EOF)
            next = std::fgetc(file);
    return next;
}

// Returns the next number of the header. Also reads the one blank after it.
std::optional<int> head_number(FILE* file)
{
    int next = head_character(file);
    while (is_space(next))
        next = head_character(file);
    int64_t value = 0;
    int digits = 0;
    for (; next >= '0' && next <= '9'; next = head_character(file), ++digits)
        value = std::min<int64_t>(value * 10 + (next - '0'), INT32_MAX); // far above kMaxSide
    if (digits == 0 || !is_space(next))
        return {};
    return static_cast<int>(value);
}

std::string read_packed_rows(FILE* file, Bitmap& page)
{
    if (std::fread(page.rows.data(), 1, page.rows.size(), file) != page.rows.size())
        return "ends before its last row";
    clear_after_width(page);
    return {};
}

std::string read_digit_rows(FILE* file, Bitmap& page)
{
    for (int y = 0; y < page.height; ++y)
        for (int x = 0; x < page.width; ++x) {
            int digit = std::fgetc(file);
            while (is_space(digit))
                digit = std::fgetc(file);
            if (digit == EOF)
                return "ends before its last row";
            if (digit != '0' && digit != '1')
                return "has a pixel that is neither 0 nor 1 in row " + std::to_string(y);
            if (digit == '1')
                page.row(y)[x / 8] |= static_cast<uint8_t>(0x80 >> x % 8);
        }
    return {};
}

// Reads the rest of the file after the two letters.
std::string read_pbm(FILE* file, bool packed, Bitmap& page)
{
    const std::optional<int> width = head_number(file);
    const std::optional<int> height = width ? head_number(file) : std::nullopt;
    if (!height)
        return "has no PBM size";
    if (std::string error = judge_size(*width, *height); !error.empty())
        return error;
    // Checks the size of the file before allocating, because a short file can claim a large page.
    const int64_t needed = packed ? bitmap_bytes(*width, *height) : int64_t{*width} * *height;
    const long at = std::ftell(file);
    if (at >= 0 && std::fseek(file, 0, SEEK_END) == 0) {
        if (std::ftell(file) - at < needed)
            return "ends before its last row";
        std::fseek(file, at, SEEK_SET);
    }
    page = Bitmap(*width, *height);
    return packed ? read_packed_rows(file, page) : read_digit_rows(file, page);
}

// ---- TIFF ---------------------------------------------------------------------------------------------

int dots_an_inch(float resolution, uint16_t unit)
{
    const double dots = unit == RESUNIT_CENTIMETER ? resolution * 2.54 : resolution;
    if (unit == RESUNIT_NONE || !(dots >= 0.5) || dots > kMaxDpi)
        return 0;
    return static_cast<int>(std::lround(dots));
}

std::string read_tiff(const std::string& path, PageIn& in)
{
    std::string error, warning;
    const TiffOpenOptions how = tiff_open_options(&error, &warning);
    TIFFOpenOptionsSetMaxSingleMemAlloc(how.get(), kMaxPageBytes);
    const Tiff file(TIFFOpenExt(path.c_str(), "rm", how.get())); // m: not mapped
    if (file == nullptr)
        return error.empty() ? "cannot be opened" : error;

    uint32_t width = 0, height = 0;
    TIFFGetField(file.get(), TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(file.get(), TIFFTAG_IMAGELENGTH, &height);
    if (std::string wrong = judge_size(width, height); !wrong.empty())
        return wrong;
    uint16_t bits = 1, samples = 1, photometric = PHOTOMETRIC_MINISWHITE;
    TIFFGetFieldDefaulted(file.get(), TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(file.get(), TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetField(file.get(), TIFFTAG_PHOTOMETRIC, &photometric);
    if (bits != 1 || samples != 1)
        return "has " + std::to_string(int64_t{bits} * samples) +
               " bits per pixel; only pages of 1 bit are read";
    if (photometric != PHOTOMETRIC_MINISWHITE && photometric != PHOTOMETRIC_MINISBLACK)
        return "is neither black on white nor white on black";
    if (TIFFIsTiled(file.get()) != 0)
        return "is tiled; only pages in strips are read";
    if (TIFFScanlineSize64(file.get()) != (uint64_t{width} + 7) / 8)
        return "has rows whose length does not match its width";

    in.page = Bitmap(static_cast<int>(width), static_cast<int>(height));
    warning.clear();
    for (int y = 0; y < in.page.height; ++y)
        if (TIFFReadScanline(file.get(), in.page.row(y), static_cast<uint32_t>(y)) != 1 || !error.empty() ||
            !warning.empty())
            return "row " + std::to_string(y) + ": " +
                   (!error.empty()     ? error
                    : !warning.empty() ? warning
                                       : "cannot be read");
    if (photometric == PHOTOMETRIC_MINISBLACK)
        for (uint8_t& byte : in.page.rows)
            byte = static_cast<uint8_t>(~byte);
    clear_after_width(in.page);

    float across = 0, down = 0;
    uint16_t unit = RESUNIT_INCH;
    TIFFGetFieldDefaulted(file.get(), TIFFTAG_RESOLUTIONUNIT, &unit);
    if (TIFFGetField(file.get(), TIFFTAG_XRESOLUTION, &across) == 1 &&
        TIFFGetField(file.get(), TIFFTAG_YRESOLUTION, &down) == 1) {
        in.dpi_x = dots_an_inch(across, unit);
        in.dpi_y = dots_an_inch(down, unit);
    }
    return {};
}

std::string read_by_kind(const std::string& path, PageIn& in)
{
    const File file(std::fopen(path.c_str(), "rb"));
    if (file == nullptr)
        return std::strerror(errno);
    std::array<char, 2> letters{};
    if (std::fread(letters.data(), 1, letters.size(), file.get()) != letters.size())
        return std::ferror(file.get()) != 0 ? std::strerror(errno) : "is neither TIFF nor PBM";
    const std::string_view kind(letters.data(), letters.size());
    if (kind == "II" || kind == "MM")
        return read_tiff(path, in);
    if (kind == "P4" || kind == "P1")
        return read_pbm(file.get(), kind == "P4", in.page);
    return "is neither TIFF nor PBM";
}

} // namespace

std::string read_page(const std::string& path, PageIn& in)
{
    in = {};
    std::string error = read_by_kind(path, in);
    if (!error.empty())
        in = {};
    return error;
}

} // namespace pages
