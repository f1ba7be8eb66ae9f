// The overview of a page of 600 million pixels: its whole cost and that of a batch of one line, and how long
// a key at the page view waits for its paint while the picture grows.
#include "app/lumentaapp.h"
#include "app/lumentadoc.h"
#include "app/lumentavw.h"
#include "app/scalefrm.h"
#include "app/usermsg.h"
#include "bench/support.h"
#include "platform/testing.h"

#include <algorithm>
#include <cstdio>
#include <sys/resource.h>
#include <unistd.h>

namespace
{
constexpr CSize kScreen{1280, 960};
constexpr int kKeysARound = 20;

struct Format {
    const char* name;
    const char* page;
    double batch_goal_ms;
};
constexpr Format kFormats[] = {
    {"Group 4", "big-group4.fax", 10}, {"Squeeze", "big-squeeze.fax", 10}, {"JBIG", "big-jbig.fax", 40}};

double CpuMs()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto ms = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1000 + static_cast<double>(time.tv_usec) / 1000;
    };
    return ms(usage.ru_utime) + ms(usage.ru_stime);
}

double Share(std::vector<double> values, double share)
{
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1,
                           static_cast<size_t>(share * static_cast<double>(values.size())))];
}

// Decode, store and reduce, all lines in batches of lines.
bool Reduce(const Format& format, int lines, double* cpu, std::vector<double>* batches, long* memory)
{
    CLumentaDoc document;
    if (!document.OnOpenDocument(PagePathOf(format.page)))
        return false;
    document.m_nLinesPerUpdate = lines;
    const ProcessMemory before = ReadProcessMemory(getpid());
    const double start = CpuMs();
    double batch = NowMs();
    document.MakeScaledBitmap(ChooseScale({document.m_nWidth, document.m_nDepth}, kScreen));
    while (true) {
        const double now = NowMs();
        batches->push_back(now - batch);
        batch = now;
        if (!document.IsScaling())
            break;
        document.ScaleNextLines();
    }
    *cpu = CpuMs() - start;
    *memory = ReadProcessMemory(getpid()).anonymous - before.anonymous;
    return document.m_pScaled && document.m_pScaled->HasAllLines() && !document.m_bReadError;
}

// One page, its overview from the first line to the last, keys at the page view meanwhile.
bool PressKeys(CLumentaApp& app, const Format& format, std::vector<double>* times)
{
    if (!app.OpenDocumentFile(PagePathOf(format.page)))
        return false;
    auto* const frame = static_cast<CFrameWnd*>(app.m_pMainWnd);
    auto* const view = DynamicDowncast<CLumentaView>(frame->GetActiveView());
    auto* const document = view ? view->GetPageDocument() : nullptr;
    if (!document)
        return false;
    document->m_nLinesPerUpdate = 1;
    frame->SendMessage(WM_COMMAND, kScaledPageCommand);
    const int step = document->m_pScaled->m_nHeight / (kKeysARound + 1);
    for (int key = 0; key < kKeysARound; ++key) {
        const int line = (key + 1) * step;
        PumpUntil([&] { return document->m_pScaled->m_nRowsDone >= line; });
        const uint64_t paints = PaintCount(*view);
        const double start = NowMs();
        PressKey(*view, key % 2 ? TestKey::pageDown : TestKey::down);
        PumpUntil([&] { return PaintCount(*view) > paints; });
        times->push_back(NowMs() - start);
    }
    return PumpUntilIdle() && document->m_pScaled->HasAllLines();
}
} // namespace

int main(int argc, char** argv)
{
    const int rounds = RoundsFrom(argc, argv, 5);
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    TestToolkit toolkit(argc, argv);
    SetSettingsFile("/dev/null");
    CLumentaApp app;
    StartApplication(app, {});

    for (const Format& format : kFormats) {
        std::printf("%s, %d rounds\n", format.name, rounds);
        std::vector<double> cpu(static_cast<size_t>(rounds)), whole, batches, keys;
        long memory = 0;
        for (double& of_round : cpu)
            if (!Reduce(format, INT32_MAX, &of_round, &whole, &memory))
                return 1;
        double ignored = 0;
        if (!Reduce(format, 1, &ignored, &batches, &memory))
            return 1;
        for (int round = 0; round < rounds; ++round)
            if (!PressKeys(app, format, &keys))
                return 1;
        if (format.batch_goal_ms < 40)
            ShowAtMost("whole overview, CPU, median", Median(cpu), "ms", 100);
        else
            Show("whole overview, CPU, median", Median(cpu), "ms");
        Show("batch of one line, median", Median(batches), "ms");
        ShowAtMost("batch of one line, longest", Share(batches, 1), "ms", format.batch_goal_ms);
        Show("anonymous memory grew by", static_cast<double>(memory), "kB");
        Show("key to its paint, median", Median(keys), "ms");
        Show("key to its paint, nine of ten", Share(keys, 0.9), "ms");
        ShowAtMost("key to its paint, longest", Share(keys, 1), "ms", 50);
    }
    EndApplication(app);
    return 0;
}
