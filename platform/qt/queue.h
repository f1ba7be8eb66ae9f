// The layer's own queue: pending keys, invalid windows, posted messages. One of them a turn of the event
// loop, so that the toolkit's input and copies to the screen come in between.
#pragma once

#include "platform/wnd.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <deque>
#include <vector>

class ViewWidget;

class Queue : public QObject
{
public:
    static Queue& Get();

    void Post(CWnd* window, UINT message, WPARAM wParam, LPARAM lParam);
    // Equal presses that wait are merged into one WM_KEYDOWN with their count. character 0: no WM_CHAR
    // follows.
    void AddKey(CWnd* window, UINT key, UINT character, bool control);
    void DispatchKeys(); // what waits, before a mouse message that came later
    void SetTimer(CWnd* window, UINT id, UINT milliseconds);
    void KillTimer(const CWnd* window, UINT id); // a message of it that waits is dropped
    size_t TimerCount() const { return m_timers.size(); }
    void AddDirty(ViewWidget* view);
    void PaintNow(ViewWidget* view);
    void AddShown(ViewWidget* view); // has pixels that the screen has not
    void InputHandled();
    void Forget(const CWnd* window);
    void Forget(const ViewWidget* view);

    // While a modal window is open neither paints nor posted messages are handled.
    void EnterModal();
    void LeaveModal();
    bool IsModal() const { return m_modal > 0; }

    bool IsIdle() const;

protected:
    bool event(QEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    struct TimerRecord {
        CWnd* window;
        UINT id;
        int number; // Qt's
    };
    struct KeyRecord {
        CWnd* window;
        UINT key;
        UINT character;
        UINT count;
        bool control;
    };
    struct PostedMessage {
        CWnd* window;
        UINT message;
        WPARAM wParam;
        LPARAM lParam;
        uint64_t turn; // in which it was posted
    };

    void Kick();
    void Turn();
    void DispatchKey();
    bool PaintOne();
    void HandlePosted();
    void ShowGathered();

    bool m_armed = false;
    int m_modal = 0;
    uint64_t m_turn = 0;
    bool m_inputSinceShow = false;
    QElapsedTimer m_sinceShow;
    std::deque<KeyRecord> m_keys;
    const CWnd* m_keyWindow = nullptr; // that the key at hand goes to, until it is gone
    std::vector<ViewWidget*> m_dirty;
    std::deque<PostedMessage> m_posted;
    std::vector<TimerRecord> m_timers;
    std::vector<ViewWidget*> m_shown;
};

class ModalScope
{
public:
    ModalScope() { Queue::Get().EnterModal(); }
    ModalScope(const ModalScope&) = delete;
    ModalScope& operator=(const ModalScope&) = delete;
    ~ModalScope() { Queue::Get().LeaveModal(); }
};

// The control key as of the message at hand.
void SetControlState(bool down);
