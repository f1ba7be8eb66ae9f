// SPDX-License-Identifier: MIT
// The overview of a page of 600 million pixels in three formats, on a screen of 1280 x 960. Measures its
// processor time without paints, the time of a batch of one line, its memory, and how long a key in the page
// view waits for its paint while the picture grows in its own window. The windows are on X if the display has
// that size.
#include "app/lumentaapp.h"
#include "app/lumentadoc.h"
#include "app/lumentavw.h"
#include "app/mainfrm.h"
#include "app/overview.h"
#include "app/scaleddib.h"
#include "app/usermsg.h"
#include "bench/benchsystem.h"
#include "bench/harness.h"
#include "platform/qt/qt_view.h"
#include "platform/testing/testing.h"

#include <QCoreApplication>
#include <QInputDevice>
#include <QKeyEvent>
#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace
{
constexpr CSize kScreen{1280, 960};
constexpr CSize kPage{20'000, 30'000};
constexpr double kOverviewGoalMs = 100; // processor time, for formats with has_cpu_goal
constexpr double kKeyGoalMs = 50;
constexpr double kMemoryGoalKb = 2048; // without the mapped rows
constexpr int kLeastKeys = 60, kKeysAnOverview = 20;

struct Format {
    const char* name;
    const char* page;
    double batch_goal_ms;
    bool has_cpu_goal, with_keys;
};
constexpr Format kFormats[] = {
    {"Group 4", "big-group4.fax", 10, true, true},
    {"Squeeze", "big-squeeze.fax", 10, false, false},
    {"JBIG, 128 lines per stripe", "big-jbig.fax", 40, false, true},
};

double CpuMs()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto ms = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1000 + static_cast<double>(time.tv_usec) / 1000;
    };
    return ms(usage.ru_utime) + ms(usage.ru_stime);
}

bool OpenPage(CLumentaDoc& document, const Format& format)
{
    if (!document.OnOpenDocument(PagePathOf(format.page)) || document.m_nWidth != kPage.cx ||
        document.m_nDepth != kPage.cy || document.m_hTempFile == kInvalidFile)
        return false;
    document.m_nLinesPerUpdate = 1;
    return true;
}

bool IsWhole(const CLumentaDoc& document)
{
    return document.m_pScaled && document.m_pScaled->HasAllLines() && !document.m_bReadError;
}

// Memory in kB.
struct Growth {
    long most = 0;    // largest growth of anonymous memory: picture, rows of the decoder and of the engine
    long picture = 0; // size of the picture
};

// Makes all lines, without timing. Returns their greys and the memory.
bool Check(const Format& format, std::vector<uint8_t>* greys, Growth* growth)
{
    CLumentaDoc document;
    if (!OpenPage(document, format))
        return false;
    malloc_trim(0); // otherwise freed memory of earlier pages would be reused and not counted
    const long before = ReadProcessMemory(getpid()).anonymous;
    document.MakeScaledBitmap(ChooseScale(kPage, kScreen));
    while (true) {
        growth->most = std::max(growth->most, ReadProcessMemory(getpid()).anonymous - before);
        if (!document.IsScaling())
            break;
        document.ScaleNextLines();
    }
    if (!IsWhole(document))
        return false;
    const CScaledDIBitmap& picture = *document.m_pScaled;
    growth->picture = picture.m_nSize / 1024;
    greys->clear();
    for (int32_t y = 0; y < picture.m_nHeight; ++y)
        for (int32_t x = 0; x < picture.m_nWidth; ++x)
            greys->push_back(picture.m_pInfo->colors[picture.m_pBits[y * picture.m_nStride + x]].red);
    return true;
}

// Whether both are the picture of the same page, and not blank. If one format counts black and the other
// white pixels, the rounding differs by one.
bool IsSamePicture(const std::vector<uint8_t>& one, const std::vector<uint8_t>& other)
{
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](int a, int b) { return std::abs(a - b) <= 1; }) &&
           std::count(one.begin(), one.end(), one.front()) != std::ssize(one);
}

// Reduces in a single call: the rows of the page are decoded, stored and read again.
bool ReduceWhole(const Format& format, double* cpu)
{
    CLumentaDoc document;
    if (!OpenPage(document, format))
        return false;
    const double start = CpuMs();
    const bool good = document.MakeScaledBitmap(ChooseScale(kPage, kScreen)) &&
                      document.ScaleRows(document.m_pScaled.get(), document.m_pScaled->m_nHeight);
    *cpu = CpuMs() - start;
    return good && IsWhole(document);
}

bool ReduceByLine(const Format& format, double* cpu, std::vector<double>* batches)
{
    CLumentaDoc document;
    if (!OpenPage(document, format))
        return false;
    batches->clear();
    const double cpu_start = CpuMs();
    double start = NowMs();
    document.MakeScaledBitmap(ChooseScale(kPage, kScreen));
    while (true) {
        const double now = NowMs();
        batches->push_back(now - start);
        if (!document.IsScaling())
            break;
        start = NowMs();
        document.ScaleNextLines();
    }
    *cpu = CpuMs() - cpu_start;
    return IsWhole(document) && batches->size() == static_cast<size_t>(document.m_pScaled->m_nHeight);
}

bool MeasureReduction(Harness& bench, const Format& format)
{
    std::vector<double> whole(static_cast<size_t>(bench.Rounds())), by_line(whole.size());
    std::vector<std::vector<double>> batches(whole.size());
    for (size_t round = 0; round < whole.size(); ++round)
        if (!ReduceWhole(format, &whole[round]) || !ReduceByLine(format, &by_line[round], &batches[round]))
            return false;
    for (size_t round = 0; round < whole.size(); ++round) {
        whole[round] = bench.Ours(whole[round]);
        by_line[round] = bench.Ours(by_line[round]);
        batches[round] = bench.Ours(batches[round]);
    }

    // A batch does the same work in each round. So its median excludes delays by other work of the machine.
    std::vector<double> lines;
    double longest = 0;
    for (size_t line = 0; line < batches.front().size(); ++line) {
        std::vector<double> times(batches.size());
        std::transform(batches.begin(), batches.end(), times.begin(),
                       [line](const std::vector<double>& of_round) { return of_round[line]; });
        lines.push_back(Median(times));
        longest = std::max(longest, Percentile(times, 1));
    }
    const std::string name = std::string{"overview, "} + format.name;
    for (const auto& [what, times] :
         {std::pair{", CPU, in one call", &whole}, std::pair{", CPU, line by line", &by_line}})
        bench.Report(name + what, *times, "ms", format.has_cpu_goal ? AtMost(kOverviewGoalMs) : Goal{});
    bench.Report(name + ", batches of one line", lines, "ms");
    bench.Report(name + ", batch of one line, 99th percentile", Percentile(lines, 0.99), "ms");
    bench.Report(name + ", longest batch of one line, median of the rounds", Percentile(lines, 1), "ms",
                 AtMost(format.batch_goal_ms));
    bench.Report(name + ", longest batch of one line in any round", longest, "ms");
    return true;
}

// Tells the thread that presses keys how many lines are made, and when a paint shows a new scroll position.
class TimedView : public CLumentaView
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    void OnUpdate(CView* sender, LPARAM hint, CObject* hint_object) override
    {
        if (const auto* const reduced = DynamicDowncast<ScaleUpdateHint>(hint_object))
            lines = reduced->m_nLastLine;
        CLumentaView::OnUpdate(sender, hint, hint_object);
    }
    void OnDraw(CDC* dc) override
    {
        CLumentaView::OnDraw(dc);
        if (std::exchange(m_shown, GetScrollPosition()) != m_shown)
            moved_ms = NowMs();
    }

    std::atomic<int32_t> lines = 0;
    std::atomic<double> moved_ms = 0;

private:
    CPoint m_shown;
};
const CRuntimeClass TimedView::classRecord{"TimedView", &CLumentaView::classRecord,
                                           CreateObjectOf<TimedView>};

class TimedApp : public CLumentaApp
{
public:
    bool InitInstance() override
    {
        AddDocTemplate(std::make_unique<CSingleDocTemplate>(kFrameResource, CLumentaDoc::classRecord,
                                                            CMainFrame::classRecord, TimedView::classRecord));
        OnFileNew();
        return m_pMainWnd != nullptr;
    }
};

// Runs in a thread of its own, because keys can arrive at any moment of a batch or a paint. Only keys that
// arrive while the picture grows are counted.
void PressKeys(TimedView* view, ViewWidget* widget, int32_t height, std::vector<double>* times,
               std::atomic<bool>* done)
{
    for (int key = 0; key < kKeysAnOverview; ++key) {
        while (view->lines < height * (2 * key + 1) / (2 * kKeysAnOverview))
            usleep(50);
        usleep(static_cast<useconds_t>(key * 277 % 1000));
        view->moved_ms = 0;
        const bool growing = view->lines < height;
        const double start = NowMs();
        QCoreApplication::postEvent(
            widget,
            new QKeyEvent(QEvent::KeyPress, key % 2 == 0 ? Qt::Key_Down : Qt::Key_PageDown, Qt::NoModifier));
        while (view->moved_ms == 0 && NowMs() - start < 2000)
            usleep(50);
        if (growing)
            times->push_back(view->moved_ms != 0 ? view->moved_ms - start : NowMs() - start);
    }
    *done = true;
}

// One overview in its window, from the first line to the last.
bool GrowUnderKeys(CLumentaApp& app, const Format& format, std::vector<double>* times)
{
    CDocument* const opened = app.OpenDocumentFile(PagePathOf(format.page));
    auto* const document = DynamicDowncast<CLumentaDoc>(opened);
    auto* const frame = DynamicDowncast<CFrameWnd>(app.m_pMainWnd);
    auto* const view = frame ? DynamicDowncast<TimedView>(frame->GetActiveView()) : nullptr;
    if (!document || !view || !PumpUntilIdle())
        return false;
    document->m_nLinesPerUpdate = 1;
    view->lines = 0;
    frame->SendMessage(WM_COMMAND, kScaledPageCommand);
    if (!view->m_pScaleFrame || !document->m_pScaled ||
        document->m_pScaled->m_nScale != ChooseScale(kPage, kScreen))
        return false;

    std::atomic<bool> done = false;
    std::thread presser(PressKeys, view, ViewOf(view), document->m_pScaled->m_nHeight, times, &done);
    PumpUntil([&] { return done.load(); }, 60'000);
    view->lines = INT32_MAX; // so that the thread ends if the picture does not grow
    PumpUntil([&] { return done.load(); }, 60'000);
    presser.join();
    return PumpUntilIdle() && IsWhole(*document);
}

bool MeasureKeys(Harness& bench, CLumentaApp& app, const Format& format, const char* where)
{
    const int rounds = bench.Rounds();
    std::vector<double> times;
    // The last key of an overview may be too late to be counted.
    for (int round = 0; round < rounds || (times.size() < kLeastKeys && round < 3 * rounds + 9); ++round)
        if (!GrowUnderKeys(app, format, &times))
            return false;
    if (times.size() < kLeastKeys)
        return false;
    times = bench.Ours(times);
    const std::string name = std::string{"overview grows, "} + format.name + ", key to its paint";
    bench.Report(name, times, "ms", {}, where);
    bench.Report(name + ", 90th percentile", Percentile(times, 0.9), "ms", {}, where);
    bench.Report(name + ", longest", Percentile(times, 1), "ms", AtMost(kKeyGoalMs), where);
    return true;
}
} // namespace

int main(int argc, char** argv)
{
    Harness bench(argc, argv, {.purpose = "measures making the overview of a large page", .rounds = 9});
    bench.SetWhere("memory, cached");
    const bool is_x = HasDisplayOf(kScreen.cx, kScreen.cy) && ChooseDisplay();
    Require(is_x || ChooseScreen(kScreen.cx, kScreen.cy), "no screen"); // the scale depends on its size
    TestApplication application(argc, argv);
    SetSettingsFile("/dev/null");
    SetMessageBoxHook([](const CString& text) { std::fprintf(stderr, "%s\n", text.c_str()); });
    TimedApp app;

    Growth growth[std::size(kFormats)];
    std::vector<uint8_t> first, greys;
    for (size_t i = 0; i < std::size(kFormats); ++i) {
        const std::string name = kFormats[i].name;
        Require(Check(kFormats[i], &greys, &growth[i]), name + ": not all lines were made");
        if (i == 0)
            first = greys;
        Require(IsSamePicture(greys, first), name + ": the picture differs, or is blank");
    }

    std::printf("%d x %d pixels at 1/%d\n", kPage.cx, kPage.cy, ChooseScale(kPage, kScreen));
    for (size_t i = 0; i < std::size(kFormats); ++i) {
        const std::string name = kFormats[i].name;
        Require(MeasureReduction(bench, kFormats[i]), name + ": not all lines were made");
        bench.Report("overview, " + name + ", anonymous memory grew by, at most",
                     bench.Ours(static_cast<double>(growth[i].most)), "kB", AtMost(kMemoryGoalKb));
        bench.Report("overview, " + name + ", memory of the picture", static_cast<double>(growth[i].picture),
                     "kB");
    }
    StartApplication(app, {});
    QInputDevice::primaryKeyboard(); // created here, because the thread that presses keys must not create it
    for (const Format& format : kFormats)
        if (format.with_keys)
            Require(MeasureKeys(bench, app, format, is_x ? "X, cached" : "memory, cached"),
                    std::string{format.name} + ": the keys could not be measured");
    EndApplication(app);
    return bench.Finish();
}
