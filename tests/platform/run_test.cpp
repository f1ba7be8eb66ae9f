// SPDX-License-Identifier: MIT
// The program's start and message loop. They run in a child process, because a process can have only one Qt
// application.
#include "platform/framewnd.h"
#include "platform/run.h"
#include "tests/support/child.h"

#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <locale.h>

namespace
{
constexpr ApplicationResources kResources{};

class TwoFrameApp : public CWinApp
{
public:
    TwoFrameApp() : CWinApp(kResources) {}
    bool InitInstance() override
    {
        auto* main = new Frame;
        m_pMainWnd = main;
        auto* further = new Frame; // belongs to no document, so nothing else closes it
        if (!main->LoadFrame(1, WS_OVERLAPPEDWINDOW, nullptr) || !further->Create("further", 0, {}, nullptr))
            return false;
        main->ShowWindow(SW_SHOW);
        further->ShowWindow(SW_SHOW);
        return main->PostMessage(WM_CLOSE);
    }
    int ExitInstance() override
    {
        const bool prepared = std::signal(SIGXFSZ, SIG_DFL) == SIG_IGN && *localeconv()->decimal_point == '.';
        return m_lpCmdLine == "a \xff b" && prepared ? 42 : 1;
    }

private:
    class Frame : public CFrameWnd
    {
    };
};

TEST(RunApplication, EndsWithItsMainWindowEvenIfOthersAreOpen)
{
    EXPECT_EQ(InChild([] {
                  setenv("QT_QPA_PLATFORM", "offscreen", 1);
                  TwoFrameApp app;
                  return std::to_string(RunApplication(app, "program", "a \xff b"));
              }),
              "42");
}

} // namespace
