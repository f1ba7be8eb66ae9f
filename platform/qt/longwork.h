// SPDX-License-Identifier: MIT
// Work that takes long: shows the hourglass, and checks for input. BeginWaitCursor, EndWaitCursor and
// WorkInterrupted call it (see messages.h).
#pragma once

#include "platform/cstring.h"

#include <QEvent>
#include <QObject>
#include <QPointF>
#include <QPointer>
#include <cstdint>
#include <deque>
#include <memory>
#include <utility>
#include <vector>

// During a check it filters the events of the whole program. Escape and the closing of a window interrupt the
// work. These and all other input events are held, and sent again after the work has ended. So no command,
// menu or dialog can start within the work.
class LongWork final : public QObject
{
public:
    [[nodiscard]] static LongWork& Get();

    void Begin(bool show_cursor);
    void End();
    [[nodiscard]] bool IsInterrupted();

    [[nodiscard]] bool IsChecking() const { return m_checking; }
    // Called when the main window is about to be closed. From then on the work shows no box.
    void InterruptForExit() { m_interrupted = m_closing = true; }
    [[nodiscard]] bool IsClosing() const { return m_closing; }

    // Exists while a box is open. The pointer has its usual shape, and the time is not counted as work.
    class Pause
    {
    public:
        Pause() { Get().HideCursor(); }
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;
        ~Pause() { Get().m_begun = Now(); }
    };

    [[nodiscard]] static int64_t Now(); // in milliseconds, of a clock that never goes back

protected:
    bool eventFilter(QObject* receiver, QEvent* event) override;
    bool event(QEvent* event) override;

private:
    struct HeldEvent {
        QPointer<QObject> receiver;
        std::unique_ptr<QEvent> event;
        QPointF local, scene, global; // of a pointer event
    };

    void ShowCursor();
    void HideCursor();
    void Check();
    void Hold(QObject* receiver, const QEvent* event);
    void SendHeld();
    static void Send(const HeldEvent& held);

    int m_depth = 0;         // Begin calls without their End
    int64_t m_begun = 0;     // in milliseconds
    int64_t m_lastCheck = 0; // time of the last check, in milliseconds
    bool m_shown = false;    // the hourglass
    bool m_checking = false; // a check is running
    bool m_interrupted = false;
    bool m_closing = false;
    std::vector<HeldEvent> m_held;
    std::deque<HeldEvent> m_ready; // of work that has ended; to be sent next
};

// Dropped files, which are opened after the program that they come from has received its answer.
class DroppedFilesEvent final : public QEvent
{
public:
    static constexpr Type kType = static_cast<Type>(User + 1);

    explicit DroppedFilesEvent(std::vector<CString> files) : QEvent(kType), paths(std::move(files)) {}
    DroppedFilesEvent* clone() const override { return new DroppedFilesEvent(paths); }

    const std::vector<CString> paths;
};
