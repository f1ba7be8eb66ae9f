// Work that takes long: the hourglass, and the looks for what the user wants meanwhile.
#pragma once

#include "platform/cstring.h"

#include <QEvent>
#include <QObject>
#include <QPointF>
#include <QPointer>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

// While it looks, it filters the events of the whole program. Escape and the closing of a window interrupt
// the work. These and all other input are held back as events and sent again once the work has ended, so that
// no command, menu or dialog can start within it.
class LongWork final : public QObject
{
public:
    static LongWork& Get();

    void Begin(bool show_cursor);
    void End();
    bool IsInterrupted();

    bool IsLooking() const { return m_looking; }
    // The main window is about to be closed: from then on the work shows no box.
    void InterruptForExit() { m_interrupted = m_closing = true; }
    bool IsClosing() const { return m_closing; }

    // For the time of a box: the pointer has its usual shape, and the time does not count.
    class Pause
    {
    public:
        Pause() { Get().HideCursor(); }
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;
        ~Pause() { Get().m_begun = Now(); }
    };

    // Milliseconds of a clock that never goes back; tests replace it.
    static int64_t Now();
    static std::function<int64_t()> s_clock;

protected:
    bool eventFilter(QObject* receiver, QEvent* event) override;
    bool event(QEvent* event) override;

private:
    struct HeldEvent {
        QPointer<QObject> receiver;
        std::unique_ptr<QEvent> event;
        QPointF local, scene, global; // of an event of the pointer
    };

    void ShowCursor();
    void HideCursor();
    void Look();
    void Hold(QObject* receiver, const QEvent* event);
    void SendHeld();
    static void Send(const HeldEvent& held);

    int m_depth = 0;
    int64_t m_begun = 0;
    int64_t m_looked = 0;
    bool m_shown = false;
    bool m_looking = false;
    bool m_interrupted = false;
    bool m_closing = false;
    std::vector<HeldEvent> m_held;
    std::deque<HeldEvent> m_ready; // of works that have ended
};

// Files that were dropped, to be opened once the program that they come from has got its answer.
class DroppedFilesEvent final : public QEvent
{
public:
    static constexpr Type kType = static_cast<Type>(User + 1);

    explicit DroppedFilesEvent(std::vector<CString> files) : QEvent(kType), paths(std::move(files)) {}
    DroppedFilesEvent* clone() const override { return new DroppedFilesEvent(paths); }

    const std::vector<CString> paths;
};
