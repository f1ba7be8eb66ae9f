// The JBIG decoder beside the public library's, in memory, whole pages into one buffer: the same stream,
// coded by that library, in turn, every byte compared first. As page files have it, a 1 is white. --rounds=N
// (7);
// --page=NAME for one page; --plain for the row loop of every machine; --black for a 1 that is black.
// --once=ours or --once=jbigkit with a page decodes once, for callgrind: --toggle-collect=DecodeJbigOnce
// counts the decoding alone.
#include "bench/support.h"
#include "kesterlib/jbig.h"
#include "pages.h"
#include "qdecoder.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

extern "C" {
#include <jbig.h>
}

namespace
{
using Bytes = std::vector<uint8_t>;

constexpr unsigned long kStripeRows = 128;
bool plain = false;

Bytes Encode(pages::Bitmap page)
{
    Bytes stream;
    uint8_t* plane = page.rows.data();
    jbg_enc_state state;
    jbg_enc_init(
        &state, static_cast<unsigned long>(page.width), static_cast<unsigned long>(page.height), 1, &plane,
        [](unsigned char* start, size_t length, void* to) {
            static_cast<Bytes*>(to)->insert(static_cast<Bytes*>(to)->end(), start, start + length);
        },
        &stream);
    jbg_enc_layers(&state, 0);
    jbg_enc_options(&state, 0, 0, kStripeRows, 0, 0);
    jbg_enc_out(&state);
    jbg_enc_free(&state);
    return stream;
}
} // namespace

// With names that callgrind finds.
extern "C" __attribute__((noinline)) int32_t DecodeJbigOnce(jbig_data* dat, int32_t rows, uint8_t* buffer,
                                                            int32_t pitch)
{
    return Jbig_Decode(dat, rows, buffer, pitch);
}
extern "C" __attribute__((noinline)) int DecodePeerOnce(jbg_dec_state* state, Bytes* stream)
{
    return jbg_dec_in(state, stream->data(), stream->size(), nullptr);
}

namespace
{
double TimePeer(Bytes* stream, Bytes* rows)
{
    jbg_dec_state state;
    const double start = NowMs();
    jbg_dec_init(&state);
    const int result = DecodePeerOnce(&state, stream);
    const double end = NowMs();
    if (result != JBG_EOK)
        std::printf("jbigkit: %s\n", jbg_strerror(result));
    else if (rows)
        rows->assign(jbg_dec_getimage(&state, 0), jbg_dec_getimage(&state, 0) + jbg_dec_getsize(&state));
    jbg_dec_free(&state);
    return end - start;
}

// With the opening and closing of the decoder.
double TimeOurs(const Bytes& stream, const pages::Bitmap& page, Bytes* rows)
{
    const double start = NowMs();
    jbig_data* const dat = Jbig_Open_Input_MMapped(stream.data(), stream.size());
    if (plain)
        reinterpret_cast<kesterlib::Decoder*>(dat)->row_loop = kesterlib::jbig_rows_plain;
    const int32_t got = DecodeJbigOnce(dat, page.height, rows->data(), static_cast<int32_t>(page.row_bytes));
    Jbig_Close_Input(dat);
    const double end = NowMs();
    if (got != page.height)
        std::printf("only %d rows came\n", got);
    return end - start;
}

struct PageKind {
    const char* name;
    pages::Draw draw;
    int width, height;
    double goal; // of the peer's time to ours
};
constexpr PageKind kPages[] = {
    {"text", pages::Draw::Text, 8000, 11000, 6.5},   {"halftone", pages::Draw::Halftone, 8000, 11000, 2.1},
    {"mixed", pages::Draw::Mixed, 8000, 11000, 4.5}, {"blank", pages::Draw::Blank, 8000, 11000, 140},
    {"line", pages::Draw::Line, 8000, 11000, 7},     {"noise", pages::Draw::Noise, 8000, 11000, 2.0},
    {"big", pages::Draw::Mixed, 20000, 30000, 6},
};
constexpr double kPlainPart = 0.75; // of the goal, without the instructions that not every machine has
constexpr int kDpi = 1000;

void Measure(const PageKind& kind, const pages::Bitmap& page, int rounds)
{
    Bytes stream = Encode(page);
    Bytes rows;
    TimePeer(&stream, &rows);
    if (rows != page.rows)
        std::printf("jbigkit: the rows are not those of the page\n");
    std::fill(rows.begin(), rows.end(), uint8_t{0xA5});
    TimeOurs(stream, page, &rows);
    if (rows != page.rows)
        std::printf("ours: the rows are not those of the page\n");

    std::vector<double> peer, ours, ratio;
    for (int round = 0; round < rounds; ++round) {
        peer.push_back(TimePeer(&stream, nullptr));
        ours.push_back(TimeOurs(stream, page, &rows));
        ratio.push_back(peer.back() / ours.back());
    }
    const double goal = plain ? kind.goal * kPlainPart : kind.goal;
    const double pixels = static_cast<double>(kind.width) * kind.height;
    std::printf("%-10s%9.2f MB%10.2f ms%10.2f ms%10.0f%9.2f x (%s), goal %g\n", kind.name,
                static_cast<double>(stream.size()) / 1e6, Median(ours), Median(peer),
                pixels / Median(ours) / 1000, Median(ratio), SpreadOf(ratio).c_str(), goal);
    GateAtLeast(kind.name, Median(ratio), goal);
    std::fflush(stdout);
}
} // namespace

int main(int argc, char** argv)
{
    const int rounds = RoundsFrom(argc, argv, 7);
    std::string_view only, once;
    bool white = true;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        plain |= argument == "--plain";
        white &= argument != "--black";
        if (argument.starts_with("--page="))
            only = argument.substr(7);
        else if (argument.starts_with("--once="))
            once = argument.substr(7);
    }
    plain |= kesterlib::jbig_row_loop() == kesterlib::jbig_rows_plain;
    if (once.empty()) {
        std::printf("JBIG, %s row loop, 1 is %s, %d rounds, medians\n", plain ? "plain" : "wide",
                    white ? "white" : "black", rounds);
        std::printf("%-10s%12s%13s%13s%10s%11s\n", "page", "JBIG", "ours", "jbigkit", "Mpixel/s", "ratio");
    }
    for (const PageKind& kind : kPages) {
        if (!only.empty() && only != kind.name)
            continue;
        pages::Bitmap page = pages::draw_page({kind.draw, kind.width, kind.height, kDpi, kDpi, 1});
        if (white) // widths are multiples of 8
            for (uint8_t& byte : page.rows)
                byte = static_cast<uint8_t>(~byte);
        if (once.empty()) {
            Measure(kind, page, rounds);
            continue;
        }
        Bytes stream = Encode(page);
        Bytes rows(page.rows.size());
        if (once == "ours")
            TimeOurs(stream, page, &rows);
        else
            TimePeer(&stream, nullptr);
    }
    return GateStatus();
}
