// SPDX-License-Identifier: MIT
// Printing to a file. The pictures are read back from the file and must equal the page.
#include "platform/freememory.h"
#include "tests/platform/test_classes.h"
#include "tests/support/scratch.h"

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace
{
std::string OutputOf(const std::string& command)
{
    std::string output;
    FILE* pipe = popen(command.c_str(), "r");
    char block[4096];
    for (size_t got; pipe && (got = fread(block, 1, sizeof block, pipe)) > 0;)
        output.append(block, got);
    EXPECT_EQ(pipe ? pclose(pipe) : -1, 0) << command;
    return output;
}

// A picture with 8 bits of grey per pixel.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> grey;
};

Picture ReadPicture(const std::string& path)
{
    Picture picture;
    std::istringstream{OutputOf("identify -format '%w %h' '" + path + "'")} >> picture.width >>
        picture.height;
    const std::string levels = OutputOf("convert '" + path + "' -depth 8 gray:-");
    picture.grey.assign(levels.begin(), levels.end());
    EXPECT_EQ(picture.grey.size(), static_cast<size_t>(picture.width * picture.height));
    return picture;
}

// Returns random pixels of a grey picture. Sets the fields of `info` except for the colours.
std::vector<uint8_t> RandomGrey(BitmapInfo* info, int width, int height)
{
    info->width = width;
    info->height = height;
    std::vector<uint8_t> bits(static_cast<size_t>(width * std::abs(height)));
    std::mt19937 random{5};
    for (uint8_t& byte : bits)
        byte = static_cast<uint8_t>(random());
    return bits;
}

class PrintingTest : public WindowTest
{
protected:
    void SetUp() override
    {
        WindowTest::SetUp();
        SetPrintDialogHook([this](CPrintInfo&) { return CString{pdf}; });
        SetMessageBoxHook([](const CString& text) { g_recorder.Add("box " + std::string{text.View()}); });
        Settle();
    }
    // Prints and returns the images in the file, from the top down. Expects that they are grey, lossless and
    // of this depth.
    std::vector<Picture> PrintAll(const std::string& bits_per_component)
    {
        view->OnFilePrint();
        EXPECT_EQ(g_recorder.Take(), (std::vector<std::string>{"begin printing", "end printing"}));
        std::istringstream list{OutputOf("pdfimages -list '" + pdf + "'")};
        std::string line, word[8];
        std::getline(list, line);
        std::getline(list, line);
        while (std::getline(list, line)) {
            std::istringstream words{line};
            for (std::string& each : word)
                words >> each;
            EXPECT_EQ(word[7], bits_per_component) << line;
            EXPECT_EQ(word[5], "gray") << line;
            EXPECT_EQ(line.find("jpeg"), std::string::npos) << line;
        }
        OutputOf("pdfimages '" + pdf + "' '" + directory + "/image'");
        std::vector<std::filesystem::path> files;
        for (const auto& entry : std::filesystem::directory_iterator{directory})
            if (entry.path().filename().string().starts_with("image-"))
                files.push_back(entry.path());
        std::sort(files.begin(), files.end());
        std::vector<Picture> pictures;
        for (const auto& file : files) {
            pictures.push_back(ReadPicture(file));
            std::filesystem::remove(file);
        }
        return pictures;
    }
    Picture Print(const std::string& bits_per_component)
    {
        const std::vector<Picture> pictures = PrintAll(bits_per_component);
        EXPECT_EQ(pictures.size(), 1U);
        return pictures.empty() ? Picture{} : pictures.front();
    }
    ScratchDirectory scratch;
    const std::string& directory = scratch.Path();
    std::string pdf = scratch.File("page.pdf");
};

TEST_F(PrintingTest, BilevelPagesKeepTheirBits)
{
    struct {
        int width, height, first;
        UINT operation;
    } const cases[] = {{9001, 40, 0, SRCCOPY}, {64, 64, 3, NOTSRCCOPY}, {79, 9, 7, SRCCOPY}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << " from " << c.first);
        const TestPage page = TestPage::Random(c.width, c.height);
        view->print = [&](CDC* dc, CPrintInfo*) {
            CRect box;
            EXPECT_EQ(dc->GetClipBox(&box), SIMPLEREGION);
            EXPECT_EQ(box, (CRect{0, 0, dc->GetDeviceCaps(HORZRES), dc->GetDeviceCaps(VERTRES)}));
            EXPECT_GT(dc->GetDeviceCaps(HORZRES),
                      6 * dc->GetDeviceCaps(LOGPIXELSX)); // the sheet has its full resolution
            EXPECT_TRUE(dc->IsPrinting());
            CBitmap bitmap;
            CDC memory;
            EXPECT_TRUE(bitmap.CreateBitmap(page.width, page.height, page.rows.data(), page.row_bytes));
            memory.SelectObject(&bitmap);
            EXPECT_TRUE(dc->BitBlt(0, 0, page.width, page.height, memory, c.first, 0, c.operation));
        };
        const Picture got = Print("1");
        ASSERT_EQ(got.width, c.width - c.first);
        ASSERT_EQ(got.height, c.height);
        int wrong = 0;
        for (int y = 0; y < got.height; ++y)
            for (int x = 0; x < got.width; ++x) {
                const bool white = page.White(x + c.first, y) == (c.operation == SRCCOPY);
                wrong += got.grey[static_cast<size_t>(y * got.width + x)] != (white ? 255 : 0);
            }
        EXPECT_EQ(wrong, 0);
    }
}

TEST_F(PrintingTest, GreyPagesKeepEachLevel)
{
    BitmapInfo info;
    const std::vector<uint8_t> bits = RandomGrey(&info, 200, 50);
    for (size_t i = 0; i < 256; ++i) {
        const auto level = static_cast<uint8_t>(255 - i);
        info.colors[i] = {level, level, level, 0};
    }
    for (const UINT operation : {SRCCOPY, NOTSRCCOPY}) {
        view->print = [&](CDC* dc, CPrintInfo*) {
            EXPECT_EQ(dc->StretchDIBits(100, 200, 4000, 999, 10, 5, 180, 40, bits.data(), info, operation),
                      40);
        };
        const Picture got = Print("8");
        ASSERT_EQ(got.width, 180);
        ASSERT_EQ(got.height, 40);
        int wrong = 0;
        for (int y = 0; y < 40; ++y)
            for (int x = 0; x < 180; ++x) {
                const uint8_t level = bits[static_cast<size_t>((5 + 39 - y) * 200 + 10 + x)];
                wrong += got.grey[static_cast<size_t>(y * 180 + x)] !=
                         (operation == SRCCOPY ? 255 - level : level);
            }
        EXPECT_EQ(wrong, 0);
    }
}

// The picture needs too much memory for one image, so it is printed in bands.
TEST_F(PrintingTest, BandsKeepEachLineAndLeaveNoGap)
{
    BitmapInfo info;
    std::vector<uint8_t> bits = RandomGrey(&info, 100, -2000); // the top line first
    for (size_t i = 0; i < 256; ++i) {
        const auto level = static_cast<uint8_t>(i);
        info.colors[i] = {level, level, level, 0};
    }
    view->print = [&](CDC* dc, CPrintInfo*) {
        EXPECT_EQ(dc->StretchDIBits(0, 0, 333, 6661, 0, 0, 100, 2000, bits.data(), info, SRCCOPY), 2000);
    };
    SetMemoryStatusSource([] { return MemoryStatus{1 << 20, 0}; });
    const std::vector<Picture> bands = PrintAll("8");
    EXPECT_GT(bands.size(), 2U);
    EXPECT_LT(bands.size(), 5U) << "bands are as tall as memory allows";
    int covered = 0; // lines found so far, from the top without a gap
    for (const Picture& band : bands) {
        ASSERT_EQ(band.width, 100);
        const auto starts_at = [&](int line) { // true if all lines of the band are right at this line
            return line >= 0 && line + band.height <= 2000 &&
                   std::equal(band.grey.begin(), band.grey.end(), bits.begin() + ptrdiff_t{line} * 100);
        };
        int top = covered;
        while (top > covered - 50 && !starts_at(top))
            --top;
        ASSERT_TRUE(starts_at(top)) << "after line " << covered;
        covered = top + band.height;
    }
    EXPECT_EQ(covered, 2000);

    // The paper must not show between bands at any resolution of a viewer.
    std::fill(bits.begin(), bits.end(), uint8_t{100});
    EXPECT_EQ(PrintAll("8").size(), bands.size());
    SetMemoryStatusSource(nullptr);
    for (const char* const resolution : {"97", "151", "600"}) {
        OutputOf("pdftocairo -png -singlefile -gray -r " + std::string{resolution} + " '" + pdf + "' '" +
                 directory + "/sheet'");
        const Picture sheet = ReadPicture(directory + "/sheet.png");
        const auto width = static_cast<size_t>(sheet.width);
        // A column through the picture must be paper, then grey without a gap, then paper.
        const auto is_grey = [](uint8_t level) { return level >= 98 && level <= 102; };
        size_t column = 0;
        while (column < sheet.grey.size() &&
               !is_grey(sheet.grey[column + sheet.grey.size() / width / 4 * width]))
            ++column;
        column += 2;
        std::vector<uint8_t> levels;
        for (size_t at = column; at < sheet.grey.size(); at += width)
            levels.push_back(sheet.grey[at]);
        const auto first = std::find_if(levels.begin(), levels.end(), is_grey);
        const auto last = std::find_if(levels.rbegin(), levels.rend(), is_grey).base();
        ASSERT_GT(last - first, 400) << resolution;
        EXPECT_TRUE(std::all_of(first, last, is_grey)) << resolution;
    }
}

TEST_F(PrintingTest, AFailureIsReportedOnceAndLeavesNoFile)
{
    const TestPage page = TestPage::Random(4000, 4000);
    const auto draw = [&](CDC* dc, CPrintInfo* info) { page.Draw(dc, info->m_rectDraw); };
    view->print = draw;
    const auto boxes = [this] {
        view->OnFilePrint();
        const std::vector<std::string> lines = g_recorder.Take();
        EXPECT_LE(std::count(lines.begin(), lines.end(), "begin printing"), 1);
        return std::count(lines.begin(), lines.end(), "box Printing failed");
    };
    const auto exists = [](const std::string& path) { return std::filesystem::exists(path); };
    const std::string good = pdf;
    const std::string fifo = scratch.File("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    alarm(60); // a call that waits for a reader ends the program
    for (const std::string& path : {directory, directory + "/none/page.pdf", fifo}) {
        pdf = path;
        EXPECT_EQ(boxes(), 1) << path;
    }
    alarm(0);
    EXPECT_TRUE(exists(directory) && exists(fifo));
    pdf = good;
    EXPECT_EQ(boxes(), 0); // the next print succeeds
    EXPECT_TRUE(exists(pdf));
    // The disk becomes full while the file is written. The file exists from the last print, or it is a link.
    const std::string link = scratch.File("link.pdf");
    ASSERT_EQ(symlink("target.pdf", link.c_str()), 0);
    for (const std::string& path : {good, link}) {
        const FileSizeLimit limit{100000};
        pdf = path;
        EXPECT_EQ(boxes(), 1) << path;
        EXPECT_FALSE(exists(path)) << path; // for a link, its target
    }
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    // The drawing aborts the print.
    pdf = good;
    for (const bool message_shown : {false, true}) {
        view->print = [&, message_shown](CDC* dc, CPrintInfo* info) {
            draw(dc, info);
            dc->AbortDoc(message_shown);
        };
        EXPECT_EQ(boxes(), message_shown ? 0 : 1);
        EXPECT_FALSE(exists(pdf));
    }
    view->print = draw;
    // The user presses Escape between two bands of a grey picture.
    BitmapInfo info;
    const std::vector<uint8_t> bits = RandomGrey(&info, 100, -2000);
    int64_t now = 0;
    SetWorkClock([&now] { return now += 600; });
    SetMemoryStatusSource([] { return MemoryStatus{1 << 20, 0}; });
    view->print = [&](CDC* dc, CPrintInfo*) {
        CallFromLoop([this] { PressKey(*view, TestKey::escape); });
        dc->StretchDIBits(0, 0, 333, 6661, 0, 0, 100, 2000, bits.data(), info, SRCCOPY);
    };
    EXPECT_EQ(boxes(), 0);
    EXPECT_FALSE(exists(pdf));
    SetMemoryStatusSource(nullptr);
    SetWorkClock({});
    view->print = draw;
    // A device is not deleted.
    pdf = scratch.File("null");
    if (mknod(pdf.c_str(), S_IFCHR | 0600, makedev(1, 3)) == 0) {
        EXPECT_EQ(boxes(), 0);
        EXPECT_TRUE(exists(pdf));
    }
    pdf.clear();
    view->OnFilePrint();
    EXPECT_TRUE(g_recorder.Take().empty());
}

TEST_F(PrintingTest, ThePreviewUsesTheSameDrawingAndWritesNoFile)
{
    const TestPage page = TestPage::Random(400, 400);
    view->print = [&](CDC* dc, CPrintInfo* info) {
        EXPECT_TRUE(info->m_bPreview && dc->IsPrinting());
        page.Draw(dc, info->m_rectDraw);
        g_recorder.Add("printed");
    };
    InNextBox([&] {
        EXPECT_TRUE(PumpUntil([] { return g_recorder.Count("printed") > 0; }));
        g_recorder.Add("box closed");
    });
    view->Invalidate();
    view->OnFilePrintPreview();
    EXPECT_EQ(g_recorder.Take(),
              (std::vector<std::string>{"begin printing", "printed", "end printing", "box closed"}));
    EXPECT_FALSE(std::filesystem::exists(pdf));
}
} // namespace
