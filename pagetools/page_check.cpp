// SPDX-License-Identifier: MIT
// page-check: decodes every row of every page and prints one line per page.
#include "pagereader.h"
#include "showntext.h"
#include "tool.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

namespace
{
constexpr int64_t kMegapixel = 1'000'000;
constexpr int64_t kMostMegapixels = 5'000'000'000'000; // more than the largest sides have
constexpr const char* kUsualMegapixels = "2000";

struct Result {
    int status = kFailed;
    std::string text;
};

Result Check(const char* path, int64_t most_pixels)
{
    try {
        PageReader reader;
        if (reader.ReadHeader(path) && reader.OpenRaster(most_pixels))
            reader.SkipAllRows();
        return {StatusOf(reader.GetVerdict()), VerdictText(reader.GetVerdict(), reader.Height())};
    } catch (const std::bad_alloc&) {
        return {kFailed, "not enough memory"};
    }
}

// Checks pages in several threads. Take returns the results in the order of the pages. A thread waits if the
// result of its page is not among the next kWindow ones, so that the number of kept results has a limit.
class Checkers
{
public:
    Checkers(std::span<const char* const> pages, int64_t most_pixels)
        : m_pages(pages), m_most_pixels(most_pixels)
    {
        const size_t cores = std::max(std::thread::hardware_concurrency(), 1U);
        try {
            while (m_threads.size() < std::min(cores, pages.size()))
                m_threads.emplace_back([this] { CheckPages(); });
        } catch (const std::system_error&) { // the system allows no more threads
        }
    }
    Checkers(const Checkers&) = delete;
    Checkers& operator=(const Checkers&) = delete;
    ~Checkers()
    {
        for (std::thread& thread : m_threads)
            thread.join();
    }

    // Returns the result of the next page.
    Result Take()
    {
        if (m_threads.empty())
            return Check(m_pages[m_taken++], m_most_pixels);
        std::unique_lock lock{m_mutex};
        std::optional<Result>& result = m_results[m_taken % kWindow];
        m_changed.wait(lock, [&result] { return result.has_value(); });
        Result taken = std::move(*result);
        result.reset();
        ++m_taken;
        m_changed.notify_all();
        return taken;
    }

private:
    static constexpr size_t kWindow = 256;

    void CheckPages()
    {
        std::unique_lock lock{m_mutex};
        while (m_next < m_pages.size()) {
            const size_t page = m_next++;
            m_changed.wait(lock, [this, page] { return page - m_taken < kWindow; });
            lock.unlock();
            Result result = Check(m_pages[page], m_most_pixels);
            lock.lock();
            m_results[page % kWindow] = std::move(result);
            m_changed.notify_all();
        }
    }

    const std::span<const char* const> m_pages;
    const int64_t m_most_pixels;

    std::mutex m_mutex; // for the members below
    std::condition_variable m_changed;
    size_t m_next = 0;  // the next page to check
    size_t m_taken = 0; // results that were taken
    std::array<std::optional<Result>, kWindow> m_results;

    std::vector<std::thread> m_threads;
};

int64_t MostPixels(const Arguments& arguments)
{
    const char* const text = arguments.Has('m') ? arguments.Value('m') : kUsualMegapixels;
    const char* const end = text + std::strlen(text);
    int64_t megapixels = 0;
    const auto [stop, error] = std::from_chars(text, end, megapixels);
    if (error != std::errc{} || stop != end || megapixels < 1 || megapixels > kMostMegapixels)
        throw UsageError{std::string{"option -m needs a whole number from 1 to "} +
                         std::to_string(kMostMegapixels) + ", not " + text};
    return megapixels * kMegapixel;
}

int CheckAll(const Arguments& arguments)
{
    const bool only_faults = arguments.Has('q');
    int status = kGood;
    Checkers checkers{arguments.Pages(), MostPixels(arguments)};
    for (const char* const page : arguments.Pages()) {
        const Result result = checkers.Take();
        status = std::max(status, result.status);
        if (result.status == kFailed)
            PrintMessage(PageName(page) + ": " + result.text);
        else if (result.status != kGood || !only_faults)
            std::printf("%s: %s\n", ShownText(PageName(page)).c_str(), ShownText(result.text).c_str());
        std::fflush(stdout);
    }
    return status;
}

constexpr ToolOption kOptions[] = {
    {'q', nullptr, "print only the lines of pages that are not good"},
    {'m', "MEGAPIXELS", "do not decode pages of more than MEGAPIXELS million pixels (default: 2000)"},
};
constexpr Tool kTool{
    "page-check",
    "PAGE...",
    "Decodes every row of every page and prints one line per page, in the order of the arguments:\n"
    "  PAGE: OK\n"
    "  PAGE: DAMAGED at row N of M: TEXT   the rows before row N are good; the first row is row 0\n"
    "  PAGE: BAD: TEXT                     no page file, no row can be decoded, or above the limit",
    kOptions,
    1,
    SIZE_MAX,
    CheckAll};
} // namespace

int main(int argc, char** argv)
{
    return RunTool(kTool, argc, argv);
}
