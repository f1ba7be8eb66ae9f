// SPDX-License-Identifier: MIT
// Opens a page file, reads its header, and sets the fields of Image from it. The decoder of the derived class
// then reads the rows.
#include "app/headerimage.h"

#include "app/description.h"
#include "app/pageheader.h"
#include "platform/displaytext.h"

#include <algorithm>
#include <cinttypes>
#include <string>
#include <unistd.h>

namespace
{
constexpr int64_t kUsualDataOffset = FAXHEADER_BYTES;

int32_t DotsPerInch(uint32_t resolution, uint32_t multiplier)
{
    if (multiplier == 0)
        return 0;
    return static_cast<int32_t>(std::min<uint32_t>(resolution / multiplier, INT32_MAX));
}
} // namespace

const CRuntimeClass HeaderImage::classRecord{"HeaderImage", &Image::classRecord, nullptr};

HeaderImage::~HeaderImage()
{
    if (File)
        fclose(File);
}

int HeaderImage::Open(const CString& path)
{
    const int file = OpenFile(path);
    File = file < 0 ? nullptr : fdopen(file, "rb");
    if (!File) {
        if (file >= 0)
            close(file);
        return Fail(kOpenFailed);
    }
    if (!UseHeader())
        return Fail(m_kind.refused);
    Rewind();
    if (!HasDecoder())
        return Fail("Unable to open unsqz");
    return 1;
}

// Reads the header, and sets the fields of Image from it. Returns false if the file is not a page of this
// kind.
bool HeaderImage::UseHeader()
{
    PageHeader header;
    char text[FAXHEADER_BYTES];
    if (fread(text, 1, sizeof text, File) != sizeof text || header.ParseBuffer(text, sizeof text) != 0 ||
        header.Compression != m_kind.compression)
        return false;
    if (header.DataWidth > kLargestSide || header.ImageHeight > kLargestSide)
        return false;
    Width = static_cast<int32_t>(header.DataWidth);
    Height = static_cast<int32_t>(header.ImageHeight);
    BytesPerRow = (Width + 7) / 8;
    BitsPerPixel = 1;
    MinIsBlack = m_kind.min_is_black;
    DataOffset = header.HeaderSize;
    XDpi = DotsPerInch(header.XResolution, header.ResolutionMultiplier);
    YDpi = DotsPerInch(header.YResolution, header.ResolutionMultiplier);
    Name = FormatPageLabel(header.JobName, header.PageNumber, header.Layer);
    m_header = std::make_unique<const FAXHeader>(header);
    return true;
}

int HeaderImage::Close()
{
    EndDecoder();
    if (File)
        fclose(File);
    File = nullptr;
    m_header.reset();
    ClearFields();
    DataOffset = kUsualDataOffset;
    return 1;
}

int HeaderImage::Rewind()
{
    CurrentRow = -1;
    const bool positioned = File && fseek(File, DataOffset, SEEK_SET) == 0;
    EndDecoder();
    const bool started = File && StartDecoder();
    return positioned && started ? 1 : 0;
}

int HeaderImage::IsValid()
{
    return File && HasDecoder() && Width != 0 && Height != 0 && BitsPerPixel == 1 ? 1 : 0;
}

// Returns whether rows can be read into the buffer. If not, sets ErrorText.
bool HeaderImage::CanReadInto(const uint8_t* buffer, int32_t row_bytes)
{
    return CanRead(buffer && HasRoom(row_bytes), m_kind.invalid);
}

int HeaderImage::ReadRow(uint8_t* buffer, int32_t rowBytes)
{
    if (!CanReadInto(buffer, rowBytes))
        return 0;
    if (DecodeRows(buffer, rowBytes, 1) != 1) {
        ErrorText = m_kind.read_error;
        return 0;
    }
    ++CurrentRow;
    return 1;
}

int HeaderImage::ReadRows(uint8_t* buffer, int32_t stride, int32_t firstRow, int32_t count)
{
    if (!CanReadInto(buffer, stride) || count < 1 || !SeekRow(buffer, stride, firstRow, count))
        return 0;
    const int32_t rows = DecodeRows(buffer, stride, count);
    CurrentRow += rows;
    if (rows < count && CurrentRow < Height)
        ErrorText = m_kind.read_error;
    return rows;
}

void HeaderImage::Describe(Description* description) const
{
    if (!m_header)
        return;
    const PageHeader header{*m_header};
    Description& rows = *description;
    rows.Format("Kind", "page file, %s", m_kind.name);
    rows.Add("Job", header.JobName);
    if (header.FaxHeaderVersion >= 2)
        rows.Format("Job number", "%u", header.JobID);
    rows.Format("Page", "%d of %d", header.PageNumber, header.NumberOfPages);
    rows.Format("Layer", "%d, %s", header.Layer, header.SeparationName().c_str());
    rows.Add("Creator", header.Creator);
    const FAXTime& time = header.CreateTime;
    rows.Format("Created", "%04" PRId64 "-%02d-%02d %02d:%02d:%02d", int64_t{time.tm_year} + 1900,
                time.tm_mon + 1, time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec);
    rows.Format("Image width", "%u, %u stored", header.ImageWidth, header.DataWidth);
    rows.Format("Stored resolution", "%u x %u, divided by %u", header.XResolution, header.YResolution,
                header.ResolutionMultiplier);
    rows.Format("Margins", "left %u, right %u, top %u, bottom %u", header.LeftMargin, header.RightMargin,
                header.TopMargin, header.BottomMargin);
    std::string flags;
    const auto add_flag = [&flags](int32_t value, const char* name) {
        if (value != 0)
            flags += (flags.empty() ? "" : ", ") + std::string{name};
    };
    add_flag(header.ImageNegate, "negative");
    add_flag(header.DoubleTruck, "double truck");
    add_flag(header.Mirror, "mirrored");
    rows.Add("Flags", flags.empty() ? "none" : flags);
    rows.Format("Rotation", "%d", header.Rotation);
    rows.Format("Priority", "%d", header.Priority);
    rows.Format("PSet", "%d", header.PSet);
    rows.Format("Band height", "%u", header.BandHeight);
    std::string destinations;
    for (int32_t i = 0; i < FAXHEADER_DESTINATIONS; ++i)
        if (const char* const name = header.GetDestination(i); *name != '\0')
            // Each name is converted alone. Otherwise all names would be read as Latin-1 if one is not UTF-8.
            destinations += (destinations.empty() ? "" : ", ") +
                            std::string{DisplayText(name, std::string_view::npos).View()};
    rows.Add("Destinations", destinations.empty() ? "none" : destinations);
    if (header.FaxHeaderVersion >= 3)
        rows.Add("Mux", header.Mux);
    rows.Format("Header", "version %d, %u bytes", header.FaxHeaderVersion, header.HeaderSize);
    rows.Format("Stored size", "%u", header.Size);
}
