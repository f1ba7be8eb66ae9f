// SPDX-License-Identifier: MIT
// Deletes an output file if writing it fails. The TIFF writer and the page file writer use this.
#pragma once

#include <filesystem>
#include <string>

namespace pages
{

// Deletes the partly written file `path`. Does nothing if `path` is not a regular file, such as /dev/null.
// Ignores errors.
inline void remove_partial_file(const std::string& path)
{
    std::error_code ignored;
    if (std::filesystem::is_regular_file(path, ignored))
        std::filesystem::remove(path, ignored);
}

} // namespace pages
