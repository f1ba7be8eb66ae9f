// SPDX-License-Identifier: MIT
// The file filters of the Open dialog. The dialog identifies a filter by its number, and the settings by its
// pattern. The functions convert one to the other.
#pragma once

#include "platform/cstring.h"

// Pairs of a text and a pattern, separated by bars and ended by a double bar.
inline constexpr const char* kPageFilters =
    "Fax *.fax | *.fax | f *.f | *.f | Low Res *.low | *.low | TIFF *.tif | *.tif | All files *.* | *.* ||";

// Returns the pattern of pair number `index`, counted from 1. Blanks before a pattern are dropped; the next
// blank or bar ends it. Returns "*.*" if there is no such pair.
[[nodiscard]] CString GetFilterPattern(const CString& filter, int index);
// Returns the number of the first pair with this pattern, or 0 if there is none. Ignores the case of ASCII
// letters.
[[nodiscard]] int FindFilter(const CString& filter, const CString& pattern);
