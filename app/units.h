// SPDX-License-Identifier: MIT
// The units of the read-outs, which are the numbers in the status bar. Converts lengths from and to pixels,
// and formats them.
#pragma once

#include "platform/cstring.h"

#include <cstdint>
#include <optional>
#include <string_view>

// The units, as stored in the settings. Any other number counts as pixels.
constexpr int kInches = 0;
constexpr int kMillimeters = 1;
constexpr int kPixels = 2;
constexpr int kPoints = 3; // printer's points, 72.27 to the inch

// Returns the unit for a page with these resolutions: `units`, or pixels if a resolution is not above 0 or
// the unit is unknown.
[[nodiscard]] int UnitsFor(int units, int x_dpi, int y_dpi);
[[nodiscard]] const char* UnitName(int units); // such as "millimeters"

// Convert pixels to a unit and back, at `dpi` dots per inch. If the unit is pixels or dpi is not above 0, the
// number is unchanged. UnitsToPixels rounds to the nearest pixel and clamps the result to 0 to INT32_MAX. If
// `value` is not a number, it returns 0.
[[nodiscard]] double PixelsToUnits(int32_t pixels, int units, int dpi);
[[nodiscard]] int32_t UnitsToPixels(double value, int units, int dpi);

// Returns a number with the digits that the read-outs show in this unit. Never returns "-0".
[[nodiscard]] CString FormatNumber(int units, double value);
// Returns a length in the unit, with enough digits for UnitsToPixels to return the same pixel. This is true
// for up to 4000 dots per inch.
[[nodiscard]] CString FormatExact(int32_t pixels, int units, int dpi);
// Returns a length in the unit with the digits that the read-outs show.
[[nodiscard]] CString FormatLength(int32_t pixels, int units, int dpi);
// Reads a decimal number with a point or a comma. Ignores blanks around it. Returns nothing if the text is
// anything else or the number is not finite.
[[nodiscard]] std::optional<double> ParseDecimal(std::string_view text);
