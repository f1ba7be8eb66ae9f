// makepage: draws a test page and writes it as a TIFF file. The command line says all that is in the page;
// the same line writes the same bytes.

#include "pages.h"
#include "tiffout.h"

#include <charconv>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace
{

constexpr int kWritten = 0, kFailed = 1, kBadUsage = 2;

struct Request {
    pages::PageOptions page;
    pages::TiffOptions tiff;
    int bits = 1;
    std::string path;
};

struct UsageError {
    std::string text;
};

std::string names_of_draws(std::string_view between)
{
    std::string all;
    for (const pages::DrawName& draw : pages::draw_names())
        all += (all.empty() ? std::string() : std::string(between)) + std::string(draw.name);
    return all;
}

std::string names_of_compressions(std::string_view between)
{
    std::string all;
    for (const pages::CompressionName& one : pages::compression_names())
        all += (all.empty() ? std::string() : std::string(between)) + std::string(one.name);
    return all;
}

void print_help()
{
    std::printf("Usage: makepage --draw KIND --width W --height H [OPTION]... OUT.tif\n"
                "Draws a test page and writes it as TIFF. The same arguments give the same bytes.\n\n"
                "  --draw KIND             what is on the page:\n");
    for (const pages::DrawName& draw : pages::draw_names())
        std::printf("        %-10s        %s\n", std::string(draw.name).c_str(),
                    std::string(draw.what).c_str());
    std::printf("  --width W, --height H   pixels, 1 to %d; at most %lld MB of rows\n"
                "  --dpi D                 dots an inch, 1 to 9600 (300)\n"
                "  --dpi-y D               the same down the page, where it differs\n"
                "  --bits 1|8              bits a pixel (1); 8 is true grey\n"
                "  --photometric miniswhite|minisblack\n"
                "                          what 0 means (miniswhite; minisblack with 8 bits)\n"
                "  --compression C         %s\n"
                "                          (group4; none with 8 bits)\n"
                "  --rows-per-strip N      rows of a strip (all in one)\n"
                "  --name TEXT             document name (none)\n"
                "  --seed N                other words or other noise (1)\n"
                "  --help                  this text\n\n"
                "Exit status: 0 written, 1 not written, 2 bad usage.\n",
                pages::kMaxSide, static_cast<long long>(pages::kMaxPageBytes >> 20),
                names_of_compressions(", ").c_str());
}

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

UsageError unknown_word(std::string_view option, std::string_view text, const std::string& known)
{
    return {std::string(option) + " does not know \"" + std::string(text) + "\", only " + known};
}

Request read_arguments(const std::vector<std::string_view>& arguments)
{
    constexpr int kMostDpi = 9600;
    Request request;
    std::optional<pages::Draw> draw;
    std::optional<pages::Photometric> photometric;
    std::optional<pages::Compression> compression;
    std::optional<std::string> path;
    int dpi_y = 0;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string_view option = arguments[i];
        if (!option.starts_with("--")) {
            if (option.starts_with('-') || option.empty())
                throw UsageError{"unknown option \"" + std::string(option) + "\""};
            if (path)
                throw UsageError{"one file at a time: \"" + *path + "\" or \"" + std::string(option) + "\""};
            path = option;
            continue;
        }
        std::string_view text;
        bool attached = false;
        if (const std::size_t equals = option.find('='); equals != std::string_view::npos) {
            text = option.substr(equals + 1);
            option = option.substr(0, equals);
            attached = true;
        }
        constexpr std::string_view kOptions[] = {
            "--draw",        "--width",       "--height",         "--dpi", "--dpi-y", "--bits", "--name",
            "--photometric", "--compression", "--rows-per-strip", "--seed"};
        bool known = false;
        for (const std::string_view candidate : kOptions)
            known = known || candidate == option;
        if (!known)
            throw UsageError{"unknown option \"" + std::string(option) + "\""};
        if (!attached) {
            if (i + 1 == arguments.size())
                throw UsageError{std::string(option) + " lacks its value"};
            text = arguments[++i];
        }

        if (option == "--draw") {
            draw = pages::draw_by_name(text);
            if (!draw)
                throw unknown_word(option, text, names_of_draws(", "));
        } else if (option == "--width") {
            request.page.width = number_in(option, text, 1, pages::kMaxSide);
        } else if (option == "--height") {
            request.page.height = number_in(option, text, 1, pages::kMaxSide);
        } else if (option == "--dpi") {
            request.page.dpi_x = number_in(option, text, 1, kMostDpi);
        } else if (option == "--dpi-y") {
            dpi_y = number_in(option, text, 1, kMostDpi);
        } else if (option == "--bits") {
            if (text != "1" && text != "8")
                throw unknown_word(option, text, "1, 8");
            request.bits = text == "1" ? 1 : 8;
        } else if (option == "--photometric") {
            if (text != "miniswhite" && text != "minisblack")
                throw unknown_word(option, text, "miniswhite, minisblack");
            photometric =
                text == "miniswhite" ? pages::Photometric::MinIsWhite : pages::Photometric::MinIsBlack;
        } else if (option == "--compression") {
            for (const pages::CompressionName& one : pages::compression_names())
                if (one.name == text)
                    compression = one.compression;
            if (!compression)
                throw unknown_word(option, text, names_of_compressions(", "));
        } else if (option == "--rows-per-strip") {
            request.tiff.rows_per_strip = number_in<uint32_t>(option, text, 1, UINT32_MAX);
        } else if (option == "--name") {
            request.tiff.document_name = text;
        } else {
            request.page.seed = number_in<uint64_t>(option, text, 0, UINT64_MAX);
        }
    }

    if (!draw)
        throw UsageError{"--draw is missing: " + names_of_draws(", ")};
    if (request.page.width == 0 || request.page.height == 0)
        throw UsageError{"--width and --height are both needed"};
    if (!path)
        throw UsageError{"no file to write to"};
    request.page.draw = *draw;
    request.page.dpi_y = dpi_y != 0 ? dpi_y : request.page.dpi_x;
    request.path = *path;

    const bool grey = request.bits == 8;
    const int64_t bytes = grey ? pages::grey_bytes(request.page.width, request.page.height)
                               : pages::bitmap_bytes(request.page.width, request.page.height);
    if (bytes > pages::kMaxPageBytes)
        throw UsageError{"a page of that size has " + std::to_string(bytes >> 20) +
                         " MB of rows; the limit is " + std::to_string(pages::kMaxPageBytes >> 20) + " MB"};
    request.tiff.dpi_x = request.page.dpi_x;
    request.tiff.dpi_y = request.page.dpi_y;
    request.tiff.photometric =
        photometric.value_or(grey ? pages::Photometric::MinIsBlack : pages::Photometric::MinIsWhite);
    request.tiff.compression =
        compression.value_or(grey ? pages::Compression::None : pages::Compression::Group4);
    if (grey && (request.tiff.compression == pages::Compression::Group3 ||
                 request.tiff.compression == pages::Compression::Group4))
        throw UsageError{"group3 and group4 hold pages of 1 bit only"};
    return request;
}

int run(const std::vector<std::string_view>& arguments)
{
    for (const std::string_view argument : arguments)
        if (argument == "--help") {
            print_help();
            return kWritten;
        }
    try {
        const Request request = read_arguments(arguments);
        const std::string error =
            request.bits == 8
                ? pages::write_tiff(request.path, pages::draw_grey_page(request.page), request.tiff)
                : pages::write_tiff(request.path, pages::draw_page(request.page), request.tiff);
        if (error.empty())
            return kWritten;
        std::fprintf(stderr, "makepage: %s: %s\n", request.path.c_str(), error.c_str());
        return kFailed;
    } catch (const UsageError& error) {
        std::fprintf(stderr, "makepage: %s\nmakepage --help tells all options.\n", error.text.c_str());
        return kBadUsage;
    }
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return run({argv + 1, argv + argc});
    } catch (const std::exception& error) { // no memory for the page
        std::fprintf(stderr, "makepage: %s\n", error.what());
        return kFailed;
    }
}
