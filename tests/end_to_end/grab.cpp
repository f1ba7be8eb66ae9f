// SPDX-License-Identifier: MIT
// grab: compares each pixel of the screen with a page file, for the end-to-end tests. Exit status: 0 if
// equal; 1 if not (a line on the standard error stream says where); 2 after bad usage or if an input cannot
// be read.
//
//   grab view WINDOW PAGE                               prints the rectangle that shows the page, from
//                                                       its top left corner on: "left top width height"
//   grab same WINDOW PAGE X Y LEFT TOP WIDTH HEIGHT     compares that rectangle of the window with the page
//                                                       from pixel X, Y on
//   grab cover X Y WIDTH HEIGHT                         covers that rectangle of the screen by a window,
//                                                       prints its number, and runs until it is killed

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tiffio.h>
#include <unistd.h>
#include <utility>
#include <vector>
#include <xcb/xcb.h>

namespace
{

constexpr int kSame = 0, kDifferent = 1, kTrouble = 2;

template <typename T>
using Reply = std::unique_ptr<T, decltype(&std::free)>;

template <typename T>
Reply<T> owned(T* reply)
{
    return {reply, &std::free};
}

template <typename Pixel>
struct Picture {
    int width = 0, height = 0;
    std::vector<Pixel> pixels;

    Pixel* row(int y) { return pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(width); }
    const Pixel* row(int y) const { return const_cast<Picture*>(this)->row(y); }
};
using Raster = Picture<uint8_t>; // grey values; 0 is black
using Screen = Picture<uint32_t>;

// Reads a page of 1 bit per pixel. Rows outside first to first + count - 1 remain black, because unpacking a
// whole page would take longer than all other work here.
Raster read_page(const char* path, int first, int count)
{
    const std::unique_ptr<TIFF, decltype(&TIFFClose)> file{TIFFOpen(path, "r"), &TIFFClose};
    uint32_t width = 0, height = 0;
    uint16_t photometric = 0;
    if (!file || TIFFGetField(file.get(), TIFFTAG_IMAGEWIDTH, &width) == 0 ||
        TIFFGetField(file.get(), TIFFTAG_IMAGELENGTH, &height) == 0 ||
        TIFFGetField(file.get(), TIFFTAG_PHOTOMETRIC, &photometric) == 0)
        throw std::runtime_error(std::string(path) + " is no usable TIFF file");
    const uint8_t flip = photometric == PHOTOMETRIC_MINISWHITE ? 0xff : 0;
    Raster page{static_cast<int>(width), static_cast<int>(height),
                std::vector<uint8_t>(size_t{width} * height)};
    std::vector<uint8_t> line(static_cast<size_t>(TIFFScanlineSize(file.get())));
    for (int y = 0; y < page.height; ++y) {
        if (TIFFReadScanline(file.get(), line.data(), static_cast<uint32_t>(y), 0) != 1)
            throw std::runtime_error(std::string(path) + " ends too early");
        if (y < first)
            continue;
        if (y - first >= count)
            break;
        for (int x = 0; x < page.width; ++x)
            page.row(y)[x] = (line[static_cast<size_t>(x / 8)] >> (7 - x % 8) & 1 ? 0xff : 0) ^ flip;
    }
    return page;
}

class Display
{
public:
    Display() : m_connection(xcb_connect(nullptr, nullptr), &xcb_disconnect)
    {
        if (xcb_connection_has_error(get()) != 0)
            throw std::runtime_error("no display");
    }
    xcb_connection_t* get() const { return m_connection.get(); }
    const xcb_screen_t& screen() const { return *xcb_setup_roots_iterator(xcb_get_setup(get())).data; }

private:
    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> m_connection;
};

// Returns the part of the screen at the place of the window, with any other windows above it.
Screen read_screen(const Display& display, xcb_window_t window)
{
    xcb_connection_t* const x = display.get();
    const xcb_window_t root = display.screen().root;
    const auto size = owned(xcb_get_geometry_reply(x, xcb_get_geometry(x, window), nullptr));
    const auto place =
        owned(xcb_translate_coordinates_reply(x, xcb_translate_coordinates(x, window, root, 0, 0), nullptr));
    if (!size || !place)
        throw std::runtime_error("the window does not exist");
    const auto image =
        owned(xcb_get_image_reply(x,
                                  xcb_get_image(x, XCB_IMAGE_FORMAT_Z_PIXMAP, root, place->dst_x,
                                                place->dst_y, size->width, size->height, ~0U),
                                  nullptr));
    if (!image || image->depth != 24)
        throw std::runtime_error("the window is not completely on a screen of 24 bits");
    std::vector<uint32_t> pixels(size_t{size->width} * size->height);
    if (static_cast<size_t>(xcb_get_image_data_length(image.get())) < pixels.size() * sizeof(uint32_t))
        throw std::runtime_error("the screen does not use 32 bits per pixel");
    std::memcpy(pixels.data(), xcb_get_image_data(image.get()), pixels.size() * sizeof(uint32_t));
    for (uint32_t& pixel : pixels)
        pixel &= 0xffffff;
    return {size->width, size->height, std::move(pixels)};
}

// Returns the number of equal pixels from the first on.
int same_pixels(const uint32_t* screen, const uint8_t* page, int count)
{
    int x = 0;
    while (x < count && screen[x] == page[x] * 0x010101U)
        ++x;
    return x;
}

// Needs a page of noise. kSure x kSure equal pixels then occur only in the view.
int find_view(const Screen& screen, const Raster& page)
{
    constexpr int kSure = 64;
    for (int top = 0; top + kSure <= screen.height; ++top) {
        for (int left = 0; left + kSure <= screen.width; ++left) {
            const int widest = std::min(screen.width - left, page.width);
            const int tallest = std::min(screen.height - top, page.height);
            int width = widest;
            for (int y = 0; y < kSure && width >= kSure; ++y)
                width = same_pixels(screen.row(top + y) + left, page.row(y), width);
            if (width < kSure)
                continue;
            int height = kSure;
            while (height < tallest &&
                   same_pixels(screen.row(top + height) + left, page.row(height), width) == width)
                ++height;
            std::printf("%d %d %d %d\n", left, top, width, height);
            return kSame;
        }
    }
    std::fputs("the window does not show the top left corner of the page\n", stderr);
    return kDifferent;
}

int compare_screen(const Screen& screen, const Raster& page, const std::vector<int>& numbers)
{
    const int page_x = numbers[0], page_y = numbers[1], left = numbers[2], top = numbers[3];
    const int width = numbers[4], height = numbers[5];
    if (page_x < 0 || page_y < 0 || left < 0 || top < 0 || width < 1 || height < 1 ||
        page_x > page.width - width || page_y > page.height - height || left > screen.width - width ||
        top > screen.height - height)
        throw std::runtime_error("the rectangle is not inside the page and the window");
    for (int y = 0; y < height; ++y) {
        const int x = same_pixels(screen.row(top + y) + left, page.row(page_y + y) + page_x, width);
        if (x < width) {
            std::fprintf(stderr, "pixel %d, %d of the view is %06x, pixel %d, %d of the page is %02x\n", x, y,
                         screen.row(top + y)[left + x], page_x + x, page_y + y,
                         unsigned{page.row(page_y + y)[page_x + x]});
            return kDifferent;
        }
    }
    return kSame;
}

[[noreturn]] void cover_screen(const Display& display, const std::vector<int>& place)
{
    xcb_connection_t* const x = display.get();
    const xcb_window_t window = xcb_generate_id(x);
    const uint32_t values[] = {display.screen().white_pixel, 1}; // the window manager leaves it alone
    xcb_create_window(x, XCB_COPY_FROM_PARENT, window, display.screen().root, static_cast<int16_t>(place[0]),
                      static_cast<int16_t>(place[1]), static_cast<uint16_t>(place[2]),
                      static_cast<uint16_t>(place[3]), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    xcb_map_window(x, window);
    // The answer to a request says that the window is there.
    owned(xcb_get_input_focus_reply(x, xcb_get_input_focus(x), nullptr));
    std::printf("%u\n", window);
    std::fflush(stdout);
    while (true)
        pause();
}

int number_in(std::string_view text)
{
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        throw std::runtime_error("not a number: " + std::string(text));
    return value;
}

int run(const std::vector<const char*>& arguments)
{
    const std::string_view command = arguments.empty() ? "" : arguments[0];
    if ((command == "view" && arguments.size() == 3) || (command == "same" && arguments.size() == 9)) {
        const Screen screen = read_screen(Display(), static_cast<xcb_window_t>(number_in(arguments[1])));
        std::vector<int> numbers;
        for (size_t i = 3; i < arguments.size(); ++i)
            numbers.push_back(number_in(arguments[i]));
        const int first = numbers.empty() ? 0 : numbers[1];
        const Raster page = read_page(arguments[2], first, screen.height);
        return numbers.empty() ? find_view(screen, page) : compare_screen(screen, page, numbers);
    }
    if (command == "cover" && arguments.size() == 5)
        cover_screen(Display(), {number_in(arguments[1]), number_in(arguments[2]), number_in(arguments[3]),
                                 number_in(arguments[4])});
    throw std::runtime_error("usage: grab view|same|cover ...");
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return run({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "grab: %s\n", error.what());
        return kTrouble;
    }
}
