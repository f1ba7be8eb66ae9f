// Replaceable places, for tests and benchmarks.
#pragma once

#include "platform/app.h"
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
bool PumpUntilIdle(int limit_ms = 10000);
// The same until the condition holds. True if it does.
bool PumpUntil(const std::function<bool()>& condition, int limit_ms = 10000);

// Takes the place of message boxes; an empty function restores them.
void SetMessageBoxHook(std::function<void(const CString&)> hook);
// Takes the place of the print dialog: gives the file to print to, or an empty text for Cancel.
void SetPrintDialogHook(std::function<CString(CPrintInfo&)> hook);
// What GetKeyState gives for the control key, until the next real key.
void SetControlKeyState(bool down);
// Where settings are kept instead of the user's; an empty path restores that.
void SetSettingsFile(const CString& path);

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

// Real toolkit events at a window, in device pixels of its client area.
enum class TestKey { left, right, up, down, pageUp, pageDown, home, end, escape };
void PressKey(CWnd& window, TestKey key, bool control = false, int times = 1);
void PressAccelerator(CWnd& window, const char* keys); // as "Ctrl+Alt+N"
void MoveMouse(CWnd& window, CPoint point);
void PressMouse(CWnd& window, CPoint point, bool right = false);
void ReleaseMouse(CWnd& window, CPoint point, bool right = false);
void DoubleClick(CWnd& window, CPoint point, bool right = false);
void TurnWheel(CWnd& window, int angle_x, int angle_y,
               bool shift = false); // eighths of a degree, 120 a notch
void DropFiles(CWnd& window, const std::vector<CString>& paths);
void ResizeFrame(CWnd& frame, CSize client); // of the frame's inside, menu and bars included

// The menu of a frame as it shows: one line an entry, "View/&Next Page\tCtrl+Alt+N [disabled]".
std::vector<CString> DescribeMenu(CFrameWnd& frame);

uint64_t PaintCount(const CWnd& window); // paints of a window since it was made
