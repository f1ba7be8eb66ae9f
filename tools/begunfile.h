// What both writers of files do when one could not be written whole.
#pragma once

#include <filesystem>
#include <string>

namespace pages
{

// Takes a regular file away; a device stays.
inline void remove_begun_file(const std::string& path)
{
    std::error_code ignored;
    if (std::filesystem::is_regular_file(path, ignored))
        std::filesystem::remove(path, ignored);
}

} // namespace pages
