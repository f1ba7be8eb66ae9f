// Message maps and class records.
#include "platform/doc.h"
#include "platform/messages.h"

#include <gtest/gtest.h>
#include <limits>

namespace
{
constexpr int kMost = std::numeric_limits<int>::max();

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
