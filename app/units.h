// The units of the read-outs, and numbers in them.
#pragma once

#include "platform/cstring.h"

#include <cstdint>
#include <optional>
#include <string_view>

// As the settings store them. Any other number counts as pixels.
constexpr int kInches = 0;
constexpr int kMillimeters = 1;
constexpr int kPixels = 2;
constexpr int kPoints = 3; // printer's points, 72.27 to the inch

constexpr double kMillimetersPerInch = 25.4;
constexpr double kPointsPerInch = 72.27;

// The unit for a page of these resolutions: pixels if one of them is not above 0.
int UnitsFor(int units, int x_dpi, int y_dpi);
const char* UnitName(int units); // as "millimeters"

// From pixels to a unit of UnitsFor and back. The way back rounds to the nearest pixel and clamps to 0 and
// INT32_MAX; what is not a number becomes 0.
double PixelsToUnits(int32_t pixels, int units, int dpi);
int32_t UnitsToPixels(double value, int units, int dpi);

// A number as the read-outs show it in this unit. Never "-0".
CString FormatNumber(int units, double value);
// A length in a unit of UnitsFor, with so many digits that the way back leads to the same pixel up to 4000
// dots per inch.
CString FormatExact(int32_t pixels, int units, int dpi);
// The same as the read-outs show it.
CString FormatLength(int32_t pixels, int units, int dpi);
// A decimal number with a point or a comma, blanks around it. None if the text is anything else, or the
// number is not finite.
std::optional<double> ParseDecimal(std::string_view text);
