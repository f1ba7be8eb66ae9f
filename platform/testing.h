// Replaceable places, for tests and benchmarks.
#pragma once

#include "platform/app.h"
#include "platform/dialog.h"
#include "platform/filedialog.h"
#include "platform/view.h"

#include <functional>

// A toolkit without a display server (or with the one that the environment names), for the time of a test
// program.
class TestToolkit
{
public:
    TestToolkit(int& argc, char** argv);
    ~TestToolkit();

private:
    class Private;
    std::unique_ptr<Private> m_private;
};

// Runs InitInstance as the program does, shows the main window and pumps until it has been painted.
void StartApplication(CWinApp& app, const CString& command_line);
// Closes the main window if it is still there and runs ExitInstance; its result.
int EndApplication(CWinApp& app);

// Handles input, paints and posted messages until none is left or limit_ms have passed. True if none is left.
bool PumpUntilIdle(int limit_ms = 60000);
// The same until the condition holds. It is asked after each single key, paint or posted message. True if it
// holds.
bool PumpUntil(const std::function<bool()>& condition, int limit_ms = 60000);

int TimerCount(); // timers of all windows that run

// Calls function from the event loop, as something that the display has just sent.
void CallFromLoop(std::function<void()> function);

// Takes the place of message boxes; an empty function restores them.
void SetMessageBoxHook(std::function<void(const CString&)> hook);
// Takes the place of the print dialog: gives the file to print to, or an empty text for Cancel.
void SetPrintDialogHook(std::function<CString(CPrintInfo&)> hook);
// Milliseconds by which work counts as long, see WorkInterrupted; an empty function restores the machine's.
void SetWorkClock(std::function<int64_t()> clock);
bool IsWaitCursorShown();
// What GetKeyState gives for the control key, until the next real key.
void SetControlKeyState(bool down);
// Where settings are kept instead of the user's; an empty path restores that.
void SetSettingsFile(const CString& path);

// Called from the loop of each dialog once the display shows it, to use it as a user would; an empty function
// restores that. A dialog that is still open when it comes back is ended as cancelled: none can block.
void SetDialogHook(std::function<void(CDialog&)> hook);
// Real keys at whichever control has them, as "Tab", "Shift+Down", "Ctrl+A", "Alt+T" or "Return".
void PressDialogKeys(CDialog& dialog, std::initializer_list<const char*> keys);
void TypeText(CDialog& dialog, const char* text); // UTF-8
void ClickControl(CDialog& dialog, UINT id);      // the middle of a button, the mark of a check box
// An entry of a list box or of a combo box's open list.
void ClickEntry(CDialog& dialog, UINT id, int index, bool control = false, bool twice = false);
CString ShownEntry(CDialog& dialog, UINT id, int index); // of a list box, as on the screen
// The dialog from top to bottom: title, then one line a control, as
//     103 list "File list for" [keys] 2 of 17 selected
// with what shows or, of a control that is named by a label, what an aid for the blind reads out.
std::vector<CString> DescribeDialog(CDialog& dialog);

// The same for the dialog that asks for a file. It lists a directory from the loop: wait for what is wanted.
void SetFileDialogHook(std::function<void(CFileDialog&)> hook);
std::vector<CString> ShownFiles(CFileDialog& dialog); // the entries, directories too, in their order
bool ClickFile(CFileDialog& dialog, int index, bool twice = false); // an entry; false if it does not show
void TypeFileName(CFileDialog& dialog, const CString& name);
// The next dialog does not find one of the parts of Qt's dialog that it looks for: the first, second and so
// on.
void LoseFileDialogPart(int number);
bool IsFileDialogPartLost();                           // false if the dialog looked for fewer parts
void ChooseFilter(CFileDialog& dialog, int index);     // from 1
void ClickFileButton(CFileDialog& dialog, int result); // IDOK or IDCANCEL
std::vector<CString>
DescribeFileDialog(CFileDialog& dialog); // title, then the filters, "> " before the chosen

// A copy of a window's client pixels, as they would be shown. rows of width words.
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
GrabbedPixels CopyBuffer(CWnd& window);    // the view's own pixels, without what shows over them
COLORREF BackgroundOf(const CWnd& window); // the grey outside a view's picture

// Real toolkit events at a window, in device pixels of its client area.
enum class TestKey { left, right, up, down, pageUp, pageDown, home, end, escape };
void PressKey(CWnd& window, TestKey key, bool control = false, int times = 1);
void PressAccelerator(CWnd& frame, const char* keys); // as "Ctrl+Alt+N"; activates the frame
void MoveMouse(CWnd& window, CPoint point);
void LeaveWithMouse(CWnd& window);
void PressMouse(CWnd& window, CPoint point, bool right = false);
void ReleaseMouse(CWnd& window, CPoint point, bool right = false);
void DoubleClick(CWnd& window, CPoint point, bool right = false);
void ClickXButton(CWnd& window, CPoint point, XButton button, int times = 1); // quickly after each other
// In eighths of a degree, 120 a notch. pixels: what a driver adds for a display that scrolls by pixels.
void TurnWheel(CWnd& window, int angle_x, int angle_y, bool shift = false, CPoint pixels = {});
void DropFiles(CWnd& window, const std::vector<CString>& paths);
void CloseFrame(CWnd& frame);                // as by its title bar
void ResizeFrame(CWnd& frame, CSize client); // of the frame's inside, menu and bars included
void UncoverFrame(CWnd& frame);              // as another window does that covered it and goes away
void ActivateByUser(CWnd& frame);            // as the window manager does

// The menu of a frame as it shows: one line an entry, "View/&Next Page\tCtrl+Alt+N [disabled]".
std::vector<CString> DescribeMenu(CFrameWnd& frame);

uint64_t PaintCount(const CWnd& window); // paints of a window since it was made
uint64_t CopiedPixels(CWnd& window);     // device pixels of it copied to the screen so far, that are due too
