// Finds a version note: through the program headers, which stripping leaves, else through the section
// headers, which object and debug files have. Each entry is read by itself, at its place, into a record of
// fixed size.
#include "platform/versionnote.h"
#include "platform/file.h"

#include <bit>
#include <cerrno>
#include <cstring>
#include <elf.h>
#include <limits>
#include <optional>
#include <unistd.h>

namespace
{
constexpr char kOwner[] = "Vestrel"; // in the note with its NUL
constexpr uint32_t kType = 1;
constexpr size_t kNumbers = 4;

// Reads that one file may cost, so that no table or note of a damaged one keeps the program busy: some
// hundred headers and notes are usual, and this many take about a millisecond.
constexpr int kMostReads = 4096;

constexpr unsigned char kOwnOrder = std::endian::native == std::endian::little ? ELFDATA2LSB : ELFDATA2MSB;

// Where headers stand and what they look like, of either class.
struct Table {
    uint64_t offset;
    uint32_t entry_bytes;
    uint32_t entries;
};

// A stretch of notes in the file.
struct Notes {
    uint64_t offset;
    uint64_t bytes;
    uint64_t alignment;
};

class NoteFinder
{
public:
    explicit NoteFinder(int file) : m_file(file) {}

    CString Find()
    {
        unsigned char ident[EI_NIDENT];
        if (!ReadAt(0, ident, sizeof ident) || memcmp(ident, ELFMAG, SELFMAG) != 0)
            return {};
        if (ident[EI_DATA] != ELFDATA2LSB && ident[EI_DATA] != ELFDATA2MSB)
            return {};
        m_is_foreign = ident[EI_DATA] != kOwnOrder;
        switch (ident[EI_CLASS]) {
        case ELFCLASS32: return FindIn<Elf32_Ehdr, Elf32_Phdr, Elf32_Shdr>();
        case ELFCLASS64: return FindIn<Elf64_Ehdr, Elf64_Phdr, Elf64_Shdr>();
        default: return {};
        }
    }

private:
    template <class FileHeader, class ProgramHeader, class SectionHeader>
    CString FindIn()
    {
        FileHeader header;
        if (!ReadAt(0, &header, sizeof header))
            return {};
        // Counts that do not fit their fields stand elsewhere; a program with so many headers has no version
        // here.
        CString text = FindThrough<ProgramHeader>(
            {Own(header.e_phoff), Own(header.e_phentsize), Own(header.e_phnum)},
            [this](const ProgramHeader& entry) -> std::optional<Notes> {
                if (Own(entry.p_type) != PT_NOTE)
                    return {};
                return Notes{Own(entry.p_offset), Own(entry.p_filesz), Own(entry.p_align)};
            });
        if (!text.IsEmpty())
            return text;
        return FindThrough<SectionHeader>(
            {Own(header.e_shoff), Own(header.e_shentsize), Own(header.e_shnum)},
            [this](const SectionHeader& entry) -> std::optional<Notes> {
                if (Own(entry.sh_type) != SHT_NOTE)
                    return {};
                return Notes{Own(entry.sh_offset), Own(entry.sh_size), Own(entry.sh_addralign)};
            });
    }

    template <class Entry, class NotesOf>
    CString FindThrough(const Table& table, NotesOf notes_of)
    {
        uint64_t offset = table.offset;
        Entry entry;
        for (uint32_t i = 0; i < table.entries && ReadAt(offset, &entry, sizeof entry); ++i) {
            if (const std::optional<Notes> notes = notes_of(entry)) {
                CString text = FindAmong(*notes);
                if (!text.IsEmpty())
                    return text;
            }
            offset += table.entry_bytes; // no overflow: what was read lies within a file
        }
        return {};
    }

    // A note is a header, then name and content, each padded to the alignment; that is 8 where the stretch
    // says so and else 4, in files of either class.
    CString FindAmong(const Notes& notes)
    {
        if (notes.bytes > std::numeric_limits<uint64_t>::max() - notes.offset)
            return {};
        const uint64_t end = notes.offset + notes.bytes;
        const uint64_t alignment = notes.alignment == 8 ? 8 : 4;
        const auto padded = [alignment](uint64_t bytes) {
            return (bytes + alignment - 1) & ~(alignment - 1);
        };
        uint64_t at = notes.offset;
        Elf64_Nhdr note; // the same in both classes
        while (end - at >= sizeof note && ReadAt(at, &note, sizeof note)) {
            // All of 32 bits, so no sum of theirs wraps.
            const uint64_t name_bytes = Own(note.n_namesz), content_bytes = Own(note.n_descsz);
            const uint64_t content = padded(sizeof note + name_bytes);
            if (content + content_bytes > end - at)
                return {};
            if (Own(note.n_type) == kType && name_bytes == sizeof kOwner) {
                CString text = TextOf(at + sizeof note, at + content, content_bytes);
                if (!text.IsEmpty())
                    return text;
            }
            const uint64_t whole = padded(content + content_bytes);
            if (whole > end - at) // the last one may do without its padding
                return {};
            at += whole;
        }
        return {};
    }

    CString TextOf(uint64_t name_at, uint64_t content_at, uint64_t content_bytes)
    {
        char name[sizeof kOwner];
        uint16_t numbers[kNumbers];
        CString text;
        if (content_bytes >= sizeof numbers && ReadAt(name_at, name, sizeof name) &&
            memcmp(name, kOwner, sizeof name) == 0 && ReadAt(content_at, numbers, sizeof numbers))
            text.Format("%d.%d.%d.%d", Own(numbers[0]), Own(numbers[1]), Own(numbers[2]), Own(numbers[3]));
        return text;
    }

    // True if all bytes are there and the file's reads are not used up.
    bool ReadAt(uint64_t offset, void* buffer, size_t bytes)
    {
        if (m_reads_left == 0 || offset > static_cast<uint64_t>(std::numeric_limits<off_t>::max()) - bytes)
            return false;
        --m_reads_left;
        ssize_t got;
        do
            got = pread(m_file, buffer, bytes, static_cast<off_t>(offset));
        while (got < 0 && errno == EINTR);
        return got == static_cast<ssize_t>(bytes);
    }

    // A number of the file in this machine's byte order.
    template <class Number>
    Number Own(Number number) const
    {
        if (!m_is_foreign)
            return number;
        if constexpr (sizeof number == 2)
            return __builtin_bswap16(number);
        else if constexpr (sizeof number == 4)
            return __builtin_bswap32(number);
        else
            return __builtin_bswap64(number);
    }

    int m_file;
    int m_reads_left = kMostReads;
    bool m_is_foreign = false;
};
} // namespace

CString FileVersionTextOf(int file)
{
    return NoteFinder{file}.Find();
}

CString GetFileVersionText(const CString& path)
{
    const int file = OpenRegularFile(path);
    if (file < 0)
        return {};
    CString text = FileVersionTextOf(file);
    close(file);
    return text;
}
