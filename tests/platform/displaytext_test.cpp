// SPDX-License-Identifier: MIT
// The conversion of a text of any encoding to one line of UTF-8.
#include "platform/displaytext.h"

#include <gtest/gtest.h>
#include <string>

namespace
{
TEST(DisplayText, IsOneLineOfUtf8CutAtTheEndOfACharacter)
{
    const struct {
        std::string_view text;
        size_t most;
        const char* want;
    } cases[] = {
        {"12.C News", 6, "12.C N"},
        {"a", 0, ""},
        {{"a\0\tb\r\n\x1b\x7f c", 10}, 255, "a  b     c"},
        {"a\u0085b\u009fc\u00a0d\u2028e\u2029f\u202a", 255, "a b c\u00a0d e f\u202a"},
        {"\u00e4\u20ac\U0001f600", 9, "\u00e4\u20ac\U0001f600"},
        {"\u00e4\u20ac\U0001f600", 8, "\u00e4\u20ac"},
        {"\u00e4\u20ac\U0001f600", 1, ""},
        // The whole text is not UTF-8, so it is read as Latin-1, even if the fault is after the cut.
        {"gr\xfc\xdf", 255, "gr\u00fc\u00df"},
        {"gr\xfc\xdf", 5, "gr\u00fc"},
        {"\u00e4 and more\xff", 4, "\u00c3\u00a4"},
        {"a\x80\x9f", 255, "a  "},
        {"a\xc2", 255, "a\u00c2"},                             // ends inside a character
        {"\xc1\xbf", 255, "\u00c1\u00bf"},                     // an overlong form
        {"\xe0\xa0", 255, "\u00e0\u00a0"},                     // two of three bytes
        {"\xed\xa0\xa1", 255, "\u00ed\u00a0\u00a1"},           // half of a surrogate pair
        {"\xf4\xa0\xa1\xa2", 255, "\u00f4\u00a0\u00a1\u00a2"}, // beyond Unicode
        {"\xf8\xa0\xa1\xa2", 255, "\u00f8\u00a0\u00a1\u00a2"},
        {"\xe2\xa0\xff", 255, "\u00e2\u00a0\u00ff"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(DisplayText(c.text, c.most), c.want) << c.most << " bytes of " << c.want;
    const std::string large(20U << 20, 'x');
    EXPECT_EQ(DisplayText(large, 255), std::string(255, 'x'));

    EXPECT_EQ(DisplayBothEnds("path: Open\nfailed", 8, 9), "path: Open failed");
    EXPECT_EQ(DisplayBothEnds("a long path: Open failed", 6, 11), "a long...Open failed");
    EXPECT_EQ(DisplayBothEnds("\u00e4\u00e4\u00e4\u00e4\u00e4", 5, 3), "\u00e4\u00e4...\u00e4");
    EXPECT_EQ(DisplayBothEnds("\xe4\xe4\xe4\xe4\xe4", 5, 3), "\u00e4\u00e4...\u00e4");
    EXPECT_EQ(DisplayBothEnds(large + ": Open failed", 4, 13), "xxxx...: Open failed");
}
} // namespace
