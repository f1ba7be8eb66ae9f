// SPDX-License-Identifier: MIT
// The Open dialog: the label of the selected page, and the filters.
#include "app/pagefilter.h"
#include "app/pageheader.h"
#include "app/pageopendialog.h"
#include "tests/app/dialog_fixture.h"

#include <sys/stat.h>
#include <unistd.h>

namespace
{
class PageOpenTest : public AppDialogTest
{
protected:
    PageOpenTest() { dialog.m_strInitialDir = scratch.Path(); }
    ~PageOpenTest() override { SetFileDialogHook({}); }

    void WritePage(const char* name, int32_t page, int32_t layer, const char* job)
    {
        PageHeader header;
        header.SetCreator("rip");
        header.PageNumber = page;
        header.Layer = layer;
        header.SetJobName(job);
        EXPECT_EQ(header.WriteToPath(scratch.File(name), true), 0);
    }
    // Waits until the entry shows, clicks it and returns the label.
    std::string LabelOf(const std::string& name)
    {
        int index = -1;
        const bool shows = PumpUntil([&] {
            const Texts names = ShownFiles(dialog);
            const auto found = std::find(names.begin(), names.end(), name);
            index = static_cast<int>(found - names.begin());
            return found != names.end();
        });
        EXPECT_TRUE(shows && ClickFile(dialog, index)) << name;
        return Label();
    }
    std::string Label() const { return dialog.GetDlgItemText(kFileDialogLabel).c_str(); }

    ScratchDirectory scratch;
    CPageOpenDialog dialog{kPageFilters};
};

TEST_F(PageOpenTest, ShowsTheLabelOfTheSelectedPage)
{
    WritePage("cyan.fax", 12, 1, "News");
    WritePage("spot.fax", 12, 7, "News");
    WritePage("odd.fax", -3, -1, "<b>\x1b%s");
    scratch.Write("picture.tif", std::string("II*\0\x08\0\0\0\0\0", 10));
    scratch.Write("rubbish.fax", std::string(5000, '\xff'));
    std::filesystem::create_directory(scratch.File("sub"));
    std::filesystem::create_directory(scratch.File("dir.fax"));
    dialog.m_nFilterIndex = FindFilter(kPageFilters, "*.*");
    SetFileDialogHook([&](CFileDialog&) {
        EXPECT_EQ(Label(), "");
        // In this order: a file without a label clears the label of the file before it.
        const std::pair<const char*, const char*> cases[] = {
            {"cyan.fax", "Page name: 12.C News"},
            {"picture.tif", ""},
            {"odd.fax", "Page name: -3.-1 <b>\xef\xbf\xbd%s"},
            {"rubbish.fax", ""},
            {"cyan.fax", "Page name: 12.C News"},
            {"dir.fax", ""},
        };
        for (const auto& [name, label] : cases)
            EXPECT_EQ(LabelOf(name), label) << name;

        // The file is replaced by a pipe after it was listed.
        EXPECT_EQ(LabelOf("spot.fax"), "Page name: 12.7 News");
        unlink(scratch.File("cyan.fax").c_str());
        mkfifo(scratch.File("cyan.fax").c_str(), 0600);
        EXPECT_EQ(LabelOf("cyan.fax"), "");

        // The selected file is removed. Then another directory is opened.
        EXPECT_EQ(LabelOf("spot.fax"), "Page name: 12.7 News");
        unlink(scratch.File("spot.fax").c_str());
        EXPECT_TRUE(PumpUntil([&] { return Label().empty(); }));
        EXPECT_NE(LabelOf("odd.fax"), "");
        TypeFileName(dialog, "sub");
        ClickFileButton(dialog, IDOK);
        EXPECT_TRUE(PumpUntil([&] { return Label().empty(); }));
    });
    EXPECT_EQ(dialog.DoModal(), IDCANCEL);
    EXPECT_EQ(GetFilterPattern(kPageFilters, dialog.m_nFilterIndex), "*.*");
}

TEST(PageFilter, FindsPairs)
{
    const struct {
        const char* filter;
        int index;
        const char* pattern; // of the filter with that index
        const char* sought;
        int found;
    } cases[] = {
        {kPageFilters, 1, "*.fax", "*.FAX", 1},
        {kPageFilters, 5, "*.*", "*.*", 5},
        {kPageFilters, 0, "*.*", "*.jpg", 0},
        {kPageFilters, 6, "*.*", "*.fa", 0},
        {kPageFilters, -1, "*.*", "", 0},
        {"text", 1, "*.*", "text", 0},
        {"a|*.a", 1, "*.a", "*.A", 1},
        {"a|*.a;*.b c|d|*.d", 1, "*.a;*.b", "*.d", 2}, // a blank ends the pattern
        {"a| \t", 1, "*.*", "", 0},
        {"a||b|*.b||", 2, "b", "*.b", 0}, // a pair without a pattern counts too
        {"a|*.x|b|*.x||", 2, "*.x", "*.x", 1},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(GetFilterPattern(c.filter, c.index), c.pattern) << c.filter << " " << c.index;
        EXPECT_EQ(FindFilter(c.filter, c.sought), c.found) << c.filter << " " << c.sought;
    }
}
} // namespace
