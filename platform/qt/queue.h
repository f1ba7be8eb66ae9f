// The layer's own queue: pending keys, invalid windows, posted messages. Each turn of the event loop handles
// one of them, so that Qt can handle input and copy pixels to the screen in between.
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
    // A key press that equals the last waiting one increases its count. Each waiting press becomes one
    // WM_KEYDOWN with its count, and a WM_CHAR unless character is 0.
    void AddKey(CWnd* window, UINT key, UINT character, bool control);
    void DispatchKeys(); // handles all waiting keys, before a mouse message that came later
    void SetTimer(CWnd* window, UINT id, UINT milliseconds);
    void KillTimer(const CWnd* window, UINT id); // also drops its waiting WM_TIMER
    // Adds a view that has an invalid part, so that it is painted.
    void AddDirty(ViewWidget* view);
    // Paints an invalid window at once, unless a modal window is open.
    void PaintNow(ViewWidget* view);
    void AddShown(ViewWidget* view); // adds a view with drawn pixels that are not on the screen yet
    // Call this after input, so that the next paint is copied to the screen without delay.
    void InputHandled();
    // Removes the window or widget from the queue.
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
    // Requests that Qt copies the drawn pixels of all windows to the screen, and updates the status panes.
    void ShowGathered();

    bool m_armed = false; // the event for the next turn is posted
    int m_modal = 0;      // EnterModal calls without their LeaveModal
    uint64_t m_turn = 0;
    bool m_inputSinceShow = false; // input was handled after the last copy to the screen
    QElapsedTimer m_sinceShow;     // started by each copy to the screen
    std::deque<KeyRecord> m_keys;
    const CWnd* m_keyWindow = nullptr; // window that receives the current key; null once it is destroyed
    std::vector<ViewWidget*> m_dirty;  // have an invalid part
    std::deque<PostedMessage> m_posted;
    std::vector<TimerRecord> m_timers;
    std::vector<ViewWidget*> m_shown; // have drawn pixels that are not on the screen yet
};

// Exists while a box or dialog is open.
class ModalScope
{
public:
    ModalScope() { Queue::Get().EnterModal(); }
    ModalScope(const ModalScope&) = delete;
    ModalScope& operator=(const ModalScope&) = delete;
    ~ModalScope() { Queue::Get().LeaveModal(); }
};

// Sets the state of the control key for GetKeyState. This is the state when the current message was created.
void SetControlState(bool down);
