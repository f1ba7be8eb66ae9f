// SPDX-License-Identifier: MIT
// Messages and commands: their numbers, and the constant tables that map them to handlers.
//
// A class that handles messages has a table of entries, and a map that links the table to the map of its
// base:
//
//     const MessageEntry CPageView::entries[] = {
//         On<WM_SIZE, &CPageView::OnSize>(),            // void (UINT type, int cx, int cy)
//         OnCommand<32776, &CPageView::OnNext>(),       // void ()
//         OnUpdateCommand<32776, &CPageView::OnUpdateNext>(), // void (CCmdUI&)
//         OnControl<LBN_DBLCLK, 103, &CChoice::OnPick>(),     // void (), in a dialog
//     };
//     const MessageMap CPageView::messages{&CScrollView::messages, entries};
//
// On unpacks the two message parameters by the message's own rule. A handler that does not match does not
// compile.
#pragma once

#include "platform/cobject.h"
#include "platform/types.h"

#include <span>
#include <type_traits>

enum Message : UINT {
    WM_DESTROY = 0x0002,
    WM_SIZE = 0x0005,
    WM_ACTIVATE = 0x0006, // to a frame; first parameter: 1 active, 0 no longer active
    WM_PAINT = 0x000f,
    WM_CLOSE = 0x0010,
    WM_KEYDOWN = 0x0100,
    WM_CHAR = 0x0102,
    WM_COMMAND = 0x0111,
    WM_TIMER = 0x0113, // first parameter: the timer's number, see CWnd::SetTimer
    WM_HSCROLL = 0x0114,
    WM_VSCROLL = 0x0115,
    WM_MOUSEMOVE = 0x0200,
    WM_LBUTTONDOWN = 0x0201,
    WM_LBUTTONUP = 0x0202,
    WM_LBUTTONDBLCLK = 0x0203,
    WM_RBUTTONDOWN = 0x0204,
    WM_RBUTTONUP = 0x0205,
    WM_RBUTTONDBLCLK = 0x0206,
    WM_MOUSEWHEEL = 0x020a,
    WM_XBUTTONDOWN = 0x020b, // also sent for the second press of a double click
    WM_DROPFILES = 0x0233,
    WM_MOUSELEAVE = 0x02a3, // the pointer has left a view
    WM_USER = 0x0400,       // the application's own messages begin here
};

enum VirtualKey : UINT {
    VK_CONTROL = 0x11,
    VK_ESCAPE = 0x1b,
    VK_PRIOR = 0x21,
    VK_NEXT = 0x22,
    VK_END = 0x23,
    VK_HOME = 0x24,
    VK_LEFT = 0x25,
    VK_UP = 0x26,
    VK_RIGHT = 0x27,
    VK_DOWN = 0x28,
};

// First parameter of the mouse messages.
enum MouseFlag : UINT { MK_LBUTTON = 1, MK_RBUTTON = 2, MK_SHIFT = 4, MK_CONTROL = 8 };

// High half of the first parameter of WM_XBUTTONDOWN: the mouse's buttons for back and forward.
enum XButton : UINT { XBUTTON1 = 1, XBUTTON2 = 2 };
[[nodiscard]] constexpr UINT XButtonOf(UINT flags)
{
    return flags >> 16;
}

constexpr UINT SIZE_RESTORED = 0; // first parameter of WM_SIZE

class CCmdUI;
class CCmdTarget;

struct MessageEntry {
    enum class Kind : uint8_t { message, command, update, control };
    Kind kind;
    UINT id;
    LRESULT (*invoke)(CCmdTarget& target, WPARAM wParam, LPARAM lParam);
};

struct MessageMap {
    const MessageMap* base; // null at the root
    std::span<const MessageEntry> entries;

    // Searches the entries of this class first, then those of its bases. Returns null if there is none.
    [[nodiscard]] const MessageEntry* Find(MessageEntry::Kind kind, UINT id) const;
};

class CCmdTarget : public CObject
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    enum class CommandStep : uint8_t { run, update };
    // Searches the objects that may handle a command, in the order that the class defines. Calls the first
    // handler found. Returns true if there was one. For `update`, ui is the menu entry or status pane to be
    // updated.
    virtual bool OnCmdMsg(UINT command, CommandStep step, CCmdUI* ui);
    // Returns true if one of these objects has a handler that runs the command.
    [[nodiscard]] virtual bool HasCommandHandler(UINT command);

    // Call BeginWaitCursor before work that may take long, and EndWaitCursor after it. Pairs may be nested.
    // The pointer becomes an hourglass: after a moment with whenDue, at once with atOnce. Use atOnce if a
    // single system call may block. The outermost End restores the pointer.
    enum class Hourglass : uint8_t { whenDue, atOnce };
    static void BeginWaitCursor(Hourglass hourglass = Hourglass::whenDue);
    static void EndWaitCursor();
    // Call this from within the work every few milliseconds; it costs one reading of the clock. It shows the
    // hourglass after the work has lasted a moment. After a second, it checks for the Escape key and for the
    // closing of a window. If it finds one, it returns true from then on until the outermost End, and the
    // work must stop. During a check nothing is painted and no posted message is handled, as while a box is
    // open. Other input waits until the work has ended.
    [[nodiscard]] static bool WorkInterrupted();

protected:
    static const MessageMap messages;
    [[nodiscard]] virtual const MessageMap& GetMessageMap() const { return messages; }
};

namespace message_detail
{
// How On passes the two parameters of a message to its handler. With `unchanged`, the handler receives them
// as they are. With `nothing`, the handler has no parameters.
enum class Rule { unchanged, nothing, size, key, mouse, scroll };

[[nodiscard]] constexpr Rule RuleOf(UINT message)
{
    switch (message) {
    case WM_DESTROY:
    case WM_PAINT:
    case WM_CLOSE:
    case WM_MOUSELEAVE: return Rule::nothing;
    case WM_SIZE: return Rule::size;
    case WM_KEYDOWN:
    case WM_CHAR: return Rule::key;
    case WM_HSCROLL:
    case WM_VSCROLL: return Rule::scroll;
    case WM_MOUSEMOVE:
    case WM_LBUTTONDOWN:
    case WM_LBUTTONUP:
    case WM_LBUTTONDBLCLK:
    case WM_RBUTTONDOWN:
    case WM_RBUTTONUP:
    case WM_RBUTTONDBLCLK:
    case WM_MOUSEWHEEL:
    case WM_XBUTTONDOWN: return Rule::mouse;
    default: return Rule::unchanged;
    }
}

template <class Handler>
struct ClassOf;
template <class C, class R, class... A>
struct ClassOf<R (C::*)(A...)> {
    using type = C;
};
template <auto Handler>
using TargetOf = typename ClassOf<decltype(Handler)>::type;
} // namespace message_detail

template <UINT MessageNumber, auto Handler>
[[nodiscard]] constexpr MessageEntry On()
{
    using message_detail::Rule;
    using C = message_detail::TargetOf<Handler>;
    using H = decltype(Handler);
    constexpr Rule rule = message_detail::RuleOf(MessageNumber);
    if constexpr (rule == Rule::nothing) {
        static_assert(std::is_same_v<H, void (C::*)()>);
        return {MessageEntry::Kind::message, MessageNumber,
                [](CCmdTarget& target, WPARAM, LPARAM) -> LRESULT {
                    (static_cast<C&>(target).*Handler)();
                    return 0;
                }};
    } else if constexpr (rule == Rule::size) {
        static_assert(std::is_same_v<H, void (C::*)(UINT, int, int)>);
        return {MessageEntry::Kind::message, MessageNumber,
                [](CCmdTarget& target, WPARAM w, LPARAM l) -> LRESULT {
                    (static_cast<C&>(target).*Handler)(static_cast<UINT>(w), LowHalf(l), HighHalf(l));
                    return 0;
                }};
    } else if constexpr (rule == Rule::key) {
        static_assert(std::is_same_v<H, void (C::*)(UINT, UINT, UINT)>);
        return {MessageEntry::Kind::message, MessageNumber,
                [](CCmdTarget& target, WPARAM w, LPARAM l) -> LRESULT {
                    (static_cast<C&>(target).*Handler)(static_cast<UINT>(w), static_cast<UINT>(LowHalf(l)),
                                                       static_cast<UINT>(HighHalf(l)));
                    return 0;
                }};
    } else if constexpr (rule == Rule::mouse) {
        static_assert(std::is_same_v<H, void (C::*)(UINT, CPoint)>);
        return {MessageEntry::Kind::message, MessageNumber,
                [](CCmdTarget& target, WPARAM w, LPARAM l) -> LRESULT {
                    (static_cast<C&>(target).*Handler)(static_cast<UINT>(w), CPoint{LowHalf(l), HighHalf(l)});
                    return 0;
                }};
    } else if constexpr (rule == Rule::scroll) {
        static_assert(std::is_same_v<H, void (C::*)(int)>);
        return {MessageEntry::Kind::message, MessageNumber,
                [](CCmdTarget& target, WPARAM, LPARAM l) -> LRESULT {
                    (static_cast<C&>(target).*Handler)(LowHalf(l));
                    return 0;
                }};
    } else {
        static_assert(std::is_same_v<H, LRESULT (C::*)(WPARAM, LPARAM)>);
        return {MessageEntry::Kind::message, MessageNumber,
                [](CCmdTarget& target, WPARAM w, LPARAM l) -> LRESULT {
                    return (static_cast<C&>(target).*Handler)(w, l);
                }};
    }
}

template <UINT Command, auto Handler>
[[nodiscard]] constexpr MessageEntry OnCommand()
{
    using C = message_detail::TargetOf<Handler>;
    static_assert(std::is_same_v<decltype(Handler), void (C::*)()>);
    return {MessageEntry::Kind::command, Command, [](CCmdTarget& target, WPARAM, LPARAM) -> LRESULT {
                (static_cast<C&>(target).*Handler)();
                return 0;
            }};
}

template <UINT Command, auto Handler>
[[nodiscard]] constexpr MessageEntry OnUpdateCommand()
{
    using C = message_detail::TargetOf<Handler>;
    static_assert(std::is_same_v<decltype(Handler), void (C::*)(CCmdUI&)>);
    return {MessageEntry::Kind::update, Command, [](CCmdTarget& target, WPARAM, LPARAM l) -> LRESULT {
                (static_cast<C&>(target).*Handler)(*UnpackPointer<CCmdUI>(l));
                return 0;
            }};
}

// A notification from a control of a dialog. Code is one of the notifications in dialog.h, Id the control's
// number. It arrives as WM_COMMAND, with the number in the lower 16 bits of the first parameter and the code
// in the next 16.
template <UINT Code, UINT Id, auto Handler>
[[nodiscard]] constexpr MessageEntry OnControl()
{
    static_assert(Code <= 0xffff && Id <= 0xffff);
    MessageEntry entry = OnCommand<Code << 16 | Id, Handler>();
    entry.kind = MessageEntry::Kind::control;
    return entry;
}

// An update handler sets the state of one menu entry or status pane in this record.
class CCmdUI
{
public:
    void Enable(bool on) { m_enabled = on; }
    void SetCheck(bool on)
    {
        m_checkable = true;
        m_checked = on;
    }
    [[nodiscard]] bool IsEnabled() const { return m_enabled; }
    [[nodiscard]] bool IsCheckable() const { return m_checkable; }
    [[nodiscard]] bool IsChecked() const { return m_checked; }

private:
    bool m_enabled = true;
    bool m_checkable = false;
    bool m_checked = false;
};
