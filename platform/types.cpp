// SPDX-License-Identifier: MIT
#include "platform/types.h"

int MulDiv(int a, int b, int c)
{
    if (c == 0)
        return -1;
    const int64_t product = int64_t{a} * b;
    const int64_t divisor = c;
    const int64_t magnitude = product < 0 ? -product : product;
    const int64_t divisor_magnitude = divisor < 0 ? -divisor : divisor;
    const int64_t rounded = (magnitude + divisor_magnitude / 2) / divisor_magnitude;
    const int64_t result = (product < 0) != (divisor < 0) ? -rounded : rounded;
    return result < INT32_MIN || result > INT32_MAX ? -1 : static_cast<int>(result);
}
