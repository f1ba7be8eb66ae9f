// SPDX-License-Identifier: MIT
// The Open Multiple dialog: its list, its directories and the files that it returns.
#include "app/dialogids.h"
#include "app/openmultipledialog.h"
#include "tests/app/dialog_fixture.h"
#include "tests/support/fake_marks.h"

#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
namespace fs = std::filesystem;

class OpenMultipleTest : public AppDialogTest
{
protected:
    OpenMultipleTest()
    {
        for (const char* name : {"new2.fax", "New1.fax", "seen.fax", "page.low", "page.TIF", "page.f"})
            scratch.Write(name, "x");
        MarkViewed(scratch.File("seen.fax"), FileStatusOf(scratch.File("seen.fax")));
        fs::create_directories(scratch.File("sub/deep"));
        scratch.Write("sub/inner.fax", "x");
        dialog.m_strDirectory = scratch.Path(); // without a separator at the end
        dialog.m_strFilter = "*.fax";
    }

    int Run(std::function<void()> script) { return Show(dialog, std::move(script)); }
    Texts Listed()
    {
        Texts entries;
        for (int i = 0; i < dialog.m_wndList.GetCount(); ++i)
            entries.emplace_back(dialog.m_wndList.GetText(i).View());
        return entries;
    }
    int IndexOf(const std::string& entry)
    {
        const Texts entries = Listed();
        const auto found = std::find(entries.begin(), entries.end(), entry);
        EXPECT_NE(found, entries.end()) << entry;
        return static_cast<int>(found - entries.begin());
    }
    void Choose(const Texts& wanted)
    {
        for (const std::string& entry : wanted)
            ClickEntry(dialog, kPageList, IndexOf(entry), entry != wanted.front());
    }
    void DoubleClick(const std::string& entry) { ClickEntry(dialog, kPageList, IndexOf(entry), false, true); }
    std::string Shown() { return dialog.GetDlgItemText(kDirectoryText).c_str(); }
    std::string Directory() const { return dialog.m_strDirectory.c_str(); }

    ScratchDirectory scratch;
    const KeptMarks marks;
    COpenMultipleDialog dialog;
};

TEST_F(OpenMultipleTest, ShowsDirectoryFilterAndFlags)
{
    EXPECT_EQ(Run([&] {
                  EXPECT_EQ(DescribeDialog(dialog),
                            (Texts{"Open Multiple", "102 " + scratch.Path(),
                                   "103 list \"File list for\" [keys] 0 of 4 selected",
                                   "104 combo \"Display files of type:\" Fax (*.fax)",
                                   "105 check \"Display previously viewed pages\" off",
                                   "106 check \"Mark viewed pages\" on", "1 button \"OK\"",
                                   "2 button \"Cancel\""}));
                  EXPECT_EQ(Listed(), (Texts{"[..]", "[sub]", "New1.fax", "new2.fax"}));
                  ClickControl(dialog, kShowViewedBox);
                  EXPECT_EQ(Listed(), (Texts{"[..]", "[sub]", "New1.fax", "new2.fax", "seen.fax"}));
                  ClickControl(dialog, kMarkViewedBox);
                  PressDialogKeys(dialog, {"Return"});
              }),
              IDOK);
    EXPECT_TRUE(dialog.m_bShowViewed);
    EXPECT_FALSE(dialog.m_bMarkViewed);
    EXPECT_EQ(Directory(), scratch.Path() + "/") << "it is returned even if nothing is selected";
    EXPECT_TRUE(dialog.m_Files.empty());
}

TEST_F(OpenMultipleTest, TheFilterSelectsATypeAndATypeSetsTheFilter)
{
    const struct {
        const char* filter;
        const char* chosen;
        const char* after; // m_strFilter once the dialog is open
        Texts files;       // listed with it
    } cases[] = {
        {"*.low", "Low Res (*.low)", "*.low", {"page.low"}},
        {"*.tif", "TIFF (*.tif)", "*.tif", {"page.TIF"}},
        {"*.FAX", "All (*.*)", "*.*", {"New1.fax", "new2.fax", "page.f", "page.low", "page.TIF"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.filter);
        dialog.m_strFilter = c.filter;
        Run([&] {
            EXPECT_STREQ(dialog.m_wndType.GetWindowText().c_str(), c.chosen);
            EXPECT_STREQ(dialog.m_strFilter.c_str(), c.after);
            Texts listed = Listed();
            ASSERT_GE(listed.size(), 2U);
            EXPECT_EQ(Texts(listed.begin() + 2, listed.end()), c.files);
            ClickEntry(dialog, kTypeBox, 1);
            EXPECT_STREQ(dialog.m_strFilter.c_str(), "*.fax");
            Choose({"New1.fax", "new2.fax"});
            ClickEntry(dialog, kTypeBox, 1);
            EXPECT_EQ(dialog.m_wndList.GetSelItems().size(), 2U)
                << "choosing the same type again keeps the selection";
        });
    }
}

TEST_F(OpenMultipleTest, WalksThroughDirectories)
{
    const std::string here = fs::current_path();
    EXPECT_EQ(Run([&] {
                  DoubleClick("[sub]");
                  EXPECT_EQ(Listed(), (Texts{"[..]", "[deep]", "inner.fax"}));
                  EXPECT_TRUE(dialog.m_wndList.GetSelItems().empty())
                      << "the double click selects nothing in the new list";
                  DoubleClick("[deep]");
                  EXPECT_EQ(Directory(), scratch.File("sub/deep/"));
                  PressDialogKeys(dialog, {"Ctrl+Return"});           // nothing is selected: nothing happens
                  PressDialogKeys(dialog, {"[", ".", "Ctrl+Return"}); // opens a directory by keys
                  EXPECT_EQ(Shown(), scratch.Path());
                  DoubleClick("[sub]");
                  PressDialogKeys(dialog, {"Escape"});
              }),
              IDCANCEL);
    EXPECT_EQ(fs::current_path(), here);

    dialog.m_strDirectory = "/tmp";
    Run([&] {
        DoubleClick("[..]");
        EXPECT_EQ(Directory(), "/");
        EXPECT_EQ(Shown(), "/");
        EXPECT_FALSE(Listed().front() == "[..]");
        DoubleClick("[tmp]");
        EXPECT_EQ(Directory(), "/tmp/");
    });

    dialog.m_strDirectory = "";
    Run([&] { EXPECT_EQ(Directory(), here + "/"); });
}

TEST_F(OpenMultipleTest, ANameBetweenDashesIsADriveIfThereIsOne)
{
    fs::create_directory(scratch.File("-c-"));
    fs::create_directory(scratch.File("-cc-"));
    const fs::path here = fs::current_path();
    Run([&] {
        DoubleClick("[-c-]");
        EXPECT_EQ(Directory(), scratch.File("-c-/")) << "without such a drive it is a directory";
        DoubleClick("[..]");
        fs::create_directory(scratch.File("c:"));
        fs::current_path(scratch.Path());
        DoubleClick("[-c-]");
        EXPECT_EQ(Directory(), "c:/");
        DoubleClick("[..]");
        EXPECT_EQ(Directory(), "c:/");
    });
    fs::current_path(here);
    dialog.m_strDirectory = scratch.Path();
    Run([&] {
        DoubleClick("[-cc-]");
        EXPECT_EQ(Directory(), scratch.File("-cc-/"));
    });
}

TEST_F(OpenMultipleTest, ReturnsOnlyFiles)
{
    const std::string longest = std::string(251, 'y') + ".fax";
    for (const char* name : {"[odd].fax", "[odd]", "a\nb\xff.fax", "-x \"'.f", longest.c_str()})
        scratch.Write(name, "x");
    dialog.m_strFilter = "*.*";
    const struct {
        const char* name;
        Texts choose;
        std::vector<CString> want;
    } cases[] = {
        {"in the order of the list",
         {"seen.fax", "page.f", "[sub]", "New1.fax"},
         {"New1.fax", "page.f", "seen.fax"}},
        {"bytes that are no UTF-8", {"a\nb\xff.fax", "new2.fax"}, {"a\nb\xff.fax", "new2.fax"}},
        {"dash, quotes, the longest name", {longest, "-x \"'.f"}, {"-x \"'.f", longest}},
        {"names that look like directories", {"[odd].fax", "[odd]", "page.f"}, {"page.f"}},
    };
    dialog.m_bShowViewed = true;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Run([&] {
                      Choose(c.choose);
                      ClickControl(dialog, IDOK);
                  }),
                  IDOK);
        EXPECT_EQ(dialog.m_Files, c.want);
    }
    EXPECT_EQ(Run([&] {
                  Choose({"New1.fax", "page.f"});
                  dialog.SendMessage(WM_COMMAND, LBN_DBLCLK << 16 | kPageList);
                  EXPECT_EQ(dialog.m_wndList.GetSelItems().size(), 2U)
                      << "a double click on several files does nothing";
                  DoubleClick("page.f");
              }),
              IDOK);
    EXPECT_EQ(dialog.m_Files, std::vector<CString>{"page.f"});
}

TEST_F(OpenMultipleTest, AnUnreadableDirectoryLeavesAWayOut)
{
    Run([&] {
        fs::remove_all(scratch.File("sub"));
        DoubleClick("[sub]");
        EXPECT_EQ(Directory(), scratch.Path() + "/");
        EXPECT_EQ(Listed(), (Texts{"[..]", "[sub]", "New1.fax", "new2.fax"}));
    });
    fs::create_directories(scratch.File("sub/deep"));
    dialog.m_strDirectory = scratch.File("sub/deep");
    Run([&] {
        fs::remove_all(scratch.File("sub"));
        ClickControl(dialog, kShowViewedBox);
        EXPECT_EQ(Listed(), Texts{"[..]"}) << "only the way up is left";
        DoubleClick("[..]");
        EXPECT_EQ(Directory(), scratch.Path() + "/") << "the nearest directory that exists";
    });
    dialog.m_strDirectory = scratch.File("sub/deep");
    Run([&] { EXPECT_EQ(Directory(), scratch.Path() + "/"); });
    const std::string here = fs::current_path();
    for (const std::string& none : {std::string("gone"), "a/" + std::string(5000, '/') + "b"}) {
        dialog.m_strDirectory = none;
        Run([&] {
            EXPECT_EQ(Directory(), here + "/");
            EXPECT_EQ(Listed().front(), "[..]");
        });
    }
    EXPECT_EQ(boxes.Take(), Texts{});
}
} // namespace
