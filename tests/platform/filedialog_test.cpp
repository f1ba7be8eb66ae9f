// SPDX-License-Identifier: MIT
// The dialog that asks for a file: its list, its notifications and its results.
#include "platform/filedialog.h"
#include "tests/platform/test_classes.h"
#include "tests/support/scratch.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>

namespace
{
using Lines = std::vector<std::string>;
namespace fs = std::filesystem;

// Records each notification as a line: number of the list, notification code, path of the entry. "current"
// follows if the entry is also the current selection of the list of files.
class NotingDialog : public CFileDialog
{
public:
    using CFileDialog::CFileDialog;
    Recorder notes;

protected:
    void OnLBSelChangedNotify(UINT list, int index, UINT code) override
    {
        const bool is_current = list == kFileDialogFiles && GetCurSel(list) == index;
        notes.Add(std::to_string(list) + " " + std::to_string(code) + " " + GetEntryText(index).c_str() +
                  (is_current ? " current" : ""));
    }
};

class FileDialogTest : public WindowTest
{
protected:
    FileDialogTest()
    {
        for (const char* name : {"a.fax", "B.FAX", "bare", "c.low", ".hidden.fax", "bad\xff.fax"})
            scratch.Write(name, "x");
        fs::create_directory(scratch.File("sub"));
        scratch.Write("sub/inner.fax", "x");
        EXPECT_EQ(mkfifo(scratch.File("pipe.fax").c_str(), 0600), 0);
        dialog.m_strInitialDir = scratch.Path() + "/";
    }
    ~FileDialogTest() override { SetFileDialogHook({}); }

    int Show(std::function<void()> script)
    {
        SetFileDialogHook([script = std::move(script)](CFileDialog&) { script(); });
        return dialog.DoModal();
    }
    bool WaitFor(Lines wanted) // for these entries in any order
    {
        std::sort(wanted.begin(), wanted.end());
        return PumpUntil([&] {
            Lines names = ShownFiles(dialog);
            std::sort(names.begin(), names.end());
            return names == wanted;
        });
    }
    void Click(const std::string& name, bool twice = false)
    {
        const Lines names = ShownFiles(dialog);
        const auto found = std::find(names.begin(), names.end(), name);
        ASSERT_NE(found, names.end()) << name;
        EXPECT_TRUE(ClickFile(dialog, static_cast<int>(found - names.begin()), twice));
    }
    std::string Path(const char* name) const { return scratch.File(name); }

    ScratchDirectory scratch;
    NotingDialog dialog{" Fax *.fax | *.fax | Low | *.low;*.none | All | *.* | Low | *.low ||"};
};

TEST_F(FileDialogTest, TheFilterSelectsFilesAndItsIndexIsReturned)
{
    const struct {
        int index_in;
        int chosen; // index of the filter that the user selects; 0: the user selects none
        int index_out;
        Lines shown;
    } cases[] = {
        {0, 0, 1, {"sub", "a.fax", "B.FAX"}},
        {2, 0, 2, {"sub", "c.low"}},
        {4, 0, 4, {"sub", "c.low"}}, // has the same text as filter 2
        {9, 3, 3, {"sub", "a.fax", "B.FAX", "c.low", "bare"}},
    };
    dialog.m_strInitialDir = Path("gone/deeper/"); // does not exist; the dialog shows the scratch directory
    for (const auto& c : cases) {
        dialog.m_nFilterIndex = c.index_in;
        dialog.m_strFileName = "old";
        EXPECT_EQ(Show([&] {
                      if (c.chosen != 0)
                          ChooseFilter(dialog, c.chosen);
                      EXPECT_TRUE(WaitFor(c.shown)) << testing::PrintToString(ShownFiles(dialog));
                      const Lines lines = DescribeFileDialog(dialog);
                      ASSERT_EQ(lines.size(), 5U);
                      EXPECT_EQ(lines[1], c.index_out == 1 ? "> Fax *.fax" : "  Fax *.fax");
                      EXPECT_EQ(dialog.DoModal(), -1); // the dialog is open already
                      ClickFileButton(dialog, IDCANCEL);
                  }),
                  IDCANCEL);
        EXPECT_EQ(dialog.m_nFilterIndex, c.index_out);
        EXPECT_EQ(dialog.m_strFileName, "");
    }
}

TEST_F(FileDialogTest, ReportsTheSelectionAndReturnsThePath)
{
    EXPECT_EQ(Show([&] {
                  ASSERT_TRUE(WaitFor({"sub", "a.fax", "B.FAX"}));
                  dialog.notes.Take();
                  Click("a.fax");
                  Click("B.FAX");
                  EXPECT_EQ(dialog.notes.Take(), (Lines{"1120 0 " + Path("a.fax") + " current",
                                                        "1120 0 " + Path("B.FAX") + " current"}));
                  Click("sub");
                  EXPECT_EQ(dialog.notes.Take(), Lines{"1121 0 " + Path("sub")});
                  EXPECT_EQ(dialog.GetCurSel(kFileDialogFiles), -1);
                  EXPECT_GE(dialog.GetCurSel(kFileDialogDirectories), 0);
                  Click("sub", true);
                  ASSERT_TRUE(WaitFor({"inner.fax"}));
                  const Lines notes = dialog.notes.Take();
                  EXPECT_NE(std::find(notes.begin(), notes.end(), "1121 0 "), notes.end());
                  // The label shows markup as plain text, and U+FFFD for a line feed.
                  dialog.SetDlgItemText(kFileDialogLabel, "<b>line\n");
                  EXPECT_EQ(dialog.GetDlgItemText(kFileDialogLabel), "<b>line\xef\xbf\xbd");
                  Click("inner.fax", true);
              }),
              IDOK);
    EXPECT_EQ(dialog.m_strFileName.View(), Path("sub/inner.fax"));
    EXPECT_EQ(dialog.GetDlgItemText(kFileDialogLabel), "");
    EXPECT_EQ(dialog.GetEntryText(0), "");
}

TEST_F(FileDialogTest, ReturnsTheChosenFile)
{
    const std::pair<const char*, const char*> cases[] = {{"c.low", "c.low"},
                                                         {"\"c.low\"", "c.low"},
                                                         {"q\"c.low", "q\"c.low"},
                                                         {"sub/inner.fax", "sub/inner.fax"},
                                                         {"sub/../c.low", "c.low"}};
    scratch.Write("q\"c.low", "x");
    for (const auto& [typed, wanted] : cases) {
        EXPECT_EQ(Show([&, name = typed] {
                      ASSERT_TRUE(WaitFor({"sub", "a.fax", "B.FAX"}));
                      TypeFileName(dialog, name);
                      ClickFileButton(dialog, IDOK);
                  }),
                  IDOK)
            << wanted;
        EXPECT_EQ(dialog.m_strFileName.View(), Path(wanted));
    }
    // A typed name replaces an older selection. A device or a directory does not end the dialog.
    EXPECT_EQ(Show([&] {
                  ASSERT_TRUE(WaitFor({"sub", "a.fax", "B.FAX"}));
                  Click("a.fax");
                  TypeFileName(dialog, "/dev/null");
                  ClickFileButton(dialog, IDOK);
                  Click("a.fax");
                  Click("sub");
                  ClickFileButton(dialog, IDOK);
                  ASSERT_TRUE(WaitFor({"inner.fax"}));
                  TypeFileName(dialog, "../c.low");
                  ClickFileButton(dialog, IDOK);
              }),
              IDOK);
    EXPECT_EQ(dialog.m_strFileName.View(), Path("c.low"));
    // If the user typed these names, Qt would return other names. A click must return them unchanged.
    const Lines odd{"a\"b.fax", "b.fax", "\"c\".fax", " lead.fax", "~x.fax", "two\nlines.fax"};
    fs::create_directory(scratch.File("odd"));
    for (const std::string& name : odd)
        scratch.Write("odd/" + name, "x");
    dialog.m_strInitialDir = scratch.File("odd");
    for (const std::string& name : odd)
        for (const bool twice : {false, true}) {
            SCOPED_TRACE(name);
            EXPECT_EQ(Show([&] {
                          ASSERT_TRUE(WaitFor(odd)) << testing::PrintToString(ShownFiles(dialog));
                          Click(name, twice);
                          ClickFileButton(dialog, IDOK);
                      }),
                      IDOK);
            EXPECT_EQ(dialog.m_strFileName.View(), scratch.File("odd/" + name));
        }
}

// In another version of Qt, its dialog may not have all the parts that ours uses. Our dialog must still open
// and return a file. It may then have no label and send no notifications. Round `number` hides the part that
// our dialog looks for as number `number`. The last round hides nothing, because there is no such part.
TEST_F(FileDialogTest, OpensWithoutEachPartOfQtsDialog)
{
    bool has_label = false;
    bool was_without_label = false;
    bool is_lost = true;
    for (int number = 1; is_lost; ++number) {
        SCOPED_TRACE(number);
        int looked_for = 0;
        SetHidePartHook([&] { return ++looked_for == number; });
        dialog.m_nFilterIndex = 2;
        dialog.notes.Take();
        EXPECT_EQ(Show([&] {
                      is_lost = looked_for >= number;
                      ASSERT_TRUE(WaitFor({"sub", "c.low"}));
                      dialog.SetDlgItemText(kFileDialogLabel, "line");
                      has_label = dialog.GetDlgItemText(kFileDialogLabel) == "line";
                      was_without_label |= !has_label;
                      Click("c.low");
                      EXPECT_EQ(dialog.GetCurSel(kFileDialogFiles) >= 0, has_label);
                      EXPECT_EQ(dialog.GetEntryText(0).IsEmpty(), !has_label);
                      ClickFileButton(dialog, IDOK);
                  }),
                  IDOK);
        EXPECT_EQ(dialog.notes.Take().empty(), !has_label);
        EXPECT_EQ(dialog.m_strFileName.View(), Path("c.low"));
        EXPECT_EQ(dialog.m_nFilterIndex, 2);
    }
    SetHidePartHook({});
    EXPECT_TRUE(has_label) << "no part was missing in the last round";
    EXPECT_TRUE(was_without_label);
}

// If the dialog read a file, the system would change the file's time of last access.
TEST_F(FileDialogTest, ListsFilesWithoutReadingThem)
{
    const std::string file = Path("a.fax");
    const timespec long_ago[2] = {{1, 0}, {2, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), long_ago, 0), 0);
    Show([&] { EXPECT_TRUE(WaitFor({"sub", "a.fax", "B.FAX"})); });
    struct stat status = {};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_atim.tv_sec, 1);
}
} // namespace
