// SPDX-License-Identifier: MIT
// makepage draws a test page, or reads a page from a file, and writes it as a TIFF file or a page file. The
// command line determines all that is written: the same command line and input write the same bytes.

#include "pagefile.h"
#include "pagein.h"
#include "pages.h"
#include "tiffout.h"

#include <kesterlib/commandline.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <exception>
#include <iterator>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace
{

constexpr int kWritten = 0, kFailed = 1, kBadUsage = 2;
constexpr int kUsualDpi = 300;
constexpr int kMostDpi = 9600;

struct UsageError {
    std::string text;
};

// The values of the options on the command line.
struct Request {
    std::optional<pages::Draw> draw; // empty: the page is read from a file
    pages::PageOptions page;
    int dpi_x = 0, dpi_y = 0; // 0: no option sets it
    int bits = 1;

    std::optional<pages::Raster> raster; // empty: a TIFF file is written
    std::optional<pages::Photometric> photometric;
    std::optional<pages::Compression> compression;
    pages::TiffOptions tiff;
    pages::PageFileOptions page_file;

    std::vector<std::string> paths;
    std::vector<std::size_t> options; // indices in kOptions of the options on the command line
    std::string error;                // the first error
};

// ---- Reading of values ----

template <typename Number>
Number number_in(std::string_view option, std::string_view text, Number least, Number most)
{
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < least || value > most)
        throw UsageError{std::string(option) + " takes a number from " + std::to_string(least) + " to " +
                         std::to_string(most) + ", not \"" + std::string(text) + "\""};
    return value;
}
template <typename Number>
Number number_of(std::string_view option, std::string_view text)
{
    return number_in(option, text, std::numeric_limits<Number>::min(), std::numeric_limits<Number>::max());
}

template <typename Names>
std::string listed(const Names& names, std::string_view more = {})
{
    std::string all(more);
    for (const auto& one : names)
        all += (all.empty() ? "" : ", ") + std::string(one.name);
    return all;
}

template <typename Value>
struct Word {
    std::string_view name;
    Value value;
};

template <typename Value, std::size_t N>
Value word_of(std::string_view option, std::string_view text, const Word<Value> (&words)[N])
{
    for (const Word<Value>& word : words)
        if (word.name == text)
            return word.value;
    throw UsageError{std::string(option) + " does not accept \"" + std::string(text) + "\", only " +
                     listed(words)};
}

template <std::size_t N>
void text_into(char (&field)[N], std::string_view option, std::string_view text)
{
    if (!pages::set_text(field, text))
        throw UsageError{std::string(option) + " takes one line of at most " + std::to_string(N - 1) +
                         " bytes, not \"" + std::string(text) + "\""};
}

void set_draw(Request& request, std::string_view option, std::string_view text)
{
    request.draw = pages::draw_by_name(text);
    if (!request.draw)
        throw UsageError{std::string(option) + " does not accept \"" + std::string(text) + "\", only " +
                         listed(pages::draw_names())};
}

void set_kind(Request& request, std::string_view option, std::string_view text)
{
    request.raster.reset();
    for (const pages::RasterName& one : pages::raster_names())
        if (one.name == text)
            request.raster = one.raster;
    if (!request.raster && text != "tiff")
        throw UsageError{std::string(option) + " does not accept \"" + std::string(text) + "\", only " +
                         listed(pages::raster_names(), "tiff")};
}

void set_compression(Request& request, std::string_view option, std::string_view text)
{
    request.compression.reset();
    for (const pages::CompressionName& one : pages::compression_names())
        if (one.name == text)
            request.compression = one.compression;
    if (!request.compression)
        throw UsageError{std::string(option) + " does not accept \"" + std::string(text) + "\", only " +
                         listed(pages::compression_names())};
}

void set_time(Request& request, std::string_view option, std::string_view text)
{
    FAXTime time{};
    int read = 0;
    const std::string line(text);
    constexpr int kYearZero = 1900, kFields = 6;
    if (std::sscanf(line.c_str(), "%4d:%2d:%2d %2d:%2d:%2d%n", &time.tm_year, &time.tm_mon, &time.tm_mday,
                    &time.tm_hour, &time.tm_min, &time.tm_sec, &read) != kFields ||
        static_cast<std::size_t>(read) != line.size())
        throw UsageError{std::string(option) + " takes \"YYYY:MM:DD hh:mm:ss\", not \"" + line + "\""};
    time.tm_year -= kYearZero;
    --time.tm_mon;
    request.page_file.header.CreateTime = time;
}

void add_destination(Request& request, std::string_view option, std::string_view text)
{
    FAXHeader& header = request.page_file.header;
    if (header.NumDestinations == FAXHEADER_DESTINATIONS)
        throw UsageError{"a page has at most " + std::to_string(FAXHEADER_DESTINATIONS) + " destinations"};
    text_into(header.Destination[header.NumDestinations], option, text);
    ++header.NumDestinations;
}

// ---- The options ----

// Pages for which an option is valid.
enum class Of { Any, Drawn, Tiff, PageFile, Squeeze, Jbig };

struct Option {
    Of of;
    int arguments;    // 0 or 1
    const char* name; // "" for a heading of the help text
    const char* help;
    void (*handle)(Request&, std::string_view option, std::string_view text);
};

using View = std::string_view;
constexpr Option kOptions[] = {
    {Of::Any, 0, "", "The page, drawn or read from IN:", nullptr},
    {Of::Any, 1, "--draw", "kind of page, see below", set_draw},
    {Of::Drawn, 1, "--width", "pixels",
     [](Request& r, View option, View text) { r.page.width = number_in(option, text, 1, pages::kMaxSide); }},
    {Of::Drawn, 1, "--height", "pixels",
     [](Request& r, View option, View text) { r.page.height = number_in(option, text, 1, pages::kMaxSide); }},
    {Of::Any, 1, "--dpi", "dots per inch, 1 to 9600 (as in IN if it has a resolution, else 300)",
     [](Request& r, View option, View text) { r.dpi_x = number_in(option, text, 1, kMostDpi); }},
    {Of::Any, 1, "--dpi-y", "vertical dots per inch, if they differ",
     [](Request& r, View option, View text) { r.dpi_y = number_in(option, text, 1, kMostDpi); }},
    {Of::Drawn, 1, "--bits", "bits per pixel, 1 or 8 (1); 8 is grey, and in TIFF only",
     [](Request& r, View option, View text) {
         constexpr Word<int> kWords[] = {{"1", 1}, {"8", 8}};
         r.bits = word_of(option, text, kWords);
     }},
    {Of::Drawn, 1, "--seed", "seed of the random words and of the noise (1)",
     [](Request& r, View option, View text) { r.page.seed = number_of<uint64_t>(option, text); }},

    {Of::Any, 0, "", "The file:", nullptr},
    {Of::Any, 1, "--kind", "tiff, plain, squeeze, group4 or jbig (tiff)", set_kind},

    {Of::Any, 0, "", "TIFF files only:", nullptr},
    {Of::Tiff, 1, "--photometric",
     "meaning of 0: miniswhite or minisblack (miniswhite; minisblack with 8 bits)",
     [](Request& r, View option, View text) {
         constexpr Word<pages::Photometric> kWords[] = {{"miniswhite", pages::Photometric::MinIsWhite},
                                                        {"minisblack", pages::Photometric::MinIsBlack}};
         r.photometric = word_of(option, text, kWords);
     }},
    {Of::Tiff, 1, "--compression",
     "none, group3, group4, packbits, lzw or deflate (group4; none with 8 bits)", set_compression},
    {Of::Tiff, 1, "--rows-per-strip", "rows per strip (all rows in one strip)",
     [](Request& r, View option, View text) {
         r.tiff.rows_per_strip = number_in<uint32_t>(option, text, 1, UINT32_MAX);
     }},
    {Of::Tiff, 0, "--directory-first", "writes the directory before the rows, so that a cut-off file has it",
     [](Request& r, View, View) { r.tiff.directory_first = true; }},
    {Of::Tiff, 1, "--name", "document name (none)",
     [](Request& r, View, View text) { r.tiff.document_name = text; }},

    {Of::Any, 0, "", "Page files only, that is all other kinds:", nullptr},
    {Of::PageFile, 1, "--job", "job name (Test)",
     [](Request& r, View option, View text) { text_into(r.page_file.header.JobName, option, text); }},
    {Of::PageFile, 1, "--page", "page number (1)",
     [](Request& r, View option, View text) {
         r.page_file.header.PageNumber = number_of<int32_t>(option, text);
     }},
    {Of::PageFile, 1, "--pages", "pages of the job (1)",
     [](Request& r, View option, View text) {
         r.page_file.header.NumberOfPages = number_of<int32_t>(option, text);
     }},
    {Of::PageFile, 1, "--layer", "0 black, 1 cyan, 2 magenta, 3 yellow, from 4 on spot colours (0)",
     [](Request& r, View option, View text) { r.page_file.header.Layer = number_of<int32_t>(option, text); }},
    {Of::PageFile, 1, "--creator", "creator of the page (makepage)",
     [](Request& r, View option, View text) { text_into(r.page_file.header.Creator, option, text); }},
    {Of::PageFile, 1, "--time", "time of creation, \"YYYY:MM:DD hh:mm:ss\" (2020:01:01 12:00:00)", set_time},
    {Of::PageFile, 1, "--multiplier", "factor of the resolutions in the header, 0 to 100000 (1)",
     [](Request& r, View option, View text) {
         r.page_file.header.ResolutionMultiplier = number_in<uint32_t>(option, text, 0, 100'000);
     }},
    {Of::PageFile, 0, "--negate", "sets the flag ImageNegate; the rows are unchanged",
     [](Request& r, View, View) { r.page_file.header.ImageNegate = 1; }},
    {Of::PageFile, 0, "--mirror", "sets the flag Mirror; the rows are unchanged",
     [](Request& r, View, View) { r.page_file.header.Mirror = 1; }},
    {Of::PageFile, 0, "--double-truck", "sets the flag DoubleTruck",
     [](Request& r, View, View) { r.page_file.header.DoubleTruck = 1; }},
    {Of::PageFile, 1, "--rotation", "Rotation (0)",
     [](Request& r, View option, View text) {
         r.page_file.header.Rotation = number_of<int32_t>(option, text);
     }},
    {Of::PageFile, 1, "--priority", "Priority (0)",
     [](Request& r, View option, View text) {
         r.page_file.header.Priority = number_of<int32_t>(option, text);
     }},
    {Of::PageFile, 1, "--job-id", "JobID, needs header version 2 or later (0)",
     [](Request& r, View option, View text) {
         r.page_file.header.JobID = number_of<uint32_t>(option, text);
     }},
    {Of::PageFile, 1, "--mux", "Mux, needs header version 3 or later (empty)",
     [](Request& r, View option, View text) { text_into(r.page_file.header.Mux, option, text); }},
    {Of::PageFile, 1, "--destination", "adds a destination; at most 64 times", add_destination},
    {Of::PageFile, 1, "--header-version", "version of the header (3)",
     [](Request& r, View option, View text) {
         r.page_file.header.FaxHeaderVersion = number_of<int32_t>(option, text);
     }},
    {Of::PageFile, 1, "--header-size", "bytes before the raster (4096)",
     [](Request& r, View option, View text) {
         r.page_file.header.HeaderSize = number_in<uint32_t>(option, text, 1, pages::kMaxHeaderBytes);
     }},
    {Of::Squeeze, 1, "--raw-rows", "where-shorter, never or always (where-shorter); kind squeeze only",
     [](Request& r, View option, View text) {
         constexpr Word<pages::RawRows> kWords[] = {{"where-shorter", pages::RawRows::WhereShorter},
                                                    {"never", pages::RawRows::Never},
                                                    {"always", pages::RawRows::Always}};
         r.page_file.raw_rows = word_of(option, text, kWords);
     }},
    {Of::Jbig, 1, "--stripe", "rows per stripe (128); kind jbig only",
     [](Request& r, View option, View text) {
         r.page_file.jbig.stripe_rows = number_in<uint32_t>(option, text, 1, UINT32_MAX);
     }},
    {Of::Jbig, 0, "--reset", "each stripe starts with fresh contexts; kind jbig only",
     [](Request& r, View, View) { r.page_file.jbig.stripe_end = pages::StripeEnd::ResetContexts; }},
};

// ---- The parser's table ----

Request* g_request = nullptr; // target of the handlers: the parser passes them only texts

// Keeps the first error, because no exception may pass through the parser. The parser continues to the end.
void handle(std::size_t index, std::string_view text)
{
    const Option& option = kOptions[index];
    g_request->options.push_back(index);
    try {
        option.handle(*g_request, option.name, text);
    } catch (const UsageError& error) {
        if (g_request->error.empty())
            g_request->error = error.text;
    }
}

template <std::size_t Index>
constexpr option_handler handler_of()
{
    if constexpr (kOptions[Index].arguments == 0)
        return [] { handle(Index, {}); };
    else
        return reinterpret_cast<option_handler>(+[](const char* text) { handle(Index, text); });
}

template <std::size_t... Indices>
auto parser_table(std::index_sequence<Indices...> /*all*/)
{
    return std::array<option_record, sizeof...(Indices) + 1>{
        {{kOptions[Indices].name, kOptions[Indices].help, kOptions[Indices].arguments,
          handler_of<Indices>()}...,
         {nullptr, nullptr, 0, nullptr}}};
}

const auto& parser_options()
{
    static const auto table = parser_table(std::make_index_sequence<std::size(kOptions)>());
    return table;
}

void show_help()
{
    std::printf(
        "Usage: makepage --draw KIND --width W --height H [OPTION ARGUMENT]... OUT\n"
        "       makepage [OPTION ARGUMENT]... IN OUT\n"
        "Draws a test page, or reads a page of 1 bit per pixel from a TIFF or PBM file, and writes it.\n"
        "The same arguments and input write the same bytes. Defaults are in parentheses.\n");
    print_help(parser_options().data());
    std::printf("\nKinds of drawn pages (sides up to %d pixels, rows up to %lld MB):\n", pages::kMaxSide,
                static_cast<long long>(pages::kMaxPageBytes >> 20));
    for (const pages::DrawName& draw : pages::draw_names())
        std::printf("  %-10s %s\n", std::string(draw.name).c_str(), std::string(draw.what).c_str());
    std::printf("Kinds of files:\n  %-10s %s\n", "tiff", "a TIFF file");
    for (const pages::RasterName& raster : pages::raster_names())
        std::printf("  %-10s %s\n", std::string(raster.name).c_str(), std::string(raster.what).c_str());
    std::printf(
        "\nExamples:\n"
        "  makepage --draw text --width 2480 --height 3508 --kind squeeze --job Atlas --page 7 a7.fax\n"
        "  makepage --kind plain --layer 1 --destination Press-2 scanned.tif cyan.fax\n"
        "\nExit status: 0 written, 1 not written, 2 bad usage.\n");
}

// ---- From arguments to a request ----

const Option* option_of(std::string_view word)
{
    for (const Option& option : kOptions)
        if (!word.empty() && option.name == word)
            return &option;
    return nullptr;
}

// Puts paths into the request and passes all other words to the parser. Unknown options and missing values
// are found here, because the parser only prints a message about them and continues.
Request parse(char** first, char** last)
{
    Request request;
    std::vector<char*> words;
    for (char** at = first; at != last; ++at) {
        const std::string_view word = *at;
        const Option* const option = option_of(word);
        if (option == nullptr && (word.empty() || word.starts_with('-')))
            throw UsageError{"unknown option \"" + std::string(word) + "\""};
        if (option == nullptr) {
            request.paths.emplace_back(word);
            continue;
        }
        if (option->arguments > last - at - 1)
            throw UsageError{std::string(word) + " needs a value"};
        words.insert(words.end(), at, at + 1 + option->arguments);
        at += option->arguments;
    }
    g_request = &request;
    parse_command_line(static_cast<int>(words.size()), words.data(), parser_options().data());
    g_request = nullptr;
    if (!request.error.empty())
        throw UsageError{request.error};
    return request;
}

// Refuses options that have no effect in combination with the others.
void check_options(const Request& request)
{
    const bool squeeze = request.raster == pages::Raster::Squeeze;
    const bool jbig = request.raster == pages::Raster::Jbig;
    for (const std::size_t index : request.options) {
        const Option& option = kOptions[index];
        const char* missing = nullptr;
        switch (option.of) {
        case Of::Any: break;
        case Of::Drawn: missing = request.draw ? nullptr : "--draw"; break;
        case Of::Tiff: missing = request.raster ? "--kind tiff" : nullptr; break;
        case Of::PageFile: missing = request.raster ? nullptr : "the --kind of a page file"; break;
        case Of::Squeeze: missing = squeeze ? nullptr : "--kind squeeze"; break;
        case Of::Jbig: missing = jbig ? nullptr : "--kind jbig"; break;
        }
        if (missing != nullptr)
            throw UsageError{std::string(option.name) + " is valid only with " + missing};
    }
}

void judge_files(const Request& request)
{
    const std::vector<std::string>& paths = request.paths;
    if (paths.empty())
        throw UsageError{"no output file"};
    if (!request.draw && paths.size() == 1)
        throw UsageError{"--draw is missing (" + listed(pages::draw_names()) +
                         "), or an input file before the output file"};
    if (const std::size_t most = request.draw ? 1 : 2; paths.size() > most)
        throw UsageError{"one file at a time: \"" + paths[most - 1] + "\" or \"" + paths[most] + "\""};
}

void judge_drawing(const Request& request)
{
    if (request.page.width == 0 || request.page.height == 0)
        throw UsageError{"--width and --height are both needed"};
    const bool grey = request.bits == 8;
    const int64_t bytes = grey ? pages::grey_bytes(request.page.width, request.page.height)
                               : pages::bitmap_bytes(request.page.width, request.page.height);
    if (bytes > pages::kMaxPageBytes)
        throw UsageError{"a page of that size has " + std::to_string(bytes >> 20) +
                         " MB of rows; the limit is " + std::to_string(pages::kMaxPageBytes >> 20) + " MB"};
    if (grey && request.raster)
        throw UsageError{"only a TIFF file can hold a page of 8 bits per pixel"};
    if (grey && (request.compression == pages::Compression::Group3 ||
                 request.compression == pages::Compression::Group4))
        throw UsageError{"group3 and group4 can hold only pages of 1 bit per pixel"};
}

// ---- From a request to a file ----

std::string write_page(const Request& request, const pages::Bitmap& page, int dpi_x, int dpi_y)
{
    const std::string& path = request.paths.back();
    if (!request.raster) {
        pages::TiffOptions tiff = request.tiff;
        tiff.dpi_x = dpi_x;
        tiff.dpi_y = dpi_y;
        tiff.photometric = request.photometric.value_or(pages::Photometric::MinIsWhite);
        tiff.compression = request.compression.value_or(pages::Compression::Group4);
        return pages::write_tiff(path, page, tiff);
    }
    pages::PageFileOptions options = request.page_file;
    options.raster = *request.raster;
    const uint32_t multiplier = std::max(options.header.ResolutionMultiplier, 1U);
    options.header.XResolution = static_cast<uint32_t>(dpi_x) * multiplier;
    options.header.YResolution = static_cast<uint32_t>(dpi_y) * multiplier;
    return pages::write_page_file(path, page, options);
}

std::string draw_and_write(Request& request)
{
    request.page.draw = *request.draw;
    request.page.dpi_x = request.dpi_x != 0 ? request.dpi_x : kUsualDpi;
    request.page.dpi_y = request.dpi_y != 0 ? request.dpi_y : request.page.dpi_x;
    if (request.bits == 1)
        return write_page(request, pages::draw_page(request.page), request.page.dpi_x, request.page.dpi_y);
    request.tiff.dpi_x = request.page.dpi_x;
    request.tiff.dpi_y = request.page.dpi_y;
    request.tiff.photometric = request.photometric.value_or(pages::Photometric::MinIsBlack);
    request.tiff.compression = request.compression.value_or(pages::Compression::None);
    return pages::write_tiff(request.paths.back(), pages::draw_grey_page(request.page), request.tiff);
}

int run(char** first, char** last)
{
    for (char** at = first; at != last; ++at)
        if (std::string_view(*at) == "--help" || std::string_view(*at) == "-h") {
            show_help();
            return kWritten;
        }
    try {
        Request request = parse(first, last);
        check_options(request);
        judge_files(request);
        std::string error;
        if (request.draw) {
            judge_drawing(request);
            error = draw_and_write(request);
        } else {
            pages::PageIn in;
            if (error = pages::read_page(request.paths.front(), in); !error.empty()) {
                std::fprintf(stderr, "makepage: %s: %s\n", request.paths.front().c_str(), error.c_str());
                return kFailed;
            }
            const int own_x = in.dpi_x != 0 ? in.dpi_x : kUsualDpi;
            const int own_y = in.dpi_y != 0 ? in.dpi_y : own_x;
            const int dpi_x = request.dpi_x != 0 ? request.dpi_x : own_x;
            const int dpi_y = request.dpi_y != 0 ? request.dpi_y : request.dpi_x != 0 ? dpi_x : own_y;
            error = write_page(request, in.page, dpi_x, dpi_y);
        }
        if (error.empty())
            return kWritten;
        std::fprintf(stderr, "makepage: %s: %s\n", request.paths.back().c_str(), error.c_str());
        return kFailed;
    } catch (const UsageError& error) {
        std::fprintf(stderr, "makepage: %s\nmakepage --help lists all options.\n", error.text.c_str());
        return kBadUsage;
    }
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return run(argv + 1, argv + argc);
    } catch (const std::exception& error) { // no memory for the page
        std::fprintf(stderr, "makepage: %s\n", error.what());
        return kFailed;
    }
}
