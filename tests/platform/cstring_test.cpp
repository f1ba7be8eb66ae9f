// SPDX-License-Identifier: MIT
// The string class: copies, parts, searches and comparison.
#include "platform/cstring.h"

#include <clocale>
#include <gtest/gtest.h>
#include <string>

namespace
{
TEST(CString, CopiesShareUntilOneIsChanged)
{
    CString a{"page\xff"};
    const CString b = a;
    EXPECT_EQ(a.c_str(), b.c_str());
    a += ".fax";
    EXPECT_STREQ(a.c_str(), "page\xff.fax");
    EXPECT_STREQ(b.c_str(), "page\xff");
    // The first argument is the old text of `a`. The result is too long for a buffer on the stack.
    a.Format("%s-%s", a.c_str(), std::string(5000, 'x').c_str());
    EXPECT_EQ(a.View(), "page\xff.fax-" + std::string(5000, 'x'));
    EXPECT_TRUE((CString{static_cast<const char*>(nullptr)}).IsEmpty());
}

TEST(CString, PartsAndSearches)
{
    const CString path{"/a\\b/c:d"};
    CString parts;
    for (const int count : {-1, 0, 3, 8, 99})
        parts = parts + path.Left(count) + "|" + path.Mid(count) + "|" + path.Right(count) + "\n";
    EXPECT_EQ(parts,
              "|/a\\b/c:d|\n|/a\\b/c:d|\n/a\\|b/c:d|c:d\n/a\\b/c:d||/a\\b/c:d\n/a\\b/c:d||/a\\b/c:d\n");
    EXPECT_EQ(path.ReverseFind('/'), 4);
    EXPECT_EQ(path.FindOneOf(":\\"), 2);
    EXPECT_EQ(path.FindLastOf("\\/:"), 6);
    for (const int none : {path.Find('x'), path.FindOneOf(""), path.FindLastOf("xy"), CString{}.Find('\0')})
        EXPECT_EQ(none, -1);
}

TEST(CString, CompareNoCaseFoldsAsciiOnlyInEveryLocale)
{
    struct {
        const char *a, *b;
        int sign;
    } const cases[] = {
        {"", "", 0},   {"FILE.TIF", "file.tif", 0}, {"a", "B", -1},    {"Z", "a", 1},  {"ab", "ABC", -1},
        {"", "a", -1}, {"\xc4", "\xe4", -1},        {"a\xff", "A", 1}, {"_", "A", -1}, {"[", "a", -1},
    };
    for (const char* locale : {"C", "tr_TR.UTF-8", "de_DE.ISO-8859-1"}) {
        std::setlocale(LC_ALL, locale); // without effect if the locale is not installed
        for (const auto& c : cases) {
            const int order = CString{c.a}.CompareNoCase(c.b);
            EXPECT_EQ((order > 0) - (order < 0), c.sign) << c.a << " and " << c.b << " in " << locale;
        }
    }
    std::setlocale(LC_ALL, "C");
    EXPECT_NE(CString(std::string_view{"a\0b", 3}).CompareNoCase(std::string_view{"a\0c", 3}), 0);
}
} // namespace
