// SPDX-License-Identifier: MIT
// Connects libtiff to the page writers and readers: stores its messages, and opens files in memory.

#include "libtiff.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <exception>

namespace pages
{
namespace
{

// Keeps only the first message: the later ones are consequences of the same fault.
int keep_first_message(TIFF* /*file*/, void* user, const char* /*module*/, const char* format,
                       va_list arguments)
{
    auto* const kept = static_cast<std::string*>(user);
    if (kept != nullptr && kept->empty()) {
        std::array<char, 400> text{};
        std::vsnprintf(text.data(), text.size(), format, arguments);
        *kept = text.data();
        std::replace(kept->begin(), kept->end(), '\n', ' ');
    }
    return 1;
}

MemoryTiff& file_of(thandle_t handle)
{
    return *static_cast<MemoryTiff*>(handle);
}

tmsize_t read_memory(thandle_t handle, void* to, tmsize_t count)
{
    MemoryTiff& file = file_of(handle);
    const std::size_t left = file.bytes.size() - std::min(file.position, file.bytes.size());
    const std::size_t taken = std::min(static_cast<std::size_t>(count), left);
    if (taken == 0)
        return 0;
    std::copy_n(file.bytes.begin() + static_cast<std::ptrdiff_t>(file.position), taken,
                static_cast<uint8_t*>(to));
    file.position += taken;
    return static_cast<tmsize_t>(taken);
}

tmsize_t write_memory(thandle_t handle, void* from, tmsize_t count)
{
    MemoryTiff& file = file_of(handle);
    const std::size_t end = file.position + static_cast<std::size_t>(count);
    try {
        file.bytes.resize(std::max(file.bytes.size(), end));
    } catch (const std::exception&) { // must not pass through libtiff
        return -1;
    }
    std::copy_n(static_cast<const uint8_t*>(from), count,
                file.bytes.begin() + static_cast<std::ptrdiff_t>(file.position));
    file.position = end;
    return count;
}

toff_t seek_memory(thandle_t handle, toff_t to, int from)
{
    MemoryTiff& file = file_of(handle);
    file.position = to + (from == SEEK_CUR ? file.position : from == SEEK_END ? file.bytes.size() : 0);
    return file.position;
}

} // namespace

TiffOpenOptions tiff_open_options(std::string* error, std::string* warning)
{
    TiffOpenOptions options(TIFFOpenOptionsAlloc());
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), keep_first_message, error);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), keep_first_message, warning);
    return options;
}

Tiff MemoryTiff::open(const char* mode, TIFFOpenOptions* options)
{
    position = 0;
    return Tiff(TIFFClientOpenExt(
        "page", mode, this, read_memory, write_memory, seek_memory, [](thandle_t) { return 0; },
        [](thandle_t handle) -> toff_t { return file_of(handle).bytes.size(); }, nullptr, nullptr, options));
}

} // namespace pages
