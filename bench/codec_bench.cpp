// Our decoders beside the public library's, in memory, whole pages into one buffer: the same page in turn,
// every byte compared first. --rounds=N (9); --page=NAME for one page; --plain for the row loops of every
// machine.
// --once=CODEC with a page decodes once, for callgrind: --toggle-collect=DecodeOnce counts the decoding
// alone.
#include "bench/support.h"
#include "kesterlib/unccitt.h"
#include "kesterlib/unsqz.h"
#include "pages.h"
#include "sqzencode.h"
#include "unccitt_codes.h"
#include "unsqz_codes.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <tiffio.h>
#include <vector>

namespace
{
using Bytes = std::vector<uint8_t>;

// ---- The peer: a TIFF in memory with one Group 4 strip ----

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

// The strip's bytes as they are.
Bytes RawStrip(MemoryFile* file)
{
    TIFF* const tiff = OpenMemory(file, "rm");
    Bytes strip(static_cast<size_t>(TIFFRawStripSize(tiff, 0)));
    TIFFReadRawStrip(tiff, 0, strip.data(), static_cast<tmsize_t>(strip.size()));
    TIFFClose(tiff);
    return strip;
}

// ---- Ours ----

struct PageKind {
    const char* name;
    pages::Draw draw;
    int width, height;
};
constexpr PageKind kPages[] = {
    {"text", pages::Draw::Text, 8000, 11000},   {"halftone", pages::Draw::Halftone, 8000, 11000},
    {"mixed", pages::Draw::Mixed, 8000, 11000}, {"blank", pages::Draw::Blank, 8000, 11000},
    {"line", pages::Draw::Line, 8000, 11000},   {"noise", pages::Draw::Noise, 8000, 11000},
    {"big", pages::Draw::Mixed, 20000, 30000},
};
constexpr int kPageCount = sizeof kPages / sizeof kPages[0];
constexpr int kDpi = 1000;
constexpr double kMillion = 1e6;

// A goal is a least ratio of libtiff's time to ours, or, with copy, a greatest one of ours to memcpy's of the
// page.
struct Goal {
    double ratio;
    bool copy = false;
};
using RowLoop = int32_t(kesterlib::Frame* frame, int32_t rows, uint8_t* buffer, int32_t stride);
struct Codec {
    const char* name;
    UNCOMP* (*open)(const uint8_t* base, size_t size, int32_t width, int32_t row_bytes,
                    const uint8_t* first_ref_row);
    RowLoop* plain;
    RowLoop* (*fastest)();
    Goal goals[kPageCount];
};
constexpr Codec kCodecs[] = {
    {"squeeze",
     Unsqz_Open_MMapped,
     kesterlib::unsqz_rows_plain,
     kesterlib::unsqz_row_loop,
     {{3.5}, {2.8}, {3.5}, {2.0, true}, {2.8}, {2.5, true}, {3.3}}},
    {"group4",
     Unccitt4_Open_MMapped,
     kesterlib::unccitt4_rows_plain,
     kesterlib::unccitt4_row_loop,
     {{3.3}, {3.0}, {3.2}, {1.0}, {2.6}, {1.8}, {3.0}}},
};

RowLoop* row_loop = nullptr;
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
double TimeOurs(const Codec& codec, const Bytes& stream, const pages::Bitmap& page, Bytes* rows)
{
    const auto row_bytes = static_cast<int32_t>(page.row_bytes);
    const double start = NowMs();
    UNCOMP* const frame = codec.open(stream.data(), stream.size(), page.width, row_bytes, nullptr);
    const int32_t got = DecodeOnce(frame, page.height, rows->data(), row_bytes);
    Uncomp_Free(frame);
    const double end = NowMs();
    if (got != page.height)
        std::exit(1);
    return end - start;
}

void Compare(const pages::Bitmap& page, const Bytes& rows, const char* who)
{
    if (rows == page.rows)
        return;
    std::printf("%s: the rows are not those of the page\n", who);
    std::exit(1);
}

void Measure(const Codec& codec, const PageKind& kind, const pages::Bitmap& page, const Bytes& stream,
             MemoryFile* tiff, int rounds)
{
    Bytes rows(page.rows.size(), 0xA5);
    TimeOurs(codec, stream, page, &rows);
    Compare(page, rows, codec.name);
    std::vector<double> peer, ours, ratio, copy;
    const Goal goal = codec.goals[&kind - kPages];
    for (int round = 0; round < rounds; ++round) {
        peer.push_back(goal.copy ? 0 : TimeLibtiff(tiff, &rows));
        if (goal.copy)
            TimeOurs(codec, stream, page,
                     &rows); // so that ours and the copy find the same things in the cache
        ours.push_back(TimeOurs(codec, stream, page, &rows));
        const double start = NowMs();
        std::memcpy(rows.data(), page.rows.data(), rows.size());
        copy.push_back(NowMs() - start);
        ratio.push_back(goal.copy ? ours.back() / copy.back() : peer.back() / ours.back());
    }
    const double pixels = static_cast<double>(kind.width) * kind.height;
    std::printf("%-9s%-10s%8.2f MB%9.2f ms%10.2f ms%10.0f%9.2f x %s (%s), goal %g\n", codec.name, kind.name,
                static_cast<double>(stream.size()) / kMillion, Median(ours),
                goal.copy ? Median(copy) : Median(peer), pixels / Median(ours) / 1000, Median(ratio),
                goal.copy ? "memcpy" : "as fast", SpreadOf(ratio).c_str(), goal.ratio);
    std::fflush(stdout);
    const std::string name = std::string{codec.name} + ", " + kind.name;
    if (goal.copy)
        GateAtMost(name.c_str(), Median(ratio), goal.ratio);
    else
        GateAtLeast(name.c_str(), Median(ratio), goal.ratio);
}
} // namespace

int main(int argc, char** argv)
{
    const int rounds = RoundsFrom(argc, argv, 9);
    std::string_view only, once;
    bool plain = false;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--plain")
            plain = true;
        else if (argument.starts_with("--page="))
            only = argument.substr(7);
        else if (argument.starts_with("--once="))
            once = argument.substr(7);
    }
    if (once.empty()) {
        std::printf("%s row loops, %d rounds, medians\n", plain ? "plain" : "fastest", rounds);
        std::printf("%-9s%-10s%11s%12s%13s%10s%11s\n", "codec", "page", "coded", "ours", "peer", "Mpixel/s",
                    "ratio");
    }
    for (const PageKind& kind : kPages) {
        if (!only.empty() && only != kind.name)
            continue;
        const pages::Bitmap page = pages::draw_page({kind.draw, kind.width, kind.height, kDpi, kDpi, 1});
        MemoryFile tiff = EncodeGroup4(page);
        Bytes rows(page.rows.size());
        TimeLibtiff(&tiff, &rows);
        Compare(page, rows, "libtiff");
        for (const Codec& codec : kCodecs) {
            if (!once.empty() && once != codec.name)
                continue;
            row_loop = plain ? codec.plain : codec.fastest();
            const Bytes stream = &codec == kCodecs ? pages::encode_squeeze(page) : RawStrip(&tiff);
            if (once.empty())
                Measure(codec, kind, page, stream, &tiff, rounds);
            else
                TimeOurs(codec, stream, page, &rows);
        }
    }
    return GateStatus();
}
