// SPDX-License-Identifier: MIT
// What the sources that use libtiff share: the messages of a file, and a file in memory.
#pragma once

#include <tiffio.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace pages
{

struct TiffCloser {
    void operator()(TIFF* file) const { TIFFClose(file); }
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};
using Tiff = std::unique_ptr<TIFF, TiffCloser>;
using TiffOpenOptions = std::unique_ptr<TIFFOpenOptions, TiffCloser>;

// Returns options for opening a file. libtiff then stores the first error message about the file in `error`
// and the first warning in `warning`, each as one line. Both must live as long as the file. If `warning` is
// null, warnings are ignored.
TiffOpenOptions tiff_open_options(std::string* error, std::string* warning = nullptr);

// A TIFF file in memory.
struct MemoryTiff {
    std::vector<uint8_t> bytes;
    std::size_t position = 0; // of the next read or write

    // Opens the bytes as a file, with a mode of TIFFOpen. `options` may be null. Returns null after an error.
    // The object must stay in place while the file is open.
    [[nodiscard]] Tiff open(const char* mode, TIFFOpenOptions* options = nullptr);
};

} // namespace pages
