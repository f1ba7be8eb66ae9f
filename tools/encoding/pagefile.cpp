// SPDX-License-Identifier: MIT
// Writes page files. The codec library writes the header. The raster is encoded and written in pieces of
// several rows.

#include "pagefile.h"

#include "removefile.h"
#include "tiffout.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

namespace pages
{
namespace
{

constexpr RasterName kRasters[] = {
    {Raster::Plain, "plain", "a page file of packed rows"},
    {Raster::Squeeze, "squeeze", "a page file in the Squeeze code"},
    {Raster::Group4, "group4", "a page file in CCITT Group 4"},
    {Raster::Jbig, "jbig", "a page file in JBIG"},
};

int32_t compression_of(Raster raster)
{
    switch (raster) {
    case Raster::Plain: return FAXHEADER_UNCOMPRESSED;
    case Raster::Squeeze: return FAXHEADER_SQUEEZE;
    case Raster::Group4: return FAXHEADER_GROUP4;
    case Raster::Jbig: break;
    }
    return FAXHEADER_JBIG;
}

bool write_bytes(FILE* file, const std::vector<uint8_t>& bytes)
{
    return std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
}

// Encodes and writes the raster. `piece` is the complete raster if it is Group 4, else it is empty.
bool write_raster(FILE* file, const Bitmap& page, const PageFileOptions& options, std::vector<uint8_t> piece)
{
    constexpr std::size_t kPieceBytes = 1 << 16;
    if (options.raster == Raster::Group4)
        return write_bytes(file, piece);
    std::optional<SqueezeEncoder> squeeze;
    std::optional<JbigEncoder> jbig;
    if (options.raster == Raster::Squeeze)
        squeeze.emplace(page.row_bytes, options.raw_rows);
    if (options.raster == Raster::Jbig)
        jbig.emplace(page.width, page.height, options.jbig);
    for (int y = 0; y < page.height; ++y) {
        const uint8_t* const row = page.row(y);
        if (squeeze)
            squeeze->add_row(row, piece);
        else if (jbig)
            jbig->add_row(row, piece);
        else
            piece.insert(piece.end(), row, row + page.row_bytes);
        if (piece.size() >= kPieceBytes) {
            if (!write_bytes(file, piece))
                return false;
            piece.clear();
        }
    }
    return write_bytes(file, piece);
}

} // namespace

std::span<const RasterName> raster_names()
{
    return kRasters;
}

bool set_text(std::span<char> field, std::string_view text)
{
    const bool fits = text.size() < field.size();
    if (!fits || text.find_first_of(std::string_view("\n\r\0", 3)) != std::string_view::npos)
        return false;
    std::fill(std::copy(text.begin(), text.end(), field.begin()), field.end(), '\0');
    return true;
}

FAXHeader usual_header()
{
    FAXHeader header{};
    header.FaxHeaderVersion = 3;
    header.HeaderSize = FAXHEADER_BYTES;
    set_text(header.JobName, "Test");
    set_text(header.Creator, "makepage");
    header.PageNumber = 1;
    header.NumberOfPages = 1;
    header.CreateTime.tm_year = 2020 - 1900;
    header.CreateTime.tm_mday = 1;
    header.CreateTime.tm_hour = 12;
    header.ResolutionMultiplier = 1;
    return header;
}

std::string write_page_file(const std::string& path, const Bitmap& page, const PageFileOptions& options)
{
    FAXHeader header = options.header;
    if (header.HeaderSize > kMaxHeaderBytes)
        return "a header of more than " + std::to_string(kMaxHeaderBytes >> 20) + " MB";
    header.ImageWidth = header.DataWidth = static_cast<uint32_t>(page.width);
    header.ImageHeight = static_cast<uint32_t>(page.height);
    header.Compression = compression_of(options.raster);
    std::vector<char> text(std::size_t{header.HeaderSize} + 1);
    const char* error = "";
    constexpr int32_t kPad = 1;
    if (createFaxHeader(text.data(), header.HeaderSize, &header, kPad, &error) !=
        static_cast<int32_t>(header.HeaderSize))
        return error;
    std::vector<uint8_t> coded;
    if (options.raster == Raster::Group4)
        if (std::string failure = encode_group4(page, coded); !failure.empty())
            return failure;

    FILE* const file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        return std::strerror(errno);
    errno = 0;
    const bool written = std::fwrite(text.data(), 1, header.HeaderSize, file) == header.HeaderSize &&
                         write_raster(file, page, options, std::move(coded));
    const int write_error = errno;
    const bool closed = std::fclose(file) == 0;
    if (written && closed)
        return {};
    const int cause = written ? errno : write_error;
    remove_partial_file(path);
    return cause == 0 ? "cannot be written" : std::strerror(cause);
}

} // namespace pages
