// SPDX-License-Identifier: MIT
// Changes of the open page's file: the note in the message field, and F5, which reads the page again at the
// same place.
#include "app/dialogids.h"
#include "app/pageheader.h"
#include "app/scalefrm.h"
#include "pagefile.h"
#include "tests/app/window_fixture.h"

namespace
{
class ChangingPage : public AppWindowTest
{
protected:
    static constexpr const char* kChanged = "file has changed, F5 reads it again";
    static constexpr const char* kGone = "file is gone";
    static constexpr const char* kUnreadable = "file cannot be read";

    void StartActive()
    {
        StartWithPage(600, 500);
        ActivateByUser(*frame);
        ASSERT_TRUE(PumpUntilIdle());
    }
    // Activates the window again and returns the text of the message field.
    std::string NoteAtActivation()
    {
        frame->SendMessage(WM_ACTIVATE, 1);
        view->Invalidate(); // a real activation paints too
        EXPECT_TRUE(PumpUntilIdle());
        return Pane(0);
    }
    void Reload()
    {
        PressAccelerator(*frame, "F5");
        ASSERT_TRUE(PumpUntilIdle());
    }
    std::string Page() const { return scratch.File("page.tif"); }
};

TEST_F(ChangingPage, ReportsEveryChangeOfItsFile)
{
    StartActive();
    EXPECT_EQ(Pane(0), "Ready");
    const std::string page_file = Page();
    const std::string aside = scratch.File("aside.tif");
    const std::filesystem::file_time_type written = std::filesystem::last_write_time(page_file);
    const struct {
        const char* what;
        std::function<void()> change;
        const char* want;
    } cases[] = {
        {"moved away", [&] { std::filesystem::rename(page_file, aside); }, kGone},
        {"a directory instead", [&] { std::filesystem::create_directory(page_file); }, kGone},
        {"a link to itself instead",
         [&] {
             std::filesystem::remove(page_file);
             std::filesystem::create_symlink(page_file, page_file);
         },
         kUnreadable},
        {"moved back",
         [&] {
             std::filesystem::remove(page_file);
             std::filesystem::rename(aside, page_file);
         },
         "Ready"},
        {"rewritten in place",
         [&] { std::filesystem::last_write_time(page_file, written + std::chrono::nanoseconds{4000000}); },
         kChanged},
        {"its old time again", [&] { std::filesystem::last_write_time(page_file, written); }, "Ready"},
        {"cut off", [&] { std::filesystem::resize_file(page_file, 1000); }, kChanged},
        {"another file of the same size and time",
         [&] {
             ASSERT_NE(app->OpenDocumentFile(WritePage("page.tif", 600, 500)), nullptr);
             std::filesystem::copy_file(page_file, aside);
             std::filesystem::last_write_time(aside, std::filesystem::last_write_time(page_file));
             EXPECT_EQ(NoteAtActivation(), "Ready") << "opening the page removes the note";
             std::filesystem::rename(aside, page_file);
         },
         kChanged},
    };
    for (const auto& c : cases) {
        c.change();
        EXPECT_EQ(NoteAtActivation(), c.want) << c.what;
    }
    document->m_bReadError = true;
    document->m_nErrorRow = 7;
    EXPECT_EQ(NoteAtActivation(), std::string{"damaged from line 7, "} + kChanged);
    EXPECT_EQ(app->OpenDocumentFile(scratch.File("missing.tif")), nullptr);
    EXPECT_EQ(NoteAtActivation(), "No page");
    EXPECT_EQ(boxes.Take().size(), 1U);
}

TEST_F(ChangingPage, IsWatchedWhileAWindowOfTheProgramIsActive)
{
    Start();
    ActivateByUser(*frame);
    EXPECT_EQ(TimerCount(), 0) << "there is no page";
    StartActive();
    EXPECT_EQ(TimerCount(), 1);
    std::filesystem::remove(Page());
    ASSERT_TRUE(PumpUntil([this] { return Pane(0) == kGone; }));
    WritePage("page.tif", 600, 500);
    ASSERT_TRUE(PumpUntil([this] { return Pane(0) == kChanged; }));

    frame->SendMessage(WM_COMMAND, kScaledPageCommand);
    ASSERT_NE(view->m_pScaleFrame, nullptr);
    ActivateByUser(*view->m_pScaleFrame);
    EXPECT_EQ(TimerCount(), 1);
    std::filesystem::remove(Page());
    ASSERT_TRUE(PumpUntil([this] { return Pane(0) == kGone; }));
    int in_dialog = -1;
    SetDialogHook([&](CDialog&) { in_dialog = TimerCount(); });
    frame->SendMessage(WM_COMMAND, ID_APP_ABOUT);
    EXPECT_EQ(in_dialog, 0) << "no window that shows the page is active";
    ActivateByUser(*frame);
    EXPECT_EQ(TimerCount(), 1);
    app->OnFileNew();
    EXPECT_EQ(TimerCount(), 0);
}

TEST_F(ChangingPage, IsReadAgainAtTheSamePlace)
{
    StartActive();
    const CPoint place{150, 160};
    view->ScrollToPosition(place);
    app->m_PageList = {"next.tif"};
    WritePage("page.tif", 600, 500, 300, 300, 2);
    EXPECT_EQ(NoteAtActivation(), kChanged);
    Reload();
    EXPECT_EQ(view->GetScrollPosition(), place);
    EXPECT_EQ(ScreenDiffersFromPage(), "");
    EXPECT_EQ(Pane(0), "Ready");
    EXPECT_EQ(app->m_PageList, std::deque<CString>{"next.tif"});

    WritePage("page.tif", 500, 5000);
    Reload();
    EXPECT_EQ(view->GetScrollPosition(), (CPoint{Range().x, place.y})) << "clamped to the page";
    EXPECT_EQ(ScreenDiffersFromPage(), "");

    // If the file is missing or incomplete, F5 changes nothing.
    frame->SendMessage(WM_COMMAND, kScaledPageCommand);
    ASSERT_TRUE(PumpUntilIdle());
    const CScaleFrame* const overview = view->m_pScaleFrame;
    ASSERT_NE(overview, nullptr);
    const CScaledDIBitmap* const picture = document->m_pScaled.get();
    const CPoint kept = view->GetScrollPosition();
    const int32_t rows = document->m_nLastRow;
    PageHeader header{pages::usual_header()};
    header.ImageWidth = header.DataWidth = 500;
    header.ImageHeight = 0; // not known yet
    header.Compression = FAXHEADER_UNCOMPRESSED;
    std::string begun(FAXHEADER_BYTES, ' ');
    ASSERT_EQ(header.WriteToBuffer(begun.data(), FAXHEADER_BYTES, true), 0);
    const std::pair<std::string, std::string> files[] = {{"", Page() + ": Open failed"},
                                                         {"II*", Page() + ": Open failed"},
                                                         {begun, "Unable to allocate bitmap"}};
    for (const auto& [content, message] : files) {
        std::filesystem::remove(Page());
        if (!content.empty())
            scratch.Write("page.tif", content);
        const char* const note = content.empty() ? kGone : kChanged;
        EXPECT_EQ(NoteAtActivation(), note);
        Reload();
        EXPECT_EQ(boxes.Take(), (Texts{message}));
        EXPECT_EQ(Pane(0), note);
        EXPECT_EQ(Title(), "page - LUMENTA");
        EXPECT_EQ(view->m_pScaleFrame, overview);
        EXPECT_EQ(document->m_pScaled.get(), picture);
        EXPECT_EQ(view->GetScrollPosition(), kept);
        EXPECT_EQ(document->m_nLastRow, rows);
        EXPECT_EQ(ScreenDiffersFromPage(), "");
    }

    // Without a page, F5 opens the one that the title still names.
    scratch.Write("page.tif", "II*");
    EXPECT_EQ(app->OpenDocumentFile(scratch.File("page.tif")), nullptr);
    EXPECT_EQ(boxes.Take().size(), 1U);
    ASSERT_TRUE(PumpUntilIdle());
    EXPECT_EQ(Pane(0), "No page");
    Reload();
    EXPECT_EQ(boxes.Take(), (Texts{Page() + ": Open failed"}));
    WritePage("page.tif", 600, 500, 300, 300, 3);
    Reload();
    EXPECT_EQ(ScreenDiffersFromPage(), "");
    EXPECT_EQ(Title(), "page - LUMENTA");

    // The text from the semicolon on is not part of the file's name.
    ASSERT_NE(app->OpenDocumentFile((Page() + ";8\t9").c_str()), nullptr);
    ASSERT_TRUE(PumpUntilIdle());
    WritePage("page.tif", 600, 500, 300, 300, 4);
    EXPECT_EQ(NoteAtActivation(), kChanged);
    Reload();
    EXPECT_EQ(ScreenDiffersFromPage(), "");
    EXPECT_EQ(boxes.Take(), Texts{});
}
} // namespace
