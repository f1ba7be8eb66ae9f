// Our decoders beside the public library's, in memory, whole pages into one buffer: the same page in turn,
// every byte compared first. --rounds=N (9); --page=NAME for one page; --plain for the row loops of every
// machine.
// --once=CODEC with a page decodes once, for callgrind: --toggle-collect=DecodeOnce counts the decoding
// alone.
#include "bench/support.h"
#include "kesterlib/unsqz.h"
#include "pages.h"
#include "sqzencode.h"
#include "unsqz_codes.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <tiffio.h>
#include <vector>

namespace
{
using Bytes = std::vector<uint8_t>;

// ---- The peer: a TIFF in memory with one Group 4 strip
// -----------------------------------------------------------

struct MemoryFile {
    Bytes bytes;
    size_t position = 0;
};
MemoryFile& FileOf(thandle_t handle)
{
    return *static_cast<MemoryFile*>(handle);
}
tmsize_t ReadMemory(thandle_t handle, void* to, tmsize_t count)
{
    MemoryFile& file = FileOf(handle);
    const size_t there = std::min(static_cast<size_t>(count), file.bytes.size() - file.position);
    std::memcpy(to, file.bytes.data() + file.position, there);
    file.position += there;
    return static_cast<tmsize_t>(there);
}
tmsize_t WriteMemory(thandle_t handle, void* from, tmsize_t count)
{
    MemoryFile& file = FileOf(handle);
    const size_t end = file.position + static_cast<size_t>(count);
    file.bytes.resize(std::max(file.bytes.size(), end));
    std::memcpy(file.bytes.data() + file.position, from, static_cast<size_t>(count));
    file.position = end;
    return count;
}
toff_t SeekMemory(thandle_t handle, toff_t offset, int whence)
{
    MemoryFile& file = FileOf(handle);
    const size_t from = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? file.position : file.bytes.size();
    file.position = from + static_cast<size_t>(offset);
    return file.position;
}
int CloseMemory(thandle_t)
{
    return 0;
}
toff_t SizeOfMemory(thandle_t handle)
{
    return FileOf(handle).bytes.size();
}
TIFF* OpenMemory(MemoryFile* file, const char* mode)
{
    file->position = 0;
    return TIFFClientOpen("page", mode, file, ReadMemory, WriteMemory, SeekMemory, CloseMemory, SizeOfMemory,
                          nullptr, nullptr);
}

MemoryFile EncodeGroup4(const pages::Bitmap& page)
{
    MemoryFile file;
    TIFF* const tiff = OpenMemory(&file, "w");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, page.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, page.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 1);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, page.height);
    TIFFWriteEncodedStrip(tiff, 0, const_cast<uint8_t*>(page.rows.data()),
                          static_cast<tmsize_t>(page.rows.size()));
    TIFFClose(tiff);
    return file;
}

double TimeLibtiff(MemoryFile* file, Bytes* rows)
{
    TIFF* const tiff = OpenMemory(file, "rm");
    const double start = NowMs();
    TIFFReadEncodedStrip(tiff, 0, rows->data(), static_cast<tmsize_t>(rows->size()));
    const double end = NowMs();
    TIFFClose(tiff);
    return end - start;
}

// ---- Ours
// ---------------------------------------------------------------------------------------------------------

kesterlib::UnsqzRowLoop* row_loop = nullptr;
} // namespace

// With a name that callgrind finds.
extern "C" __attribute__((noinline)) int32_t DecodeOnce(UNCOMP* frame, int32_t rows, uint8_t* buffer,
                                                        int32_t stride)
{
    return row_loop(reinterpret_cast<kesterlib::Frame*>(frame), rows, buffer, stride);
}

namespace
{
// With the opening and closing of the decoder.
double TimeSqueeze(const Bytes& stream, const pages::Bitmap& page, Bytes* rows)
{
    const auto row_bytes = static_cast<int32_t>(page.row_bytes);
    const double start = NowMs();
    UNCOMP* const frame = Unsqz_Open_MMapped(stream.data(), stream.size(), page.width, row_bytes, nullptr);
    const int32_t got = DecodeOnce(frame, page.height, rows->data(), row_bytes);
    Uncomp_Free(frame);
    const double end = NowMs();
    if (got != page.height)
        std::printf("only %d rows came\n", got);
    return end - start;
}

struct PageKind {
    const char* name;
    pages::Draw draw;
    int width, height;
    double goal; // of libtiff's time to ours; 0: not measured against it
};
constexpr PageKind kPages[] = {
    {"text", pages::Draw::Text, 8000, 11000, 3.5},   {"halftone", pages::Draw::Halftone, 8000, 11000, 2.8},
    {"mixed", pages::Draw::Mixed, 8000, 11000, 3.5}, {"blank", pages::Draw::Blank, 8000, 11000, 0},
    {"line", pages::Draw::Line, 8000, 11000, 2.8},   {"raw rows", pages::Draw::Noise, 8000, 11000, 0},
    {"big", pages::Draw::Mixed, 20000, 30000, 3.3},
};
constexpr double kRawGoal = 2.5;   // times the time of memcpy of the page
constexpr double kBlankGoal = 2.0; // the same
constexpr int kDpi = 1000;
constexpr double kMillion = 1e6;

void Compare(const pages::Bitmap& page, const Bytes& rows, const char* who)
{
    if (rows != page.rows)
        std::printf("%s: the rows are not those of the page\n", who);
}

void Measure(const PageKind& kind, int rounds)
{
    const pages::Bitmap page = pages::draw_page({kind.draw, kind.width, kind.height, kDpi, kDpi, 1});
    const Bytes stream = pages::encode_squeeze(page);
    MemoryFile tiff = EncodeGroup4(page);
    Bytes rows(page.rows.size());
    TimeLibtiff(&tiff, &rows);
    Compare(page, rows, "libtiff");
    std::fill(rows.begin(), rows.end(), uint8_t{0xA5});
    TimeSqueeze(stream, page, &rows);
    Compare(page, rows, "Squeeze");

    std::vector<double> peer, ours, ratio, copy, to_copy;
    for (int round = 0; round < rounds; ++round) {
        if (kind.goal != 0)
            peer.push_back(TimeLibtiff(&tiff, &rows));
        else
            TimeSqueeze(stream, page, &rows); // so that ours and the copy find the same things in the cache
        ours.push_back(TimeSqueeze(stream, page, &rows));
        const double start = NowMs();
        std::memcpy(rows.data(), page.rows.data(), rows.size());
        copy.push_back(NowMs() - start);
        if (kind.goal != 0)
            ratio.push_back(peer.back() / ours.back());
        to_copy.push_back(ours.back() / copy.back());
    }
    const double pixels = static_cast<double>(kind.width) * kind.height;
    std::printf("%-10s%9.2f MB%9.2f MB%10.2f ms%10.2f ms%10.0f", kind.name,
                static_cast<double>(stream.size()) / kMillion,
                static_cast<double>(tiff.bytes.size()) / kMillion, Median(ours),
                peer.empty() ? 0 : Median(peer), pixels / Median(ours) / 1000);
    if (!ratio.empty()) {
        std::printf("%9.2f x (%s), goal %g\n", Median(ratio), SpreadOf(ratio).c_str(), kind.goal);
        GateAtLeast(kind.name, Median(ratio), kind.goal);
    } else {
        const double goal = kind.draw == pages::Draw::Noise ? kRawGoal : kBlankGoal;
        std::printf("%9.2f of memcpy's time (%s), goal %g\n", Median(to_copy), SpreadOf(to_copy).c_str(),
                    goal);
        GateAtMost(kind.name, Median(to_copy), goal);
    }
    std::fflush(stdout);
}
} // namespace

int main(int argc, char** argv)
{
    const int rounds = RoundsFrom(argc, argv, 9);
    row_loop = kesterlib::unsqz_row_loop();
    std::string_view only;
    bool once = false;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--plain")
            row_loop = kesterlib::unsqz_rows_plain;
        else if (argument.starts_with("--page="))
            only = argument.substr(7);
        else if (argument == "--once=squeeze")
            once = true;
    }
    if (!once) {
        std::printf("Squeeze, %s row loop, %d rounds, medians\n",
                    row_loop == kesterlib::unsqz_rows_plain ? "plain" : "wide", rounds);
        std::printf("%-10s%12s%12s%13s%13s%10s%11s\n", "page", "Squeeze", "Group 4", "ours", "libtiff",
                    "Mpixel/s", "ratio");
    }
    for (const PageKind& kind : kPages) {
        if (!only.empty() && only != kind.name)
            continue;
        if (once) {
            const pages::Bitmap page = pages::draw_page({kind.draw, kind.width, kind.height, kDpi, kDpi, 1});
            Bytes rows(page.rows.size());
            TimeSqueeze(pages::encode_squeeze(page), page, &rows);
        } else {
            Measure(kind, rounds);
        }
    }
    return GateStatus();
}
