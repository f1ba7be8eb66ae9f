// The choice of page files in the Open dialog: its filters, and the pattern of one of them.
#pragma once

#include "platform/cstring.h"

// Pairs of text and pattern between bars, closed by a doubled one.
inline constexpr const char* kPageFilters =
    "Fax *.fax | *.fax | f *.f | *.f | Low Res *.low | *.low | TIFF *.tif | *.tif | All files *.* | *.* ||";

// The pattern of the pair of that number, from 1, without the blanks round it; it ends at a blank too. "*.*"
// where there is no such pair.
CString GetFilterPattern(const CString& filter, int index);
// The number of the first pair with that pattern, whatever the case of ASCII letters; 0 where there is none.
int FindFilter(const CString& filter, const CString& pattern);
