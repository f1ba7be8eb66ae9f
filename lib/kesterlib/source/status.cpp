// SPDX-License-Identifier: MIT
// The status of the last open function, for each thread.
#include "open_status.h"

namespace kesterlib
{
namespace
{
thread_local int32_t open_status = KESTERLIB_OK;
}

void set_open_status(int32_t status)
{
    open_status = status;
}
} // namespace kesterlib

int32_t kesterlib_open_status(void)
{
    return kesterlib::open_status;
}
