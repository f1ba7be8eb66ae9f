// SPDX-License-Identifier: MIT
// The application: its command line, dropped files, the list of pages, both Open commands, printing and
// settings.
#include "app/arguments.h"
#include "app/dialogids.h"
#include "app/lumentaresources.h"
#include "app/openmultipledialog.h"
#include "app/scalefrm.h"
#include "platform/viewedmark.h"
#include "tests/app/window_fixture.h"
#include "tests/support/child.h"
#include "tests/support/fake_marks.h"

#include <unistd.h>

namespace
{
TEST(CommandLineText, IsOnePathOrARequest)
{
    using Action = CommandLine::Action;
    struct Case {
        std::vector<const char*> arguments;
        bool exists;
        Action action;
        const char* text;
    };
    const Case cases[] = {
        {{}, true, Action::run, ""},
        {{"--help"}, true, Action::help, ""},
        {{"--version", "more"}, true, Action::version, ""},
        {{"page", "--help"}, false, Action::run, "page --help"},
        {{"two", "words.tif"}, true, Action::run, "two words.tif"},
        {{"a", "", "b"}, false, Action::run, "a  b"},
        {{"/export/page.tif"}, true, Action::run, "/./export/page.tif"},
        {{"/Export/a", "b;1"}, true, Action::run, "/./Export/a b;1"},
        {{"/export/page.tif"}, false, Action::run, "/export/page.tif"},
        {{"-embedding"}, false, Action::run, "-embedding"},
        {{"-e.tif"}, true, Action::run, "./-e.tif"},
        {{"/srv/page.tif"}, true, Action::run, "/srv/page.tif"},
    };
    for (const Case& c : cases) {
        const CommandLine line = ReadCommandLine(
            c.arguments,
            c.exists ? [](const CString&) { return true; } : [](const CString&) { return false; });
        EXPECT_EQ(line.action, c.action) << c.text;
        EXPECT_EQ(line.text, c.text);
    }
    const CommandLine at_semicolon =
        ReadCommandLine(std::vector<const char*>{"/e/page.tif;2"}, [](const CString& path) {
            EXPECT_EQ(path, "/e/page.tif") << "the file's path ends at the semicolon";
            return true;
        });
    EXPECT_EQ(at_semicolon.text, "/./e/page.tif;2");
    EXPECT_EQ(InChild([]() -> std::string {
                  if (geteuid() == 0 && setuid(65534) != 0)
                      return "no other user";
                  return ReadCommandLine(std::vector<const char*>{"/etc/shadow"}, PathExists).text.c_str();
              }),
              "/./etc/shadow")
        << "exists, but is not readable";
}

class App : public AppWindowTest
{
protected:
    // Writes three pages and returns their paths.
    std::vector<CString> ThreePages()
    {
        return {WritePage("first.tif", 200, 100), WritePage("second.tif", 300, 100),
                WritePage("third.tif", 400, 100)};
    }
};

TEST_F(App, DroppedFilesAreShownInTurn)
{
    Start(WritePage("open.tif", 500, 100));
    PressAccelerator(*frame, "Ctrl+Alt+S");
    ASSERT_NE(view->m_pScaleFrame, nullptr);
    DropFiles(*view->m_pScaleFrame, ThreePages()); // has the same effect as on the main window
    EXPECT_EQ(view->m_pScaleFrame, nullptr);
    EXPECT_EQ(Title(), "first - LUMENTA");
    frame->SendMessage(WM_COMMAND, kNextPageCommand);
    EXPECT_EQ(Title(), "second - LUMENTA");
    PressAccelerator(*frame, "Ctrl+Alt+S");
    ASSERT_NE(view->m_pScaleFrame, nullptr);
    PressAccelerator(*view->m_pScaleFrame, "Ctrl+Alt+N");
    EXPECT_EQ(Title(), "third - LUMENTA");
    EXPECT_EQ(boxes.Take(), Texts{});
}

TEST_F(App, MouseButtonsShowTheNextAndThePreviousPage)
{
    Start();
    DropFiles(*frame, ThreePages());
    ASSERT_TRUE(PumpUntilIdle());
    PressMouse(*view, {10, 10}, true);
    ReleaseMouse(*view, {10, 10}, true);
    DoubleClick(*view, {10, 10});
    EXPECT_EQ(Title(), "first - LUMENTA");
    DoubleClick(*view, {10, 10}, true);
    EXPECT_EQ(Title(), "second - LUMENTA");
    ClickXButton(*view, {10, 10}, XBUTTON2);
    EXPECT_EQ(Title(), "third - LUMENTA");
    app->m_PageList = {WritePage("fourth.tif", 500, 100)};
    ClickXButton(*view, {10, 10}, XBUTTON1);
    EXPECT_EQ(Title(), "second - LUMENTA");
    ClickXButton(*view, {10, 10}, XBUTTON2, 3);
    EXPECT_EQ(Title(), "fourth - LUMENTA") << "every quick press counts, except those after the last page";
    for (const auto& [button, title] :
         {std::pair{XBUTTON1, "third - LUMENTA"}, std::pair{XBUTTON2, "fourth - LUMENTA"}}) {
        PressAccelerator(*frame, "Ctrl+Alt+S");
        ASSERT_NE(view->m_pScaleFrame, nullptr);
        ClickXButton(*view->m_pScaleFrame->GetActiveView(), {10, 5}, button);
        EXPECT_EQ(Title(), title) << "pressed in the overview, which closes with its page";
        EXPECT_EQ(view->m_pScaleFrame, nullptr);
    }
}

TEST_F(App, NextAndPreviousMoveThroughTheList)
{
    enum Step { next, previous, openOther, removeSecond, clear, add, takeAll, leave };
    struct Case {
        Step step;
        const char* title;
        const char* message;
        const char* enabled; // of Next Page, Previous Page and Clear List
        const char* fails;   // the page that a message box names, or null
    };
    const Case cases[] = {
        {next, "LUMENTA", "No page", "next clear", nullptr}, // the entry is empty
        {next, "first - LUMENTA", "page 1 of 5", "next clear", nullptr},
        {next, "first - LUMENTA", "No page", "next previous clear", "missing.tif"},
        {previous, "first - LUMENTA", "page 1 of 4", "next clear", nullptr},
        {previous, "first - LUMENTA", "page 1 of 4", "next clear", nullptr},
        {next, "second - LUMENTA", "page 2 of 4", "next previous clear", nullptr},
        {next, "first - LUMENTA", "page 3 of 4", "next previous clear", nullptr},
        {next, "third - LUMENTA", "page 4 of 4", "previous clear", nullptr},
        {next, "third - LUMENTA", "page 4 of 4", "previous clear", nullptr},
        {previous, "first - LUMENTA", "page 3 of 4", "next previous clear", nullptr},
        {previous, "second - LUMENTA", "page 2 of 4", "next previous clear", nullptr},
        {openOther, "other - LUMENTA", "Ready", "next previous clear", nullptr},
        {previous, "second - LUMENTA", "page 2 of 4", "next previous clear", nullptr},
        {openOther, "other - LUMENTA", "Ready", "next previous clear", nullptr},
        {next, "first - LUMENTA", "page 3 of 4", "next previous clear", nullptr},
        {removeSecond, "first - LUMENTA", "page 3 of 4", "next previous clear", nullptr},
        {previous, "first - LUMENTA", "No page", "next previous clear", "second.tif"},
        {previous, "first - LUMENTA", "page 1 of 3", "next clear", nullptr},
        {next, "first - LUMENTA", "page 2 of 3", "next previous clear", nullptr},
        {clear, "first - LUMENTA", "Ready", "", nullptr},
        {next, "first - LUMENTA", "Ready", "", nullptr},
        {previous, "first - LUMENTA", "Ready", "", nullptr},
        {add, "first - LUMENTA", "Ready", "next clear", nullptr},
        {next, "third - LUMENTA", "page 1 of 1", "clear", nullptr},
        // A new entry counts as new, even if entries that were seen before it are gone.
        {add, "third - LUMENTA", "page 1 of 2", "next clear", nullptr},
        {next, "third - LUMENTA", "page 2 of 2", "previous clear", nullptr},
        {add, "third - LUMENTA", "page 2 of 3", "next previous clear", nullptr},
        {next, "third - LUMENTA", "page 3 of 3", "previous clear", nullptr},
        {previous, "third - LUMENTA", "page 2 of 3", "next previous clear", nullptr},
        {takeAll, "third - LUMENTA", "page 2 of 2", "previous clear", nullptr},
        {previous, "third - LUMENTA", "page 1 of 2", "next clear", nullptr},
        {next, "third - LUMENTA", "page 2 of 2", "previous clear", nullptr},
        {add, "third - LUMENTA", "page 2 of 3", "next previous clear", nullptr},
        {next, "third - LUMENTA", "page 3 of 3", "previous clear", nullptr},
        {previous, "third - LUMENTA", "page 2 of 3", "next previous clear", nullptr},
        {leave, "third - LUMENTA", "Ready", "", nullptr},
        {add, "third - LUMENTA", "Ready", "next clear", nullptr},
        {next, "third - LUMENTA", "page 1 of 1", "clear", nullptr},
    };
    const KeptMarks marks;
    const std::vector<CString> pages = ThreePages();
    const CString other = WritePage("other.tif", 500, 100);
    Start();
    app->m_bMarkViewed = true;
    app->m_PageList = {{}, pages[0], scratch.File("missing.tif"), pages[1], pages[0], pages[2]};
    const auto state = [&](UINT command, const char* name) {
        return frame->QueryCommand(command).IsEnabled() ? std::string{" "} + name : std::string{};
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        const Case& c = cases[i];
        SCOPED_TRACE(i);
        switch (c.step) {
        case next: PressAccelerator(*frame, "Ctrl+Alt+N"); break;
        case previous: PressAccelerator(*frame, "Ctrl+Alt+P"); break;
        case openOther: app->OpenDocumentFile(other); break;
        case add: app->m_PageList.push_back(pages[2]); break;
        case takeAll: app->m_PageList.clear(); break;
        case leave: app->ExitInstance(); break;
        case removeSecond: std::filesystem::remove(pages[1].c_str()); break;
        case clear: frame->SendMessage(WM_COMMAND, kClearListCommand); break;
        }
        view->Invalidate(); // a real menu command also updates the message field
        ASSERT_TRUE(PumpUntilIdle());
        EXPECT_EQ(boxes.Take(), c.fails ? Texts{scratch.File(c.fails) + ": Open failed"} : Texts{});
        EXPECT_EQ(Title(), c.title);
        EXPECT_EQ(Pane(0), c.message);
        EXPECT_EQ(state(kNextPageCommand, "next") + state(kPreviousPageCommand, "previous") +
                      state(kClearListCommand, "clear"),
                  *c.enabled ? std::string{" "} + c.enabled : "");
    }
    EXPECT_EQ(marks.set, (Texts{"first.tif", "second.tif", "first.tif", "third.tif", "third.tif", "third.tif",
                                "third.tif", "third.tif", "third.tif"}))
        << "each entry is marked once, when it is first shown";
}

TEST_F(App, OpenMultipleAppendsToTheListAndMarksShownPages)
{
    const KeptMarks marks;
    const std::vector<CString> pages = ThreePages();
    Start();
    app->m_strPageDirectory = scratch.Path().c_str();
    app->m_strPageFilter = "*.tif";
    int listed = 0;
    const auto choose = [&](std::initializer_list<int> entries) {
        SetDialogHook([&](CDialog& dialog) {
            auto& multiple = static_cast<COpenMultipleDialog&>(dialog);
            listed = multiple.m_wndList.GetCount() - 1; // without the entry for the directory above
            multiple.CheckDlgButton(kMarkViewedBox, true);
            for (const int entry : entries)
                ClickEntry(multiple, kPageList, entry, true);
            PressDialogKeys(dialog, {"Return"});
        });
        PressAccelerator(*frame, "Ctrl+M");
    };
    choose({1, 2, 3});
    EXPECT_EQ(listed, 3);
    EXPECT_EQ(Title(), "first - LUMENTA");
    EXPECT_EQ(app->m_PageList.size(), 2U);
    EXPECT_TRUE(app->m_bMarkViewed);
    choose({1});
    EXPECT_EQ(listed, 2) << "only pages not viewed yet";
    EXPECT_EQ(Title(), "second - LUMENTA");
    const std::deque<CString> waiting{pages[2], pages[1]};
    EXPECT_EQ(app->m_PageList, waiting) << "pages left in the list come first";
    SetDialogHook([&](CDialog& dialog) {
        ClickEntry(dialog, kTypeBox, 0);
        ClickControl(dialog, kMarkViewedBox);
        ClickEntry(dialog, kPageList, 0, false, true); // to the directory above
        PressDialogKeys(dialog, {"Escape"});
    });
    PressAccelerator(*frame, "Ctrl+M");
    EXPECT_EQ(app->m_strPageDirectory, CString(scratch.Path() + "/"));
    EXPECT_EQ(app->m_strPageFilter, "*.tif");
    EXPECT_TRUE(app->m_bMarkViewed);
    choose({});
    EXPECT_EQ(listed, 1);
    EXPECT_EQ(Title(), "third - LUMENTA");
    PressAccelerator(*frame, "Ctrl+Alt+N");
    EXPECT_EQ(Title(), "second - LUMENTA");
    choose({});
    EXPECT_EQ(listed, 0);
    WritePage("first.tif", 210, 100); // a rewritten file counts as not viewed
    choose({1});
    EXPECT_EQ(listed, 1);
    EXPECT_EQ(Title(), "first - LUMENTA");
}

TEST_F(App, OpenShowsAndMarksAPageAndRemembersItsDirectory)
{
    const KeptMarks marks;
    const std::vector<CString> pages = ThreePages();
    scratch.Write("broken.tif", "II*");
    scratch.Write("third.tif;1", "not what is opened");
    const CString directory = (scratch.Path() + "/").c_str();
    Start();
    app->m_bMarkViewed = true;
    app->m_PageList.push_back(pages[2]);
    const struct {
        const char* filter_before;
        const char* typed; // null: Cancel
        const char* filter_after;
        const char* title;
        size_t boxes;
    } cases[] = {
        {"", nullptr, "*.fax", "LUMENTA", 0},
        {"*.TIF", "first.tif", "*.tif", "first - LUMENTA", 0},
        {"*.tif", nullptr, "*.tif", "first - LUMENTA", 0},
        {"*.jpg", "second.tif", "*.fax", "second - LUMENTA", 0}, // no filter has this pattern
        {"*.*", "third.tif;1", "*.*", "third - LUMENTA", 0},
        {"*.*", "broken.tif", "*.*", "third - LUMENTA", 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.filter_before << " " << (c.typed ? c.typed : "Cancel"));
        app->m_strPageDirectory = directory;
        app->m_strPageFilter = c.filter_before;
        SetFileDialogHook([&](CFileDialog& dialog) {
            if (c.typed)
                TypeFileName(dialog, c.typed);
            ClickFileButton(dialog, c.typed ? IDOK : IDCANCEL);
        });
        PressAccelerator(*frame, "Ctrl+O");
        EXPECT_EQ(Title(), c.title);
        EXPECT_EQ(app->m_strPageDirectory, c.typed ? directory : CString{});
        EXPECT_EQ(app->m_strPageFilter, c.filter_after);
        EXPECT_EQ(boxes.Take().size(), c.boxes);
    }
    EXPECT_EQ(app->m_PageList.size(), 1U);
    EXPECT_EQ(app->GetRecentFiles(), (std::vector<CString>{pages[2], pages[1], pages[0]}));
    app->m_bMarkViewed = false;
    app->m_PageList = {WritePage("fourth.tif", 200, 100)};
    app->OnNextPage();
    EXPECT_EQ(Title(), "fourth - LUMENTA");
    EXPECT_EQ(marks.set, (Texts{"first.tif", "second.tif", "third.tif"}));
}

TEST_F(App, PrintsOnePageWithTheDrawingOfTheView)
{
    StartWithPage(600, 500);
    view->ScrollToPosition({70, 60});
    ASSERT_TRUE(PumpUntilIdle());
    int highest_page = 0;
    CString target = scratch.File("page.pdf");
    SetPrintDialogHook([&](CPrintInfo& info) {
        highest_page = info.GetMaxPage();
        return target;
    });
    frame->m_nPageLeft = frame->m_nPageTop = -1;
    frame->SendMessage(WM_COMMAND, ID_FILE_PRINT);
    EXPECT_EQ(highest_page, 1);
    EXPECT_EQ((CPoint{frame->m_nPageLeft, frame->m_nPageTop}), (CPoint{70, 60}));
    EXPECT_GT(std::filesystem::file_size(target.c_str()), 10000U) << "noise cannot be compressed";
    EXPECT_EQ(document->m_nLastRow, 499);

    target = {}; // Cancel
    frame->m_nPageLeft = -1;
    frame->SendMessage(WM_COMMAND, ID_FILE_PRINT);
    EXPECT_EQ(frame->m_nPageLeft, -1);
    EXPECT_EQ(boxes.Take(), Texts{});
    target = scratch.File("nowhere/page.pdf");
    frame->SendMessage(WM_COMMAND, ID_FILE_PRINT);
    EXPECT_EQ(boxes.Take(), Texts{"Printing failed"});

    EXPECT_TRUE(frame->QueryCommand(ID_FILE_PRINT_PREVIEW).IsEnabled());
    EXPECT_EQ(app->OpenDocumentFile(scratch.File("missing.tif")), nullptr);
    boxes.Take();
    highest_page = 0;
    frame->SendMessage(WM_COMMAND, ID_FILE_PRINT);
    EXPECT_EQ(highest_page, 0) << "there is no page to print";
    EXPECT_FALSE(frame->QueryCommand(ID_FILE_PRINT_PREVIEW).IsEnabled());
    EXPECT_EQ(boxes.Take(), Texts{});
}
} // namespace
