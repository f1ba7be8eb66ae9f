// SPDX-License-Identifier: MIT
// Several threads decode, reduce and fail at the same time, each with its own decoders, headers, engines and
// blocks. The library is compiled with the thread sanitizer, which fails the test after a data race.
#include "kesterlib/callback.h"
#include "kesterlib/faxhdr.h"
#include "kesterlib/jbig.h"
#include "kesterlib/scale.h"
#include "kesterlib/status.h"
#include "kesterlib/unccitt.h"
#include "kesterlib/unsqz.h"

#include "pagefile.h"
#include "pages.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

// mktime, which the header reader calls, locks the table of time zones. The sanitizer does not see the lock,
// because the C library is not compiled with it.
// NOLINTNEXTLINE(bugprone-reserved-identifier, readability-identifier-naming)
extern "C" const char* __tsan_default_suppressions()
{
    return "race:tzset_internal\n";
}

namespace
{
using Bytes = std::vector<uint8_t>;
using pages::Bitmap;
using pages::Raster;

constexpr int kThreads = 4, kRounds = 3, kScale = 8;
constexpr Raster kRasters[] = {Raster::Squeeze, Raster::Group4, Raster::Jbig};

// Decodes a page file. Returns its rows, in which 1 is black, or no rows if anything fails.
Bytes Decode(const std::string& path)
{
    FILE* const file = fopen(path.c_str(), "rb");
    FAXHeader* const header = read_FAXHeader_from_file(file);
    if (!header)
        return {};
    const auto width = static_cast<int32_t>(header->DataWidth);
    const auto height = static_cast<int32_t>(header->ImageHeight);
    const int32_t row_bytes = (width + 7) / 8;
    const int32_t kind = header->Compression;
    fseek(file, static_cast<long>(header->HeaderSize), SEEK_SET);
    callback_deallocate(dfcb(), header, "FAXHeader");

    Bytes rows(static_cast<size_t>(row_bytes) * static_cast<size_t>(height));
    int32_t got = 0;
    if (kind == FAXHEADER_JBIG) {
        jbig_data* const dat = Jbig_Open_Input(file);
        got = Jbig_Decode(dat, height, rows.data(), row_bytes);
        for (uint8_t& byte : rows)
            byte = static_cast<uint8_t>(~byte);
        Jbig_Close_Input(dat);
    } else {
        const bool squeeze = kind == FAXHEADER_SQUEEZE;
        UNCOMP* const frame = (squeeze ? Unsqz_Open : Unccitt4_Open)(file, width, row_bytes, nullptr);
        got = (squeeze ? Unsqz_Decode : Unccitt4_Decode)(frame, height, rows.data(), row_bytes);
        Uncomp_Free(frame);
    }
    fclose(file);
    return got == height && kesterlib_open_status() == KESTERLIB_OK ? rows : Bytes{};
}

int32_t Append(int32_t, int32_t out_width, const uint8_t* greys, void* reduced)
{
    static_cast<Bytes*>(reduced)->insert(static_cast<Bytes*>(reduced)->end(), greys, greys + out_width);
    return 1;
}

Bytes Reduce(const Bytes& rows, int width, int height)
{
    Bytes reduced;
    scale_engine* const engine = make_scale_engine(kScale, width, height, 0, &reduced);
    for (size_t at = 0; at < rows.size(); at += static_cast<size_t>(engine->row_bytes))
        EXPECT_EQ(scale_one_row(engine, rows.data() + at, Append), 1);
    finish_scaling(engine, nullptr, Append);
    return reduced;
}

// Makes two fatal reports and fails to open a JBIG entity. Returns the messages, which the block collects.
std::string Fail()
{
    std::string messages;
    callback_block* const block = make_callback_block();
    block->message_file = reinterpret_cast<FILE*>(&messages);
    block->message = [](FILE* to, const char* format, va_list arguments) {
        char text[256];
        vsnprintf(text, sizeof text, format, arguments);
        *reinterpret_cast<std::string*>(to) += text;
        return 0;
    };
    block->message_fflush = [](FILE*) { return 0; };
    block->exit = [](int) {};
    set_callback_slot(CALLBACK_EXIT + 1, block, 0);
    char byte = 0;
    EXPECT_EQ(callback_fread(block, 1, 1, &byte), 0U);
    EXPECT_EQ(Jbig_Open_Input_Callback(block), nullptr);
    EXPECT_EQ(kesterlib_open_status(), KESTERLIB_READ_ERROR);
    dispose_callback_block(block);
    return messages;
}

TEST(Threads, DecodeReduceAndFailAtTheSameTime)
{
    const Bitmap page = pages::draw_page({.draw = pages::Draw::Text, .width = 640, .height = 160});
    std::vector<std::string> files;
    for (const Raster raster : kRasters) {
        files.push_back(testing::TempDir() + "threads-" + std::to_string(static_cast<int>(raster)) + ".fax");
        pages::PageFileOptions options;
        options.raster = raster;
        ASSERT_EQ(pages::write_page_file(files.back(), page, options), "");
    }
    std::vector<std::string> messages(kThreads);
    std::vector<Bytes> decoded(kThreads * kRounds * std::size(kRasters)), reduced(decoded.size());
    std::vector<std::thread> threads;
    for (size_t thread = 0; thread < kThreads; ++thread)
        threads.emplace_back([&, thread] {
            for (size_t i = thread; i < decoded.size(); i += kThreads) {
                decoded[i] = Decode(files[i / kThreads % files.size()]);
                reduced[i] = Reduce(decoded[i], page.width, page.height);
                messages[thread] = Fail();
            }
            dispose_default_callback_block(); // of this thread
        });
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(decoded, std::vector<Bytes>(decoded.size(), page.rows));
    EXPECT_EQ(reduced, std::vector<Bytes>(reduced.size(), Reduce(page.rows, page.width, page.height)));
    EXPECT_EQ(messages, std::vector<std::string>(kThreads, Fail()));
    EXPECT_NE(messages[0].find("CALLBACK_FREAD used, but not installed"), std::string::npos);
    for (const std::string& file : files)
        std::filesystem::remove(file);
}
} // namespace
