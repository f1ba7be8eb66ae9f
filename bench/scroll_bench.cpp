// SPDX-License-Identifier: MIT
// Counts the lines that a step of scrolling requests and decodes. It must request only the lines that became
// visible, and decode only those of them that were never decoded before. This program measures no times.
// After a wrong count it ends with status 1.
#include "app/lumentaapp.h"
#include "app/lumentadoc.h"
#include "app/lumentaresources.h"
#include "app/lumentavw.h"
#include "app/mainfrm.h"
#include "app/usermsg.h"
#include "bench/benchsystem.h"
#include "bench/countingimage.h"
#include "bench/harness.h"
#include "platform/testing/testing.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace
{
// Counts the lines that paints request from the document.
class CountingView : public CLumentaView
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    void OnDraw(CDC* dc) override
    {
        CRect clip;
        dc->GetClipBox(&clip);
        lines += clip.Height();
        CLumentaView::OnDraw(dc);
    }
    int64_t lines = 0;
};
const CRuntimeClass CountingView::classRecord{"CountingView", &CLumentaView::classRecord,
                                              CreateObjectOf<CountingView>};

class CountingApp : public CLumentaApp
{
public:
    bool InitInstance() override
    {
        AddDocTemplate(std::make_unique<CSingleDocTemplate>(
            kFrameResource, CLumentaDoc::classRecord, CMainFrame::classRecord, CountingView::classRecord));
        OnFileNew();
        return OpenDocumentFile(m_lpCmdLine) != nullptr;
    }
};
} // namespace

int main(int argc, char** argv)
{
    Harness bench(
        argc, argv,
        {.purpose = "counts the rows that a step of scrolling requests; measures no times", .rounds = 1});
    bench.SetWhere(ChooseDisplay() ? kOnX : kInMemory);
    TestApplication application(argc, argv);
    SetSettingsFile("/dev/null");
    CountingApp app;
    StartApplication(app, PagePathOf(kBigPage));
    auto* const frame = DynamicDowncast<CFrameWnd>(app.m_pMainWnd);
    auto* const view = frame ? DynamicDowncast<CountingView>(frame->GetActiveView()) : nullptr;
    CLumentaDoc* const document = view ? view->GetPageDocument() : nullptr;
    Require(document != nullptr, "the page cannot be opened");
    // A window changes its size after it is first shown. Waits until the size is the same twice.
    CRect client;
    const auto settled = [&] {
        return std::exchange(client, view->GetClientRect()) == view->GetClientRect();
    };
    do
        usleep(100'000);
    while (!PumpUntilIdle() || !settled());

    auto counting = std::make_unique<CountingImage>(std::move(document->m_pImage));
    const CountingImage& image = *counting;
    document->m_pImage = std::move(counting);
    view->ScrollToPosition({0, 50}); // past the rows that a larger first size has decoded
    PumpUntilIdle();
    const int window_lines = view->GetClientRect().Height();

    std::printf("a window of %d lines\n%-44s %10s %10s\n", window_lines, "", "requested", "decoded");
    int64_t wrong = 0; // lines
    const auto step = [&](const char* what, int64_t lines, int64_t rows, auto act) {
        const int64_t lines_before = view->lines;
        const int64_t rows_before = image.RowsRead();
        act();
        PumpUntilIdle();
        const int64_t asked = view->lines - lines_before;
        const int64_t read = image.RowsRead() - rows_before;
        const int64_t excess = std::abs(asked - lines) + std::abs(read - rows);
        wrong += excess;
        std::printf("%-44s %10lld %10lld%s\n", what, static_cast<long long>(asked),
                    static_cast<long long>(read), excess == 0 ? "" : "  WRONG COUNT");
    };
    const auto move_by = [&](int dx, int dy) {
        const CPoint at = view->GetScrollPosition();
        view->ScrollToPosition({at.x + dx, at.y + dy});
    };
    step("1 line down, key", 1, 1, [&] { PressKey(*view, TestKey::down); });
    step("7 lines down, a held key", 7, 7, [&] { PressKey(*view, TestKey::down, false, 7); });
    step("48 lines down, a notch of the wheel", 48, 48, [&] { TurnWheel(*view, 0, -120); });
    step("16 lines down", 16, 16, [&] { move_by(0, 16); });
    step("16 and 100 lines down before a paint", 116, 116, [&] { move_by(0, 16), move_by(0, 100); });
    step("a window down, key", window_lines - 1, window_lines - 1,
         [&] { PressKey(*view, TestKey::pageDown); });
    step("16 lines up", 16, 0, [&] { move_by(0, -16); });
    step("16 lines down again", 16, 0, [&] { move_by(0, 16); });
    step("64 pixels sideways", window_lines, 0, [&] { move_by(64, 0); });
    step("5000 lines down", window_lines, 5000, [&] { move_by(0, 5000); });
    step("5000 lines up", window_lines, 0, [&] { move_by(0, -5000); });
    EndApplication(app);
    bench.Report("scrolling, lines requested or decoded beside those that became visible",
                 static_cast<double>(wrong), "lines", AtMost(0));
    return bench.Finish();
}
