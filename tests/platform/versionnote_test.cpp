// SPDX-License-Identifier: MIT
// The version note: in generated files of every kind, whole and damaged, and in the built program.
#include "platform/versionnote.h"
#include "tests/support/scratch.h"

#include <cstddef>
#include <cstring>
#include <elf.h>

namespace
{
// Returns a file of 64 bits whose header refers to a table of two entries, the second for notes at the end of
// the file. The last note has the version in `numbers`.
std::string ElfFile(bool is_big, bool has_sections, uint64_t alignment, std::vector<uint16_t> numbers)
{
    const auto set = [is_big](auto& field, uint64_t value) {
        auto* const bytes = reinterpret_cast<uint8_t*>(&field);
        for (size_t i = 0; i < sizeof field; ++i)
            bytes[is_big ? sizeof field - 1 - i : i] = static_cast<uint8_t>(value >> 8 * i);
    };
    std::string notes;
    const auto add = [&](std::string_view name, uint32_t type, std::vector<uint16_t> content) {
        Elf64_Nhdr head;
        set(head.n_namesz, name.size());
        set(head.n_descsz, content.size() * 2);
        set(head.n_type, type);
        for (uint16_t& number : content)
            set(number, number);
        const size_t unit = alignment == 8 ? 8 : 4;
        notes.append(reinterpret_cast<const char*>(&head), sizeof head) += name;
        notes.resize((notes.size() + unit - 1) / unit * unit);
        notes.append(reinterpret_cast<const char*>(content.data()), content.size() * 2);
        notes.resize((notes.size() + unit - 1) / unit * unit);
    };
    constexpr std::string_view kOwner{"Vestrel\0", 8};
    add({"Odd\0\0", 5}, 1, {7, 7, 7, 7, 7});
    add("Vestrell", 1, {6, 6, 6, 6});
    add(kOwner, 2, {5, 5, 5, 5});
    add(kOwner, 1, {4, 4, 4}); // too short
    add(kOwner, 1, std::move(numbers));

    struct {
        Elf64_Ehdr header;
        Elf64_Phdr segments[2];
        Elf64_Shdr sections[2];
    } file{};
    memcpy(file.header.e_ident, ELFMAG, SELFMAG);
    file.header.e_ident[EI_CLASS] = ELFCLASS64;
    file.header.e_ident[EI_DATA] = is_big ? ELFDATA2MSB : ELFDATA2LSB;
    file.header.e_ident[EI_VERSION] = EV_CURRENT;
    if (has_sections) {
        set(file.header.e_shoff, offsetof(decltype(file), sections));
        set(file.header.e_shentsize, sizeof(Elf64_Shdr));
        set(file.header.e_shnum, 2);
        set(file.sections[1].sh_type, SHT_NOTE);
        set(file.sections[1].sh_offset, sizeof file);
        set(file.sections[1].sh_size, notes.size());
        set(file.sections[1].sh_addralign, alignment);
    } else {
        set(file.header.e_phoff, sizeof(Elf64_Ehdr));
        set(file.header.e_phentsize, sizeof(Elf64_Phdr));
        set(file.header.e_phnum, 2);
        set(file.segments[1].p_type, PT_NOTE);
        set(file.segments[1].p_offset, sizeof file);
        set(file.segments[1].p_filesz, notes.size());
        set(file.segments[1].p_align, alignment);
    }
    return std::string(reinterpret_cast<const char*>(&file), sizeof file) + notes;
}

std::string VersionOf(const std::string& bytes)
{
    const ScratchDirectory scratch;
    return GetFileVersionText(scratch.Write("program", bytes)).c_str();
}

TEST(VersionNote, IsFoundInFilesOfEveryKindButNotInCutFiles)
{
    for (const bool is_big : {false, true})
        for (const bool has_sections : {false, true})
            for (const uint64_t alignment : {0, 4, 8}) {
                SCOPED_TRACE(testing::Message() << is_big << has_sections << ", " << alignment);
                const std::string bytes = ElfFile(is_big, has_sections, alignment, {1, 0, 258, 65535});
                EXPECT_EQ(VersionOf(bytes), "1.0.258.65535");
                for (size_t cut = 1; cut <= bytes.size(); cut = cut < 24 ? cut + 1 : cut * 2)
                    EXPECT_EQ(VersionOf(bytes.substr(0, bytes.size() - cut)), "") << cut;
            }
}

TEST(VersionNote, IsNotSearchedAfterTheEndOfTheFile)
{
    const auto with = [](size_t at, uint64_t value) {
        std::string bytes = ElfFile(false, false, 4, {1, 2, 3, 4});
        for (size_t i = 0; i < 8; ++i)
            bytes[at + i] = static_cast<char>(value >> 8 * i);
        return bytes;
    };
    constexpr size_t kEntry = sizeof(Elf64_Ehdr) + sizeof(Elf64_Phdr);
    EXPECT_EQ(VersionOf(with(offsetof(Elf64_Ehdr, e_shoff), 64)), "")
        << "the number of sections is elsewhere";
    EXPECT_EQ(VersionOf(with(kEntry + offsetof(Elf64_Phdr, p_offset), INT64_MAX - 3)), "");
    EXPECT_EQ(VersionOf(with(kEntry + offsetof(Elf64_Phdr, p_filesz), 1 << 30)), "1.2.3.4");
}

TEST(VersionNote, IsInTheBuiltProgram)
{
    EXPECT_EQ(GetFileVersionText(LUMENTA_PROGRAM), LUMENTA_VERSION_WANTED);
    EXPECT_EQ(GetFileVersionText("/bin/sh"), ""); // a program with other notes
}
} // namespace
