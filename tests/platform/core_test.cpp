// Texts, rounding, message parameters, class records and message maps.
#include "platform/cstring.h"
#include "platform/doc.h"
#include "platform/messages.h"

#include <clocale>
#include <gtest/gtest.h>
#include <limits>

namespace
{
constexpr int kMost = std::numeric_limits<int>::max();
constexpr int kLeast = std::numeric_limits<int>::min();

TEST(CString, CopiesShareUntilOneIsChanged)
{
    CString a{"page\xff"};
    const CString b = a;
    EXPECT_EQ(a.c_str(), b.c_str());
    a += ".fax";
    EXPECT_STREQ(a.c_str(), "page\xff.fax");
    EXPECT_STREQ(b.c_str(), "page\xff");
    a.Format("%s-%s", a.c_str(),
             std::string(5000, 'x').c_str()); // an argument is the text itself; longer than a stack buffer
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

TEST(DisplayText, IsOneLineOfUtf8CutAtTheEndOfACharacter)
{
    const struct {
        std::string_view text;
        size_t most;
        const char* want;
    } cases[] = {
        {"12.C News", 255, "12.C News"},
        {"12.C News", 6, "12.C N"},
        {"", 255, ""},
        {"a", 0, ""},
        {{"a\0\tb\r\n\x1b\x7f c", 10}, 255, "a  b     c"},
        {"a\u0085b\u009fc\u00a0d\u2028e\u2029f\u202a", 255, "a b c\u00a0d e f\u202a"},
        {"\u00e4\u20ac\U0001f600", 9, "\u00e4\u20ac\U0001f600"},
        {"\u00e4\u20ac\U0001f600", 8, "\u00e4\u20ac"},
        {"\u00e4\u20ac\U0001f600", 4, "\u00e4"},
        {"\u00e4\u20ac\U0001f600", 1, ""},
        // The whole text is not UTF-8, so it is read as Latin-1, even if the fault is after the cut.
        {"gr\xfc\xdf", 255, "gr\u00fc\u00df"},
        {"gr\xfc\xdf", 4, "gr\u00fc"},
        {"gr\xfc\xdf", 5, "gr\u00fc"},
        {"\u00e4\xff", 255, "\u00c3\u00a4\u00ff"},
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
        std::setlocale(LC_ALL, locale); // if it is not installed, the locale before remains
        for (const auto& c : cases) {
            const int order = CString{c.a}.CompareNoCase(c.b);
            EXPECT_EQ((order > 0) - (order < 0), c.sign) << c.a << " and " << c.b << " in " << locale;
        }
    }
    std::setlocale(LC_ALL, "C");
    EXPECT_NE(CString(std::string_view{"a\0b", 3}).CompareNoCase(std::string_view{"a\0c", 3}), 0);
}

TEST(MulDiv, RoundsHalvesAwayFromZeroAndDetectsOverflow)
{
    struct {
        int a, b, c, want;
    } const cases[] = {
        {7, 1, 2, 4},
        {-7, 1, 2, -4},
        {7, -1, -2, 4},
        {7, 1, -2, -4},
        {5, 1, 3, 2},
        {4, 1, 3, 1},
        {1, 1, 0, -1},
        {0, 5, 7, 0},
        {kMost, kMost, kMost, kMost},
        {kLeast, 1, 1, kLeast},
        {kLeast, -1, 1, -1},
        {kMost, 2, 1, -1},
        {kLeast, kLeast, kLeast, kLeast},
        {kMost, kMost, 1, -1},
        {1, 1, kLeast, 0},
        {kMost, 1, kLeast, -1},
    };
    for (const auto& c : cases)
        EXPECT_EQ(MulDiv(c.a, c.b, c.c), c.want) << c.a << " * " << c.b << " / " << c.c;
}

TEST(MessageWords, PackedPointsKeepTheirSigns)
{
    for (const int x : {0, 1, -1, 40000, -40000, kMost, kLeast})
        for (const int y : {0, 1, -1, 40000, -40000, kMost, kLeast}) {
            EXPECT_EQ(LowHalf(PackPoint(x, y)), x);
            EXPECT_EQ(HighHalf(PackPoint(x, y)), y);
        }
}

class Target : public CCmdTarget
{
public:
    const MessageMap& Map() const { return GetMessageMap(); }
    CString log;

    void OnSize(UINT type, int cx, int cy) { log.Format("size %u %d %d", type, cx, cy); }
    void OnKey(UINT key, UINT count, UINT flags) { log.Format("key %u %u %u", key, count, flags); }
    void OnMouse(UINT flags, CPoint point) { log.Format("mouse %u %d %d", flags, point.x, point.y); }
    void OnScroll(int position) { log.Format("scroll %d", position); }
    LRESULT OnOwn(WPARAM w, LPARAM l)
    {
        log.Format("own %llx %llx", static_cast<unsigned long long>(w), static_cast<unsigned long long>(l));
        return 5;
    }
    void OnUpdate(CCmdUI& ui) { ui.Enable(false); }

protected:
    static const MessageEntry entries[];
    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }
};
const MessageEntry Target::entries[] = {
    On<WM_SIZE, &Target::OnSize>(),       On<WM_KEYDOWN, &Target::OnKey>(),
    On<WM_MOUSEMOVE, &Target::OnMouse>(), On<WM_VSCROLL, &Target::OnScroll>(),
    On<WM_USER, &Target::OnOwn>(),        OnUpdateCommand<8, &Target::OnUpdate>(),
};
const MessageMap Target::messages{&CCmdTarget::messages, entries};

TEST(RuntimeClass, DowncastFollowsTheRecords)
{
    Target target; // has the record of its base class
    EXPECT_EQ(DynamicDowncast<CCmdTarget>(&target), &target);
    EXPECT_EQ(DynamicDowncast<CDocument>(&target), nullptr);
    EXPECT_EQ(DynamicDowncast<CDocument>(nullptr), nullptr);
}

TEST(MessageMap, UnpacksTheParametersOfEachMessage)
{
    struct {
        UINT message;
        WPARAM w;
        LPARAM l;
        const char* want;
        LRESULT result;
    } const cases[] = {
        {WM_SIZE, SIZE_MAXIMIZED, PackPoint(70000, -3), "size 2 70000 -3", 0},
        {WM_KEYDOWN, VK_DOWN, PackPoint(9, 1), "key 40 9 1", 0},
        {WM_MOUSEMOVE, MK_CONTROL, PackPoint(-70000, 2), "mouse 8 -70000 2", 0},
        {WM_VSCROLL, 0, PackPoint(kMost, 0), "scroll 2147483647", 0},
        {WM_USER, 0xfedcba9876543210, 0x123456789abcdef0, "own fedcba9876543210 123456789abcdef0", 5},
    };
    Target target;
    for (const auto& c : cases) {
        const MessageEntry* entry = target.Map().Find(MessageEntry::Kind::message, c.message);
        ASSERT_TRUE(entry) << c.want;
        EXPECT_EQ(entry->invoke(target, c.w, c.l), c.result) << c.want;
        EXPECT_EQ(target.log, c.want);
    }
    EXPECT_EQ(target.Map().Find(MessageEntry::Kind::message, 8), nullptr);   // 8 is a command, not a message
    EXPECT_FALSE(target.OnCmdMsg(8, CCmdTarget::CommandStep::run, nullptr)); // has only an update handler
    EXPECT_FALSE(target.HasCommandHandler(8));
}
} // namespace
