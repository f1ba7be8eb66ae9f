// SPDX-License-Identifier: MIT
// The trace of the run decoders, compiled with a line for each code. The README of the library shows the
// first trace here, as the explanation of the Squeeze code.
#include "kesterlib/unccitt.h"
#include "kesterlib/unsqz.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace
{
using Bytes = std::vector<uint8_t>;

// Decodes two rows of 16 pixels, and then a third one, which the stream does not have.
std::string TraceOf(decltype(Unsqz_Open_MMapped)* open, decltype(Unsqz_Decode)* decode, const Bytes& stream)
{
    testing::internal::CaptureStderr();
    UNCOMP* const frame = open(stream.data(), stream.size(), 16, 2, nullptr);
    Bytes rows(4);
    EXPECT_EQ(decode(frame, 2, rows.data(), 2), 2);
    EXPECT_EQ(rows, (Bytes{0x0E, 0x00, 0x1F, 0x00}));
    EXPECT_LE(decode(frame, 1, rows.data(), 2), 1);
    Uncomp_Free(frame);
    return testing::internal::GetCapturedStderr();
}

TEST(TraceTest, HasALineForEachOpenRowAndCode)
{
    const std::string squeeze = "Squeeze: width 16, row_bytes 2\n"
                                "  A add 5, 3: 4, 7\n"
                                "  A vertical +0: 16\n"
                                "Squeeze row 0: coded, 2 transitions\n"
                                "  A vertical -1: 3\n"
                                "  A vertical +1: 8\n"
                                "  A vertical +0: 16\n"
                                "Squeeze row 1: coded, 2 transitions\n";
    const std::string end = "Squeeze row 2: eof code not zero\n";
    EXPECT_EQ(TraceOf(Unsqz_Open_MMapped, Unsqz_Decode, {0x14, 0xA0, 0x27}), squeeze + end);
    EXPECT_EQ(TraceOf(Unccitt4_Open_MMapped, Unccitt4_Decode, {0x37, 0x53, 0x80, 0x08}),
              "Group 4: width 16, row_bytes 2\n"
              "  horizontal: 4, 7\n"
              "  vertical +0: 16\n"
              "Group 4 row 0: 2 transitions\n"
              "  vertical -1: 3\n"
              "  vertical +1: 8\n"
              "  vertical +0: 16\n"
              "Group 4 row 1: 2 transitions\n"
              "Group 4 row 2: end of line\n");

    std::ifstream file(KESTERLIB_README);
    const std::string readme{std::istreambuf_iterator<char>(file), {}};
    EXPECT_NE(readme.find(": 14 A0 27."), std::string::npos) << "the README has another example";
    EXPECT_NE(readme.find("\n```\n" + squeeze + "```\n"), std::string::npos)
        << "the README has another trace";
}
} // namespace
