// SPDX-License-Identifier: MIT
// Each turn handles a key if one is waiting, else a paint, else a posted message. Views that have drawn
// pixels are collected, and their pixels are copied to the screen together.
#include "platform/qt/queue.h"

#include "platform/framewnd.h"
#include "platform/qt/viewwidget.h"

#include <QCoreApplication>
#include <QEvent>
#include <algorithm>
#include <climits>

namespace
{
// Minimum time between two copies to the screen while work is waiting. Otherwise the copies could take more
// time than the work itself. After input, pixels are copied at once.
constexpr qint64 kShowEveryMs = 8;

bool g_control_down = false;

void UpdateStatusPanes()
{
    if (auto* frame = DynamicDowncast<CFrameWnd>(AfxGetMainWnd()))
        frame->UpdateStatusPanes();
}
} // namespace

void SetControlState(bool down)
{
    g_control_down = down;
}

int16_t GetKeyState(UINT virtual_key)
{
    return virtual_key == VK_CONTROL && g_control_down ? INT16_MIN : int16_t{0};
}

Queue& Queue::Get()
{
    static Queue queue;
    return queue;
}

void Queue::Post(CWnd* window, UINT message, WPARAM wParam, LPARAM lParam)
{
    m_posted.push_back({window, message, wParam, lParam, m_turn});
    ScheduleTurn();
}

void Queue::AddKey(CWnd* window, UINT key, UINT character, bool control)
{
    if (!m_keys.empty()) {
        KeyRecord& last = m_keys.back();
        if (last.window == window && last.key == key && last.character == character &&
            last.control == control) {
            ++last.count;
            return;
        }
    }
    m_keys.push_back({window, key, character, 1, control});
    ScheduleTurn();
}

void Queue::SetTimer(CWnd* window, UINT id, UINT milliseconds)
{
    KillTimer(window, id);
    if (const int number = startTimer(static_cast<int>(std::min<UINT>(milliseconds, INT_MAX))); number != 0)
        m_timers.push_back({window, id, number});
}

void Queue::KillTimer(const CWnd* window, UINT id)
{
    std::erase_if(m_timers, [&](const TimerRecord& timer) {
        if (timer.window != window || timer.id != id)
            return false;
        killTimer(timer.number);
        return true;
    });
    std::erase_if(m_posted, [&](const PostedMessage& posted) {
        return posted.window == window && posted.message == WM_TIMER && posted.wParam == id;
    });
}

void Queue::timerEvent(QTimerEvent* event)
{
    const auto timer = std::find_if(m_timers.begin(), m_timers.end(), [event](const TimerRecord& each) {
        return each.number == event->timerId();
    });
    if (timer == m_timers.end() || m_modal > 0)
        return;
    const bool is_waiting = std::any_of(m_posted.begin(), m_posted.end(), [&](const PostedMessage& posted) {
        return posted.window == timer->window && posted.message == WM_TIMER && posted.wParam == timer->id;
    });
    if (!is_waiting)
        Post(timer->window, WM_TIMER, timer->id, 0);
}

void Queue::AddDirty(ViewWidget* view)
{
    if (std::find(m_dirty.begin(), m_dirty.end(), view) == m_dirty.end())
        m_dirty.push_back(view);
    ScheduleTurn();
}

void Queue::PaintNow(ViewWidget* view)
{
    if (m_modal > 0)
        return; // the window stays invalid until the modal window is closed
    std::erase(m_dirty, view);
    view->Paint(m_turn);
}

void Queue::AddUnsent(ViewWidget* view)
{
    if (std::find(m_unsent.begin(), m_unsent.end(), view) == m_unsent.end())
        m_unsent.push_back(view);
    ScheduleTurn();
}

void Queue::InputHandled()
{
    m_inputSinceShow = true;
    ScheduleTurn();
}

void Queue::Forget(const CWnd* window)
{
    std::erase_if(m_keys, [&](const KeyRecord& key) { return key.window == window; });
    std::erase_if(m_posted, [&](const PostedMessage& posted) { return posted.window == window; });
    std::erase_if(m_timers, [&](const TimerRecord& timer) {
        if (timer.window == window)
            killTimer(timer.number);
        return timer.window == window;
    });
    if (m_keyWindow == window)
        m_keyWindow = nullptr;
}

void Queue::Forget(const ViewWidget* view)
{
    std::erase(m_dirty, view);
    std::erase(m_unsent, view);
}

void Queue::EnterModal()
{
    ShowGathered(); // so the screen shows the current pixels while the modal window is open
    ++m_modal;
}

void Queue::LeaveModal()
{
    if (--m_modal == 0)
        ScheduleTurn();
}

bool Queue::IsIdle() const
{
    return m_keys.empty() && m_posted.empty() && m_dirty.empty() && m_unsent.empty();
}

void Queue::ScheduleTurn()
{
    if (m_armed || m_modal > 0 || !QCoreApplication::instance())
        return;
    m_armed = true;
    // The priority is below that of Qt's own update requests. An event that is posted during a round of the
    // event loop is handled in the next round, after the events from the display.
    QCoreApplication::postEvent(this, new QEvent(QEvent::User), Qt::LowEventPriority - 1);
}

bool Queue::event(QEvent* event)
{
    if (event->type() != QEvent::User)
        return QObject::event(event);
    m_armed = false;
    if (m_modal == 0)
        Turn();
    return true;
}

void Queue::Turn()
{
    ++m_turn;
    if (!m_keys.empty())
        DispatchKey();
    else if (!PaintOne())
        HandlePosted();
    const bool left = !m_keys.empty() || !m_dirty.empty() || !m_posted.empty();
    // The next paint shows the result of input. So after input, pixels are copied as soon as no paint is
    // waiting.
    const bool answered = m_inputSinceShow && m_dirty.empty();
    if (!left || answered || !m_sinceShow.isValid() || m_sinceShow.elapsed() >= kShowEveryMs)
        ShowGathered();
    if (left)
        ScheduleTurn();
}

void Queue::DispatchKey()
{
    const KeyRecord key = m_keys.front();
    m_keys.pop_front();
    m_inputSinceShow = true;
    SetControlState(key.control);
    const LPARAM count = PackPoint(static_cast<int>(key.count), 0);
    // WM_KEYDOWN may destroy the window and delete the object. Forget then clears m_keyWindow.
    m_keyWindow = key.window;
    if (key.key != 0)
        key.window->SendMessage(WM_KEYDOWN, key.key, count);
    if (key.character != 0 && m_keyWindow == key.window)
        key.window->SendMessage(WM_CHAR, key.character, count);
}

void Queue::DispatchKeys()
{
    while (!m_keys.empty() && m_modal == 0)
        DispatchKey();
}

bool Queue::PaintOne()
{
    // Some windows were painted since they were added, or their invalid part is gone.
    std::erase_if(m_dirty, [](const ViewWidget* view) { return !view->NeedsPaint(); });
    // A posted message waits for at most one paint of each window. So a window that was painted after the
    // message was posted must wait for the message.
    const uint64_t posted_turn = m_posted.empty() ? UINT64_MAX : m_posted.front().turn;
    for (size_t i = 0; i < m_dirty.size(); ++i) {
        ViewWidget* view = m_dirty[i];
        if (view->LastPaintTurn() > posted_turn)
            continue;
        m_dirty.erase(m_dirty.begin() + static_cast<ptrdiff_t>(i));
        view->Paint(m_turn);
        return true;
    }
    return false;
}

void Queue::HandlePosted()
{
    if (m_posted.empty())
        return;
    const PostedMessage posted = m_posted.front();
    m_posted.pop_front();
    posted.window->SendMessage(posted.message, posted.wParam, posted.lParam);
}

void Queue::ShowGathered()
{
    for (ViewWidget* view : m_unsent)
        view->ShowChanged();
    m_unsent.clear();
    if (m_dirty.empty())
        m_inputSinceShow = false;
    UpdateStatusPanes(); // not only when idle, because paints and messages may continue for long
    m_sinceShow.start();
}
