// SPDX-License-Identifier: MIT
// JBIG image entities. The last five bytes of an input choose how it is decoded: rows, rows per call, kind of
// input, bytes per read and in total, pitch. So a seed is an ordinary entity followed by five bytes. Both row
// loops and the slow decoder of the tests must return the same bytes and messages, and read the same pieces.
// Limits that the first two of the five bytes choose must be respected, and change nothing else. The first
// row after the data must be the same in memory and in a stream.
#include "kesterlib/jbig.h"

#include "promise.h"
#include "qdecoder.h"
#include "tests/support/jbig_reference.h"

#include <algorithm>
#include <string>
#include <vector>

namespace
{
using Bytes = std::vector<uint8_t>;
using test_support::InputBlock;
using test_support::JbigReference;
using test_support::TestInput;

struct Decoded {
    Bytes rows;
    std::string error, messages;
    std::vector<size_t> reads;
    friend bool operator==(const Decoded&, const Decoded&) = default;
};

constexpr size_t kHow = 5;

Decoded Decode(kesterlib::JbigRowLoop* loop, const TestInput& input, const uint8_t* how)
{
    // 0 rows: the page may have any width and height, and no row is decoded.
    const int32_t rows = how[2] == 0 ? 0 : 1 + how[0] % 64;
    const int32_t per_call = 1 + how[1] % 8;
    Decoded decoded;
    InputBlock block(input);
    const Bytes exact(input.bytes);
    jbig_data* const dat = input.mapped ? Jbig_Open_Memory(block, exact.data(), exact.size(), nullptr)
                                        : Jbig_Open_Input_Callback(block);
    Promise((dat != nullptr) == (kesterlib_open_status() == KESTERLIB_OK));
    if (dat) {
        reinterpret_cast<kesterlib::Decoder*>(dat)->row_loop = loop;
        const auto row_bytes = static_cast<std::ptrdiff_t>(dat->row_bytes);
        const std::ptrdiff_t pitch = row_bytes + how[4] % 16;
        int32_t done = 0;
        while (done < rows) {
            const int32_t ask = std::min(per_call, rows - done);
            Bytes out(static_cast<size_t>(ask * pitch)); // exact size: shows a byte too far
            const int32_t got = Jbig_Decode(dat, ask, out.data(), static_cast<int32_t>(pitch));
            Promise(got >= 0 && got <= ask && (got < ask) == (Jbig_Error_String(dat) != nullptr));
            for (std::ptrdiff_t row = 0; row < got; ++row)
                decoded.rows.insert(decoded.rows.end(), out.begin() + row * pitch,
                                    out.begin() + row * pitch + row_bytes);
            done += got;
            if (got < ask)
                break;
        }
        Promise(Jbig_Rows_Done(dat) == done);
        Promise((Jbig_Status(dat) == KESTERLIB_OK) == (done == rows));
        const int64_t after = Jbig_First_Row_After_Data(dat);
        Promise(after < done && (after == -1 || after % dat->stripe_lines == 0));
        if (Jbig_Error_String(dat))
            decoded.error = Jbig_Error_String(dat);
        Jbig_Close_Input(dat);
    }
    block.Dispose();
    decoded.messages = InputBlock::TakeMessages(); // including those about memory leaks
    decoded.reads = block.reads;
    Promise(InputBlock::TakeExits().empty()); // no broken invariant
    return decoded;
}

void CheckLimits(const TestInput& input, const uint8_t* how, const Decoded& wanted)
{
    const jbig_limits limits{int64_t{1} << how[1] % 24, int64_t{1} << how[0] % 24};
    const int32_t rows = how[2] == 0 ? 0 : 1 + how[0] % 64;
    InputBlock block(input);
    set_callback_debug_memory(block, 0); // tracking would allocate too
    const Bytes exact(input.bytes);
    jbig_data* const dat = input.mapped ? Jbig_Open_Memory(block, exact.data(), exact.size(), &limits)
                                        : Jbig_Open_Limited(block, &limits);
    constexpr size_t kOthers = sizeof(kesterlib::Decoder) + JBIG_ADAPTOR_BYTES + JBIG_INPUT_BUFFER;
    Promise(block.allocated_bytes <= kOthers + static_cast<size_t>(limits.stripe_bytes));
    if (!dat)
        return;
    const int32_t passed = Jbig_Decode_Discard(dat, rows);
    const auto* const decoder = reinterpret_cast<const kesterlib::Decoder*>(dat);
    Promise(decoder->pixels_done <= limits.pixels);
    const size_t good = wanted.rows.size() / dat->row_bytes;
    Promise(Jbig_Status(dat) == KESTERLIB_TOO_LARGE ? static_cast<size_t>(passed) <= good
                                                    : static_cast<size_t>(passed) == good);
    Jbig_Close_Input(dat);
}

struct AfterData {
    int64_t row = -1;
    int32_t status = KESTERLIB_OK;
};

AfterData FindRowAfterData(TestInput input, const uint8_t* how, bool memory)
{
    input.most_a_read = SIZE_MAX;
    input.most_in_all = SIZE_MAX;
    InputBlock block(input);
    jbig_data* const dat = memory ? Jbig_Open_Memory(block, input.bytes.data(), input.bytes.size(), nullptr)
                                  : Jbig_Open_Input_Callback(block);
    AfterData after;
    if (dat) {
        static_cast<void>(Jbig_Decode_Discard(dat, 1 + how[0] % 64));
        after = {Jbig_First_Row_After_Data(dat), Jbig_Status(dat)};
        Jbig_Close_Input(dat);
    }
    return after;
}

// The status differs if the data end with 0xFF. In a stream, the end marker after this byte is an error.
void CheckRowAfterData(const TestInput& input, const uint8_t* how)
{
    const AfterData memory = FindRowAfterData(input, how, true);
    const AfterData stream = FindRowAfterData(input, how, false);
    Promise(memory.status != stream.status || memory.row == stream.row);
}

Decoded Foretell(const TestInput& input, const uint8_t* how)
{
    const int32_t rows = 1 + how[0] % 64;
    Decoded decoded;
    JbigReference reference(input);
    if (reference.is_open)
        reference.Decode(rows, &decoded.rows);
    decoded.error = reference.is_open ? reference.error : std::string();
    decoded.messages = reference.messages;
    decoded.reads = reference.reads;
    return decoded;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < kHow)
        return 0;
    const uint8_t* const how = data + size - kHow;
    TestInput input;
    input.bytes.assign(data, data + size - kHow);
    const bool any_sides = how[2] == 0;
    if (input.bytes.size() >= READ_BIH_BYTES) {
        const auto number_at = [&input](size_t at) {
            uint64_t number = 0;
            for (size_t i = at; i < at + 4; ++i)
                number = number << 8 | input.bytes[i];
            return number;
        };
        constexpr uint64_t kModest = 1 << 24; // bytes of a stripe buffer that can always be allocated
        const uint64_t stripe_bytes = (number_at(12) + 2) * ((number_at(4) + 7) / 8 + 2);
        if (any_sides && stripe_bytes > kModest && stripe_bytes <= JBIG_LARGEST_STRIPE)
            return 0;
        constexpr struct {
            size_t at;
            uint8_t kept;
        } kSides[] = {{4, 0}, {5, 0}, {6, 7}, {12, 0}, {13, 0}, {14, 0}}; // the reference is slow
        for (const auto& side : kSides)
            if (!any_sides)
                input.bytes[side.at] &= side.kept;
    }
    input.mapped = how[2] % 2 != 0;
    if (!input.mapped && how[2] % 4 == 0) {
        input.most_a_read = how[3] == 0 ? SIZE_MAX : size_t{20} + how[3] * size_t{4};
        input.most_in_all = how[2] % 8 == 0 ? SIZE_MAX : size_t{20} + how[3];
    }
    const Decoded wanted = any_sides ? Decode(kesterlib::jbig_rows_plain, input, how) : Foretell(input, how);
    Promise(Decode(kesterlib::jbig_rows_plain, input, how) == wanted);
    Promise(Decode(kesterlib::jbig_row_loop(), input, how) == wanted);
    CheckLimits(input, how, wanted);
    if (!any_sides)
        CheckRowAfterData(input, how);
    return 0;
}
