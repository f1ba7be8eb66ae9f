// SPDX-License-Identifier: MIT
// Finds the version note of a program file with libelf. Searches the program headers first, because strip
// does not remove them. If they have no such note, searches the section headers, which object and debug files
// have. libelf reads the file with pread and maps nothing, because an access to a mapped file that has become
// shorter would end the program.
#include "platform/versionnote.h"
#include "platform/file.h"

#include <algorithm>
#include <cstring>
#include <gelf.h>
#include <libelf.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr char kOwner[] = "Vestrel"; // the name in the note, which includes the terminating zero
constexpr uint32_t kType = 1;
constexpr size_t kNumbers = 4;

// Limit of the bytes of notes that are read from one file, so that a damaged file needs little memory and
// time. A usual program has a few hundred bytes of notes.
constexpr uint64_t kMaxNoteBytes = 1 << 20;

struct ElfCloser {
    void operator()(Elf* elf) const { elf_end(elf); }
};

// Returns true if the number of sections is not in the header, because it does not fit into the field there.
// This number may then be as large as the file allows, and libelf would allocate a record for each section.
// Such a file is refused.
template <typename Header>
bool HasExtendedSections(int file)
{
    Header header;
    return pread(file, &header, sizeof header, 0) == static_cast<ssize_t>(sizeof header) &&
           header.e_shnum == 0 && header.e_shoff != 0;
}

class NoteFinder
{
public:
    NoteFinder(Elf* elf, uint64_t file_bytes) : m_elf(elf), m_file_bytes(file_bytes) {}

    CString Find()
    {
        CString text;
        size_t entries = 0;
        GElf_Phdr segment;
        if (elf_getphdrnum(m_elf, &entries) == 0)
            for (size_t i = 0; i < entries && text.IsEmpty(); ++i)
                if (gelf_getphdr(m_elf, static_cast<int>(i), &segment) && segment.p_type == PT_NOTE)
                    text = FindAmong(segment.p_offset, segment.p_filesz, segment.p_align);
        GElf_Shdr header;
        for (Elf_Scn* section = nullptr;
             text.IsEmpty() && (section = elf_nextscn(m_elf, section)) != nullptr;)
            if (gelf_getshdr(section, &header) && header.sh_type == SHT_NOTE)
                text = FindAmong(header.sh_offset, header.sh_size, header.sh_addralign);
        return text;
    }

private:
    // Searches the notes at this position of the file. If the file ends within them, searches those before
    // the end.
    CString FindAmong(uint64_t offset, uint64_t bytes, uint64_t alignment)
    {
        CString text;
        if (offset >= m_file_bytes)
            return text;
        bytes = std::min({bytes, m_file_bytes - offset, m_note_bytes_left});
        m_note_bytes_left -= bytes;
        Elf_Data* const notes = elf_getdata_rawchunk(m_elf, static_cast<int64_t>(offset), bytes,
                                                     alignment == 8 ? ELF_T_NHDR8 : ELF_T_NHDR);
        size_t next = 0, name = 0, content = 0;
        GElf_Nhdr note;
        while (notes && text.IsEmpty() && (next = gelf_getnote(notes, next, &note, &name, &content)) > 0) {
            const auto* const first = static_cast<const unsigned char*>(notes->d_buf);
            if (note.n_type == kType && note.n_namesz == sizeof kOwner &&
                note.n_descsz >= kNumbers * sizeof(uint16_t) &&
                memcmp(first + name, kOwner, sizeof kOwner) == 0)
                text = TextOf(first + content);
        }
        return text;
    }

    // The content of a note is in the byte order of the file.
    CString TextOf(const unsigned char* content) const
    {
        const bool is_big = elf_getident(m_elf, nullptr)[EI_DATA] == ELFDATA2MSB;
        const auto number = [content, is_big](size_t at) {
            return is_big ? content[2 * at] << 8 | content[2 * at + 1]
                          : content[2 * at + 1] << 8 | content[2 * at];
        };
        CString text;
        text.Format("%d.%d.%d.%d", number(0), number(1), number(2), number(3));
        return text;
    }

    Elf* m_elf;
    uint64_t m_file_bytes;
    uint64_t m_note_bytes_left = kMaxNoteBytes;
};
} // namespace

CString FileVersionTextOf(int file)
{
    struct stat status;
    if (elf_version(EV_CURRENT) == EV_NONE || fstat(file, &status) != 0)
        return {};
    unsigned char ident[EI_NIDENT];
    if (pread(file, ident, sizeof ident, 0) != static_cast<ssize_t>(sizeof ident) ||
        (ident[EI_CLASS] == ELFCLASS32 ? HasExtendedSections<Elf32_Ehdr>(file)
                                       : HasExtendedSections<Elf64_Ehdr>(file)))
        return {};
    const std::unique_ptr<Elf, ElfCloser> elf{elf_begin(file, ELF_C_READ, nullptr)};
    if (!elf || elf_kind(elf.get()) != ELF_K_ELF)
        return {};
    return NoteFinder{elf.get(), static_cast<uint64_t>(status.st_size)}.Find();
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
