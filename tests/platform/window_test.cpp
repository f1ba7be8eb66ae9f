// SPDX-License-Identifier: MIT
// Windows: the order of their messages, message boxes, timers, and the destruction of windows.
#include "platform/testing/testing.h"
#include "tests/platform/test_classes.h"

namespace
{
using Lines = std::vector<std::string>;

// Returns the lines that begin with one of the words.
Lines Only(const Lines& lines, std::initializer_list<const char*> words)
{
    Lines chosen;
    for (const std::string& line : lines)
        for (const char* word : words)
            if (line.starts_with(word))
                chosen.push_back(line);
    return chosen;
}

TEST_F(WindowTest, TheSizeIsReportedBeforeTheFirstPaint)
{
    const CRect client = view->GetClientRect();
    const Lines got = Only(g_recorder.Take(), {"size", "paint"});
    ASSERT_FALSE(got.empty());
    EXPECT_EQ(got.front().substr(0, 5), "size "); // late margins of the frame cause a second one
    EXPECT_GE(std::count(got.begin(), got.end(), "paint"), 1);
    EXPECT_EQ(Only(got, {"size"}).back(),
              "size " + std::to_string(client.right) + "," + std::to_string(client.bottom));
    EXPECT_EQ(frame->GetWindowText(), "TEST");
    app->OpenDocumentFile("/x/page.fax");
    EXPECT_EQ(frame->GetWindowText(), "page.fax - TEST");
    EXPECT_EQ(app->OpenDocumentFile("/x/bad!"), nullptr);
    EXPECT_EQ(frame->GetWindowText(), "page.fax - TEST");
    const std::pair<std::string, std::string> titles[] = {
        {"[*]a[*][*]b[*", "[*]a[*][*]b[* - TEST"},
        {"a\nb\xe4", "a b\u00e4 - TEST"},
        {std::string(247, 'x') + "\u00e4", std::string(247, 'x') + " - TEST"},
    };
    for (const auto& [name, title] : titles) {
        app->OpenDocumentFile("/x/" + name);
        EXPECT_EQ(frame->GetWindowText(), title.c_str());
        EXPECT_EQ(TitleOnScreen(), title);
    }
}

TEST_F(WindowTest, AFrameFillsTheScreenAndIsRestored)
{
    const CRect place{30, 40, 530, 440};
    frame->MoveWindow(place);
    Settle();
    CDC screen;
    screen.CreateDisplayInformation();
    const int screen_width = screen.GetDeviceCaps(HORZRES);
    for (const bool maximized : {false, true}) {
        SCOPED_TRACE(maximized);
        if (maximized)
            frame->ShowWindow(SW_SHOWMAXIMIZED);
        ASSERT_TRUE(PumpUntil([&] { return frame->IsZoomed() == maximized; }));
        const auto expect_placement = [&] {
            EXPECT_EQ(frame->GetWindowPlacement().show_command, maximized ? SW_SHOWMAXIMIZED : SW_SHOWNORMAL);
            EXPECT_EQ(frame->GetWindowPlacement().normal_position, place);
        };
        const auto inside = [&] { return screen.GetDeviceCaps(VERTRES) - frame->GetClientRect().Height(); };
        Settle();
        PressAccelerator(*frame, "Escape");
        EXPECT_EQ(g_recorder.Count("frame"), 0) << "the accelerator applies only in full screen";
        frame->ShowFullScreen(true);
        EXPECT_TRUE(frame->IsFullScreen());
        expect_placement();
        ASSERT_TRUE(PumpUntil([&] { return frame->GetClientRect().Width() == screen_width; }));
        const int bars = inside();
        expect_placement();
        PressAccelerator(*frame, "Escape");
        PressAccelerator(*frame, "Ctrl+F");
        EXPECT_EQ(g_recorder.Count("frame"), 2) << "the menu is hidden, but its keys still apply";
        frame->ShowFullScreen(false);
        EXPECT_FALSE(frame->IsFullScreen());
        expect_placement();
        ASSERT_TRUE(PumpUntil([&] { return frame->IsZoomed() == maximized && inside() > bars; }));
        frame->ShowFullScreen(true); // and back at once
        frame->ShowFullScreen(false);
        ASSERT_TRUE(PumpUntil([&] { return frame->IsZoomed() == maximized; }));
        expect_placement();
        Settle();
    }
}

TEST_F(WindowTest, CommandsReachTheFirstHandlerOfViewDocumentFrameAndApplication)
{
    struct {
        UINT command;
        Lines want;
    } const cases[] = {
        {kForView, {"view"}},   {kForDocument, {"document"}},
        {kForFrame, {"frame"}}, {kForApp, {"app"}},
        {kForNobody, {}},       {kDisabled, {}},
        {kChecked, {"view"}},
    };
    Settle();
    for (const auto& c : cases) {
        EXPECT_EQ(frame->SendMessage(WM_COMMAND, c.command), c.want.empty() ? 0 : 1);
        EXPECT_EQ(g_recorder.Take(), c.want) << c.command;
    }
    PressAccelerator(*frame, "Ctrl+F");
    PressAccelerator(*frame, "Ctrl+D");
    EXPECT_EQ(g_recorder.Take(), Lines{"frame"});
    const Lines menu = DescribeMenu(*frame);
    EXPECT_EQ(Lines(menu.begin() + 3, menu.end()),
              (Lines{"&All/&App", "&All/&Nobody [disabled]", "&All/D&isabled [disabled]",
                     "&All/&Checked [checked]"}));
    frame->status.SetPaneText(1, "shown");
    frame->status.SetPaneText(2, "not shown");
    view->PostMessage(WM_TEST);
    Settle();
    EXPECT_EQ(frame->status.GetPaneText(0), "note");
    EXPECT_EQ(frame->status.GetPaneText(1), "shown");
    EXPECT_EQ(frame->status.GetPaneText(2), "");
}

TEST_F(WindowTest, QueuedKeysAreMergedThenPaintsThenPostsAreHandled)
{
    Settle();
    view->PostMessage(WM_TEST, 1);
    view->Invalidate();
    PressKey(*view, TestKey::down, false, 3);
    PressKey(*view, TestKey::down, true, 2);
    PressKey(*view, TestKey::escape);
    PressKey(*view, TestKey::down);
    EXPECT_EQ(Only(Settle(), {"key", "char", "paint", "posted"}),
              (Lines{"key 40 x3", "key 40 x2 control", "key 27 x1", "char 27 x1", "key 40 x1", "paint",
                     "posted 1"}));
    // Keys that arrived before a pointer message are handled before it.
    PressKey(*view, TestKey::pageUp);
    MoveMouse(*view, {1, 2});
    EXPECT_EQ(g_recorder.Take(), (Lines{"key 33 x1", "move 0 1,2"}));
}

TEST_F(WindowTest, ThePointerIsReportedInClientPixels)
{
    Settle();
    MoveMouse(*view, {7, 9});
    PressMouse(*view, {0, 0});
    MoveMouse(*view, {-30, 3000});
    ReleaseMouse(*view, {5, 6});
    DoubleClick(*view, {11, 12}, true);
    ClickXButton(*view, {3, 4}, XBUTTON1);
    ClickXButton(*view, {5, 4}, XBUTTON2, 2); // not reported as a double click
    LeaveWithMouse(*view);
    EXPECT_EQ(g_recorder.Take(),
              (Lines{"move 0 7,9", "left down 1 0,0", "move 1 -30,3000", "left up 0 5,6",
                     "right down 2 11,12", "right up 0 11,12", "right double 2 11,12", "right up 0 11,12",
                     "x down 65536 3,4", "x down 131072 5,4", "x down 131072 5,4", "leave"}));
}

TEST_F(WindowTest, DroppedNamesKeepTheirBytes)
{
    frame->DragAcceptFiles(true);
    g_recorder.Take();
    DropFiles(*frame, {"/tmp/a b%41#?.fax", "/tmp/\xff\xfe\xc3\xa4.tif"});
    EXPECT_EQ(g_recorder.Take(), (Lines{"dropped /tmp/a b%41#?.fax", "dropped /tmp/\xff\xfe\xc3\xa4.tif"}));
}

TEST_F(WindowTest, TheLoopHandlesOneMessagePerTurn)
{
    Settle();
    view->on_message[WM_TEST] = [] { CallFromLoop([] { g_recorder.Add("display"); }); };
    view->on_message[WM_PAINT] = view->on_message[WM_TEST];
    view->Invalidate();
    view->PostMessage(WM_TEST, 1);
    view->PostMessage(WM_TEST, 2);
    EXPECT_EQ(Only(Settle(), {"paint", "posted", "display"}),
              (Lines{"paint", "display", "posted 1", "display", "posted 2", "display"}));
}

TEST_F(WindowTest, PostedMessagesWaitForAtMostOnePaintOfEachWindow)
{
    TestView* further = MakeFurtherFrame("B")->View();
    Settle();
    for (TestView* each : {view, further}) {
        each->draw = [each](CDC*, const CRect&) { each->Invalidate(); }; // always invalid again
        each->Invalidate();
    }
    int left = 20;
    view->on_message[WM_TEST] = [&] {
        if (--left > 0)
            view->PostMessage(WM_TEST);
    };
    view->PostMessage(WM_TEST);
    ASSERT_TRUE(PumpUntil([&] { return left == 0; }));
    int paints[2] = {0, 0};
    for (const std::string& line : g_recorder.Take()) {
        if (line.starts_with("paint")) {
            ++paints[line == "paint B"];
        } else if (line.starts_with("posted")) {
            EXPECT_LE(std::max(paints[0], paints[1]), 1);
            paints[0] = paints[1] = 0;
        }
    }
    // Posted messages do not delay the paints either.
    view->on_message[WM_TEST] = [&] { view->PostMessage(WM_TEST); };
    view->PostMessage(WM_TEST);
    const uint64_t before = PaintCount(*further);
    EXPECT_TRUE(PumpUntil([&] { return PaintCount(*further) > before + 5; }));
    // The status panes are updated although the paints and posted messages never end.
    frame->note = "new note";
    EXPECT_TRUE(PumpUntil([&] { return frame->status.GetPaneText(0) == "new note"; }));
    view->draw = further->draw = nullptr;
    view->on_message.clear();
    Settle();
}

TEST_F(WindowTest, ABoxInsideAPaintDelaysPaintsAndPosts)
{
    view->ShowPage(TestPage::Random(3000, 3000));
    TestView* further = MakeFurtherFrame("B")->View();
    Settle();
    std::string text;
    view->draw = [&](CDC* dc, const CRect& box) {
        view->draw = nullptr;
        view->page.Draw(dc, {box.left, box.top, box.right, box.top + 20});
        frame->note = "damaged";
        InNextBox(
            [&] {
                EXPECT_EQ(frame->status.GetPaneText(0), "damaged")
                    << "the status bar is updated while the box is open";
                further->Invalidate();
                view->Invalidate();
                view->PostMessage(WM_TEST, 2);
                further->UpdateWindow();
                frame->MoveWindow({0, 0, 333, 222});
                view->ScrollToPosition({12, 34});
                PumpRounds();
                g_recorder.Add("box closed");
            },
            &text);
        AfxMessageBox("Read error & more\n" + std::string(20U << 20, 'x') + ": the reason");
        view->page.Draw(dc, {box.left, box.top + 20, box.right, box.bottom});
        g_recorder.Add("drawn");
    };
    view->PostMessage(WM_TEST, 1);
    view->Invalidate();
    ASSERT_TRUE(PumpUntil([] { return g_recorder.Count("posted 2") > 0; }));
    EXPECT_EQ(text.substr(0, 19), "Read error & more x");
    EXPECT_EQ(text.substr(text.size() - 12), ": the reason");
    EXPECT_LT(text.size(), 5000U);
    const Lines got = Only(g_recorder.Take(), {"paint", "posted", "box", "drawn"});
    ASSERT_GE(got.size(), 5U);
    EXPECT_EQ(Lines(got.begin(), got.begin() + 3), (Lines{"paint", "box closed", "drawn"}));
    EXPECT_NE(std::find(got.begin(), got.end(), "paint B"), got.end());
    EXPECT_NE(std::find(got.begin(), got.end(), "posted 1"), got.end());
    ExpectShown(view);
}

TEST_F(WindowTest, ATimerPostsAtMostOneMessageAtATime)
{
    Settle();
    view->SetTimer(7, 60000);
    view->SetTimer(8, 60000);
    for (int i = 0; i < 2; ++i) {
        SendTimerEvents(5);
        EXPECT_EQ(Only(Settle(), {"timer"}), (Lines{"timer 7", "timer 8"}));
    }
    view->SetTimer(7, 0); // due in every round
    EXPECT_EQ(TimerCount(), 2);
    ASSERT_TRUE(PumpUntil([] { return g_recorder.Count("timer 7") > 2; }));
    EXPECT_EQ(g_recorder.Count("timer 8"), 0);
    view->on_message[WM_TIMER] = [&] {
        view->on_message.clear();
        g_recorder.Take();
        InNextBox([] {
            PumpRounds();
            g_recorder.Add("box closed");
        });
        AfxMessageBox("text");
        view->KillTimer(7);
        PumpRounds();
    };
    ASSERT_TRUE(PumpUntil([] { return g_recorder.Count("box closed") > 0; }));
    EXPECT_EQ(Only(Settle(), {"timer", "box"}), Lines{"box closed"});

    TestFrame* const further = MakeFurtherFrame("B");
    TestView* const ending = further->View();
    ending->SetTimer(7, 0);
    ending->on_message[WM_TIMER] = [further] { further->DestroyWindow(); };
    ASSERT_TRUE(PumpUntil([] { return g_recorder.Count("destroy B") > 0; }));
    EXPECT_EQ(TimerCount(), 1);
    view->KillTimer(8);
    view->KillTimer(9); // no timer has this number
    EXPECT_EQ(TimerCount(), 0);
}

TEST_F(WindowTest, AFrameIsNotifiedOfItsActivation)
{
    TestFrame* const further = MakeFurtherFrame("B");
    frame->records_activation = further->records_activation = true;
    ActivateByUser(*further);
    const auto take_activations = [] {
        Lines lines = Only(g_recorder.Take(), {"active"});
        std::sort(lines.begin(), lines.end());
        return lines;
    };
    take_activations();
    for (int i = 0; i < 2; ++i) {
        ActivateByUser(*frame);
        EXPECT_EQ(take_activations(), (Lines{"active B 0", "active frame 1"}));
        ActivateByUser(*further);
        EXPECT_EQ(take_activations(), (Lines{"active B 1", "active frame 0"}));
    }
    bool left = false;
    InNextBox([&] { left = PumpUntil([] { return g_recorder.Count("active B 0") > 0; }); });
    AfxMessageBox("text");
    EXPECT_TRUE(left) << "the box is active instead of the frame";
}

TEST_F(WindowTest, ABoxBelongsToTheActiveWindowAndClosesWithIt)
{
    TestFrame* const further = MakeFurtherFrame("B");
    for (TestFrame* const active : {frame, further}) {
        active->SetWindowText(active == frame ? "main window" : "further window");
        ActivateByUser(*active);
        std::string parent;
        InNextBox([&] { parent = BoxParentTitle(); });
        AfxMessageBox("text");
        EXPECT_EQ(CString(parent), active->GetWindowText());
    }
    std::string parent;
    ActivateByUser(*frame);
    further->ActivateFrame(-1); // the program activates it; the box opens before it is active
    InNextBox([&] { parent = BoxParentTitle(); });
    AfxMessageBox("text");
    EXPECT_EQ(parent, "further window");
    InNextBox([&] {
        further->DestroyWindow();
        PumpRounds();
    });
    AfxMessageBox("text");
    InNextBox([&] { parent = BoxParentTitle(); });
    AfxMessageBox("text");
    EXPECT_EQ(parent, "main window");
}

TEST_F(WindowTest, AWindowMayBeDestroyedInAnyOfItsHandlers)
{
    static constexpr CPoint kInside{1, 1};
    static constexpr CRect kOtherPlace{0, 0, 444, 333};
    struct {
        const char* where;
        UINT message;
        std::function<void(TestView*)> cause;
    } const cases[] = {
        {"key", WM_KEYDOWN, [](TestView* v) { PressKey(*v, TestKey::escape); }},
        {"character", WM_CHAR, [](TestView* v) { PressKey(*v, TestKey::escape); }},
        {"paint", WM_PAINT, [](TestView* v) { v->Invalidate(); }},
        {"paint at once", WM_PAINT, [](TestView* v) { v->Invalidate(), v->UpdateWindow(); }},
        {"post", WM_TEST, [](TestView* v) { v->PostMessage(WM_TEST, 7); }},
        {"pointer", WM_MOUSEMOVE, [](TestView* v) { MoveMouse(*v, kInside); }},
        {"double click", WM_RBUTTONDOWN, [](TestView* v) { DoubleClick(*v, kInside, true); }},
        {"back button", WM_XBUTTONDOWN, [](TestView* v) { ClickXButton(*v, kInside, XBUTTON1, 2); }},
        {"wheel", WM_MOUSEWHEEL, [](TestView* v) { TurnWheel(*v, 0, -120); }},
        {"size", WM_SIZE, [](TestView* v) { v->GetParentFrame()->MoveWindow(kOtherPlace); }},
        {"scroll sizes", WM_SIZE,
         [](TestView* v) {
             v->SetScrollSizes(MM_TEXT, {99, 4000}, {1, 1}, {1, 1});
         }},
    };
    for (const auto& c : cases)
        for (const bool whole : {false, true})
            for (const bool drawing : {false, true}) { // destroyed during the drawing, or before it
                SCOPED_TRACE(c.where);
                if (drawing && c.message != WM_PAINT)
                    continue;
                TestFrame* further = MakeFurtherFrame("B");
                TestView* v = further->View();
                Settle();
                const auto end = [&, whole] {
                    v->PostMessage(WM_TEST, 9);
                    v->Invalidate();
                    whole ? frame->SendMessage(WM_CLOSE) : LRESULT{further->DestroyWindow()};
                    EXPECT_FALSE(v->PostMessage(WM_TEST, 9));
                    v->ScrollWindow(1, 1);
                    v->SetScrollSizes(MM_TEXT, {10, 10}, {1, 1}, {1, 1});
                    v->Invalidate();
                };
                if (drawing)
                    v->draw = [&](CDC* dc, const CRect& box) {
                        const TestPage page = TestPage::Random(500, 500);
                        page.Draw(dc, {0, 0, 500, 9});
                        end();
                        page.Draw(dc, box);
                    };
                else
                    v->on_message[c.message] = [&] {
                        v->on_message.clear();
                        end();
                    };
                c.cause(v);
                const Lines got = Settle();
                EXPECT_EQ(std::count(got.begin(), got.end(), "posted 9"), 0);
                EXPECT_EQ(std::count(got.begin(), got.end(), "destroy view B"), 1);
                EXPECT_EQ(g_alive, whole ? 0 : 3);
                EXPECT_TRUE(c.message != WM_KEYDOWN || Only(got, {"char"}).empty());
                if (whole) {
                    EXPECT_EQ(AfxGetMainWnd(), nullptr);
                    TearDown();
                    SetUp();
                }
            }
}

TEST_F(WindowTest, AWindowMayBeDestroyedWhileItsPaintShowsABox)
{
    TestFrame* further = MakeFurtherFrame("B");
    TestView* v = further->View();
    Settle();
    v->draw = [&](CDC* dc, const CRect& box) {
        InNextBox([&] {
            further->DestroyWindow();
            PumpRounds();
        });
        AfxMessageBox("text");
        v->page.Draw(dc, box); // the objects live until their message is handled
        g_recorder.Add("drawn");
    };
    v->Invalidate();
    ASSERT_TRUE(PumpUntil([] { return g_recorder.Count("drawn") > 0; }));
    PumpRounds();
    EXPECT_EQ(g_alive, 3);
}

TEST_F(WindowTest, ClosingTheMainWindowClosesTheOthersAndTheDocument)
{
    MakeFurtherFrame("B");
    MakeFurtherFrame("C");
    Settle();
    app->OnAppExit();
    EXPECT_EQ(Only(Settle(), {"destroy", "document"}),
              (Lines{"destroy C", "destroy view C", "destroy B", "destroy view B", "destroy frame",
                     "destroy view", "document deleted"}));
}

TEST_F(WindowTest, AFrameMayRefuseItsCreation)
{
    class Refusing : public TestFrame
    {
        bool PreCreateWindow(CREATESTRUCT&) override { return false; }
    };
    class Failing : public TestFrame
    {
        int OnCreate(const CREATESTRUCT& cs) override { return TestFrame::OnCreate(cs) == 0 ? -1 : 0; }
    };
    const int before = g_alive;
    CCreateContext context{&TestView::classRecord, frame->GetActiveDocument(), nullptr};
    EXPECT_FALSE((new Refusing)->Create("x", 0, {}, &context)); // deletes the frame and its view
    EXPECT_FALSE((new Failing)->Create("x", 0, {}, &context));
    EXPECT_EQ(g_alive, before);
    EXPECT_EQ(frame->GetActiveDocument()->GetViews().size(), 1U);
}
} // namespace
