// SPDX-License-Identifier: MIT
// Compares the JBIG decoder with a slow reference decoder. Rows, counts, messages, positions and reads must
// be the same in every variant and for any stream. Also decodes streams of the public library's encoder.
#include "kesterlib/jbig.h"

#include "jbigencode.h"
#include "pages.h"
#include "qdecoder.h"
#include "tests/support/jbig_reference.h"
#include "tests/support/jbigkit.h"
#include "tests/support/random_page.h"
#include "tests/support/short_malloc.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{
using Bytes = std::vector<uint8_t>;
using pages::Bitmap;
using test_support::InputBlock;
using test_support::Inverted;
using test_support::JbigReference;
using test_support::RandomPage;
using test_support::TestInput;

enum class From { Memory, Block, Stream };
struct Variant {
    const char* name;
    From from;
    bool plain; // use the row loop for every machine
    int per_call, more_pitch;
};
constexpr Variant kVariants[] = {
    {"mapped", From::Memory, false, 1 << 20, 0}, {"mapped, plain", From::Memory, true, 3, 1},
    {"block", From::Block, false, 1, 2},         {"block, plain", From::Block, true, 1 << 20, 0},
    {"stream", From::Stream, false, 5, 9},
};

TestInput On(const Variant& variant, TestInput input)
{
    input.mapped = variant.from == From::Memory;
    if (input.mapped) {
        input.bytes.erase(input.bytes.begin(),
                          input.bytes.begin() + static_cast<std::ptrdiff_t>(input.start));
        input.start = 0;
    }
    return input;
}

// Every third call skips its rows.
bool Discards(int call)
{
    return call % 3 == 2;
}

JbigReference Foretell(const Variant& variant, const TestInput& input, int rows, Bytes* want)
{
    JbigReference reference(input);
    for (int done = 0, call = 0; reference.is_open && done < rows; ++call) {
        const int ask = std::min(variant.per_call, rows - done);
        const int got = reference.Decode(ask, Discards(call) ? nullptr : want);
        done += got;
        if (got < ask)
            break;
    }
    return reference;
}

void ExpectSameState(const jbig_data* dat, const JbigReference& want)
{
    EXPECT_EQ(Jbig_Error_String(dat) ? Jbig_Error_String(dat) : std::string(), want.error);
    EXPECT_EQ(dat->stripe_number, want.stripe_number);
    if (want.stripe_number == 0)
        return;
    EXPECT_EQ(dat->qm_a, want.a);
    EXPECT_EQ(dat->qm_c, want.c);
    EXPECT_EQ(dat->ct, want.ct);
    EXPECT_EQ(Bytes(dat->adaptor, dat->adaptor + JBIG_ADAPTOR_BYTES), want.Adaptor());
    if (!want.error.empty())
        return; // after an error the position is undefined
    const int64_t in_buffer = dat->input_buffer ? dat->io_buffer_end - dat->io_buffer : 0;
    EXPECT_EQ(dat->input_buffer ? callback_ftell(dat->block) - in_buffer
                                : dat->io_buffer - dat->buffer_origin,
              static_cast<int64_t>(want.position));
}

// Decodes in one variant, each call into memory of exactly its size, and compares with the reference.
void ExpectAsReference(const Variant& variant, const TestInput& input, int rows)
{
    Bytes want_rows;
    const JbigReference want = Foretell(variant, input, rows, &want_rows);
    InputBlock block(input);
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::tmpfile(), fclose);
    Bytes exact = input.bytes; // so that a read after the end is detected
    exact.shrink_to_fit();
    jbig_data* dat = nullptr;
    if (variant.from == From::Memory) {
        dat = Jbig_Open_Input_MMapped(exact.data(), exact.size());
    } else if (variant.from == From::Block) {
        dat = Jbig_Open_Input_Callback(block);
    } else {
        ASSERT_TRUE(exact.empty() || fwrite(exact.data(), exact.size(), 1, file.get()) == 1);
        fseek(file.get(), static_cast<long>(input.start), SEEK_SET);
        dat = Jbig_Open_Input(file.get());
    }
    ASSERT_EQ(dat != nullptr, want.is_open) << block.TakeMessages();
    if (dat) {
        InputBlock::Silence(dat->block);
        if (variant.plain)
            reinterpret_cast<kesterlib::Decoder*>(dat)->row_loop = kesterlib::jbig_rows_plain;
        const size_t row_bytes = (want.width + size_t{7}) / 8;
        const size_t pitch = row_bytes + static_cast<size_t>(variant.more_pitch);
        Bytes got_rows;
        for (int done = 0, call = 0; done < rows; ++call) {
            const int ask = std::min(variant.per_call, rows - done);
            Bytes buffer(static_cast<size_t>(ask) * pitch, 0xA5);
            const int got = Discards(call)
                                ? Jbig_Decode_Discard(dat, ask)
                                : Jbig_Decode(dat, ask, buffer.data(), static_cast<int32_t>(pitch));
            ASSERT_GE(got, 0);
            for (size_t i = 0; !Discards(call) && i < static_cast<size_t>(got); ++i) {
                const uint8_t* const row = buffer.data() + i * pitch;
                got_rows.insert(got_rows.end(), row, row + row_bytes);
                for (size_t pad = row_bytes; pad < pitch; ++pad)
                    ASSERT_EQ(row[pad], pad < row_bytes + 2 ? 0 : 0xA5) << "row " << i << " of call " << call;
            }
            done += got;
            EXPECT_EQ(dat->lines_delivered, static_cast<uint32_t>(done));
            EXPECT_EQ(Jbig_Rows_Done(dat), done);
            if (got < ask) {
                EXPECT_EQ(Jbig_Decode(dat, 1, buffer.data(), 1), 0) << "a row after the end";
                EXPECT_EQ(Jbig_Decode_Discard(dat, 1), 0) << "a row after the end";
                break;
            }
        }
        EXPECT_EQ(Jbig_Status(dat) == KESTERLIB_OK, want.error.empty());
        ASSERT_EQ(got_rows, want_rows);
        ExpectSameState(dat, want);
        EXPECT_EQ(Jbig_Close_Input(dat), 1);
    }
    block.Dispose();
    EXPECT_EQ(block.TakeMessages(), want.messages); // with those about memory that was not released
    EXPECT_EQ(block.TakeExits(), std::vector<int>{});
    if (variant.from == From::Block) {
        EXPECT_EQ(block.reads, want.reads);
    }
}

void ExpectAsReference(const TestInput& input, int rows)
{
    const bool breaks_off = input.most_a_read != SIZE_MAX || input.most_in_all != SIZE_MAX;
    for (const Variant& variant : kVariants) {
        if (breaks_off && variant.from != From::Block)
            continue;
        SCOPED_TRACE(variant.name);
        ExpectAsReference(variant, On(variant, input), rows);
    }
}

// ---- Pages and encoders

Bytes EncodePublic(const Bitmap& page, unsigned long stripe_rows)
{
    return test_support::EncodeWithJbigkit(page.rows, page.width, page.height, stripe_rows);
}

Bytes EncodeOwn(const Bitmap& page, uint32_t stripe_rows, pages::StripeEnd end)
{
    return pages::encode_jbig(page, {stripe_rows, end, pages::JbigOne::Black});
}

Bytes Header(uint32_t width, uint32_t stripe_lines)
{
    Bytes header(20);
    header[2] = 1;
    for (size_t i = 0; i < 4; ++i) {
        header[4 + i] = static_cast<uint8_t>(width >> (24 - 8 * i));
        header[12 + i] = static_cast<uint8_t>(stripe_lines >> (24 - 8 * i));
    }
    return header;
}

TestInput Behind(size_t start, const Bytes& stream)
{
    TestInput input;
    input.bytes.assign(start, 0x41);
    input.bytes.insert(input.bytes.end(), stream.begin(), stream.end());
    input.start = start;
    return input;
}

// ---- Tests

TEST(Jbig, DecodesStreamsOfThePublicLibrary)
{
    std::mt19937 random(82);
    std::vector<int> widths = {127, 128, 129, 500, 1000, 2047, 4100, 9001};
    for (int width = 1; width <= 70; ++width)
        widths.push_back(width);
    for (const int width : widths)
        for (const unsigned long stripe_rows : {2ul, 3ul, 128ul, 0ul}) {
            const int rows = width > 1000 ? 20 : 45;
            Bitmap page = RandomPage(random, width, rows);
            if (random() % 2)
                page = Inverted(page);
            SCOPED_TRACE(testing::Message() << width << " wide, L0 " << stripe_rows);
            const Bytes stream = EncodePublic(page, stripe_rows ? stripe_rows : static_cast<unsigned>(rows));
            ExpectAsReference(Behind(width % 3 * size_t{50}, stream), rows);
            JbigReference reference(Behind(0, stream));
            Bytes decoded;
            reference.Decode(rows, &decoded);
            ASSERT_EQ(decoded, page.rows);
            if (HasFailure())
                return;
        }
    // A page with few black pixels uses the states of high certainty.
    const Bitmap dots = pages::draw_page({pages::Draw::Text, 1500, 900, 300, 300, 1});
    JbigReference reference(Behind(0, EncodePublic(dots, 128)));
    Bytes decoded;
    reference.Decode(900, &decoded);
    EXPECT_EQ(decoded, dots.rows);
}

TEST(Jbig, KeepsOrResetsTheContextsAndAlwaysKeepsTheRowsAbove)
{
    std::mt19937 random(1);
    for (int n = 0; n < 160; ++n) {
        const int width = n < 120 ? 1 + n : n * 17;
        const Bitmap page = RandomPage(random, width, 21);
        const uint32_t stripe_rows = n % 4 == 0 ? 1 : static_cast<uint32_t>(1 + n % 7);
        const Bytes stream =
            EncodeOwn(n % 2 ? page : Inverted(page), stripe_rows,
                      n % 3 ? pages::StripeEnd::ResetContexts : pages::StripeEnd::KeepContexts);
        SCOPED_TRACE(testing::Message() << width << " wide, L0 " << stripe_rows);
        ExpectAsReference(Behind(0, stream), 30); // more rows than coded: the rest is decoded from bits of 0
        Bytes decoded;
        JbigReference(Behind(0, stream)).Decode(21, &decoded);
        ASSERT_EQ(decoded, n % 2 ? page.rows : Inverted(page).rows);
        if (HasFailure())
            return;
    }
}

TEST(Jbig, SurvivesEveryCutAndEveryFlippedBit)
{
    std::mt19937 random(2);
    for (const int width : {5, 64, 97}) {
        const int rows = 14;
        const Bytes stream = EncodeOwn(RandomPage(random, width, rows), 6, pages::StripeEnd::ResetContexts);
        for (size_t cut = 0; cut <= stream.size(); ++cut)
            for (const Bytes& end : {Bytes{}, Bytes{0xFF, 0x02}, Bytes{0xFF, 0xFF, 0x03}}) {
                Bytes bytes(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(cut));
                bytes.insert(bytes.end(), end.begin(), end.end());
                SCOPED_TRACE(testing::Message() << width << " wide, cut at " << cut);
                ExpectAsReference(Behind(0, bytes), rows + 9);
                if (HasFailure())
                    return;
            }
        for (size_t bit = 0; bit < stream.size() * 8; ++bit) {
            Bytes damaged = stream;
            damaged[bit / 8] ^= static_cast<uint8_t>(0x80 >> bit % 8);
            // The reference would take too long for some sides. ReportsEveryFaultOfAHeader covers them.
            const bool side = (bit >= 32 && bit < 52) || (bit >= 96 && bit < 116);
            if (side)
                continue;
            SCOPED_TRACE(testing::Message() << width << " wide, bit " << bit);
            ExpectAsReference(Behind(0, damaged), rows + 9);
            if (HasFailure())
                return;
        }
    }
}

// Random bytes decode to a page of noise. Many bytes are 0xFF, also near the end of a read.
TEST(Jbig, AgreesWithTheReferenceOnRandomBytes)
{
    std::mt19937 random(3);
    constexpr uint8_t kBehindFf[] = {0x00, 0x00, 0x00, 0x02, 0x03, 0x04, 0xFF};
    for (int n = 0; n < 900; ++n) {
        const auto width = static_cast<uint32_t>(1 + random() % (n % 2 ? 90 : 700));
        const auto stripe_lines = static_cast<uint32_t>(1 + random() % 20);
        Bytes stream = Header(width, stripe_lines);
        stream.resize(n % 8 == 0 ? 9000 : 20 + random() % 900);
        const bool one_byte = random() % 4 == 0; // long runs without an event
        for (size_t i = 20; i < stream.size(); ++i)
            stream[i] = one_byte ? 0x13 : static_cast<uint8_t>(random() % 255);
        const auto put_ff = [&stream, &random, kBehindFf](size_t at, bool harmless) {
            if (at < 20 || at + 1 >= stream.size())
                return;
            stream[at] = 0xFF;
            stream[at + 1] = harmless ? 0 : kBehindFf[random() % std::size(kBehindFf)];
        };
        for (unsigned i = random() % 12; i > 0; --i)
            put_ff(20 + random() % (stream.size() - 20), random() % 3 != 0);
        for (const size_t end : {size_t{20 + 4096}, size_t{20 + 8192}})
            if (random() % 2)
                put_ff(end - 3 + random() % 6, random() % 3 != 0);
        if (random() % 4 == 0)
            stream.push_back(0xFF);
        stream.insert(stream.end(), {0xFF, static_cast<uint8_t>(2 + random() % 2)});
        TestInput input = Behind(random() % 9, stream);
        const int rows = static_cast<int>(2 + random() % (n % 8 == 0 ? 150 : 60));
        SCOPED_TRACE(testing::Message() << "stream " << n << ", " << width << " wide, L0 " << stripe_lines);
        ExpectAsReference(input, rows);
        // The same from an input that ends early.
        if (n % 2)
            input.most_a_read = 20 + random() % 900;
        else
            input.most_in_all = input.start + 20 + random() % (stream.size() - 20);
        ExpectAsReference(input, rows);
        if (HasFailure())
            return;
    }
}

TEST(Jbig, AnUnknownReadErrorNeedsNoMemory)
{
    const Bitmap page(8, 300);
    TestInput input{EncodeOwn(page, 300, pages::StripeEnd::KeepContexts)};
    input.most_in_all = 20;
    input.error = 100'000;
    InputBlock block(input);
    jbig_data* const dat = Jbig_Open_Input_Callback(block);
    ASSERT_NE(dat, nullptr);
    block.allocations_left = 0;
    g_mallocs_left = 0;
    uint8_t row = 0;
    EXPECT_EQ(Jbig_Decode(dat, 1, &row, 1), 0);
    g_mallocs_left = -1;
    EXPECT_STREQ(Jbig_Error_String(dat), "Unknown error code, #100000");
    Jbig_Close_Input(dat);
}

TEST(Jbig, NeedsNoErrorSlot)
{
    callback_block* const empty = make_callback_block();
    TestInput input{EncodeOwn(Bitmap(8, 300), 300, pages::StripeEnd::KeepContexts)};
    input.most_in_all = 20;
    InputBlock block(input);
    block->file = stdin; // only passed to the slots
    block->ferror = empty->ferror;
    dispose_callback_block(empty);
    jbig_data* const dat = Jbig_Open_Input_Callback(block);
    uint8_t row = 0;
    EXPECT_EQ(Jbig_Decode(dat, 1, &row, 1), 0);
    EXPECT_EQ(Jbig_Status(dat), KESTERLIB_CUT_OFF);
    EXPECT_EQ(block.TakeExits(), std::vector<int>{});
    Jbig_Close_Input(dat);
}

TEST(Jbig, ReportsEveryFaultOfAHeader)
{
    const struct {
        const char* what;
        std::vector<std::pair<size_t, uint8_t>> patches; // offset and new byte
        const char* word;                                // expected in the messages; null: the open succeeds
        int32_t status;
    } cases[] = {
        {"a valid header", {}, nullptr, KESTERLIB_OK},
        {"layers", {{0, 1}, {1, 9}}, "BIE Byte 0 (initial resolution) /= 0", KESTERLIB_NOT_SUPPORTED},
        {"planes", {{2, 2}}, "BIE Byte 2 (number of bitplanes) /= 1", KESTERLIB_NOT_SUPPORTED},
        {"the spare byte", {{3, 1}}, "BIE Byte 3 (spare) /=0", KESTERLIB_NOT_SUPPORTED},
        {"three faults", {{1, 1}, {17, 127}, {19, 0x40}}, "BIE Byte 17 ( MY ) /= 0", KESTERLIB_NOT_SUPPORTED},
        {"two other faults", {{16, 8}, {18, 1}}, "BIE Byte 18 ( BIH spec ) /= 0", KESTERLIB_NOT_SUPPORTED},
        {"no width", {{7, 0}}, "BIE XD (width) is 0", KESTERLIB_BAD_CODE},
        {"no stripe", {{15, 0}}, "BIE L0 (lines in a stripe) is 0", KESTERLIB_BAD_CODE},
        {"widest",
         {{4, 0x7F}, {5, 0xFF}, {6, 0xFF}, {7, 0xF8}},
         "BIE XD (width) is too large",
         KESTERLIB_TOO_LARGE},
        {"one pixel less",
         {{4, 0x7F}, {5, 0xFF}, {6, 0xFF}, {7, 0xF7}},
         "BIE stripe is too large",
         KESTERLIB_TOO_LARGE},
        {"longest stripe",
         {{12, 0xFF}, {13, 0xFF}, {14, 0xFF}, {15, 0xFF}},
         "BIE stripe is too large",
         KESTERLIB_TOO_LARGE},
        {"any height", {{8, 0xFF}, {11, 0xFF}}, nullptr, KESTERLIB_OK},
        {"a wrong end", {{22, 0xFE}}, "End of file not in JBIG format", KESTERLIB_CUT_OFF},
        {"the other right end", {{23, 3}}, nullptr, KESTERLIB_OK},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.what);
        Bytes stream = Header(16, 4);
        stream.insert(stream.end(), {0x12, 0x34, 0xFF, 0x02});
        for (const auto& [at, byte] : one.patches)
            stream[at] = byte;
        ExpectAsReference(Behind(7, stream), 3);
        const JbigReference reference(Behind(7, stream));
        EXPECT_EQ(reference.is_open, one.word == nullptr);
        Jbig_Close_Input(Jbig_Open_Input_MMapped(stream.data(), stream.size()));
        EXPECT_EQ(kesterlib_open_status(), one.status);
        if (one.word) {
            EXPECT_NE(reference.messages.find(one.word), std::string::npos) << reference.messages;
        }
    }
    // The limit itself: 256 MiB in rows of 1024 bytes. Without the reference, which would need memory for
    // each pixel.
    for (const uint32_t rows : {(256u << 20) / 1024 - 2, (256u << 20) / 1024 - 1}) {
        Bytes stream = Header((1024 - 2) * 8, rows);
        stream.insert(stream.end(), {0xFF, 0x02});
        InputBlock block(Behind(0, stream));
        jbig_data* const dat = Jbig_Open_Input_Callback(block);
        EXPECT_EQ(dat != nullptr, rows == (256u << 20) / 1024 - 2);
        if (!dat) {
            EXPECT_EQ(kesterlib_open_status(), KESTERLIB_TOO_LARGE);
            EXPECT_LT(block.allocated_bytes, 16384u) << "memory for the rows was allocated";
        }
        Jbig_Close_Input(dat);
    }
    EXPECT_EQ(Jbig_Open_Input(nullptr), nullptr);
    EXPECT_EQ(kesterlib_open_status(), KESTERLIB_NOT_SUPPORTED);
    EXPECT_EQ(Jbig_Open_Input_MMapped(nullptr, 100), nullptr);
    EXPECT_EQ(kesterlib_open_status(), KESTERLIB_CUT_OFF);
    EXPECT_EQ(Jbig_Open_Input_Callback(nullptr), nullptr);
    EXPECT_EQ(kesterlib_open_status(), KESTERLIB_NOT_SUPPORTED);
    InputBlock too_short(Behind(0, {0, 0, 1, 0, 0xFF, 0x02}));
    EXPECT_EQ(Jbig_Open_Input_Callback(too_short), nullptr);
    EXPECT_EQ(kesterlib_open_status(), KESTERLIB_CUT_OFF);
}

TEST(Jbig, OpensOnlyWithMemoryAndASeekableStream)
{
    std::mt19937 random(5);
    const Bitmap page = RandomPage(random, 20000, 4);
    const TestInput input = Behind(30, EncodeOwn(page, 128, pages::StripeEnd::KeepContexts));
    int needed = -1;
    for (jbig_data* dat = nullptr; !dat;) {
        InputBlock block(input);
        set_callback_debug_memory(block, 0); // tracking would allocate too
        block.allocations_left = ++needed;
        dat = Jbig_Open_Input_Callback(block);
        EXPECT_EQ(block->allocation_count - block->deallocation_count, dat ? 4u : 1u) << needed;
        EXPECT_EQ(kesterlib_open_status(), dat ? KESTERLIB_OK : KESTERLIB_NO_MEMORY);
        if (!dat)
            continue;
        // The rows, the input buffer, the contexts and the record. Decoding allocates nothing.
        EXPECT_LE(block.allocated_bytes, 130u * (2500 + 2) + 4096 + 1024 + 8192);
        Bytes rows(page.rows.size());
        EXPECT_EQ(Jbig_Decode(dat, 4, rows.data(), 2500), 4);
        EXPECT_EQ(rows, page.rows);
        Jbig_Close_Input(dat);
        EXPECT_EQ(block->allocation_count, 4u);
    }
    EXPECT_EQ(needed, 4);

    for (const int seeks : {0, 1}) {
        InputBlock block(input);
        block.seeks_left = seeks;
        EXPECT_EQ(Jbig_Open_Input_Callback(block), nullptr);
        EXPECT_EQ(kesterlib_open_status(), KESTERLIB_READ_ERROR);
        EXPECT_NE(block.TakeMessages().find(seeks == 0 ? "seeking EOF -2" : "Seek failed"),
                  std::string::npos);
        block.Dispose();
        EXPECT_EQ(block.TakeMessages(), "") << "memory was not released";
    }
}

TEST(Jbig, WritesAtMostPitchBytesOfARow)
{
    const Bitmap page = Inverted(Bitmap(80, 2));
    const Bytes stream = EncodeOwn(page, 2, pages::StripeEnd::KeepContexts);
    for (const int32_t pitch : {0, 3, 10, 11, 12, 14, -1}) {
        SCOPED_TRACE(pitch);
        jbig_data* const dat = Jbig_Open_Input_MMapped(stream.data(), stream.size());
        ASSERT_NE(dat, nullptr);
        Bytes buffer(40, 0x11);
        EXPECT_EQ(Jbig_Decode(dat, 0, buffer.data() + 10, pitch), 0);
        EXPECT_EQ(dat->stripe_number, 0u) << "a stripe was decoded for 0 rows";
        EXPECT_EQ(Jbig_Decode(dat, 2, buffer.data() + 10, pitch), 2);
        Bytes want(40, 0x11);
        for (int row = 0; row < 2; ++row)
            for (int i = 0; i < std::min(pitch, 12); ++i)
                want[static_cast<size_t>(10 + row * pitch + i)] = i < 10 ? 0xFF : 0;
        EXPECT_EQ(buffer, want);
        Jbig_Close_Input(dat);
    }
}

// After the end of the data, stripes are decoded from bits of 0 until one equals the one before.
TEST(Jbig, StripesThatRepeatAreNotDecodedAgain)
{
    for (const int width : {1, 9, 640})
        for (const uint32_t stripe_rows : {1u, 2u, 7u, 130u}) {
            SCOPED_TRACE(testing::Message() << width << " wide, L0 " << stripe_rows);
            std::mt19937 random(5);
            const int rows = static_cast<int>(300 + 4 * stripe_rows);
            for (const Bitmap& page : {RandomPage(random, width, 20), Bitmap(width, 200)}) {
                ExpectAsReference(Behind(0, EncodeOwn(page, stripe_rows, pages::StripeEnd::KeepContexts)),
                                  rows);
                if (HasFailure())
                    return;
            }
        }
    // Two billion rows. Decoding them one by one would take minutes.
    const Bytes blank = EncodeOwn(Bitmap(1000, 300), 100, pages::StripeEnd::KeepContexts);
    jbig_data* const dat = Jbig_Open_Input_MMapped(blank.data(), blank.size());
    Bytes row(125, 0x11);
    EXPECT_EQ(Jbig_Decode_Discard(dat, 2010), 2010);
    EXPECT_EQ(Jbig_Decode_Discard(dat, INT32_MAX), INT32_MAX);
    EXPECT_EQ(dat->lines_delivered, 2010u + INT32_MAX);
    EXPECT_EQ(Jbig_First_Row_After_Data(dat), 300);
    EXPECT_EQ(dat->stripe_number, (dat->lines_delivered + 99) / 100);
    EXPECT_EQ(Jbig_Decode(dat, 1, row.data(), 125), 1);
    EXPECT_EQ(row, Bytes(125, 0));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(Jbig_Decode_Discard(dat, INT32_MAX), INT32_MAX);
    EXPECT_EQ(Jbig_Rows_Done(dat), 2011 + int64_t{4} * INT32_MAX);
    Jbig_Close_Input(dat);
}

TEST(Jbig, CallsTheErrorSlotWithinALargeStripe)
{
    static int asked;
    static int ends_at;
    constexpr int32_t kStripeRows = 100;
    for (const uint32_t width : {640u, 1u << 16})
        for (const int end : {0, 1, 3}) {
            SCOPED_TRACE(testing::Message() << width << " wide, " << end);
            Bytes stream = Header(width, kStripeRows);
            stream.insert(stream.end(), {0xFF, 0x02});
            InputBlock block(Behind(0, stream));
            block->file = stdin; // without a stream the slot is not called
            asked = 0;
            ends_at = end;
            block->ferror = [](FILE*) -> int { return ++asked == ends_at; };
            jbig_data* const dat = Jbig_Open_Input_Callback(block);
            ASSERT_NE(dat, nullptr);
            const bool large = width > 640;
            const bool ends = large && end > 0;
            EXPECT_EQ(Jbig_Decode_Discard(dat, 2 * kStripeRows), ends ? 0 : 2 * kStripeRows);
            EXPECT_EQ(asked, !large ? 0 : ends ? end : 6); // 65536 x 100 pixels are more than 3 x 2^21
            EXPECT_STREQ(Jbig_Error_String(dat), ends ? "Error reading file" : nullptr);
            EXPECT_EQ(Jbig_Status(dat), ends ? KESTERLIB_INTERRUPTED : KESTERLIB_OK);
            EXPECT_EQ(block.TakeMessages(), "");
            EXPECT_EQ(Jbig_Decode_Discard(dat, 1), ends ? 0 : 1);
            Jbig_Close_Input(dat);
        }
}

TEST(Jbig, AReadOfMoreBytesThanRequestedIsTheEndOfTheInput)
{
    Bytes stream = Header(64, 8);
    stream.resize(400, 0x55);
    stream.insert(stream.end(), {0xFF, 0x02});
    InputBlock block(Behind(0, stream));
    jbig_data* const dat = Jbig_Open_Input_Callback(block);
    ASSERT_NE(dat, nullptr);
    block->fread = [](void*, size_t, size_t count, FILE*) { return count + 1; };
    uint8_t row[8];
    EXPECT_EQ(Jbig_Decode(dat, 1, row, 8), 0);
    EXPECT_NE(block.TakeMessages().find("Ran out of JBIG data"), std::string::npos);
    Jbig_Close_Input(dat);
}

TEST(Jbig, SaysWhyAStripeFailed)
{
    const struct {
        const char* name;
        Bytes data;          // after the header
        size_t most_in_all;  // position at which the stream ends too early
        bool stream, failed; // the block has a stream; its ferror slot reports an error
        int32_t status;
    } cases[] = {
        {"a stripe of bits of 0", {}, SIZE_MAX, false, false, KESTERLIB_OK},
        {"another marker", {0xFF, 0x04}, SIZE_MAX, false, false, KESTERLIB_BAD_CODE},
        {"a short stream", Bytes(50, 0x55), 30, true, false, KESTERLIB_CUT_OFF},
        {"an empty stream", Bytes(50, 0x55), 20, true, false, KESTERLIB_CUT_OFF},
        {"a read error", Bytes(50, 0x55), 30, true, true, KESTERLIB_READ_ERROR},
        {"a short block without a stream", Bytes(50, 0x55), 30, false, true, KESTERLIB_CUT_OFF},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.name);
        TestInput input = Behind(0, Header(640, 100));
        input.bytes.insert(input.bytes.end(), one.data.begin(), one.data.end());
        input.bytes.insert(input.bytes.end(), {0xFF, 0x02});
        input.most_in_all = one.most_in_all;
        InputBlock block(input);
        block->file = one.stream ? stdin : nullptr;
        block.read_error = one.failed;
        jbig_data* const dat = Jbig_Open_Input_Callback(block);
        ASSERT_NE(dat, nullptr);
        EXPECT_EQ(Jbig_Decode_Discard(dat, 1), one.status == KESTERLIB_OK);
        EXPECT_EQ(Jbig_Status(dat), one.status);
        Jbig_Close_Input(dat);
    }
}

TEST(Jbig, FindsTheFirstRowAfterTheData)
{
    std::mt19937 random(11);
    constexpr int kStripeRows = 8;
    for (int n = 0; n < 60; ++n) {
        const int stripes = 1 + n % 4;
        Bitmap page = RandomPage(random, n % 2 ? 9 + n : 1000, stripes * kStripeRows);
        if (n % 3 == 0) // stripes without a byte of their own
            std::fill(page.rows.begin() + (n % 2) * static_cast<std::ptrdiff_t>(page.rows.size() / 2),
                      page.rows.end(), uint8_t{0});
        const Bytes stream =
            n % 5 == 0 ? EncodePublic(page, kStripeRows)
                       : EncodeOwn(page, kStripeRows,
                                   n % 2 ? pages::StripeEnd::ResetContexts : pages::StripeEnd::KeepContexts);
        for (const bool memory : {false, true}) {
            SCOPED_TRACE(testing::Message() << "page " << n << (memory ? " in memory" : ""));
            InputBlock block(Behind(0, stream));
            jbig_data* const dat = memory ? Jbig_Open_Memory(block, stream.data(), stream.size(), nullptr)
                                          : Jbig_Open_Limited(block, nullptr);
            EXPECT_EQ(Jbig_Decode_Discard(dat, page.height), page.height);
            EXPECT_EQ(Jbig_First_Row_After_Data(dat), -1);
            EXPECT_EQ(Jbig_Decode_Discard(dat, 1), 1);
            EXPECT_EQ(Jbig_First_Row_After_Data(dat), page.height);
            EXPECT_EQ(Jbig_Decode_Discard(dat, 9 * kStripeRows), 9 * kStripeRows);
            EXPECT_EQ(Jbig_First_Row_After_Data(dat), page.height);
            Jbig_Close_Input(dat);
            if (HasFailure())
                return;
        }
    }
}

TEST(Jbig, RespectsTheLimitsOfTheCaller)
{
    std::mt19937 random(12);
    constexpr int32_t kRows = 10; // of a stripe
    constexpr int64_t kStripeBytes = (kRows + 2) * (100 / 8 + 1 + 2);
    const Bytes stream = EncodeOwn(RandomPage(random, 100, 5 * kRows), kRows, pages::StripeEnd::KeepContexts);
    const struct {
        jbig_limits limits;
        int32_t rows; // delivered, of 50; -1: the open fails
    } cases[] = {
        {{0, 0}, 50},
        {{-1, -1}, 50},
        {{INT64_MAX, INT64_MAX}, 50},
        {{kStripeBytes, 5 * kRows * 100}, 50},
        {{kStripeBytes - 1, 0}, -1},
        {{1, 0}, -1},
        {{0, 5 * kRows * 100 - 1}, 40},
        {{0, 999}, 0},
    };
    for (const auto& one : cases)
        for (const bool memory : {false, true}) {
            SCOPED_TRACE(testing::Message() << one.limits.stripe_bytes << ", " << one.limits.pixels);
            InputBlock block(Behind(0, stream));
            jbig_data* const dat = memory ? Jbig_Open_Memory(block, stream.data(), stream.size(), &one.limits)
                                          : Jbig_Open_Limited(block, &one.limits);
            EXPECT_EQ(dat != nullptr, one.rows >= 0);
            EXPECT_EQ(kesterlib_open_status(), dat ? KESTERLIB_OK : KESTERLIB_TOO_LARGE);
            if (dat) {
                EXPECT_EQ(Jbig_Decode_Discard(dat, 5 * kRows), one.rows);
                EXPECT_EQ(Jbig_Status(dat), one.rows == 50 ? KESTERLIB_OK : KESTERLIB_TOO_LARGE);
                EXPECT_EQ(Jbig_Error_String(dat) == nullptr, one.rows == 50);
                Jbig_Close_Input(dat);
            }
            EXPECT_EQ(block->deallocation_count, block->allocation_count);
        }
    // Stripes that repeat do not count.
    const jbig_limits one_page{0, 600 * 1000};
    const Bytes blank = EncodeOwn(Bitmap(1000, 300), 100, pages::StripeEnd::KeepContexts);
    InputBlock block;
    jbig_data* const dat = Jbig_Open_Memory(block, blank.data(), blank.size(), &one_page);
    EXPECT_EQ(Jbig_Decode_Discard(dat, INT32_MAX), INT32_MAX);
    Jbig_Close_Input(dat);
}
} // namespace
