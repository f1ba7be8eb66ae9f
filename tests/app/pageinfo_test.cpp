// Page information: what the dialog says of pages of every kind.
#include "app/dialogids.h"
#include "app/pageinfodialog.h"
#include "tests/app/window_fixture.h"
#include "tools/pagefile.h"

#include <filesystem>
#include <map>
#include <tiffio.h>

namespace
{
class PageInformation : public WindowTest
{
protected:
    ~PageInformation() override { SetDialogHook({}); }

    void Open(const std::string& path)
    {
        if (!app)
            Start();
        ASSERT_NE(app->OpenDocumentFile(path), nullptr);
    }
    void Show(std::function<void(CDialog&)> script)
    {
        shown = 0;
        SetDialogHook([this, script = std::move(script)](CDialog& dialog) {
            ++shown;
            script(dialog);
        });
        PressAccelerator(*frame, "Ctrl+I");
        ASSERT_TRUE(PumpUntilIdle());
    }
    // The rows that show, by their names.
    std::map<std::string, std::string> Rows()
    {
        std::map<std::string, std::string> rows;
        Show([&](CDialog& dialog) {
            std::istringstream text(dialog.GetDlgItemText(kPageText).c_str());
            for (std::string line; std::getline(text, line);) {
                const size_t tab = line.find('\t');
                ASSERT_NE(tab, std::string::npos) << line;
                EXPECT_TRUE(rows.emplace(line.substr(0, tab), line.substr(tab + 1)).second) << line;
            }
        });
        return rows;
    }
    std::string PageFile(pages::Raster raster, const FAXHeader& header, int width = 600, int height = 400)
    {
        pages::PageFileOptions options;
        options.raster = raster;
        options.header = header;
        const std::string path = scratch.File("page.fax");
        EXPECT_EQ(pages::write_page_file(
                      path, pages::draw_page({pages::Draw::Noise, width, height, 300, 300, 1}), options),
                  "");
        return path;
    }

    int shown = 0;
};

FAXHeader FullHeader()
{
    FAXHeader header = pages::usual_header();
    pages::set_text(header.JobName, "News");
    pages::set_text(header.Creator, "press-3");
    pages::set_text(header.Mux, "mux-a");
    header.PageNumber = 12;
    header.NumberOfPages = 24;
    header.Layer = 1;
    header.CreateTime = {5, 4, 3, 2, 0, 101, 0, 0, 0};
    header.ResolutionMultiplier = 10;
    header.XResolution = 12000;
    header.YResolution = 6000;
    header.LeftMargin = 1;
    header.RightMargin = 2;
    header.TopMargin = 3;
    header.BottomMargin = 4;
    header.ImageNegate = 1;
    header.Mirror = 1;
    header.Rotation = 90;
    header.Priority = 7;
    header.PSet = -1;
    header.JobID = 4000000000;
    header.NumDestinations = 2;
    pages::set_text(header.Destination[0], "hall-1");
    pages::set_text(header.Destination[1], "hall-2");
    return header;
}

TEST_F(PageInformation, SaysWhatTheHeaderOfAPageFileSays)
{
    const struct {
        pages::Raster raster;
        const char* kind;
    } cases[] = {{pages::Raster::Squeeze, "page file, Squeeze"},
                 {pages::Raster::Group4, "page file, Group 4"},
                 {pages::Raster::Jbig, "page file, JBIG"},
                 {pages::Raster::Plain, "page file, plain rows"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.kind);
        const std::string path = PageFile(c.raster, FullHeader());
        Open(path);
        frame->SendMessage(WM_COMMAND, kMillimetersCommand);
        std::map<std::string, std::string> rows = Rows();
        const auto bytes = static_cast<int64_t>(std::filesystem::file_size(path));
        CString ratio;
        ratio.Format("%.1f to 1", 600 * 400 / 8.0 / static_cast<double>(bytes));
        const std::map<std::string, std::string> want{
            {"File", path},
            {"Title", "12.C News"},
            {"Kind", c.kind},
            {"Job", "News"},
            {"Job number", "4000000000"},
            {"Page", "12 of 24"},
            {"Layer", "1, cyan"},
            {"Creator", "press-3"},
            {"Created", "2001-01-02 03:04:05"},
            {"Image width", "600, 600 stored"},
            {"Stored resolution", "12000 x 6000, divided by 10"},
            {"Margins", "left 1, right 2, top 3, bottom 4"},
            {"Flags", "negative, mirrored"},
            {"Rotation", "90"},
            {"Priority", "7"},
            {"PSet", "-1"},
            {"Band height", std::to_string(pages::usual_header().BandHeight)},
            {"Destinations", "hall-1, hall-2"},
            {"Mux", "mux-a"},
            {"Header", "version 3, 4096 bytes"},
            {"Size", "600 x 400 pixels"},
            {"Size in the unit", "12.7 x 16.9 millimeters"},
            {"Resolution", "1200 x 600 per inch"},
            {"Bits per pixel", "1"},
            {"File size", std::to_string(bytes) + " bytes"},
            {"Compression", ratio.c_str()},
        };
        EXPECT_EQ(rows, want);
    }
}

TEST_F(PageInformation, SaysWhatTheTagsOfATiffFileSay)
{
    const std::string path = WritePage("page.tif", 600, 400, 300, 150);
    TIFF* const file = TIFFOpen(path.c_str(), "r+");
    ASSERT_NE(file, nullptr);
    TIFFSetField(file, TIFFTAG_DOCUMENTNAME, "front");
    TIFFSetField(file, TIFFTAG_SOFTWARE, "rip 9");
    TIFFSetField(file, TIFFTAG_DATETIME, "2001:02:03 04:05:06");
    TIFFSetField(file, TIFFTAG_PAGENUMBER, 2, 8);
    EXPECT_EQ(TIFFRewriteDirectory(file), 1);
    TIFFClose(file);
    Open(path);
    frame->SendMessage(WM_COMMAND, kPixelsCommand);
    std::map<std::string, std::string> rows = Rows();
    EXPECT_EQ(rows["Kind"], "TIFF, Group 4");
    EXPECT_EQ(rows["Document"], "front");
    EXPECT_EQ(rows["Creator"], "rip 9");
    EXPECT_EQ(rows["Created"], "2001:02:03 04:05:06");
    EXPECT_EQ(rows["Page"], "3 of 8");
    EXPECT_EQ(rows["Samples"], "0 is white");
    EXPECT_EQ(rows["Strips"], "7 of up to 64 rows");
    EXPECT_EQ(rows["Stored resolution"], "300 x 150 per inch");
    EXPECT_EQ(rows["Size"], "600 x 400 pixels");
    EXPECT_EQ(rows.count("Size in the unit"), 0U);

    pages::TiffOptions options;
    options.compression = pages::Compression::Deflate;
    options.photometric = pages::Photometric::MinIsBlack;
    const pages::GreyMap grey{50, 40};
    ASSERT_EQ(pages::write_tiff(scratch.File("grey.tif"), grey, options), "");
    Open(scratch.File("grey.tif"));
    rows = Rows();
    EXPECT_EQ(rows["Kind"], "TIFF, AdobeDeflate");
    EXPECT_EQ(rows["Bits per pixel"], "8");
    EXPECT_EQ(rows["Samples"], "0 is black");
    EXPECT_EQ(rows["Resolution"], "0 x 0 per inch");
}

TEST_F(PageInformation, HostileTextStaysWithinItsRow)
{
    FAXHeader header = FullHeader();
    pages::set_text(header.JobName, "a\tb\x1b[1m<b>\xc3\xa4");
    pages::set_text(header.Creator, "\xe4\xf6");
    pages::set_text(header.Mux, "\xe2\x80\xae"
                                "abc");
    header.NumberOfPages = INT32_MIN;
    header.Layer = INT32_MIN;
    header.XResolution = UINT32_MAX;
    header.NumDestinations = FAXHEADER_DESTINATIONS;
    for (char(&destination)[FAXHEADER_DESTINATION] : header.Destination)
        pages::set_text(destination, "wwwwwwwwwwwwwww");
    Open(PageFile(pages::Raster::Squeeze, header));
    std::map<std::string, std::string> rows = Rows();
    EXPECT_EQ(rows["Job"], "a b [1m<b>\u00e4");
    EXPECT_EQ(rows["Creator"], "\u00e4\u00f6");
    EXPECT_EQ(rows["Mux"], "\uFFFDabc") << "does not turn the line round";
    EXPECT_EQ(rows["Page"], "12 of -2147483648");
    EXPECT_EQ(rows["Destinations"].size(), 1000U);

    pages::TiffOptions options;
    options.document_name = std::string(20U << 20, 'x') + "\n\xff";
    ASSERT_EQ(pages::write_tiff(scratch.File("long.tif"),
                                pages::draw_page({pages::Draw::Noise, 90, 70, 300, 300, 1}), options),
              "");
    Open(scratch.File("long.tif"));
    rows = Rows();
    EXPECT_EQ(rows["Document"], std::string(1000, 'x'));
}

TEST_F(PageInformation, NeedsAPageAndIsUsedByKeys)
{
    Start();
    Show([](CDialog&) {});
    EXPECT_EQ(shown, 0);
    frame->SendMessage(WM_COMMAND, kPageInformationCommand);
    EXPECT_EQ(shown, 0);
    Open(WritePage("page.tif", 600, 400));
    for (const char* const key : {"Escape", "Return"}) {
        bool is_open = true;
        Show([&](CDialog& dialog) {
            PressDialogKeys(dialog, {"Alt+P", "Ctrl+A", key});
            is_open = dialog.IsWindow() && !DescribeDialog(dialog).empty() && dialog.IsWindowVisible();
        });
        EXPECT_EQ(shown, 1);
        EXPECT_FALSE(is_open) << key;
    }
}
} // namespace
