// SPDX-License-Identifier: MIT
// The input is a program file. The result must be empty, or a version that the input contains after the
// owner's name. The position of the file descriptor must be unchanged.
#include "platform/versionnote.h"
#include "promise.h"

#include <cstdio>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace
{
std::string TextAt(std::string_view bytes, bool is_big)
{
    unsigned numbers[4];
    for (size_t i = 0; i < 4; ++i) {
        const unsigned first = static_cast<unsigned char>(bytes[2 * i]);
        const unsigned second = static_cast<unsigned char>(bytes[2 * i + 1]);
        numbers[i] = is_big ? first << 8 | second : second << 8 | first;
    }
    char text[4 * 5 + 3 + 1];
    snprintf(text, sizeof text, "%u.%u.%u.%u", numbers[0], numbers[1], numbers[2], numbers[3]);
    return text;
}

// The content starts right after the name, or 4 bytes later if notes are aligned to 8. Head and name have
// 12 + 8 bytes, which is a multiple of 4, but 4 less than a multiple of 8.
bool Holds(std::string_view file, std::string_view text)
{
    constexpr std::string_view kOwner{"Vestrel\0", 8};
    for (size_t at = 0; (at = file.find(kOwner, at)) != std::string_view::npos; ++at)
        for (const size_t content : {at + kOwner.size(), at + kOwner.size() + 4})
            if (content + 8 <= file.size() && TextAt(file.substr(content, 8), file[5] == 2) == text)
                return true;
    return false;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const int file = memfd_create("program", MFD_CLOEXEC);
    Promise(ftruncate(file, 0) == 0 && pwrite(file, data, size, 0) == static_cast<ssize_t>(size));
    const CString text = FileVersionTextOf(file);
    Promise(lseek(file, 0, SEEK_CUR) == 0);
    Promise(text.IsEmpty() || Holds({reinterpret_cast<const char*>(data), size}, text));
    return 0;
}
