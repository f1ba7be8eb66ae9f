// The version note: in generated files of every kind, whole and damaged, and in the built program.
#include "platform/file.h"
#include "platform/versionnote.h"
#include "tests/support/scratch.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
struct Make {
    bool is_64, is_big, through_sections;
};

// Positions of the fields, in bytes from the start of their header, for 32-bit or 64-bit files.
struct Fields {
    size_t header_bytes, word; // word: bytes of an offset or a size
    size_t phoff, shoff, phentsize;
    size_t ph_bytes, p_offset, p_filesz, p_align;
    size_t sh_bytes, sh_offset, sh_size, sh_addralign; // sh_type is at 4
};
constexpr Fields kFields32 = {52, 4, 28, 32, 42, 32, 4, 16, 28, 40, 16, 20, 32};
constexpr Fields kFields64 = {64, 8, 32, 40, 54, 56, 8, 32, 48, 64, 24, 32, 48};

class ElfFile
{
public:
    // The table has two entries, the second for the notes. The notes are at the end of the file.
    ElfFile(const Make& make, uint64_t alignment) : m_make(make)
    {
        const Fields& f = make.is_64 ? kFields64 : kFields32;
        const size_t entry_bytes = make.through_sections ? f.sh_bytes : f.ph_bytes;
        const size_t entry = f.header_bytes + entry_bytes;
        const size_t offset_field = make.through_sections ? f.sh_offset : f.p_offset;
        m_size_at = entry + (make.through_sections ? f.sh_size : f.p_filesz);
        m_bytes.resize(entry + entry_bytes);
        m_bytes.replace(0, 4, "\177ELF");
        m_bytes[4] = make.is_64 ? 2 : 1;
        m_bytes[5] = make.is_big ? 2 : 1;
        m_bytes[6] = 1; // EV_CURRENT
        Put(make.through_sections ? f.shoff : f.phoff, f.header_bytes, f.word);
        const size_t counts = f.phentsize + (make.through_sections ? 4 : 0);
        Put(counts, entry_bytes, 2);
        Put(counts + 2, 2, 2);
        Put(entry + (make.through_sections ? 4 : 0), make.through_sections ? 7 : 4, 4); // SHT_NOTE, PT_NOTE
        Put(entry + offset_field, m_bytes.size(), f.word);
        Put(entry + (make.through_sections ? f.sh_addralign : f.p_align), alignment, f.word);
        m_notes_at = m_bytes.size();
        m_alignment = alignment == 8 ? 8 : 4;
    }

    // Appends a note. Its content is a list of 16-bit numbers. If a *_bytes_told is not 0, the note claims
    // this wrong size.
    ElfFile& Note(std::string_view name, uint32_t type, const std::vector<uint16_t>& numbers,
                  uint32_t name_bytes_told = 0, uint32_t content_bytes_told = 0)
    {
        const size_t at = m_bytes.size();
        m_bytes.resize(at + 12);
        Put(at, name_bytes_told ? name_bytes_told : name.size(), 4);
        Put(at + 4, content_bytes_told ? content_bytes_told : numbers.size() * 2, 4);
        Put(at + 8, type, 4);
        m_bytes += name;
        Pad();
        for (const uint16_t number : numbers) {
            m_bytes.resize(m_bytes.size() + 2);
            Put(m_bytes.size() - 2, number, 2);
        }
        return *this;
    }
    ElfFile& Pad()
    {
        m_bytes.resize(m_notes_at +
                       (m_bytes.size() - m_notes_at + m_alignment - 1) / m_alignment * m_alignment);
        return *this;
    }
    // Writes the size of the notes. A later Put remains.
    const std::string& Bytes()
    {
        Put(m_size_at, m_bytes.size() - m_notes_at, m_make.is_64 ? 8 : 4);
        return m_bytes;
    }
    const std::string& Whole() const { return m_bytes; }
    void Put(size_t at, uint64_t value, size_t bytes)
    {
        for (size_t i = 0; i < bytes; ++i)
            m_bytes[at + (m_make.is_big ? bytes - 1 - i : i)] = static_cast<char>(value >> 8 * i);
    }

private:
    Make m_make;
    std::string m_bytes;
    size_t m_size_at = 0, m_notes_at = 0, m_alignment = 4;
};

constexpr std::string_view kOwner{"Vestrel\0", 8}, kOther{"Vestre1\0", 8}, kShort{"GNU\0", 4},
    kOdd{"Odd\0\0", 5}, kLonger{"Vestrel\0\0", 9};

std::string VersionOf(const std::string& bytes)
{
    const ScratchDirectory scratch;
    return GetFileVersionText(scratch.Write("program", bytes)).c_str();
}

TEST(VersionNote, IsFoundInFilesOfEveryKindButNotInCutFiles)
{
    for (int make_bits = 0; make_bits < 8; ++make_bits)
        for (const uint64_t alignment : {0, 4, 8, 16}) {
            const Make make{(make_bits & 1) != 0, (make_bits & 2) != 0, (make_bits & 4) != 0};
            SCOPED_TRACE(testing::Message() << make_bits << ", alignment " << alignment);
            ElfFile file{make, alignment};
            file.Note(kOdd, 1, {7, 7, 7, 7, 7}).Pad();
            file.Note(kOther, 1, {6, 6, 6, 6}).Pad();
            file.Note(kShort, 1, {}).Pad();
            file.Note(kLonger, 1, {3, 3, 3, 3}).Pad();
            file.Note(kOwner, 2, {5, 5, 5, 5}).Pad();
            file.Note(kOwner, 1, {4, 4, 4}).Pad(); // too short
            file.Note(kOwner, 1, {1, 0, 258, 65535});
            const std::string bytes = file.Bytes();
            EXPECT_EQ(VersionOf(bytes), "1.0.258.65535");
            for (size_t cut = 1; cut <= bytes.size(); cut = cut < 24 ? cut + 1 : cut * 2)
                EXPECT_EQ(VersionOf(bytes.substr(0, bytes.size() - cut)), "") << cut;
        }
}

TEST(VersionNote, IsEmptyIfHeadersOrSizesAreWrong)
{
    const Make make{true, false, false};
    ElfFile whole{make, 4};
    whole.Note(kOwner, 1, {1, 2, 3, 4});
    ASSERT_EQ(VersionOf(whole.Bytes()), "1.2.3.4");
    constexpr size_t kEntry = 64 + 56; // the second entry of the table
    struct {
        const char* name;
        size_t at;
        uint64_t value;
        size_t bytes;
        const char* want;
    } const cases[] = {
        {"class", 4, 3, 1, ""},
        {"one entry", 56, 1, 2, ""},
        {"more entries than in the file", 56, 65534, 2, ""},
        {"number of sections elsewhere", 40, 64, 8, ""},
        {"notes past the largest offset", kEntry + 8, INT64_MAX - 3, 8, ""},
        {"notes beyond the file", kEntry + 32, 1 << 30, 8, "1.2.3.4"},
        {"name longer than the file", kEntry + 56, UINT32_MAX, 4, ""},
        {"name one too long", kEntry + 56, 9, 4, ""},
        {"content longer than the file", kEntry + 60, UINT32_MAX, 4, ""},
        {"content one too short", kEntry + 60, 7, 4, ""},
        {"name without its terminating zero", kEntry + 75, 'l', 1, ""},
    };
    for (const auto& c : cases) {
        ElfFile file = whole;
        file.Put(c.at, c.value, c.bytes);
        EXPECT_EQ(VersionOf(file.Whole()), c.want) << c.name;
    }
}

TEST(VersionNote, IsQuickInHugeAndEndlessFiles)
{
    const ScratchDirectory scratch;
    ElfFile file{{true, false, false}, 4};
    std::string bytes = file.Bytes();
    bytes[64 + 56 + 32 + 4] = 15; // 60 GB of empty notes
    const std::string path = scratch.Write("sparse", bytes);
    ASSERT_EQ(truncate(path.c_str(), off_t{1} << 36), 0);
    const ScratchDirectory other;
    ASSERT_EQ(mkfifo(other.File("fifo").c_str(), 0666), 0);
    alarm(20); // a call that takes too long ends the program
    for (const std::string& each : {path, other.File("fifo"), std::string{"/dev/zero"}, other.Path(),
                                    other.File("nothing"), std::string{}})
        EXPECT_EQ(GetFileVersionText(each), "") << each;
    alarm(0);
    EXPECT_EQ(GetFileVersionText(nullptr), "");
}

TEST(VersionNote, IsInTheBuiltProgramEvenIfStripped)
{
    EXPECT_EQ(GetFileVersionText(LUMENTA_PROGRAM), LUMENTA_VERSION_WANTED);
    const ScratchDirectory scratch;
    const std::string stripped = scratch.File("stripped");
    ASSERT_EQ(system(("'" STRIP_PROGRAM "' -o '" + stripped + "' '" LUMENTA_PROGRAM "'").c_str()), 0);
    const int headless = open(stripped.c_str(), O_RDWR | O_CLOEXEC);
    const char none[8] = {};
    ASSERT_EQ(pwrite(headless, none, sizeof none, 40), 8); // removes the section headers too
    close(headless);
    EXPECT_EQ(GetFileVersionText(stripped), LUMENTA_VERSION_WANTED);
    EXPECT_EQ(GetFileVersionText("/bin/sh"), ""); // a program with other notes
    const int own = OpenRegularFile(kOwnProgramFile);
    EXPECT_GE(own, 0);
    close(own);
}
} // namespace
