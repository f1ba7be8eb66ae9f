// SPDX-License-Identifier: MIT
// The paths of pages and of their directories.
#pragma once

#include "platform/cstring.h"

// Returns the part of a path that is opened as a page: the text before the first tab or semicolon.
[[nodiscard]] CString PagePath(const CString& path);

// Returns the directory with a separator at its end. An empty text becomes the root.
[[nodiscard]] CString WithSeparator(const CString& directory);
