// SPDX-License-Identifier: MIT
// The input is a TIFF file. The codec library decodes Group 4 strips, libtiff all others. If the page opens,
// reading a row must not write outside the buffer, and must write zeros after the scanline. The same file
// opened again must return the same rows. Rewind and a second run must also return them, except with the fax
// decoders of libtiff: in damaged data they use runs of rows that they decoded before.
#include "app/tifimage.h"
#include "promise.h"

#include <algorithm>
#include <string>
#include <sys/mman.h>
#include <tiffio.h>
#include <unistd.h>
#include <vector>

namespace
{
constexpr int64_t kMaxRows = 4096;
constexpr int64_t kMaxBytes = int64_t{64} << 20;

constexpr int32_t kWidestDecoder = 33'554'424; // px; libtiff decodes wider Group 4 rows

bool IsFaxOfLibtiff(const CString& path, const TIFFImage& page)
{
    TIFF* const handle = TIFFOpen(path.c_str(), "rbm");
    if (!handle)
        return false;
    uint16_t compression = 0;
    TIFFGetFieldDefaulted(handle, TIFFTAG_COMPRESSION, &compression);
    TIFFClose(handle);
    return compression == COMPRESSION_CCITTRLE || compression == COMPRESSION_CCITTRLEW ||
           compression == COMPRESSION_CCITTFAX3 ||
           (compression == COMPRESSION_CCITTFAX4 && (page.BitsPerPixel != 1 || page.Width > kWidestDecoder));
}

// Reads rows in order until all are read or one fails. Returns how many were read.
int64_t ReadRun(TIFFImage& page, std::vector<uint8_t>& rows, int64_t wanted)
{
    const size_t row_bytes = static_cast<size_t>(page.BytesPerRow);
    const size_t used_bytes =
        (static_cast<size_t>(page.Width) * static_cast<size_t>(page.BitsPerPixel) + 7) / 8;
    std::vector<uint8_t> row(row_bytes); // exact size: shows a byte too far
    for (int64_t done = 0; done < wanted; ++done) {
        std::fill(row.begin(), row.end(), uint8_t{0xa5});
        const int result = page.ReadRow(row.data(), page.BytesPerRow);
        Promise(page.CurrentRow == done);
        if (!result) {
            Promise(!page.ErrorText.IsEmpty());
            Promise(page.SuspiciousRow < done);
            return done;
        }
        for (size_t i = used_bytes; i < row_bytes; ++i)
            Promise(row[i] == 0);
        rows.insert(rows.end(), row.begin(), row.end());
    }
    return wanted;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    TIFFSetErrorHandler(nullptr);
    const int file = memfd_create("page", MFD_CLOEXEC);
    if (file < 0)
        return 0;
    if (write(file, data, size) != static_cast<ssize_t>(size)) {
        close(file);
        return 0;
    }
    const CString path = "/proc/self/fd/" + std::to_string(file);

    TIFFImage page;
    if (page.Open(path)) {
        Promise(page.Path == path && !page.Name.IsEmpty() && page.CurrentRow == -1);
        Promise(page.XDpi >= 0 && page.YDpi >= 0 && page.BytesPerRow % 4 == 0);
        if (page.IsValid() && page.BytesPerRow <= kMaxBytes) {
            const int64_t wanted = std::min({int64_t{page.Height}, kMaxRows, kMaxBytes / page.BytesPerRow});
            std::vector<uint8_t> first;
            const int64_t delivered = ReadRun(page, first, wanted);

            std::vector<uint8_t> second;
            TIFFImage another;
            Promise(another.Open(path) == 1 && another.BytesPerRow == page.BytesPerRow);
            Promise(ReadRun(another, second, wanted) == delivered && second == first);

            Promise(page.Rewind() == 1 && page.CurrentRow == -1);
            if (delivered == wanted && !IsFaxOfLibtiff(path, page)) {
                std::vector<uint8_t> again;
                Promise(ReadRun(page, again, wanted) == wanted && again == first);
            }
        }
        Promise(page.Close() == 1);
    } else {
        Promise(!page.ErrorText.IsEmpty());
    }
    Promise(page.Path.IsEmpty() && page.Width == 0 && page.Height == 0 && page.BytesPerRow == 0);
    Promise(!page.IsValid());
    close(file);
    return 0;
}
