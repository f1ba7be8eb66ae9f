// SPDX-License-Identifier: MIT
// Reads the tags of a TIFF file, and its rows with libtiff or Group4Strips. The file is not mapped into
// memory, because an access to a mapped file that has become shorter would end the program. If the end of a
// file is missing, the rows before it can still be read (see ClampByteCounts).
#include "app/tifimage.h"

#include "app/description.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <memory>
#include <sys/stat.h>
#include <tiffio.h>
#include <unistd.h>
#include <utility>

namespace
{
constexpr const char* kUnsupported = "Unsupported TIFF format";
constexpr const char* kReadError = "TIFF read error";

constexpr const char* kOpenMode = "rbm"; // m: no mapping

// libtiff's limit for a single allocation. The limit does not apply to libtiff's buffer for a coded strip,
// which grows only as bytes are read.
constexpr tmsize_t kAllocationLimit = tmsize_t{64} << 20;

// A multiple of 4, so that BytesPerRow, which is rounded up to a multiple of 4, fits an int32_t.
constexpr int64_t kLargestScanline = 0x7ffffff8;
constexpr double kInchesPerCentimetre = 0.39370078740157477;

void IgnoreWarning(const char*, const char*, va_list) {}

struct TextTag {
    uint32_t tag;
    const char* name;
};
constexpr TextTag kTextTags[] = {
    {TIFFTAG_DOCUMENTNAME, "Document"},
    {TIFFTAG_PAGENAME, "Page name"},
    {TIFFTAG_IMAGEDESCRIPTION, "Description"},
    {TIFFTAG_SOFTWARE, "Creator"},
    {TIFFTAG_ARTIST, "Artist"},
    {TIFFTAG_DATETIME, "Created"},
    {TIFFTAG_HOSTCOMPUTER, "Computer"},
    {TIFFTAG_MAKE, "Maker"},
    {TIFFTAG_MODEL, "Model"},
    {TIFFTAG_TARGETPRINTER, "Printer"},
    {TIFFTAG_INKNAMES, "Ink"},
    {TIFFTAG_COPYRIGHT, "Copyright"},
};

CString CompressionName(uint16_t compression)
{
    switch (compression) {
    case COMPRESSION_NONE: return "plain rows";
    case COMPRESSION_CCITTRLE: return "modified Huffman";
    case COMPRESSION_CCITTRLEW: return "modified Huffman, by words";
    case COMPRESSION_CCITTFAX3: return "Group 3";
    case COMPRESSION_CCITTFAX4: return "Group 4";
    default: break;
    }
    const TIFFCodec* const codec = TIFFFindCODEC(compression);
    if (codec && codec->name)
        return codec->name;
    CString number;
    number.Format("compression %d", compression);
    return number;
}

// Records damage if the message comes from a fax decoder of libtiff.
void RecordDamage(TIFFImage::Messages& messages, const char* module)
{
    if (module && strncmp(module, "Fax", 3) == 0)
        messages.damage = true;
}

// libtiff calls these handlers for the messages of one open file. After a result of 1 it does not call its
// own handler.
int OnWarning(TIFF*, void* messages, const char* module, const char*, va_list)
{
    RecordDamage(*static_cast<TIFFImage::Messages*>(messages), module);
    return 1;
}

// Only the first error is printed, because one fault may cause thousands of messages.
int OnError(TIFF*, void* user, const char* module, const char*, va_list)
{
    auto& messages = *static_cast<TIFFImage::Messages*>(user);
    RecordDamage(messages, module);
    return std::exchange(messages.printed, true) ? 1 : 0;
}

// Opens a TIFF file. Returns the handle, which owns the descriptor. On failure closes the descriptor and
// returns null.
TIFF* OpenTiff(int file, const CString& path, TIFFImage::Messages* messages)
{
    const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options{TIFFOpenOptionsAlloc(),
                                                                                   TIFFOpenOptionsFree};
    TIFF* handle = nullptr;
    if (options) {
        TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kAllocationLimit);
        TIFFOpenOptionsSetErrorHandlerExtR(options.get(), OnError, messages);
        TIFFOpenOptionsSetWarningHandlerExtR(options.get(), OnWarning, messages);
        handle = TIFFFdOpenExt(file, path.c_str(), kOpenMode, options.get());
    }
    if (!handle)
        close(file);
    return handle;
}

// Reduces the byte count of each strip to the number of bytes that the file has after the strip's offset. If
// the file ends within a strip, libtiff then decodes the part before the end. Otherwise it would refuse the
// strip. If the offset is 0, the strip is missing, and its byte count becomes 0. Without this, libtiff would
// decode the file's header as rows.
void ClampByteCounts(TIFF* tiff, uint64_t file_bytes)
{
    // Both are libtiff's own arrays, with one entry per strip.
    const uint64_t* offsets = nullptr;
    uint64_t* counts = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_STRIPOFFSETS, &offsets) != 1 || !offsets ||
        TIFFGetField(tiff, TIFFTAG_STRIPBYTECOUNTS, &counts) != 1 || !counts)
        return;
    const uint32_t strips = TIFFNumberOfStrips(tiff);
    for (uint32_t strip = 0; strip < strips; ++strip) {
        const uint64_t left = offsets[strip] == 0 ? 0 : file_bytes - std::min(file_bytes, offsets[strip]);
        counts[strip] = std::min(counts[strip], left);
    }
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

int TIFFImage::Open(const CString& path)
{
    const int file = OpenFile(path);
    Tiff = file < 0 ? nullptr : OpenTiff(file, Path, &m_messages);
    if (!Tiff)
        return Fail(kOpenFailed);
    if (!ReadTags())
        return Fail(kUnsupported);
    if (!PrepareStrips())
        return Fail(kOpenFailed);
    return Rewind();
}

// Decides whether kesterlib or libtiff decodes the strips. Returns false if the file's size cannot be read.
bool TIFFImage::PrepareStrips()
{
    m_bStrips = m_bGroup4 && BitsPerPixel == 1 && m_strips.Start(Tiff, Width, Height);
    if (m_bStrips)
        return true;
    struct stat status {
    };
    if (fstat(TIFFFileno(Tiff), &status) != 0)
        return false;
    ClampByteCounts(Tiff, static_cast<uint64_t>(status.st_size));
    return true;
}

// Sets the fields of Image from the tags. Returns false if this class does not support such a page.
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
    if (TIFFIsTiled(Tiff) || !TIFFIsCODECConfigured(compression))
        return false;
    m_bGroup4 = compression == COMPRESSION_CCITTFAX4;

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

int TIFFImage::Close()
{
    m_strips.End();
    if (Tiff)
        TIFFClose(Tiff);
    Tiff = nullptr;
    m_messages = {};
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
    if (!CanRead(buffer && rowBytes >= ScanlineSize, "Invalid TIFF object"))
        return 0;
    ClearAfterRows(buffer, rowBytes, 1, ScanlineSize);
    ++CurrentRow;
    const auto row = static_cast<uint32_t>(CurrentRow);
    bool good = false;
    if (m_bStrips) {
        const Group4Strips::Row result = m_strips.ReadRow(buffer, ScanlineSize, row);
        good = result != Group4Strips::Row::Failed;
        if (result == Group4Strips::Row::Suspicious)
            NoteSuspiciousRow(CurrentRow);
    } else {
        good = ReadLibtiffRow(buffer, row);
    }
    if (!good) {
        ErrorText = kReadError;
        return 0;
    }
    return 1;
}

// Reads a row with libtiff. After damage in a Group 4 strip all later rows are wrong, so the row fails. The
// decoders of the other fax codes find the start of the next row again, so the row is only suspicious.
bool TIFFImage::ReadLibtiffRow(uint8_t* buffer, uint32_t row)
{
    memset(buffer, 0, static_cast<size_t>(ScanlineSize)); // a strip that ends early leaves bytes unwritten
    m_messages.damage = false;
    if (TIFFReadScanline(Tiff, buffer, row, 0) != 1 || (m_messages.damage && m_bGroup4))
        return false;
    if (m_messages.damage)
        NoteSuspiciousRow(CurrentRow);
    return true;
}

int TIFFImage::Rewind()
{
    CurrentRow = -1; // each row is read by its number, so nothing else has to change
    return 1;
}

int32_t TIFFImage::SkipRows(int32_t count, Skip)
{
    if (!IsValid() || !m_bStrips || count <= 0)
        return 0;
    const auto next = static_cast<uint32_t>(CurrentRow + 1);
    const auto skipped = static_cast<int32_t>(m_strips.SkipWhiteRows(next, static_cast<uint32_t>(count)));
    CurrentRow += skipped;
    return skipped;
}

int TIFFImage::IsValid()
{
    return Tiff && Width >= 1 && Height >= 1 && (BitsPerPixel == 1 || BitsPerPixel == 8) ? 1 : 0;
}

// Does not read the file, because libtiff keeps its tags in memory.
void TIFFImage::Describe(Description* description) const
{
    if (!Tiff)
        return;
    Description& rows = *description;
    uint16_t compression = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(Tiff, TIFFTAG_COMPRESSION, &compression);
    rows.Format("Kind", "TIFF, %s", CompressionName(compression).c_str());
    for (const auto& [tag, name] : kTextTags) {
        const char* text = nullptr;
        if (TIFFGetField(Tiff, tag, &text) == 1 && text)
            rows.Add(name, text);
    }
    uint16_t page = 0;
    uint16_t pages = 0;
    if (TIFFGetField(Tiff, TIFFTAG_PAGENUMBER, &page, &pages) == 1)
        rows.Format("Page", pages > 0 ? "%d of %d" : "%d", page + 1, pages);
    rows.Add("Samples", MinIsBlack ? "0 is black" : "0 is white");
    uint16_t unit = RESUNIT_INCH;
    TIFFGetFieldDefaulted(Tiff, TIFFTAG_RESOLUTIONUNIT, &unit);
    const char* const unit_name = unit == RESUNIT_INCH         ? "per inch"
                                  : unit == RESUNIT_CENTIMETER ? "per centimeter"
                                                               : "without a unit";
    float x = 0;
    float y = 0;
    if (TIFFGetField(Tiff, TIFFTAG_XRESOLUTION, &x) == 1 && TIFFGetField(Tiff, TIFFTAG_YRESOLUTION, &y) == 1)
        rows.Format("Stored resolution", "%g x %g %s", double{x}, double{y}, unit_name);
    if (TIFFGetField(Tiff, TIFFTAG_XPOSITION, &x) == 1 && TIFFGetField(Tiff, TIFFTAG_YPOSITION, &y) == 1)
        rows.Format("Margins", "left %g, top %g", double{x}, double{y});
    uint16_t orientation = ORIENTATION_TOPLEFT;
    if (TIFFGetField(Tiff, TIFFTAG_ORIENTATION, &orientation) == 1)
        rows.Format("Orientation", "%d%s", orientation,
                    orientation == ORIENTATION_TOPLEFT ? "" : ", shown as stored");
    uint16_t fill_order = FILLORDER_MSB2LSB;
    TIFFGetFieldDefaulted(Tiff, TIFFTAG_FILLORDER, &fill_order);
    rows.Add("First bit of a byte", fill_order == FILLORDER_LSB2MSB ? "lowest" : "highest");
    uint32_t strip_rows = 0;
    TIFFGetFieldDefaulted(Tiff, TIFFTAG_ROWSPERSTRIP, &strip_rows);
    rows.Format("Strips", "%u of up to %u rows", TIFFNumberOfStrips(Tiff),
                std::min(strip_rows, static_cast<uint32_t>(Height)));
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
    if (!(dpi > 0)) // also if dpi is not a number
        return 0;
    return dpi >= INT32_MAX ? INT32_MAX : static_cast<int32_t>(dpi);
}
