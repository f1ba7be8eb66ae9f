// SPDX-License-Identifier: MIT
// Measures how long work lasts. After a moment, shows the hourglass. After a second, handles Qt's events for
// a few milliseconds from time to time. During this time all input is held, and Escape or a close event
// interrupts the work. Sends the held input after the work.
#include "platform/qt/longwork.h"

#include "platform/hooks.h"
#include "platform/messages.h"
#include "platform/qt/display.h"
#include "platform/qt/qt_wnd.h"
#include "platform/qt/queue.h"
#include "platform/wnd.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <QWidget>
#include <QWindow>
#include <algorithm>
#include <ctime>
#include <xcb/xcb.h>

namespace
{
constexpr int64_t kCursorAfterMs = 100;  // duration of the work after which the hourglass is shown
constexpr int64_t kFirstCheckMs = 1000;  // duration of the work before the first check for input
constexpr int64_t kCheckIntervalMs = 30; // time from the end of a check to the next one
constexpr int kLongestCheckMs = 10;      // limit of a check, even if more events arrive

// Sends waiting requests to the display. Otherwise Qt would send the pointer's new shape only after the work.
void FlushDisplay()
{
    if (xcb_connection_t* const connection = XConnection())
        xcb_flush(connection);
}

// Before the first window is shown there is no pointer to change, and loading the shapes would delay the
// start.
bool IsAnyWindowExposed()
{
    const QWindowList windows = QGuiApplication::allWindows();
    return std::any_of(windows.begin(), windows.end(),
                       [](const QWindow* window) { return window->isExposed(); });
}

bool IsEscape(const QEvent* event)
{
    const auto* const key = static_cast<const QKeyEvent*>(event);
    return key->key() == Qt::Key_Escape && key->modifiers() == Qt::NoModifier;
}

bool IsMainWindow(const QObject* receiver)
{
    const CWnd* const main = AfxGetMainWnd();
    const QWidget* const widget = main && main->Peer() ? main->Peer()->Widget() : nullptr;
    return widget && (receiver == widget->window() || receiver == widget->window()->windowHandle());
}

// Returns true if an open dialog blocks the receiver. The dialog may have been opened by held input. No later
// event may then reach the windows that it blocks, except the event that the pointer has left them.
bool IsBlockedByDialog(const QObject* receiver)
{
    const QWidget* const modal = QApplication::activeModalWidget();
    if (!modal)
        return false;
    while (receiver && receiver != modal && receiver != modal->windowHandle())
        receiver = receiver->parent();
    return !receiver;
}
} // namespace

LongWork& LongWork::Get()
{
    static LongWork work;
    return work;
}

// Uses the coarse clock. The clock is read for each row, and a row may take less time than reading the fine
// clock.
int64_t LongWork::Now()
{
    if (const auto& clock_ms = Hooks::Get().work_clock_ms)
        return clock_ms();
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

void LongWork::Begin(bool show_cursor)
{
    if (m_depth++ == 0)
        m_begun = m_lastCheck = Now();
    if (show_cursor && IsAnyWindowExposed())
        ShowCursor();
}

void LongWork::End()
{
    if (m_depth == 0 || --m_depth > 0)
        return;
    HideCursor();
    m_interrupted = false;
    SendHeld();
}

bool LongWork::IsInterrupted()
{
    if (m_depth == 0 || m_checking || !qApp)
        return false;
    if (m_interrupted)
        return true;
    const int64_t now = Now();
    if (now - m_begun < kCursorAfterMs)
        return false;
    ShowCursor();
    if (now - m_begun >= kFirstCheckMs && now - m_lastCheck >= kCheckIntervalMs)
        Check();
    return m_interrupted;
}

void LongWork::ShowCursor()
{
    if (m_shown)
        return;
    m_shown = true;
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    FlushDisplay();
}

void LongWork::HideCursor()
{
    if (!m_shown)
        return;
    m_shown = false;
    QGuiApplication::restoreOverrideCursor();
}

// During the check, the queue handles nothing, and uncovered windows are copied from their buffers, as while
// a box is open.
void LongWork::Check()
{
    const ModalScope modal;
    m_checking = true;
    qApp->installEventFilter(this);
    QCoreApplication::processEvents(QEventLoop::AllEvents, kLongestCheckMs);
    qApp->removeEventFilter(this);
    m_checking = false;
    m_lastCheck = Now();
}

bool LongWork::eventFilter(QObject* receiver, QEvent* event)
{
    switch (static_cast<int>(event->type())) {
    case QEvent::ShortcutOverride: // asks the receiver whether the key is for it and not a shortcut
        event->setAccepted(IsEscape(event));
        return event->isAccepted();
    case QEvent::KeyPress: m_interrupted = m_interrupted || IsEscape(event); break;
    case QEvent::Close:
        m_interrupted = true;
        m_closing = m_closing || IsMainWindow(receiver);
        Hold(receiver, event);
        event->ignore();
        return true;
    case QEvent::KeyRelease:
    case QEvent::Shortcut:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::Leave: // also held, so that it stays after the moves that came before it
    case QEvent::Wheel:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TabletPress:
    case QEvent::TabletMove:
    case QEvent::TabletRelease:
    case QEvent::ContextMenu:
    case QEvent::InputMethod:
    case DroppedFilesEvent::kType: break;
    default: return false;
    }
    Hold(receiver, event);
    event->accept();
    return true;
}

void LongWork::Hold(QObject* receiver, const QEvent* event)
{
    // Only the last position of a moving pointer is needed.
    if (event->type() == QEvent::MouseMove && !m_held.empty() && m_held.back().receiver == receiver &&
        m_held.back().event->type() == QEvent::MouseMove)
        m_held.pop_back();
    HeldEvent held{receiver, std::unique_ptr<QEvent>(event->clone()), {}, {}, {}};
    // A copied event shares its positions with later events of the pointer, which change them. So the
    // positions are stored too.
    if (event->isSinglePointEvent()) {
        const auto* const pointer = static_cast<const QSinglePointEvent*>(event);
        held.local = pointer->position();
        held.scene = pointer->scenePosition();
        held.global = pointer->globalPosition();
    }
    m_held.push_back(std::move(held));
}

// Sends the events after the handler that did the work has returned: one event per round of the loop, in the
// order of arrival.
void LongWork::SendHeld()
{
    if (m_held.empty() && !m_closing)
        return;
    for (HeldEvent& held : std::exchange(m_held, {})) {
        m_ready.push_back(std::move(held));
        QCoreApplication::postEvent(this, new QEvent(QEvent::User));
    }
    QCoreApplication::postEvent(this, new QEvent(QEvent::User)); // when it is handled, m_ready is empty
}

bool LongWork::event(QEvent* event)
{
    if (event->type() != QEvent::User)
        return QObject::event(event);
    if (m_ready.empty()) {
        // The window has handled its close event: it is closed, or it has refused.
        m_closing = m_closing && m_checking;
        return true;
    }
    HeldEvent held = std::move(m_ready.front());
    m_ready.pop_front();
    if (m_checking) // the next work has begun
        m_held.push_back(std::move(held));
    else if (held.receiver && (held.event->type() == QEvent::Leave || !IsBlockedByDialog(held.receiver)))
        Send(held);
    return true;
}

void LongWork::Send(const HeldEvent& held)
{
    QEvent* const event = held.event.get();
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove: {
        const auto* const mouse = static_cast<const QMouseEvent*>(event);
        QMouseEvent again(mouse->type(), held.local, held.scene, held.global, mouse->button(),
                          mouse->buttons(), mouse->modifiers(), mouse->pointingDevice());
        QCoreApplication::sendEvent(held.receiver, &again);
        break;
    }
    case QEvent::Wheel: {
        const auto* const wheel = static_cast<const QWheelEvent*>(event);
        QWheelEvent again(held.local, held.global, wheel->pixelDelta(), wheel->angleDelta(), wheel->buttons(),
                          wheel->modifiers(), wheel->phase(), wheel->inverted());
        QCoreApplication::sendEvent(held.receiver, &again);
        break;
    }
    case QEvent::Close:
        if (auto* const widget = qobject_cast<QWidget*>(held.receiver.data())) {
            widget->close();
            break;
        }
        [[fallthrough]];
    default: QCoreApplication::sendEvent(held.receiver, event);
    }
}

void CCmdTarget::BeginWaitCursor(Hourglass hourglass)
{
    LongWork::Get().Begin(hourglass == Hourglass::atOnce);
}

void CCmdTarget::EndWaitCursor()
{
    LongWork::Get().End();
}

bool CCmdTarget::WorkInterrupted()
{
    return LongWork::Get().IsInterrupted();
}
