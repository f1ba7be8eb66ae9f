// SPDX-License-Identifier: MIT
// The Page Information dialog for every kind of page, and the check of a page.
#include "app/dialogids.h"
#include "app/pagecheck.h"
#include "app/pageinfodialog.h"
#include "app/units.h"
#include "pagefile.h"
#include "tests/app/window_fixture.h"

#include <chrono>
#include <filesystem>
#include <map>
#include <random>
#include <tiffio.h>

namespace
{
class PageInformation : public AppWindowTest
{
protected:
    void Open(const std::string& path)
    {
        if (!app)
            Start();
        ASSERT_NE(app->OpenDocumentFile(path), nullptr);
    }
    void Show(std::function<void(CDialog&)> script) { ShowDialog("Ctrl+I", std::move(script)); }
    // Opens the dialog and returns its rows by name.
    std::map<std::string, std::string> Rows()
    {
        std::map<std::string, std::string> rows;
        Show([&](CDialog& dialog) { rows = RowsOf(dialog, kPageText); });
        return rows;
    }
    static std::map<std::string, std::string> RowsOf(CDialog& dialog, UINT id)
    {
        std::map<std::string, std::string> rows;
        std::istringstream text(dialog.GetDlgItemText(id).c_str());
        for (std::string line; std::getline(text, line);) {
            const size_t tab = line.find('\t');
            if (tab == std::string::npos)
                ADD_FAILURE() << line;
            else
                EXPECT_TRUE(rows.emplace(line.substr(0, tab), line.substr(tab + 1)).second) << line;
        }
        return rows;
    }
    // Opens the dialog, runs Check to its end and returns its rows by name.
    std::map<std::string, std::string> Check()
    {
        std::map<std::string, std::string> rows;
        Show([&](CDialog& dialog) {
            PressDialogKeys(dialog, {"Alt+C"});
            EXPECT_TRUE(PumpUntil([&] { return !dialog.GetDlgItemText(kCheckText).IsEmpty(); }));
            rows = RowsOf(dialog, kCheckText);
        });
        return rows;
    }
    // Opens a fake page, with a row store in the temporary file or, if heap_rows > 0, on the heap.
    FakeImage* PutFake(int32_t width, int32_t height, int32_t fail_at, int32_t heap_rows = 0)
    {
        if (!app)
            Start();
        auto fake = std::make_unique<FakeImage>(width, height);
        fake->fail_at = fail_at;
        if (heap_rows > 0)
            return PutPageOnHeap(*document, std::move(fake), heap_rows);
        FakeImage* const image = PutPage(*document, std::move(fake));
        EXPECT_TRUE(document->CreateRowMapping(height));
        return image;
    }
    static std::string FakeCoverage(int32_t width, int32_t rows)
    {
        int64_t ones = 0;
        for (int32_t y = 0; y < rows; ++y)
            for (int32_t x = 0; x < width; ++x)
                ones += FakeImage::IsOne(x, y);
        return Coverage(ones, int64_t{width} * rows);
    }
    static std::string Coverage(int64_t part, int64_t whole)
    {
        CString text;
        text.Format("%.2f %%", 100.0 * static_cast<double>(part) / static_cast<double>(whole));
        return text.c_str();
    }
    std::string PageFile(pages::Raster raster, const FAXHeader& header, int width = 600, int height = 400)
    {
        pages::PageFileOptions options;
        options.raster = raster;
        options.header = header;
        std::string path = scratch.File("page.fax");
        EXPECT_EQ(pages::write_page_file(
                      path, pages::draw_page({pages::Draw::Noise, width, height, 300, 300, 1}), options),
                  "");
        return path;
    }
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
    header.Size = 4000000001;
    header.NumDestinations = 2;
    pages::set_text(header.Destination[0], "hall-1");
    pages::set_text(header.Destination[1], "hall-2");
    return header;
}

TEST_F(PageInformation, ShowsTheHeaderOfAPageFile)
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
            {"Stored size", "4000000001"},
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

TEST_F(PageInformation, ShowsTheTagsOfATiffFile)
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
    pages::GreyMap grey{50, 40};
    for (size_t i = 0; i < grey.rows.size(); ++i)
        grey.rows[i] = i % 50 < 25 ? 0 : 255;
    ASSERT_EQ(pages::write_tiff(scratch.File("grey.tif"), grey, options), "");
    Open(scratch.File("grey.tif"));
    rows = Rows();
    EXPECT_EQ(rows["Kind"], "TIFF, AdobeDeflate");
    EXPECT_EQ(rows["Bits per pixel"], "8");
    EXPECT_EQ(rows["Samples"], "0 is black");
    EXPECT_EQ(rows["Resolution"], "0 x 0 per inch");
    rows = Check();
    EXPECT_EQ(rows["Ink coverage"], "50.00 %") << "the left half is black";
    EXPECT_EQ(rows["Good rows"], "40 of 40");
    EXPECT_EQ(rows.size(), 6U);
}

TEST_F(PageInformation, HostileTextStaysWithinItsRow)
{
    FAXHeader header = FullHeader();
    pages::set_text(header.JobName, "a\tb\x1b[1m<b>\xc3\xa4");
    pages::set_text(header.Mux, "\xe2\x80\xae"
                                "abc");
    header.NumberOfPages = INT32_MIN;
    header.Layer = INT32_MIN;
    header.XResolution = UINT32_MAX;
    header.NumDestinations = FAXHEADER_DESTINATIONS;
    for (char(&destination)[FAXHEADER_DESTINATION] : header.Destination)
        pages::set_text(destination, "w");
    pages::set_text(header.Destination[0], "\u00e4");
    pages::set_text(header.Destination[1], "\xf6");
    Open(PageFile(pages::Raster::Squeeze, header));
    std::map<std::string, std::string> rows = Rows();
    EXPECT_EQ(rows["Job"], "a b [1m<b>\u00e4");
    EXPECT_EQ(rows["Mux"], "\uFFFDabc") << "the override character does not reverse the line";
    EXPECT_EQ(rows["Page"], "12 of -2147483648");
    EXPECT_TRUE(rows["Destinations"].starts_with("\u00e4, \u00f6, w, w")) << rows["Destinations"];

    pages::TiffOptions options;
    // A long text is cut at the end of a character. The bytes after the cut have no effect, even if they are
    // not UTF-8.
    const std::pair<std::string, std::string> texts[] = {
        {std::string(2000, 'x'), std::string(2000, 'x')},
        {std::string(20U << 20, 'x') + "\n\xff", std::string(2000, 'x') + "..."},
        {std::string(1999, 'x') + "\u00e4" + "\xff", std::string(1999, 'x') + "..."},
    };
    for (const auto& [text, want] : texts) {
        options.document_name = text;
        ASSERT_EQ(pages::write_tiff(scratch.File("long.tif"),
                                    pages::draw_page({pages::Draw::Noise, 90, 70, 300, 300, 1}), options),
                  "");
        Open(scratch.File("long.tif"));
        EXPECT_EQ(Rows()["Document"], want);
    }
}

TEST(PageInk, CountsOfTheLargestPageFit)
{
    EXPECT_EQ(ZoneStart(INT32_MAX, 1), 67108863);
    EXPECT_EQ(ZoneStart(INT32_MAX, 32), INT32_MAX);
    EXPECT_EQ(PerCent(0, 0), 0);
    EXPECT_EQ(PerCent(INT64_MAX, INT64_MAX), 100);
}

// The padding bits of the rows are random too.
TEST(PageInk, EqualsACountOfTheSamples)
{
    std::mt19937 random{7};
    for (const int32_t width : {1, 5, 31, 32, 33, 77, 256, 1001})
        for (const int32_t bits : {1, 8})
            for (const int32_t min_is_black : {0, 1}) {
                SCOPED_TRACE(testing::Message() << width << " " << bits << " " << min_is_black);
                constexpr int32_t kRows = 9;
                const int32_t stride = (width * bits + 31) / 32 * 4;
                std::vector<uint8_t> rows(static_cast<size_t>(stride) * kRows);
                std::generate(rows.begin(), rows.end(), [&] { return static_cast<uint8_t>(random()); });
                InkCount ink(width, bits, min_is_black);
                ink.Add(rows.data(), stride, 4);
                ink.Add(rows.data() + 4 * stride, stride, kRows - 4);
                EXPECT_EQ(ink.Rows(), kRows);
                const auto per_cent = [&](int32_t first, int32_t end) {
                    double sum = 0;
                    for (int32_t y = 0; y < kRows; ++y)
                        for (int32_t x = first; x < end; ++x) {
                            const auto at = static_cast<size_t>(y * stride + (bits == 1 ? x / 8 : x));
                            const double dark = bits == 1 ? rows[at] >> (7 - x % 8) & 1 : rows[at] / 255.0;
                            sum += min_is_black ? 1 - dark : dark;
                        }
                    return first == end ? 0 : 100 * sum / (kRows * (end - first));
                };
                EXPECT_NEAR(ink.PagePerCent(), per_cent(0, width), 1e-9);
                for (int zone = 0; zone < kInkZones; ++zone)
                    EXPECT_NEAR(ink.ZonePerCent(zone),
                                per_cent(width * zone / kInkZones, width * (zone + 1) / kInkZones), 1e-9)
                        << zone;
            }
}

TEST_F(PageInformation, CheckOfADamagedPageNamesTheRowOfTheBox)
{
    const struct {
        const char* name;
        int32_t heap_rows, fail_at;
        int32_t painted;            // a row fetched before the check, -1: none
        int32_t counted;            // rows in the coverage
        const char* uncounted = ""; // the row about ink if none is counted
    } cases[] = {
        {"good", 0, -1, -1, 5000},
        {"good, on a heap window that moves", 100, -1, 3000, 5000},
        {"in the temporary file", 0, 4321, -1, 4321},
        {"known before", 0, 4321, 4900, 4321},
        {"the first row", 0, 0, -1, 0},
        {"on a heap window that moves", 100, 4321, -1, 4321},
        {"known before, on a heap window that has not moved", 100, 50, 99, 50},
        {"known before, and the heap window has lost the good rows", 100, 4321, 4900, 0, "not counted"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        FakeImage* const image = PutFake(777, 5000, c.fail_at, c.heap_rows);
        image->SuspiciousRow = 40;
        if (c.painted >= 0) {
            ASSERT_TRUE(document->GetRows(c.painted, 1));
        }
        const int64_t reads = image->reads;
        const int32_t window = document->m_nWindowFirst;
        std::map<std::string, std::string> rows = Check();
        const Texts box_texts = boxes.Take();
        const std::string row = std::to_string(c.fail_at);
        if (c.fail_at < 0) {
            EXPECT_EQ(box_texts, Texts{});
            EXPECT_EQ(rows["Good rows"], "5000 of 5000");
        } else {
            EXPECT_EQ(box_texts, Texts{"error at line " + row + ": decoder lost"});
            EXPECT_EQ(rows["Good rows"], row + " of 5000");
        }
        EXPECT_EQ(rows["First bad row"], c.fail_at < 0 ? "" : row);
        EXPECT_EQ(rows["Message"], c.fail_at < 0 ? "" : "error at line " + row + ": decoder lost");
        EXPECT_EQ(rows["Ink coverage"], c.counted == 5000 ? FakeCoverage(777, 5000) : c.uncounted);
        EXPECT_EQ(rows["Ink coverage of the good rows"],
                  c.counted > 0 && c.counted < 5000 ? FakeCoverage(777, c.counted) : "");
        EXPECT_EQ(rows["Suspicious from row"], "40");
        if (c.fail_at >= 0 && c.painted >= 0) {
            EXPECT_EQ(image->reads, reads) << "nothing is read after the damage";
            EXPECT_EQ(document->m_nWindowFirst, window);
        }
        if (c.heap_rows == 0) { // nothing is decoded twice
            const int64_t checked = image->reads;
            ASSERT_TRUE(document->GetRows(0, 5000));
            EXPECT_EQ(image->reads, checked);
            Check();
            EXPECT_EQ(image->reads, checked);
            EXPECT_EQ(boxes.Take(), Texts{});
        }
    }
}

TEST_F(PageInformation, CheckCanBeStoppedAndEndsWithThePage)
{
    constexpr int32_t kWidth = 8 * 64 * 1024;
    constexpr int32_t kRows = 50;
    const auto put = [&] {
        FakeImage* const image = PutFake(kWidth, kRows, -1);
        // Each row is as large as a chunk of the check and takes longer than one of its steps.
        image->on_read = [](int32_t) {
            const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(10);
            while (std::chrono::steady_clock::now() < end) {
            }
        };
        return image;
    };
    const struct {
        const char* name;
        std::function<void(CDialog&, FakeImage&)> stop;
    } cases[] = {
        {"Escape", [](CDialog& dialog, FakeImage&) { PressDialogKeys(dialog, {"Escape"}); }},
        {"Return", [](CDialog& dialog, FakeImage&) { PressDialogKeys(dialog, {"Return"}); }},
        {"the button, within a step",
         [](CDialog& dialog, FakeImage& image) {
             const auto slow = std::exchange(image.on_read, [&](int32_t) { ClickControl(dialog, IDCANCEL); });
             EXPECT_TRUE(PumpUntil([&] { return dialog.GetDlgItemText(IDCANCEL) == "Close"; }));
             image.on_read = slow;
         }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        FakeImage* const image = put();
        bool is_open = true;
        Show([&](CDialog& dialog) {
            EXPECT_EQ(dialog.GetDlgItemText(IDCANCEL), "Close");
            PressDialogKeys(dialog, {"Alt+C"});
            EXPECT_TRUE(PumpUntil([&] { return image->reads > 0; }));
            EXPECT_EQ(dialog.GetDlgItemText(IDCANCEL), "Cancel");
            c.stop(dialog, *image);
            ASSERT_TRUE(dialog.IsWindowVisible());
            EXPECT_EQ(dialog.GetDlgItemText(IDCANCEL), "Close");
            const int64_t reads = image->reads;
            EXPECT_LT(reads, kRows) << "the check was still running";
            std::map<std::string, std::string> rows = RowsOf(dialog, kCheckText);
            const std::string part = std::to_string(reads) + " of " + std::to_string(kRows);
            EXPECT_EQ(rows["Checked"], part + " rows");
            EXPECT_EQ(rows["Good rows"], part);
            EXPECT_EQ(rows["Ink coverage of the good rows"],
                      FakeCoverage(kWidth, static_cast<int32_t>(reads)));
            EXPECT_EQ(rows.size(), 7U);
            int rounds = 0;
            PumpUntil([&] { return ++rounds > 20; });
            EXPECT_EQ(image->reads, reads) << "no step follows";

            // The next check starts again, but decodes no row twice.
            PressDialogKeys(dialog, {"Alt+C"});
            EXPECT_TRUE(PumpUntil([&] { return image->reads > reads; }));
            PressDialogKeys(dialog, {"Escape", "Escape"});
            is_open = dialog.IsWindowVisible();
        });
        EXPECT_FALSE(is_open) << "without a check, Escape closes the dialog";
        EXPECT_EQ(image->reads, document->m_nLastRow + 1);
        EXPECT_FALSE(document->m_bReadError) << "a stopped check marks no damage";
    }

    // If the page is closed during the check, Cancel closes the dialog.
    FakeImage* const image = put();
    Show([&](CDialog& dialog) {
        PressDialogKeys(dialog, {"Alt+C"});
        EXPECT_TRUE(PumpUntil([&] { return image->reads > 0; }));
        document->DeleteContents();
        dialog.SendMessage(WM_COMMAND, IDCANCEL);
        EXPECT_FALSE(dialog.IsWindowVisible());
    });

    // The page is closed while the box about its damage is open.
    PutFake(777, 5000, 3000);
    bool ended = false;
    SetMessageBoxHook([&](const CString&) { document->DeleteContents(); });
    Show([&](CDialog& dialog) {
        PressDialogKeys(dialog, {"Alt+C"});
        ended = PumpUntil([&] { return !dialog.IsWindow() || !dialog.IsWindowVisible(); });
    });
    EXPECT_TRUE(ended);
    EXPECT_FALSE(document->HasPage());
    SetMessageBoxHook({});
}
} // namespace
