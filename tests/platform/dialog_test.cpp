// SPDX-License-Identifier: MIT
// Modal dialogs: keys and pointer, notifications, data exchange, background work and listings.
#include "platform/dialog.h"
#include "tests/platform/test_classes.h"
#include "tests/support/scratch.h"

namespace
{
using Lines = std::vector<std::string>;

class TestDialog : public CDialog
{
public:
    TestDialog() : CDialog(kTestDialog) {}

    CListBox list;
    CComboBox combo;
    bool flag = true;
    int32_t count = 3;
    std::vector<CString> names{"beta", "alpha", "gamma", "Beta2"};
    int end_at_start = 0;

    Lines Chosen()
    {
        Lines lines;
        for (const int index : list.GetSelItems())
            lines.emplace_back(list.GetText(index).View());
        return lines;
    }

protected:
    static const MessageEntry entries[];
    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }

    bool OnInitDialog() override
    {
        CDialog::OnInitDialog();
        list.SetContent(names);
        combo.SetCurSel(1);
        if (end_at_start != 0)
            EndDialog(end_at_start);
        return true;
    }
    void DoDataExchange(CDataExchange* exchange) override
    {
        DDX_Control(exchange, kTestList, list);
        DDX_Control(exchange, kTestCombo, combo);
        DDX_Number(exchange, kTestNumber, count, 1, INT32_MAX);
        DDX_Check(exchange, kTestCheck, flag);
    }
    void OnFlag() { g_recorder.Add("flag"); }
    void OnKind() { g_recorder.Add("kind " + std::string(combo.GetWindowText().View())); }
    void OnPick() { g_recorder.Add("pick"); }
};

const MessageEntry TestDialog::entries[] = {
    OnControl<BN_CLICKED, kTestCheck, &TestDialog::OnFlag>(),
    OnControl<CBN_SELCHANGE, kTestCombo, &TestDialog::OnKind>(),
    OnControl<LBN_DBLCLK, kTestList, &TestDialog::OnPick>(),
};
const MessageMap TestDialog::messages{&CDialog::messages, entries};

class DialogTest : public WindowTest
{
protected:
    ~DialogTest() override { SetDialogHook({}); }
    // Runs script while the dialog is open. Returns the result of DoModal.
    int Show(std::function<void()> script)
    {
        SetDialogHook([script = std::move(script)](CDialog&) {
            g_recorder.Take(); // drops the record that the frame has lost the focus
            script();
        });
        return dialog.DoModal();
    }

    BoxTexts boxes;
    TestDialog dialog;
};

// Returns the number of the control that has the keyboard focus.
std::string Keys(const Lines& lines)
{
    for (const std::string& line : lines)
        if (line.find("[keys]") != std::string::npos)
            return line.substr(0, line.find(' '));
    return "none";
}

TEST_F(DialogTest, ShowsNamesValuesAndSortedEntries)
{
    EXPECT_EQ(Show([&] {
                  EXPECT_EQ(DescribeDialog(dialog),
                            (Lines{"Test", "201 (empty)", "202 list \"Names\" [keys] 0 of 4 selected",
                                   "203 combo \"Kinds:\" fig", "204 check \"Flag\" on",
                                   "205 number \"Count\" 3", "1 button \"OK\"", "2 button \"Cancel\""}));
                  EXPECT_EQ(dialog.combo.GetLBText(0), "Apple");
                  EXPECT_EQ(dialog.list.GetText(4), "");
              }),
              IDCANCEL);
    EXPECT_EQ(dialog.list.GetCount(), 0) << "the controls are destroyed";
    EXPECT_EQ(dialog.GetDlgItemText(kTestNumber), "");
}

TEST_F(DialogTest, CanBeUsedByKeysOnly)
{
    const struct {
        const char* name;
        std::initializer_list<const char*> keys;
        const char* at; // control with the focus afterwards
        Lines chosen;
    } cases[] = {
        {"tab order to the end", {"Tab", "Tab", "Tab"}, "205", {}},
        {"access letters of labels", {"Alt+C", "Alt+N"}, "202", {}},
        {"type-ahead", {"B", "E", "T", "A", "2"}, "202", {"Beta2"}},
        {"a range", {"Shift+Down", "Shift+Down"}, "202", {"alpha", "beta", "Beta2"}},
        {"all", {"Ctrl+A"}, "202", {"alpha", "beta", "Beta2", "gamma"}},
        {"no help", {"F1", "Shift+F1"}, "202", {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Lines chosen;
        EXPECT_EQ(Show([&] {
                      PressDialogKeys(dialog, c.keys);
                      EXPECT_EQ(Keys(DescribeDialog(dialog)), c.at);
                      chosen = dialog.Chosen();
                      PressDialogKeys(dialog, {"Return"}); // the default button, wherever the focus is
                  }),
                  IDOK);
        EXPECT_EQ(chosen, c.chosen);
    }
    EXPECT_EQ(Show([&] { PressDialogKeys(dialog, {"Down", "Escape"}); }), IDCANCEL);
}

TEST_F(DialogTest, ControlsReportOnlyWhatTheUserDoes)
{
    Show([&] {
        dialog.combo.SetCurSel(0);
        dialog.CheckDlgButton(kTestCheck, false);
        EXPECT_EQ(g_recorder.Take(), Lines{}) << "changes by the program are not reported";
        ClickControl(dialog, kTestCheck);
        ClickEntry(dialog, kTestCombo, 2);
        EXPECT_EQ(g_recorder.Take(), (Lines{"flag", "kind pear"}));
        ClickEntry(dialog, kTestList, 1);
        ClickEntry(dialog, kTestList, 3, true);
        ClickEntry(dialog, kTestList, 0, false, true);
        PressDialogKeys(dialog, {"Ctrl+Return"});
        EXPECT_EQ(g_recorder.Take(), (Lines{"pick", "pick"}));
        EXPECT_EQ(dialog.SendMessage(WM_COMMAND, kTestPath), 0) << "no handler";
    });
    EXPECT_EQ(Show([&] { ClickControl(dialog, IDOK); }), IDOK);
    EXPECT_EQ(Show([&] { ClickControl(dialog, IDCANCEL); }), IDCANCEL);
}

TEST_F(DialogTest, AcceptsOnlyWholeNumbersInTheirRange)
{
    const struct {
        const char* typed;
        int32_t want; // 0: refused
    } cases[] = {{" +42 ", 42}, {"2147483647", INT32_MAX},  {"0", 0}, {"", 0}, {"2147483648", 0}, {"5x", 0},
                 {"+-5", 0},    {"99999999999999999999", 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.typed);
        dialog.count = 3;
        dialog.flag = true;
        const int result = Show([&] {
            ClickControl(dialog, kTestCheck);
            PressDialogKeys(dialog, {"Alt+C", "Ctrl+A", "Delete"});
            TypeText(dialog, c.typed);
            if (c.want == 0)
                PressDialogKeys(dialog, {"Shift+Tab"});
            PressDialogKeys(dialog, {"Return"});
            EXPECT_EQ(Keys(DescribeDialog(dialog)), c.want == 0 ? "205" : "none");
        });
        EXPECT_EQ(result, c.want == 0 ? IDCANCEL : IDOK);
        EXPECT_EQ(dialog.count, c.want == 0 ? 3 : c.want);
        EXPECT_EQ(dialog.flag, c.want == 0) << "no field after the refused one is read";
        EXPECT_EQ(boxes.Take(), c.want == 0 ? Lines{"Enter an integer between 1 and 2147483647."} : Lines{});
    }
}

TEST_F(DialogTest, NoPaintAndNoPostedMessageWhileItIsOpen)
{
    Settle();
    const uint64_t paints = PaintCount(*view);
    Show([&] {
        view->Invalidate();
        view->UpdateWindow();
        view->PostMessage(WM_TEST);
        PumpRounds();
        EXPECT_EQ(PaintCount(*view), paints);
        EXPECT_EQ(dialog.GetParentFrame(), frame);
    });
    EXPECT_EQ(std::count(g_recorder.Lines().begin(), g_recorder.Lines().end(), "posted 0"), 0);
    Settle();
    EXPECT_EQ(PaintCount(*view), paints + 1);
}

TEST_F(DialogTest, EndsInEveryWay)
{
    EXPECT_EQ(CDialog(kTestDialog + 1).DoModal(), -1) << "this template does not exist";
    dialog.end_at_start = 7;
    EXPECT_EQ(Show([] { ADD_FAILURE() << "the hook ran, but the dialog ended before it was shown"; }), 7);
    dialog.end_at_start = 0;
    EXPECT_EQ(Show([&] {
                  EXPECT_EQ(dialog.DoModal(), -1) << "it is already open";
                  dialog.EndDialog(9);
                  dialog.EndDialog(10);
                  EXPECT_EQ(dialog.SendMessage(WM_COMMAND, IDOK), 0);
              }),
              9);
    EXPECT_EQ(Show([&] { dialog.SendMessage(WM_CLOSE); }), IDCANCEL);
    EXPECT_EQ(Show([&] { EXPECT_TRUE(dialog.DestroyWindow()); }), IDCANCEL);
    EXPECT_EQ(Show([&] { app->m_pMainWnd->SendMessage(WM_CLOSE); }), IDCANCEL) << "its parent is closed";
}

class ReportDialog : public CDialog
{
public:
    ReportDialog() : CDialog(kTestReport) {}
    using CDialog::EndDialog;
    std::function<bool()> step;

protected:
    bool OnWork() override { return step(); }
};

TEST_F(DialogTest, ReportsShowTextProgressAndBars)
{
    ReportDialog report;
    SetDialogHook([&](CDialog&) {
        report.SetDlgItemRows(kTestText, {{"Name", "a\x1b\xff"}, {"Other", "<b>"}});
        report.SetDlgItemProgress(kTestProgress, 40);
        report.SetDlgItemBars(kTestBars, {{0.5, "1: 50 %"}, {7, "2: <b>"}, {-1, "3"}});
        EXPECT_EQ(DescribeDialog(report),
                  (Lines{"Report", "211 text \"Report\" [keys] Name\ta\uFFFD\uFFFD | Other\t<b>",
                         "212 progress \"Progress\" 40", "213 bars \"Shares\" 1: 50 %; 2: <b>; 3",
                         "2 button \"Close\""}));
        const std::string before = report.GetDlgItemText(kTestText).c_str();
        TypeText(report, "x");
        PressDialogKeys(report, {"Ctrl+A", "Delete"});
        EXPECT_EQ(report.GetDlgItemText(kTestText), CString(before)) << "the text is read-only";
        report.SetDlgItemRows(kTestProgress, {{"a", "b"}}); // the control has another kind
        report.SetDlgItemBars(kTestDialog, {});             // this control does not exist
        PressDialogKeys(report, {"Return"});
        EXPECT_FALSE(report.IsWindowVisible()) << "Return presses the default button even from the text";
    });
    EXPECT_EQ(report.DoModal(), IDCANCEL);
}

TEST_F(DialogTest, WorkRunsBetweenInputs)
{
    ReportDialog report;
    int steps = 0;
    const auto show = [&](std::function<void()> script) {
        steps = 0;
        SetDialogHook([script = std::move(script)](CDialog&) { script(); });
        return report.DoModal();
    };
    EXPECT_EQ(show([&] {
                  report.step = [&] { return ++steps < 5; };
                  report.StartWork();
                  EXPECT_TRUE(PumpUntil([&] { return steps == 5; }));
                  PumpRounds();
                  EXPECT_EQ(steps, 5) << "the work is finished";
                  report.step = [&] { return ++steps > 0; };
                  report.StartWork();
                  EXPECT_TRUE(PumpUntil([&] { return steps == 50; }));
                  report.StopWork();
                  const int then = steps;
                  PumpRounds();
                  EXPECT_EQ(steps, then);
                  report.StartWork(); // Escape is pressed while the work runs
                  EXPECT_TRUE(PumpUntil([&] { return steps == 100; }));
                  PressDialogKeys(report, {"Escape"});
                  const int last = steps;
                  PumpRounds(); // still inside the dialog's loop
                  EXPECT_EQ(steps, last) << "the work ends with the dialog";
              }),
              IDCANCEL);
    report.StartWork();

    // A step may show a box, stop the work, end the dialog or close its parent.
    SetMessageBoxHook([&](const CString&) {
        const int before = steps;
        PumpRounds();
        EXPECT_EQ(steps, before) << "no step runs inside a step";
    });
    const struct {
        const char* name;
        std::function<void()> in_third_step;
        int result;
    } ends[] = {
        {"stops the work, and the dialog stays open", [&] { report.StopWork(); }, IDCANCEL},
        {"ends the dialog", [&] { report.EndDialog(9); }, 9},
        {"closes the parent", [&] { app->m_pMainWnd->SendMessage(WM_CLOSE); }, IDCANCEL},
    };
    for (const auto& c : ends) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(show([&] {
                      report.step = [&] {
                          if (++steps == 2)
                              AfxMessageBox("box");
                          if (steps == 3)
                              c.in_third_step();
                          return true;
                      };
                      report.StartWork();
                      EXPECT_TRUE(PumpUntil([&] { return steps == 3; }));
                      if (app->m_pMainWnd) // without its parent, the dialog ends when the script returns
                          PumpRounds();
                  }),
                  c.result);
        EXPECT_EQ(steps, 3);
    }
}

TEST_F(DialogTest, NamesKeepTheirBytes)
{
    dialog.names = {"b\n\tc\x7f", "a\xff\xfe.fax", "\u202exaf.\u00e4", "<b>&x", std::string("z\0z", 3)};
    Show([&] {
        PressDialogKeys(dialog, {"Ctrl+A"});
        EXPECT_EQ(dialog.Chosen(), (Lines{"<b>&x", "a\xff\xfe.fax", "b\n\tc\x7f", std::string("z\0z", 3),
                                          "\u202exaf.\u00e4"}));
        EXPECT_EQ(ShownEntry(dialog, kTestList, 1), "a\uFFFD\uFFFD.fax");
        EXPECT_EQ(ShownEntry(dialog, kTestList, 2), "b\uFFFD\uFFFDc\uFFFD");
        EXPECT_EQ(ShownEntry(dialog, kTestList, 4), "\uFFFDxaf.\u00E4");
    });
}

// The clock advances by ten milliseconds at each call, as if the directory were slow.
TEST_F(DialogTest, ASlowListingIsFinishedOrEndedByEscape)
{
    constexpr int kFiles = 300;
    const ScratchDirectory scratch;
    for (int i = 0; i < kFiles; ++i)
        scratch.Write(std::to_string(i), "x");
    for (const bool escape : {false, true})
        Show([&] {
            int64_t now = 0;
            int waited = 0;
            SetWorkClock([&] {
                if (escape && now == 500)
                    CallFromLoop([&] { PressDialogKeys(dialog, {"Escape"}); });
                waited += IsWaitCursorShown();
                return now += 10;
            });
            CString target = scratch.Path() + "/*.*";
            EXPECT_TRUE(DlgDirList(dialog, &target, kTestList, kTestPath, DDL_DIRECTORY));
            SetWorkClock({});
            EXPECT_GT(waited, 50);
            EXPECT_FALSE(IsWaitCursorShown());
            const int listed = dialog.list.GetCount() - 1;
            EXPECT_EQ(listed == kFiles, !escape) << listed;
            EXPECT_GE(listed, 50);
            EXPECT_TRUE(dialog.IsWindow()) << "the entries read so far can be used";
        });
}
} // namespace
