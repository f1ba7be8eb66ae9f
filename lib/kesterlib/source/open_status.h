// SPDX-License-Identifier: MIT
// Sets the status of an open function.
#pragma once

#include "kesterlib/status.h"

namespace kesterlib
{
// Stores the status that kesterlib_open_status returns to this thread.
void set_open_status(int32_t status);
} // namespace kesterlib
