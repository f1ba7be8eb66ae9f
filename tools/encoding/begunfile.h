// Clean-up after a failed write, shared by the TIFF writer and the page file writer.
#pragma once

#include <filesystem>
#include <string>

namespace pages
{

// Deletes `path` if it is a regular file. A device is kept. Errors are ignored.
inline void remove_begun_file(const std::string& path)
{
    std::error_code ignored;
    if (std::filesystem::is_regular_file(path, ignored))
        std::filesystem::remove(path, ignored);
}

} // namespace pages
