// SPDX-License-Identifier: MIT
// Compares two times for a page of 600 million pixels: the check of the page, which decodes all rows and
// counts their ink, and decoding the same rows alone. Both store the rows as the program does.
#include "app/lumentadoc.h"
#include "app/pagecheck.h"
#include "bench/benchsystem.h"
#include "bench/harness.h"
#include "platform/testing/testing.h"

#include <algorithm>
#include <string>

namespace
{
constexpr double kOfDecoding = 1.2;
constexpr int32_t kRowsAtOnce = 26;        // 64 KB
constexpr int64_t kReleaseBytes = 8 << 20; // of rows, as in the check

struct Page {
    const char* name;
    const char* file;
};
constexpr Page kPages[] = {{"Group 4", "big-group4.fax"},
                           {"Squeeze", "big-squeeze.fax"},
                           {"JBIG, 128 lines per stripe", "big-jbig.fax"}};

double Open(CLumentaDoc& document, const Page& page)
{
    Require(document.OnOpenDocument(PagePathOf(page.file)) && document.m_hTempFile != kInvalidFile,
            "the page does not open");
    return NowMs();
}

double Decode(const Page& page)
{
    CLumentaDoc document;
    const double start = Open(document, page);
    int64_t unreleased = 0;
    for (int32_t row = 0; row < document.m_nDepth; row += kRowsAtOnce) {
        const int32_t count = std::min(kRowsAtOnce, document.m_nDepth - row);
        Require(document.GetRows(row, count), "no rows");
        unreleased += int64_t{count} * document.m_nRowBytes;
        if (unreleased >= kReleaseBytes) {
            document.ReleaseRowPages();
            unreleased = 0;
        }
    }
    const double time = NowMs() - start;
    Require(!document.m_bReadError, "the page is damaged");
    return time;
}

double Check(const Page& page, double* ink)
{
    CLumentaDoc document;
    const double start = Open(document, page);
    PageCheck check(&document);
    while (check.Step() == PageCheck::Result::unfinished)
        ;
    const double time = NowMs() - start;
    Require(check.GoodRows() == document.m_nDepth && check.Ink().Rows() == document.m_nDepth,
            "the check missed rows");
    *ink = check.Ink().PagePerCent();
    return time;
}
} // namespace

int main(int argc, char** argv)
{
    Harness bench(
        argc, argv,
        {.purpose = "compares the check of a large page with decoding its rows alone", .rounds = 9});
    TestApplication application(argc, argv);
    double first_ink = 0;
    for (const Page& page : kPages) {
        double ink = 0;
        const auto times =
            bench.InTurn({{true, [&] { return Check(page, &ink); }}, {false, [&] { return Decode(page); }}});
        // All files show the same page, so they must have the same ink.
        first_ink = first_ink == 0 ? ink : first_ink;
        Require(ink > 0 && ink == first_ink, "the ink differs from that of the first page");
        const std::string name = std::string{", "} + page.name;
        bench.Report("check of 20 000 x 30 000" + name, times[0], "ms");
        bench.Report("decoding alone" + name, times[1], "ms");
        bench.Report("check / decoding" + name, Ratios(times[0], times[1]), "x", AtMost(kOfDecoding));
    }
    return bench.Finish();
}
