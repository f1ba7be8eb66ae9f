// Opens a TIFF file without mapping it, for a mapped file that shrinks ends the program. The arrays of strip
// places are fetched only as rows need them, so that a page opens in the same time whatever its number of
// strips.
#include "app/tifimage.h"

#include "platform/file.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <tiffio.h>
#include <unistd.h>

namespace
{
constexpr const char* kOpenFailed = "Open failed";
constexpr const char* kUnsupported = "Unsupported TIFF format";
constexpr const char* kReadError = "TIFF read error";

constexpr const char* kOpenMode = "rbmO"; // m: no mapping, O: strip places on demand

constexpr int64_t kAllocationLimit = int64_t{64} << 20; // what an open may ask for in one piece
// A strip may be larger than its rows: the worst of the fax codes takes 12 bits for two pixels.
constexpr int64_t kLargestExpansion = 8;
constexpr int64_t kStripOverhead = int64_t{64} << 10;

constexpr int64_t kLargestSide = 0x7ffffff7;     // with room for rounding up
constexpr int64_t kLargestScanline = 0x7ffffff8; // BytesPerRow rounds up to a multiple of 4
constexpr double kInchesPerCentimetre = 0.39370078740157477;

void IgnoreWarning(const char*, const char*, va_list) {}

// Takes a descriptor of its own; null if this is no TIFF file or asks for more than limit bytes in one piece.
TIFF* OpenTiff(int file, const CString& path, int64_t limit)
{
    const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options{TIFFOpenOptionsAlloc(),
                                                                                   TIFFOpenOptionsFree};
    if (!options)
        return nullptr;
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), static_cast<tmsize_t>(limit));
    const int own = fcntl(file, F_DUPFD_CLOEXEC, 0);
    if (own < 0)
        return nullptr;
    // The header is read from where the descriptor stands, and an earlier open has moved that.
    lseek(own, 0, SEEK_SET);
    TIFF* const handle = TIFFFdOpenExt(own, path.c_str(), kOpenMode, options.get());
    if (!handle)
        close(own);
    return handle;
}
} // namespace

const CRuntimeClass TIFFImage::classRecord{"TIFFImage", &Image::classRecord, CreateObjectOf<TIFFImage>};

TIFFImage::TIFFImage()
{
    TIFFSetWarningHandler(IgnoreWarning);
}

TIFFImage::~TIFFImage()
{
    TIFFImage::Close();
}

int TIFFImage::Fail(const char* words)
{
    Close();
    ErrorText = words;
    return 0;
}

int TIFFImage::Open(const CString& path)
{
    // The argument may be this object's own Path, which closing empties.
    const CString wanted = path; // NOLINT(performance-unnecessary-copy-initialization)
    Close();
    Path = wanted;
    const int file = OpenRegularFile(Path);
    if (file < 0)
        return Fail(kOpenFailed);
    struct CloseFile {
        int file;
        ~CloseFile() { close(file); }
    } const close_file{file};
    struct stat status {
    };
    if (fstat(file, &status) != 0)
        return Fail(kOpenFailed);

    Tiff = OpenTiff(file, Path, kAllocationLimit);
    if (!Tiff)
        return Fail(kOpenFailed);
    if (!ReadTags())
        return Fail(kUnsupported);

    // Only a page whose strips can be larger than the limit gets a larger one. The tags are read and judged
    // anew: a file that somebody rewrites meanwhile must not be read with the sizes that it had before.
    if (const int64_t allowance = StripAllowance(status.st_size); allowance > kAllocationLimit) {
        TIFFClose(Tiff);
        Tiff = OpenTiff(file, Path, allowance);
        if (!Tiff)
            return Fail(kOpenFailed);
        if (!ReadTags())
            return Fail(kUnsupported);
    }
    return Rewind();
}

// Takes the page's numbers from the open file; false if it is none that this class reads.
bool TIFFImage::ReadTags()
{
    uint16_t bits = 0;
    uint16_t samples = 0;
    uint16_t photometric = 0xffff;
    uint16_t unit = 0xffff;
    uint32_t width = 0;
    uint32_t height = 0;
    float x_resolution = 0;
    float y_resolution = 0;
    const char* document_name = nullptr;
    TIFFGetFieldDefaulted(Tiff, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(Tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetField(Tiff, TIFFTAG_PHOTOMETRIC, &photometric);
    TIFFGetField(Tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(Tiff, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetField(Tiff, TIFFTAG_RESOLUTIONUNIT, &unit);
    TIFFGetField(Tiff, TIFFTAG_XRESOLUTION, &x_resolution);
    TIFFGetField(Tiff, TIFFTAG_YRESOLUTION, &y_resolution);
    TIFFGetField(Tiff, TIFFTAG_DOCUMENTNAME, &document_name);
    if (samples != 1 || (bits != 1 && bits != 8))
        return false;
    if (photometric != PHOTOMETRIC_MINISBLACK && photometric != PHOTOMETRIC_MINISWHITE)
        return false;
    const tmsize_t scanline = TIFFScanlineSize(Tiff);
    if (width > kLargestSide || height > kLargestSide || scanline < 0 || scanline > kLargestScanline)
        return false;

    uint16_t compression = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(Tiff, TIFFTAG_COMPRESSION, &compression);
    IsFaxCoded = compression == COMPRESSION_CCITTRLE || compression == COMPRESSION_CCITTRLEW ||
                 compression == COMPRESSION_CCITTFAX3 || compression == COMPRESSION_CCITTFAX4;
    RowsPerStrip = 0;
    TIFFGetFieldDefaulted(Tiff, TIFFTAG_ROWSPERSTRIP, &RowsPerStrip);
    RowsPerStrip = std::max<uint32_t>(RowsPerStrip, 1);

    BitsPerPixel = bits;
    Width = static_cast<int32_t>(width);
    Height = static_cast<int32_t>(height);
    ScanlineSize = static_cast<int32_t>(scanline);
    BytesPerRow = static_cast<int32_t>((scanline + 3) & ~tmsize_t{3});
    const bool per_centimetre = unit == RESUNIT_CENTIMETER;
    XDpi = WholeDpi(x_resolution, per_centimetre);
    YDpi = WholeDpi(y_resolution, per_centimetre);
    MinIsBlack = photometric == PHOTOMETRIC_MINISBLACK ? 1 : 0;
    Name = document_name && *document_name ? CString{document_name} : LabelFromPath(Path);
    return true;
}

// Bytes that a strip of this page can need, whatever the file says of it.
int64_t TIFFImage::StripAllowance(int64_t file_bytes) const
{
    const int64_t rows = std::min<int64_t>(RowsPerStrip, Height);
    const int64_t packed_bytes = rows * ScanlineSize; // both below 2^31
    return packed_bytes > (file_bytes - kStripOverhead) / kLargestExpansion
               ? file_bytes
               : packed_bytes * kLargestExpansion + kStripOverhead;
}

int TIFFImage::Close()
{
    if (Tiff)
        TIFFClose(Tiff);
    Tiff = nullptr;
    ClearFields();
    return 1;
}

int TIFFImage::ReadRows(uint8_t* buffer, int32_t stride, int32_t firstRow, int32_t count)
{
    if (firstRow < CurrentRow + 1)
        Rewind();
    while (CurrentRow < firstRow - 1 && ReadRow(buffer, BytesPerRow)) {
    }
    int delivered = 0;
    while (delivered < count && ReadRow(buffer, BytesPerRow)) {
        buffer += stride;
        ++delivered;
    }
    return delivered;
}

int TIFFImage::ReadRow(uint8_t* buffer, int32_t rowBytes)
{
    if (!IsValid()) {
        ErrorText = "Invalid TIFF object";
        return 0;
    }
    if (CurrentRow >= Height) {
        ErrorText = "Past end of image";
        return 0;
    }
    if (!buffer || rowBytes < ScanlineSize) {
        ErrorText = "Invalid Buffer";
        return 0;
    }
    // The whole row: a strip that ends early leaves some bytes of the scanline unwritten.
    memset(buffer, 0, static_cast<size_t>(rowBytes));
    ++CurrentRow;
    const auto row = static_cast<uint32_t>(CurrentRow);
    if (!CanHoldRow(row) || TIFFReadScanline(Tiff, buffer, row, 0) != 1) {
        ErrorText = kReadError;
        return 0;
    }
    return 1;
}

// A row of the fax codes takes one bit at least. Behind the end of a strip's data libtiff delivers rows
// without end or complaint, so a page that claims more of them than its strip can hold would decode for
// minutes.
bool TIFFImage::CanHoldRow(uint32_t row) const
{
    if (!IsFaxCoded)
        return true;
    const uint32_t in_strip = row % RowsPerStrip;
    return in_strip < 8 || in_strip / 8 < TIFFGetStrileByteCount(Tiff, row / RowsPerStrip);
}

int TIFFImage::Rewind()
{
    CurrentRow = -1; // libtiff is told each row by its number
    return 1;
}

int TIFFImage::IsValid()
{
    return Tiff && Width >= 1 && Height >= 1 && (BitsPerPixel == 1 || BitsPerPixel == 8) ? 1 : 0;
}

CString LabelFromPath(const CString& path)
{
    CString name = path.Mid(path.FindLastOf("\\/:") + 1);
    const CString extension = name.Right(4);
    if (extension.CompareNoCase(".tif") == 0 || extension.CompareNoCase(".low") == 0)
        return name.Left(name.GetLength() - 4);
    return name;
}

int32_t WholeDpi(float resolution, bool per_centimetre)
{
    const double dpi = per_centimetre ? resolution / kInchesPerCentimetre : double{resolution};
    if (!(dpi > 0)) // what is no number compares false
        return 0;
    return dpi >= INT32_MAX ? INT32_MAX : static_cast<int32_t>(dpi);
}
