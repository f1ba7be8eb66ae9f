// SPDX-License-Identifier: MIT
// The message queue of platform/: waiting keys, views with an invalid part, and posted messages. Each turn of
// the queue is one event of Qt's event loop and handles one of them. Between two turns, Qt can handle input
// and copy pixels to the screen.
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
    [[nodiscard]] static Queue& Get();

    void Post(CWnd* window, UINT message, WPARAM wParam, LPARAM lParam);
    // Adds a key press. If it equals the last waiting key press, only increases the count of that key press.
    // Each waiting key press is sent as a WM_KEYDOWN and a WM_CHAR, both with the count. If `key` is 0, there
    // is no WM_KEYDOWN. If `character` is 0, there is no WM_CHAR.
    void AddKey(CWnd* window, UINT key, UINT character, bool control);
    void DispatchKeys(); // handles all waiting keys; call this before sending a mouse message
    void SetTimer(CWnd* window, UINT id, UINT milliseconds);
    void KillTimer(const CWnd* window, UINT id); // also drops its waiting WM_TIMER
    // Adds a view that has an invalid part, so that it is painted.
    void AddDirty(ViewWidget* view);
    // Paints the view at once, unless a modal window is open.
    void PaintNow(ViewWidget* view);
    // Adds a view that has drawn pixels which are not on the screen yet, so that they are copied to it.
    void AddUnsent(ViewWidget* view);
    // Call this after input, so that the next paint is copied to the screen without delay.
    void InputHandled();
    // Call this before a window or widget is destroyed. Removes everything in the queue that refers to it.
    void Forget(const CWnd* window);
    void Forget(const ViewWidget* view);

    // While a modal window is open, neither paints nor posted messages are handled. Calls may be nested.
    void EnterModal();
    void LeaveModal();
    [[nodiscard]] bool IsModal() const { return m_modal > 0; }

    [[nodiscard]] bool IsIdle() const;

protected:
    bool event(QEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    struct TimerRecord {
        CWnd* window;
        UINT id;
        int number; // number of Qt's timer
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
        uint64_t turn; // turn in which the message was posted
    };

    // Posts the event for the next turn, unless it is already posted or a modal window is open.
    void ScheduleTurn();
    void Turn();
    void DispatchKey();
    [[nodiscard]] bool PaintOne();
    void HandlePosted();
    // Requests that Qt copy the pixels of the views in m_unsent to the screen. Updates the status panes.
    void ShowGathered();

    bool m_armed = false; // the event for the next turn is posted
    int m_modal = 0;      // number of EnterModal calls that no LeaveModal has followed yet
    uint64_t m_turn = 0;
    bool m_inputSinceShow = false; // input was handled after the last copy to the screen
    QElapsedTimer m_sinceShow;     // started by each copy to the screen
    std::deque<KeyRecord> m_keys;
    const CWnd* m_keyWindow = nullptr; // window that receives the current key; null after its destruction
    std::vector<ViewWidget*> m_dirty;  // views with an invalid part
    std::deque<PostedMessage> m_posted;
    std::vector<TimerRecord> m_timers;
    std::vector<ViewWidget*> m_unsent; // views with drawn pixels that are not on the screen yet
};

// Create this for the time while a message box or dialog is open. Calls EnterModal, and LeaveModal at the
// end.
class ModalScope
{
public:
    ModalScope() { Queue::Get().EnterModal(); }
    ModalScope(const ModalScope&) = delete;
    ModalScope& operator=(const ModalScope&) = delete;
    ~ModalScope() { Queue::Get().LeaveModal(); }
};

// Sets the state that GetKeyState returns for the control key. Call this before a key or mouse message is
// sent. `down` is true if the control key was pressed when the user pressed that key or used the mouse.
void SetControlState(bool down);
