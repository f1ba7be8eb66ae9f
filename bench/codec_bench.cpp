// SPDX-License-Identifier: MIT
// Compares our run decoders with libtiff's Group 4 decoder, in memory. Both decode the same whole page into
// one buffer, in turn. All bytes are compared first.
#include "bench/harness.h"
#include "kesterlib/unccitt.h"
#include "kesterlib/unsqz.h"
#include "libtiff.h"
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
#include <vector>

namespace
{
using Bytes = std::vector<uint8_t>;
using pages::MemoryTiff;

// ---- The peer: a TIFF in memory with one Group 4 strip ----

MemoryTiff EncodeGroup4(const pages::Bitmap& page)
{
    MemoryTiff file;
    pages::Tiff tiff = file.open("w");
    TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, page.width);
    TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, page.height);
    TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, 1);
    TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
    TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, page.height);
    TIFFWriteEncodedStrip(tiff.get(), 0, const_cast<uint8_t*>(page.rows.data()),
                          static_cast<tmsize_t>(page.rows.size()));
    tiff.reset(); // writes what is still buffered
    return file;
}

double TimeLibtiff(MemoryTiff* file, Bytes* rows)
{
    const pages::Tiff tiff = file->open("rm");
    const auto size = static_cast<tmsize_t>(rows->size());
    const double start = NowMs();
    const tmsize_t got = TIFFReadEncodedStrip(tiff.get(), 0, rows->data(), size);
    const double end = NowMs();
    Require(got == size, "libtiff: rows are missing");
    return end - start;
}

// Returns the coded bytes of the strip.
Bytes RawStrip(MemoryTiff* file)
{
    const pages::Tiff tiff = file->open("rm");
    Bytes strip(static_cast<size_t>(TIFFRawStripSize(tiff.get(), 0)));
    TIFFReadRawStrip(tiff.get(), 0, strip.data(), static_cast<tmsize_t>(strip.size()));
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

// A goal is the least ratio of libtiff's time to ours. If `copy` is set, it is the greatest ratio of our time
// to that of a memcpy of the page. This is for pages whose rows are all raw or all equal: decoding them is
// mostly copying.
struct PageGoal {
    // Goals of the fastest row loops of this machine, and of the loops that run on every machine.
    double fastest, plain;
    bool copy = false;
};
using RowLoop = int32_t(kesterlib::Frame* frame, int32_t rows, uint8_t* buffer, int32_t stride);
struct Codec {
    const char* name;
    UNCOMP* (*open)(const uint8_t* base, size_t size, int32_t width, int32_t row_bytes,
                    const uint8_t* first_ref_row);
    RowLoop* plain;
    RowLoop* (*fastest)();
    PageGoal goals[kPageCount];
};
// A blank page is decoded at the speed of the memory. libtiff's time then varies by a factor of 2 with the
// address of its buffer, so the goal is relative to its best time.
constexpr Codec kCodecs[] = {
    {"Squeeze",
     Unsqz_Open_MMapped,
     kesterlib::unsqz_rows_plain,
     kesterlib::unsqz_row_loop,
     {{4.4, 3.5}, {4.0, 2.8}, {4.2, 3.5}, {1.2, 2.0, true}, {4.3, 2.8}, {1.4, 2.5, true}, {3.5, 3.3}}},
    {"Group 4",
     Unccitt4_Open_MMapped,
     kesterlib::unccitt4_rows_plain,
     kesterlib::unccitt4_row_loop,
     {{4.1, 3.3}, {3.2, 3.0}, {3.8, 3.2}, {0.95, 0.95}, {3.8, 2.6}, {1.8, 1.8}, {3.2, 3.0}}},
};

RowLoop* row_loop = nullptr;
} // namespace

// extern "C", so that callgrind finds the name.
extern "C" __attribute__((noinline)) int32_t DecodeOnce(UNCOMP* frame, int32_t rows, uint8_t* buffer,
                                                        int32_t stride)
{
    return row_loop(reinterpret_cast<kesterlib::Frame*>(frame), rows, buffer, stride);
}

namespace
{
// Includes opening and closing the decoder.
double TimeOurs(const Codec& codec, const Bytes& stream, const pages::Bitmap& page, Bytes* rows)
{
    const auto row_bytes = static_cast<int32_t>(page.row_bytes);
    const double start = NowMs();
    UNCOMP* const frame = codec.open(stream.data(), stream.size(), page.width, row_bytes, nullptr);
    const int32_t got = DecodeOnce(frame, page.height, rows->data(), row_bytes);
    Uncomp_Free(frame);
    const double end = NowMs();
    Require(got == page.height, std::string{codec.name} + ": rows are missing");
    return end - start;
}

double TimeCopy(const pages::Bitmap& page, Bytes* rows)
{
    const double start = NowMs();
    std::memcpy(rows->data(), page.rows.data(), rows->size());
    return NowMs() - start;
}

// All write into the same buffer, so that the conditions are equal.
void Measure(Harness& bench, const Codec& codec, const PageKind& kind, const pages::Bitmap& page,
             const Bytes& stream, MemoryTiff* tiff, bool plain)
{
    const std::string name = std::string{codec.name} + (plain ? ", plain, " : ", ") + kind.name;
    const PageGoal& goal = codec.goals[&kind - kPages];
    Bytes rows(page.rows.size(), 0xA5);
    TimeOurs(codec, stream, page, &rows);
    Require(rows == page.rows, name + ": our rows differ from the page");
    std::fill(rows.begin(), rows.end(), uint8_t{0xA5});
    TimeLibtiff(tiff, &rows);
    Require(rows == page.rows, name + ": libtiff's rows differ from the page");

    const auto times =
        bench.InTurn({{true, [&] { return TimeOurs(codec, stream, page, &rows); }},
                      {false, [&] { return goal.copy ? TimeCopy(page, &rows) : TimeLibtiff(tiff, &rows); }}},
                     goal.copy ? Harness::Warm::each_run : Harness::Warm::first_round);
    const double ratio = plain ? goal.plain : goal.fastest;
    bench.Report(name, times[0], "ms");
    bench.Report(name + (goal.copy ? ", memcpy of the page" : ", libtiff's Group 4"), times[1], "ms");
    if (goal.copy)
        bench.Report(name + " / memcpy", Ratios(times[0], times[1]), "x", AtMost(ratio));
    else
        bench.Report(name + ", times as fast as libtiff", Ratios(times[1], times[0]), "x", AtLeast(ratio));
}
} // namespace

int main(int argc, char** argv)
{
    Harness bench(argc, argv,
                  {.purpose = "compares our Squeeze and Group 4 decoders with libtiff's Group 4 decoder",
                   .rounds = 9,
                   .options = {{"--plain", "uses the row loops that run on every machine"},
                               {"--once=squeeze", "decodes once, for callgrind --toggle-collect=DecodeOnce"},
                               {"--once=group4", "the same for Group 4"}},
                   .pages = NamesOf(kPages)});
    const std::string_view only = bench.Value("page"), once = bench.Value("once");
    const bool plain = bench.Has("plain");
    for (const PageKind& kind : kPages) {
        if (!only.empty() && only != kind.name)
            continue;
        const pages::Bitmap page = pages::draw_page({kind.draw, kind.width, kind.height, kDpi, kDpi, 1});
        MemoryTiff tiff = EncodeGroup4(page);
        for (const Codec& codec : kCodecs) {
            const bool is_squeeze = &codec == kCodecs;
            if (!once.empty() && once != (is_squeeze ? "squeeze" : "group4"))
                continue;
            // On a machine without faster loops, the plain loops are the fastest.
            const bool is_plain = plain || codec.fastest() == codec.plain;
            row_loop = is_plain ? codec.plain : codec.fastest();
            const Bytes stream = is_squeeze ? pages::encode_squeeze(page) : RawStrip(&tiff);
            if (once.empty()) {
                std::printf("%s, %s: %.2f MB\n", codec.name, kind.name,
                            static_cast<double>(stream.size()) / kMillion);
                Measure(bench, codec, kind, page, stream, &tiff, is_plain);
                continue;
            }
            Bytes rows(page.rows.size());
            TimeOurs(codec, stream, page, &rows);
        }
    }
    return bench.Finish();
}
