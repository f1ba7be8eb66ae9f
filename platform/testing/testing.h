// SPDX-License-Identifier: MIT
// Functions for tests and benchmarks: they replace parts of the program, act like a user, and read what a
// window shows.
#pragma once

#include "platform/app.h"
#include "platform/dialog.h"
#include "platform/filedialog.h"
#include "platform/freememory.h"
#include "platform/view.h"

#include <functional>
#include <string>

class MarkCalls;

// Qt's application object for a test program. Without the environment variable QT_QPA_PLATFORM it needs no
// display server.
class TestApplication
{
public:
    TestApplication(int& argc, char** argv);
    ~TestApplication();

private:
    class Private;
    std::unique_ptr<Private> m_private;
};

// Runs InitInstance as the program does, and handles input, paints and messages until none is left.
void StartApplication(CWinApp& app, const CString& command_line);
// Closes the main window if it still exists, runs ExitInstance and returns its result.
int EndApplication(CWinApp& app);

// Handles input, paints and posted messages until none is left, or until limit_ms milliseconds have passed.
// Returns true if none is left.
bool PumpUntilIdle(int limit_ms = 60000);
// Handles them until the condition is true, or until the time has passed. The condition is checked after each
// key, paint or posted message. Returns its last result.
bool PumpUntil(const std::function<bool()>& condition, int limit_ms = 60000);

int TimerCount(); // running timers of all windows

// Calls function from the event loop, like an event that the display has just sent.
void CallFromLoop(std::function<void()> function);

// Replaces message boxes. An empty function restores them.
void SetMessageBoxHook(std::function<void(const CString&)> hook);
// Replaces the print dialog. The hook returns the file to print to, or an empty text for Cancel.
void SetPrintDialogHook(std::function<CString(CPrintInfo&)> hook);
// Replaces the clock that measures how long work lasts, see WorkInterrupted. It returns milliseconds. An
// empty function restores the machine's clock.
void SetWorkClock(std::function<int64_t()> clock);
bool IsWaitCursorShown();
// Replaces the user's settings file. An empty path restores it.
void SetSettingsFile(const CString& path);
// Replaces the figures of the free memory. An empty function restores those of the machine.
void SetMemoryStatusSource(std::function<MemoryStatus()> source);
// Replaces the system calls for viewed marks. The caller keeps `calls`. Null restores those of the system.
void SetMarkCalls(MarkCalls* calls);

// The hook is called from the loop of each dialog after the dialog is shown, and uses the dialog as a user
// would. A dialog that is still open after the hook is cancelled, so that no dialog can block the test. An
// empty function removes the hook.
void SetDialogHook(std::function<void(CDialog&)> hook);
// Sends real keys to the control that has the focus, for example "Tab", "Shift+Down", "Ctrl+A" or "Return".
void PressDialogKeys(CDialog& dialog, std::initializer_list<const char*> keys);
void TypeText(CDialog& dialog, const char* text); // UTF-8
void ClickControl(CDialog& dialog, UINT id);      // the middle of a button, the mark of a check box
// Clicks an entry of a list box, or of the opened list of a combo box.
void ClickEntry(CDialog& dialog, UINT id, int index, bool control = false, bool twice = false);
// Returns an entry of a list box as it is shown on the screen.
CString ShownEntry(CDialog& dialog, UINT id, int index);
// Returns a description of the dialog from top to bottom: the title, then one line for each control, such as
//     103 list "File list for" [keys] 2 of 17 selected
// A line contains the accessible name of the control, and its content. [keys] marks the control with the
// focus.
std::vector<std::string> DescribeDialog(CDialog& dialog);

// Sets the hook for the dialog that asks for a file. It is called as the hook of SetDialogHook. This dialog
// reads directories from the loop, so call PumpUntil to wait for the expected entries.
void SetFileDialogHook(std::function<void(CFileDialog&)> hook);
// Returns the entries, including directories, in the order shown.
std::vector<std::string> ShownFiles(CFileDialog& dialog);
// Clicks an entry. Returns false if it is not shown.
bool ClickFile(CFileDialog& dialog, int index, bool twice = false);
void TypeFileName(CFileDialog& dialog, const CString& name);
// A file dialog calls the hook for each part of Qt's dialog that it looks for, and does not find the part if
// the hook returns true. An empty function removes the hook.
void SetHidePartHook(std::function<bool()> hook);
void ChooseFilter(CFileDialog& dialog, int index);     // from 1
void ClickFileButton(CFileDialog& dialog, int result); // IDOK or IDCANCEL
// Returns the title, then the filters, with "> " before the selected one.
std::vector<std::string> DescribeFileDialog(CFileDialog& dialog);

// A copy of a window's client pixels as they would be shown: `height` rows of `width` pixels.
struct GrabbedPixels {
    int width = 0;
    int height = 0;
    std::vector<uint32_t> pixels;
    uint32_t At(int x, int y) const
    {
        return pixels[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
    }
};
GrabbedPixels GrabWindow(CWnd& window);
GrabbedPixels CopyBuffer(CWnd& window);    // the view's own pixels, without the overlay
COLORREF BackgroundOf(const CWnd& window); // the grey outside a view's picture

// Send real Qt events to a window. Points are device pixels of its client area.
enum class TestKey { left, right, up, down, pageUp, pageDown, home, end, escape };
void PressKey(CWnd& window, TestKey key, bool control = false, int times = 1);
void PressAccelerator(CWnd& frame, const char* keys); // for example "Ctrl+Alt+N"; activates the frame
void MoveMouse(CWnd& window, CPoint point);
void LeaveWithMouse(CWnd& window);
void PressMouse(CWnd& window, CPoint point, bool right = false);
void ReleaseMouse(CWnd& window, CPoint point, bool right = false);
void DoubleClick(CWnd& window, CPoint point, bool right = false);
// Clicks `times` times without a pause.
void ClickXButton(CWnd& window, CPoint point, XButton button, int times = 1);
// Angles are in eighths of a degree, 120 per notch. `pixels` is the distance that a driver adds for devices
// that scroll by pixels.
void TurnWheel(CWnd& window, int angle_x, int angle_y, bool shift = false, CPoint pixels = {});
void DropFiles(CWnd& window, const std::vector<CString>& paths);
void CloseFrame(CWnd& frame);                // like the button in its title bar
void ResizeFrame(CWnd& frame, CSize client); // client: the inside of the frame, with menu and bars
void UncoverFrame(CWnd& frame);              // as if a window in front of it was removed
// Activates the frame as a user would, and waits until it is active.
void ActivateByUser(CWnd& frame);

// Returns the menu of a frame as it is shown, one line per entry: "View/&Next Page\tCtrl+Alt+N [disabled]".
std::vector<std::string> DescribeMenu(CFrameWnd& frame);

uint64_t PaintCount(const CWnd& window); // paints of a view since the first call for any view
// Returns the number of device pixels of a window that were copied to the screen since the first call for it,
// including copies that are due.
uint64_t CopiedPixels(CWnd& window);
