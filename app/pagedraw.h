// The arithmetic of page drawing.
#pragma once

#include "platform/types.h"

// The factor by which a page of size pixels is reduced before it is printed into room pixels (not 0): 2, 4,
// or a multiple of 8.
int ChooseReduction(int size, int room);

// The largest size in the proportions of page that fits into room. 0 in both where there is none.
CSize FitInto(CSize page, CSize room);

// Columns or lines of a page that a clip shows.
struct PageSpan {
    int first = 0;
    int count = 0; // not above 0: nothing
};
PageSpan ClipToPage(int clip_first, int clip_count, int page_count);
