// SPDX-License-Identifier: MIT
// The settings, which are kept from one run of the program to the next.
#include "tests/platform/test_classes.h"
#include "tests/support/scratch.h"

#include <filesystem>
#include <sys/stat.h>

namespace
{
class SettingsTest : public testing::Test
{
protected:
    void SetUp() override { SetSettingsFile(scratch.File("settings.ini")); }
    void TearDown() override { SetSettingsFile({}); }
    const ScratchDirectory scratch;
    TestApp app;
};

TEST_F(SettingsTest, NumbersAndTextsAreReadBackByteForByte)
{
    for (const int value : {0, 2147483647, -2147483647 - 1}) {
        EXPECT_TRUE(app.WriteProfileInt("A Section", "Mark Viewed", value));
        EXPECT_EQ(app.GetProfileInt("A Section", "Mark Viewed", 5), value);
    }
    for (const char* text : {"", "plain", "a,b;c=d \"e\" %41", " blank ends ", "/p/\xc3\xa4.fax",
                             "/p/\xff\xfe.fax", "@Point(1 2)", "line\nline\\x"}) {
        EXPECT_TRUE(app.WriteProfileString("A Section", "Last Directory", text));
        EXPECT_EQ(app.GetProfileString("A Section", "Last Directory", "default"), text);
    }
    EXPECT_EQ(app.GetProfileString("B", "Last Directory", "default"), "default");
    EXPECT_EQ(app.GetProfileInt("A Section", "mark", 7), 7);
}

TEST_F(SettingsTest, ForeignValuesAreTextOrTheDefault)
{
    std::string deep = "deep=@Variant(";
    for (int i = 0; i < 50000; ++i)
        deep += "\\0\\0\\0\\x09\\0\\0\\0\\x01";
    scratch.Write("settings.ini",
                  "\xef\xbb\xbfloose=1\n[S]\nword=many\nhuge=99999999999\nfraction=1.5\nlist=1, 2\n"
                  "point=@Point(1 2)\nempty=\nrubbish\n]=\n" +
                      deep +
                      ")\n;note=1\n number = 12 \r\ntwice=1\ntwice=2\nquoted=\"a\\\"b\\x\"\n"
                      "zero=a\\x00b\n[T]\nnumber=13");
    testing::internal::CaptureStderr();
    for (const char* key :
         {"word", "huge", "fraction", "list", "point", "empty", "rubbish", "deep", "note", "none"})
        EXPECT_EQ(app.GetProfileInt("S", key, 77), 77) << key;
    EXPECT_EQ(app.GetProfileInt("S", "number", 77), 12);
    EXPECT_EQ(app.GetProfileInt("T", "number", 77), 13);
    EXPECT_EQ(app.GetProfileInt("S", "twice", 77), 2);
    EXPECT_EQ(app.GetProfileInt("General", "loose", 77), 1);
    const std::pair<const char*, const char*> texts[] = {
        {"number", "12"},    {"list", "1, 2"}, {"point", "@Point(1 2)"}, {"empty", ""},
        {"quoted", "a\"bx"}, {"zero", "a"},    {"none", "default"}};
    for (const auto& [key, text] : texts)
        EXPECT_EQ(app.GetProfileString("S", key, "default"), text) << key;
    EXPECT_TRUE(app.WriteProfileInt("S", "word", 5)); // the other keys keep their values
    EXPECT_EQ(app.GetProfileInt("S", "word", 77), 5);
    EXPECT_EQ(app.GetProfileInt("T", "number", 77), 13);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(SettingsTest, TheFormatOfTheFileIsFixed)
{
    app.WriteProfileString("A Section", "Page Directory", "/p/\xc3\xa4;\xff/");
    app.WriteProfileInt("A Section", "Mark Viewed", 1);
    app.WriteProfileInt("App", "Units", 3);
    EXPECT_EQ(scratch.Read("settings.ini"),
              "[A%20Section]\nMark%20Viewed=1\nPage%20Directory=\"/p/\xc3\xa4;\\xff/\"\n\n[App]\nUnits=3\n");
}

// Another program on another machine may have left a lock file. It must not block the settings, and it must
// not be removed.
TEST_F(SettingsTest, OtherFilesAreLeftAlone)
{
    const std::string lock = "1\nprogram\nanother.host\n\n\n";
    const std::string large = "[S]\nk=1\nlong=" + std::string(1 << 20, 'x') + "\n";
    scratch.Write("settings.ini.lock", lock);
    EXPECT_TRUE(app.WriteProfileInt("S", "k", 1));
    EXPECT_EQ(scratch.Read("settings.ini.lock"), lock);
    scratch.Write("settings.ini", large);
    EXPECT_EQ(app.GetProfileInt("S", "k", 7), 7);
    EXPECT_FALSE(app.WriteProfileInt("S", "k", 2));
    EXPECT_EQ(scratch.Read("settings.ini"), large);
    std::filesystem::remove(scratch.File("settings.ini"));
    ASSERT_EQ(mkfifo(scratch.File("settings.ini").c_str(), 0600), 0);
    EXPECT_EQ(app.GetProfileInt("S", "k", 7), 7);
    EXPECT_FALSE(app.WriteProfileInt("S", "k", 2));
    EXPECT_TRUE(std::filesystem::is_fifo(scratch.File("settings.ini")));
    std::filesystem::remove(scratch.File("settings.ini"));
    std::filesystem::create_symlink("target.ini", scratch.File("settings.ini"));
    EXPECT_TRUE(app.WriteProfileInt("S", "k", 2));
    EXPECT_TRUE(std::filesystem::is_symlink(scratch.File("settings.ini")));
    EXPECT_EQ(scratch.Read("target.ini"), "[S]\nk=2\n");
}

TEST_F(SettingsTest, AFailedWriteIsSilent)
{
    SetSettingsFile(scratch.Write("file", "x") + "/settings.ini"); // not even root can make this directory
    BoxTexts boxes;
    testing::internal::CaptureStderr();
    EXPECT_FALSE(app.WriteProfileInt("S", "k", 1));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_TRUE(boxes.Take().empty());
}

TEST_F(SettingsTest, TheLastFourFilesAreKept)
{
    app.LoadStdProfileSettings(4);
    EXPECT_TRUE(app.GetRecentFiles().empty());
    for (const char* path : {"/1", "/2", "/3 \xff", "/4", "/2", "/5"})
        app.AddToRecentFileList(path);
    const std::vector<CString> want{"/5", "/2", "/4", "/3 \xff"};
    EXPECT_EQ(app.ExitInstance(), 0);
    app.LoadStdProfileSettings(4);
    EXPECT_EQ(app.GetRecentFiles(), want);
    app.LoadStdProfileSettings(2);
    EXPECT_EQ(app.GetRecentFiles(), (std::vector<CString>{"/5", "/2"}));
}
} // namespace
