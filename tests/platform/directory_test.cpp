// SPDX-License-Identifier: MIT
// Listings of a directory for the dialogs.
#include "platform/directory.h"
#include "platform/text.h"
#include "tests/support/child.h"
#include "tests/support/fake_marks.h"
#include "tests/support/scratch.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
TEST(MatchesPatterns, ComparesWholeNamesAndIgnoresCase)
{
    struct {
        const char *name, *patterns;
        bool matches;
    } const cases[] = {
        {"page.fax", "*.fax", true},
        {"PAGE.FAX", "*.fax", true},
        {"page.fa", "*.fax", false},
        {"page.tiff", "*.tif", false},
        {"a.fax.fax", "*.fax", true}, // the star must backtrack
        {"name", "*.*", true},
        {"name", "**a*e*", true},
        {"name", "", true},
        {"name", ";*.fax", false},
        {"b.tif", "*.fax; *.tif ", true},
        {"p1.fax", "p?.fax", true},
        {"p12.fax", "p?.fax", false},
        {"p\xc3\xa4.fax", "p?.fax", true}, // one character of two bytes
        {"p\xff.fax", "p?.fax", true},     // this byte is no UTF-8 and counts as one character
        {"p\xc3.fax", "p?.fax", true},     // an incomplete character counts as one
        {"p\xc3\xa4\xa4.fax", "p?.fax", false},
        {"[a]", "[a]", true}, // only star and question mark are special
        {"a", "[a]", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(MatchesPatterns(c.name, c.patterns), c.matches) << c.name << " | " << c.patterns;
    // Many stars and a mismatch at the end of the name must not take exponential time.
    std::string stars, name(4000, 'a');
    for (int i = 0; i < 1000; ++i)
        stars += "*a";
    alarm(20);
    EXPECT_FALSE(MatchesPatterns(name, stars + "b"));
    alarm(0);
}

// Returns the names in order. A directory has a slash after its name, a viewed file angle brackets around it.
std::string Shown(const DirectoryListing& listing)
{
    std::vector<DirectoryEntry> entries = listing.entries;
    std::sort(entries.begin(), entries.end(),
              [](const DirectoryEntry& a, const DirectoryEntry& b) { return ComesBefore(a.name, b.name); });
    std::string text;
    for (const DirectoryEntry& entry : entries) {
        const std::string name = entry.name.c_str();
        text += entry.is_viewed ? "<" + name + ">" : name;
        text += entry.status.IsDirectory() ? "/ " : " ";
    }
    return text;
}

TEST(ListDirectory, ListsMatchingFilesAndAllDirectories)
{
    const ScratchDirectory elsewhere, scratch;
    for (const char* name : {"b.FAX", "a.fax", "A.fax", "_.fax", "ab.fax", "Ab.fax", "aB.fax", "AB.fax", "a",
                             "z.tif", ".hidden.fax", "\xff\n.fax"})
        scratch.Write(name, "12345");
    for (const char* name : {"Sub", "other.fax", ".git"})
        mkdir(scratch.File(name).c_str(), 0755);
    const std::pair<std::string, const char*> links[] = {{elsewhere.Write("file", "123"), "link.fax"},
                                                         {elsewhere.Path(), "dirlink"},
                                                         {"nowhere", "dangling.fax"},
                                                         {"loop.fax", "loop.fax"},
                                                         {"/dev/zero", "device.fax"}};
    for (const auto& [to, name] : links)
        ASSERT_EQ(symlink(to.c_str(), scratch.File(name).c_str()), 0);
    ASSERT_EQ(mkfifo(scratch.File("fifo.fax").c_str(), 0666), 0);
    chmod(scratch.File("b.FAX").c_str(), 0); // an unreadable file is listed

    const std::string fax =
        "_.fax A.fax a.fax AB.fax Ab.fax aB.fax ab.fax b.FAX dirlink/ link.fax other.fax/ Sub/ \xff\n.fax ";
    struct {
        std::string directory;
        const char* patterns;
        std::string want;
    } const cases[] = {
        {scratch.Path(), "*.fax", fax},
        {scratch.Path() + "/", "*.FAX", fax},
        {scratch.Path(), "*.tif;a", "a dirlink/ other.fax/ Sub/ z.tif "},
        {scratch.File("Sub"), "*.*", ""},
    };
    for (const auto& c : cases) {
        const DirectoryListing listing = ListDirectory(c.directory, c.patterns, Marks::leave);
        EXPECT_EQ(Shown(listing), c.want);
        EXPECT_EQ(listing.error, 0);
    }
    for (const DirectoryEntry& entry : ListDirectory(scratch.Path(), "link.fax", Marks::leave).entries) {
        if (entry.name == "link.fax") {
            EXPECT_EQ(entry.status, FileStatusOf(elsewhere.File("file")));
        }
    }

    const std::string in_loop = elsewhere.File("loop/sub");
    ASSERT_EQ(symlink("loop", elsewhere.File("loop").c_str()), 0);
    chmod(scratch.Path().c_str(), 0);
    chmod(elsewhere.Path().c_str(), 0755);
    struct {
        const char* path;
        int error;
    } const failures[] = {{"/nonexistent/x", ENOENT},
                          {"", ENOENT},
                          {"/dev/null", ENOTDIR},
                          {in_loop.c_str(), ELOOP},
                          {scratch.Path().c_str(), EACCES}};
    EXPECT_EQ(InChild([&]() -> std::string {
                  if (geteuid() == 0 && setuid(65534) != 0)
                      return "no other user";
                  for (const auto& c : failures) {
                      const DirectoryListing none = ListDirectory(c.path, "*.*", Marks::read);
                      if (none.error != c.error || !none.entries.empty())
                          return std::string{c.path} + ": " + std::to_string(none.error);
                  }
                  return "as expected";
              }),
              "as expected");
    chmod(scratch.Path().c_str(), 0700);
}
} // namespace
