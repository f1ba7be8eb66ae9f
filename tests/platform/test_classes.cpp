// SPDX-License-Identifier: MIT
// A minimal application with menus and dialogs. Its classes record the messages that reach them.
#include "test_classes.h"

Recorder g_recorder;
int g_alive = 0;

namespace
{
constexpr MenuItem kItems[] = {
    {"&View", kForView},           {"&Document", kForDocument}, {"", 0},
    {"&Frame\tCtrl+F", kForFrame}, {"&App", kForApp},           {"&Nobody", kForNobody},
    {"D&isabled", kDisabled},      {"&Checked", kChecked}};
constexpr PopupMenu kMenus[] = {{"&All", kItems}};
constexpr Accelerator kAccelerators[] = {
    {"Ctrl+F", kForFrame}, {"Ctrl+D", kDisabled}, {"Escape", kForFrame, true}};
constexpr StringResource kStrings[] = {{AFX_IDS_APP_TITLE, "TEST"}, {kPaneOn, "on"}, {kPaneOff, "off"}};
constexpr const char* kKinds[] = {"pear", "Apple", "fig"};
constexpr DialogItem kDialogItems[] = {
    {.kind = DialogItemKind::label, .text = "&Names:"},
    {.kind = DialogItemKind::path, .id = kTestPath},
    {.kind = DialogItemKind::list, .id = kTestList},
    {.kind = DialogItemKind::label, .text = "Kin&ds:"},
    {.kind = DialogItemKind::combo, .id = kTestCombo, .entries = kKinds},
    {.kind = DialogItemKind::check, .id = kTestCheck, .text = "&Flag"},
    {.kind = DialogItemKind::label, .text = "&Count:"},
    {.kind = DialogItemKind::number, .beside = true, .id = kTestNumber},
    {.kind = DialogItemKind::defaultButton, .id = IDOK, .text = "OK"},
    {.kind = DialogItemKind::button, .id = IDCANCEL, .text = "Cancel"},
};
constexpr DialogItem kReportItems[] = {
    {.kind = DialogItemKind::label, .text = "&Report:"},
    {.kind = DialogItemKind::text, .id = kTestText, .lines = 3},
    {.kind = DialogItemKind::progress, .id = kTestProgress, .text = "Progress"},
    {.kind = DialogItemKind::bars, .id = kTestBars, .text = "Shares"},
    {.kind = DialogItemKind::defaultButton, .id = IDCANCEL, .text = "Close"},
};
constexpr DialogTemplate kDialogs[] = {{kTestDialog, "Test", kDialogItems},
                                       {kTestReport, "Report", kReportItems}};
constexpr ApplicationResources kResources{1, kMenus, kAccelerators, kStrings, {}, nullptr, kDialogs};

std::string Words(const std::string& what, CPoint point)
{
    return what + " " + std::to_string(point.x) + "," + std::to_string(point.y);
}
} // namespace

const CRuntimeClass TestDocument::classRecord{"TestDocument", &CDocument::classRecord,
                                              &CreateObjectOf<TestDocument>};
const MessageEntry TestDocument::entries[] = {
    OnCommand<kForView, &TestDocument::OnRun>(),
    OnCommand<kForDocument, &TestDocument::OnRun>(),
    OnUpdateCommand<kDisabled, &TestDocument::OnUpdateDisabled>(),
};
const MessageMap TestDocument::messages{&CDocument::messages, entries};

const CRuntimeClass TestView::classRecord{"TestView", &CScrollView::classRecord, &CreateObjectOf<TestView>};
const MessageEntry TestView::entries[] = {
    OnCommand<kForView, &TestView::OnRun>(),
    OnCommand<kChecked, &TestView::OnRun>(),
    OnUpdateCommand<kChecked, &TestView::OnUpdateChecked>(),
};
const MessageMap TestView::messages{&CScrollView::messages, entries};

void TestView::ShowPage(TestPage shown)
{
    page = std::move(shown);
    SetScrollSizes(MM_TEXT, {page.width, page.height}, {10, 10}, {1, 1});
    Invalidate();
}

void TestView::OnDraw(CDC* dc)
{
    CRect box;
    const RegionKind kind = dc->GetClipBox(&box);
    g_recorder.Add("draw" + name + " " + std::to_string(kind) + Words(" at", {box.left, box.top}) +
                   Words(" to", {box.right, box.bottom}));
    if (const auto function = draw) // may be replaced while it runs
        function(dc, box);
    else
        page.Draw(dc, box);
}

LRESULT TestView::WindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    const CPoint point{LowHalf(lParam), HighHalf(lParam)};
    const std::string word = " " + std::to_string(wParam);
    switch (message) {
    case WM_SIZE: g_recorder.Add(Words("size" + name, point)); break;
    case WM_PAINT: g_recorder.Add("paint" + name); break;
    case WM_DESTROY: g_recorder.Add("destroy view" + name); break;
    case WM_KEYDOWN:
        g_recorder.Add("key" + word + " x" + std::to_string(point.x) +
                       (GetKeyState(VK_CONTROL) < 0 ? " control" : ""));
        break;
    case WM_CHAR: g_recorder.Add("char" + word + " x" + std::to_string(point.x)); break;
    case WM_MOUSEMOVE: g_recorder.Add(Words("move" + word, point)); break;
    case WM_LBUTTONDOWN: g_recorder.Add(Words("left down" + word, point)); break;
    case WM_LBUTTONUP: g_recorder.Add(Words("left up" + word, point)); break;
    case WM_RBUTTONDOWN: g_recorder.Add(Words("right down" + word, point)); break;
    case WM_RBUTTONUP: g_recorder.Add(Words("right up" + word, point)); break;
    case WM_RBUTTONDBLCLK: g_recorder.Add(Words("right double" + word, point)); break;
    case WM_XBUTTONDOWN: g_recorder.Add(Words("x down" + word, point)); break;
    case WM_MOUSEWHEEL: g_recorder.Add(Words("wheel", point)); break;
    case WM_MOUSELEAVE: g_recorder.Add("leave"); break;
    case WM_TEST: g_recorder.Add("posted" + word); break;
    case WM_TIMER: g_recorder.Add("timer" + word); break;
    default: break;
    }
    if (const auto found = on_message.find(message); found != on_message.end()) {
        const auto function = found->second; // may be replaced while it runs
        function();
    }
    return CScrollView::WindowProc(message, wParam, lParam);
}

bool TestView::OnPreparePrinting(CPrintInfo* info)
{
    info->SetMaxPage(1);
    return DoPreparePrinting(info);
}

const CRuntimeClass TestFrame::classRecord{"TestFrame", &CFrameWnd::classRecord, &CreateObjectOf<TestFrame>};
const MessageEntry TestFrame::entries[] = {
    OnCommand<kForView, &TestFrame::OnRun>(),
    OnCommand<kForDocument, &TestFrame::OnRun>(),
    OnCommand<kForFrame, &TestFrame::OnRun>(),
    OnCommand<kDisabled, &TestFrame::OnRun>(),
    OnUpdateCommand<kPaneOn, &TestFrame::OnUpdatePane>(),
};
const MessageMap TestFrame::messages{&CFrameWnd::messages, entries};

int TestFrame::OnCreate(const CREATESTRUCT& cs)
{
    const UINT panes[] = {ID_SEPARATOR, kPaneOn, kPaneOff};
    return CFrameWnd::OnCreate(cs) == 0 && status.Create(this) && status.SetIndicators(panes) ? 0 : -1;
}

LRESULT TestFrame::WindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_DESTROY)
        g_recorder.Add("destroy " + name);
    if (message == WM_ACTIVATE && records_activation)
        g_recorder.Add("active " + name + " " + std::to_string(wParam));
    return CFrameWnd::WindowProc(message, wParam, lParam);
}

const MessageEntry TestApp::entries[] = {
    OnCommand<kForView, &TestApp::OnRun>(),
    OnCommand<kForDocument, &TestApp::OnRun>(),
    OnCommand<kForFrame, &TestApp::OnRun>(),
    OnCommand<kForApp, &TestApp::OnRun>(),
};
const MessageMap TestApp::messages{&CWinApp::messages, entries};

TestApp::TestApp() : CWinApp(kResources) {}

bool TestApp::InitInstance()
{
    AddDocTemplate(std::make_unique<CSingleDocTemplate>(1, TestDocument::classRecord, TestFrame::classRecord,
                                                        TestView::classRecord));
    OnFileNew();
    return true;
}

void TestApp::OnDroppedFiles(const std::vector<CString>& paths)
{
    for (const CString& path : paths)
        g_recorder.Add("dropped " + std::string{path.View()});
}

void WindowTest::SetUp()
{
    g_recorder.Take();
    app = std::make_unique<TestApp>();
    StartApplication(*app, "");
    frame = DynamicDowncast<TestFrame>(AfxGetMainWnd());
    ASSERT_TRUE(frame);
    view = frame->View();
    ASSERT_TRUE(view);
}

void WindowTest::TearDown()
{
    SetMessageBoxHook({});
    SetPrintDialogHook({});
    EndApplication(*app);
    EXPECT_TRUE(PumpUntilIdle());
    EXPECT_EQ(g_alive, 0);
    app.reset();
}

TestFrame* WindowTest::MakeFurtherFrame(const char* name)
{
    auto* further = new TestFrame;
    further->name = name;
    CCreateContext context{&TestView::classRecord, frame->GetActiveDocument(), nullptr};
    EXPECT_TRUE(further->Create(name, WS_OVERLAPPEDWINDOW, {10, 10, 310, 260}, &context));
    further->View()->name = std::string(" ") + name;
    further->ActivateFrame();
    PumpUntilIdle();
    return further;
}

void WindowTest::ExpectShown(TestView* view)
{
    ASSERT_TRUE(PumpUntilIdle());
    const CRect client = view->GetClientRect();
    const CPoint position = view->GetScrollPosition();
    const GrabbedPixels shown = GrabWindow(*view);
    // If the ratio is not a whole number, the screen may lack the last pixel of a window.
    ASSERT_GE(shown.width, client.right - 1);
    ASSERT_GE(shown.height, client.bottom - 1);
    const CSize total = view->GetTotalSize();
    int wrong = 0;
    for (int y = 0; y < std::min(shown.height, client.bottom); ++y)
        for (int x = 0; x < std::min(shown.width, client.right); ++x) {
            COLORREF want = BackgroundOf(*view);
            if (x + position.x < total.cx && y + position.y < total.cy)
                want = view->page.White(x + position.x, y + position.y) ? kWhite : kBlack;
            if (shown.At(x, y) != want && wrong++ < 3)
                ADD_FAILURE() << "wrong pixel " << x << "," << y << " at position " << position.x << ","
                              << position.y;
        }
    ASSERT_EQ(wrong, 0);
}

std::vector<std::string> WindowTest::Settle()
{
    EXPECT_TRUE(PumpUntilIdle());
    return g_recorder.Take();
}
