// SPDX-License-Identifier: MIT
// page-to-pbm: decodes a page file of any kind and writes it as a raw PBM image.
#include "pagereader.h"
#include "pbmoutput.h"
#include "tool.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

namespace
{
constexpr int32_t kBatchBytes = 1 << 18; // rows that are decoded at once; a single row can be longer

struct OutputError {
    std::string text;
};

// Throws if a function of the output has failed.
void Require(const std::string& error)
{
    if (!error.empty())
        throw OutputError{error};
}

// Returns the header of an image. All headers of a page have the same length: blanks precede a number of rows
// with fewer digits.
std::string PbmHeader(const PageReader& page, int32_t rows)
{
    const std::string height = std::to_string(page.Height());
    const std::string number = std::to_string(rows);
    return "P4\n" + std::to_string(page.Width()) + ' ' + std::string(height.size() - number.size(), ' ') +
           number + '\n';
}

void WriteWhiteRows(PbmOutput& output, int64_t rows, int32_t row_bytes)
{
    const std::string white(kBatchBytes, '\0');
    for (int64_t left = rows * row_bytes; left > 0; left -= kBatchBytes)
        Require(output.Write(white.data(), static_cast<size_t>(std::min<int64_t>(left, kBatchBytes))));
}

// Writes up to `rows` rows. Returns the number of good ones.
int32_t WriteRows(PageReader& page, PbmOutput& output, int32_t rows)
{
    const auto row_bytes = static_cast<size_t>(page.RowBytes());
    const int32_t batch = std::max(kBatchBytes / page.RowBytes(), 1);
    const auto buffer = std::make_unique_for_overwrite<uint8_t[]>(static_cast<size_t>(batch) * row_bytes);
    int32_t done = 0;
    while (done < rows && page.GetVerdict().state == PageState::good) {
        const int32_t good = page.ReadRows(buffer.get(), std::min(batch, rows - done));
        Require(output.Write(buffer.get(), static_cast<size_t>(good) * row_bytes));
        done += good;
    }
    return done;
}

// Writes the image of a page whose raster is open. If the page is damaged, the image ends after the last good
// row, or white rows follow this row. If the page cannot be read to its end, the image is not complete.
Verdict WriteImage(PageReader& page, PbmOutput& output, bool pad)
{
    // An image begins with its height. If the height of a damaged page can be neither padded nor corrected
    // later, all rows are decoded once more to count the good ones.
    const bool count_first = !pad && !output.CanRewrite();
    int32_t rows = page.Height();
    Verdict verdict;
    if (count_first) {
        rows = page.SkipAllRows();
        verdict = page.GetVerdict();
        if (verdict.state == PageState::unreadable)
            return verdict;
        if (!page.Restart())
            return page.GetVerdict();
    }
    const std::string header = PbmHeader(page, rows);
    Require(output.Write(header.data(), header.size()));
    const int32_t done = WriteRows(page, output, rows);
    if (done == rows)
        return verdict;
    if (count_first)
        return {PageState::unreadable, 0, "the file has changed"};
    if (page.GetVerdict().state != PageState::unreadable) {
        if (pad) {
            WriteWhiteRows(output, rows - done, page.RowBytes());
        } else {
            const std::string corrected = PbmHeader(page, done);
            Require(output.Rewrite(corrected.data(), corrected.size()));
        }
    }
    return page.GetVerdict();
}

int Convert(const Arguments& arguments)
{
    const char* const path = arguments.Pages().empty() ? "-" : arguments.Pages()[0];
    const char* output_path = arguments.Value('o');
    if (output_path && std::string_view{output_path} == "-")
        output_path = nullptr;
    PbmOutput output;
    try {
        if (!output_path)
            Require(output.Open(nullptr)); // before standard input is read
        PageReader page;
        Verdict verdict;
        if (page.ReadHeader(path) && page.OpenRaster()) {
            if (output_path)
                Require(output.Open(output_path));
            verdict = WriteImage(page, output, arguments.Has('p'));
            if (verdict.state != PageState::unreadable)
                Require(output.Finish());
        } else {
            verdict = page.GetVerdict();
        }
        if (verdict.state != PageState::good)
            PrintMessage(PageName(path) + ": " + VerdictText(verdict, page.Height()));
        return StatusOf(verdict);
    } catch (const OutputError& error) {
        PrintMessage(std::string{output_path ? output_path : "standard output"} + ": " + error.text);
        return kFailed;
    }
}

constexpr ToolOption kOptions[] = {
    {'p', nullptr, "if the page is damaged, write white rows from the first bad row to the end of the page"},
    {'o', "FILE", "write to this file, which is replaced at the end; \"-\" is standard output"},
};
constexpr Tool kTool{
    "page-to-pbm",
    "[PAGE]",
    "Decodes a page file of any kind and writes it as a raw PBM image, in which a 1 is black.\n"
    "Reads standard input if no page is named. The image of a damaged page ends after the last\n"
    "good row.",
    kOptions,
    0,
    1,
    Convert};
} // namespace

int main(int argc, char** argv)
{
    return RunTool(kTool, argc, argv);
}
