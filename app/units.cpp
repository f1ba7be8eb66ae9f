// SPDX-License-Identifier: MIT
#include "app/units.h"

#include "platform/text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>

namespace
{
constexpr double kMillimetersPerInch = 25.4;
constexpr double kPointsPerInch = 72.27;

// Returns how many of these units an inch has; 0 for pixels, which have no fixed size.
double UnitsPerInch(int units)
{
    switch (units) {
    case kInches: return 1;
    case kMillimeters: return kMillimetersPerInch;
    case kPoints: return kPointsPerInch;
    default: return 0;
    }
}

// Returns the number of digits after the decimal point in the read-outs.
int DigitsOf(int units)
{
    return units == kInches ? 2 : units == kMillimeters ? 1 : 0;
}
} // namespace

int UnitsFor(int units, int x_dpi, int y_dpi)
{
    return UnitsPerInch(units) > 0 && x_dpi > 0 && y_dpi > 0 ? units : kPixels;
}

const char* UnitName(int units)
{
    switch (units) {
    case kInches: return "inches";
    case kMillimeters: return "millimeters";
    case kPoints: return "points";
    default: return "pixels";
    }
}

double PixelsToUnits(int32_t pixels, int units, int dpi)
{
    const double per_inch = UnitsPerInch(units);
    return per_inch > 0 && dpi > 0 ? static_cast<double>(pixels) / dpi * per_inch : pixels;
}

int32_t UnitsToPixels(double value, int units, int dpi)
{
    const double per_inch = UnitsPerInch(units);
    const double pixels = per_inch > 0 && dpi > 0 ? value / per_inch * dpi : value;
    if (!(pixels > 0)) // also if pixels is not a number
        return 0;
    return pixels >= INT32_MAX ? INT32_MAX : static_cast<int32_t>(std::lround(pixels));
}

CString FormatNumber(int units, double value)
{
    const int digits = DigitsOf(units);
    CString text;
    text.Format("%.*f", digits, value);
    if (value < 0 && text.View().find_first_of("123456789") == std::string_view::npos)
        text.Format("%.*f", digits, 0.0);
    return text;
}

CString FormatExact(int32_t pixels, int units, int dpi)
{
    const int digits = UnitsPerInch(units) > 0 ? DigitsOf(units) + 2 : 0;
    CString text;
    text.Format("%.*f", digits, PixelsToUnits(pixels, units, dpi));
    return text;
}

CString FormatLength(int32_t pixels, int units, int dpi)
{
    return FormatNumber(units, PixelsToUnits(pixels, units, dpi));
}

std::optional<double> ParseDecimal(std::string_view text)
{
    text = Trimmed(text, " \t");
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    std::string number{text};
    std::replace(number.begin(), number.end(), ',', '.');
    double value = 0;
    const char* const end = number.data() + number.size();
    const auto [stop, error] = std::from_chars(number.data(), end, value);
    if (error != std::errc{} || stop != end || !std::isfinite(value))
        return std::nullopt;
    return value;
}
