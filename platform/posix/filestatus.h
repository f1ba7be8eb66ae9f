// SPDX-License-Identifier: MIT
// Converts the system's record of a file's status to a FileStatus.
#pragma once

#include "platform/viewedmark.h"

#include <sys/stat.h>

[[nodiscard]] FileStatus FileStatusFrom(const struct stat& system);
