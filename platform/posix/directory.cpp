// SPDX-License-Identifier: MIT
// Lists a directory in one pass, with one status call per entry. Matches names with patterns, and reads the
// viewed marks of the listed files.
#include "platform/directory.h"
#include "platform/messages.h"
#include "platform/posix/filestatus.h"
#include "platform/text.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string>

namespace
{
struct CloseDirectory {
    void operator()(DIR* stream) const { closedir(stream); }
};

// Returns the number of bytes of the character at the start of text, at least 1. A byte that is not UTF-8 is
// a character by itself. An incomplete character counts as one, so Utf8CharacterBytes cannot be used here.
size_t CharacterBytes(std::string_view text)
{
    const auto lead = static_cast<unsigned char>(text[0]);
    const size_t most = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : lead >= 0xc0 ? 2 : 1;
    size_t bytes = 1;
    while (bytes < most && bytes < text.size() && IsUtf8Continuation(text[bytes]))
        ++bytes;
    return bytes;
}

// If a character does not match, the text that the last "*" matches is made longer by one byte. The text of
// an earlier "*" never has to change. So the time is at most the product of the two lengths.
bool Matches(std::string_view name, std::string_view pattern)
{
    size_t at = 0, in_pattern = 0;
    size_t star = std::string_view::npos; // the last one in pattern
    size_t star_end = 0;                  // in name, after the text that matches the star
    while (at < name.size()) {
        const char wanted = in_pattern < pattern.size() ? pattern[in_pattern] : '\0'; // no name has a NUL
        if (wanted == '*') {
            star = in_pattern++;
            star_end = at;
        } else if (wanted == '?') {
            ++in_pattern;
            at += CharacterBytes(name.substr(at));
        } else if (FoldedAscii(wanted) == FoldedAscii(name[at])) {
            ++in_pattern;
            ++at;
        } else if (star != std::string_view::npos) {
            in_pattern = star + 1;
            at = ++star_end; // may be within a character, which "?" would skip as a whole
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', in_pattern) == std::string_view::npos;
}

// Returns true if an entry of this kind may be listed. Many file systems do not report the kind, and the kind
// of a link is not that of its file.
bool MayBeListed(unsigned char kind)
{
    return kind == DT_UNKNOWN || kind == DT_LNK || kind == DT_DIR || kind == DT_REG;
}
} // namespace

bool MatchesPatterns(std::string_view name, std::string_view patterns)
{
    bool has_pattern = false;
    for (size_t start = 0; start <= patterns.size();) {
        const size_t end = std::min(patterns.find(';', start), patterns.size());
        const std::string_view pattern = Trimmed(patterns.substr(start, end - start), " ");
        start = end + 1;
        if (pattern.empty())
            continue;
        has_pattern = true;
        if (pattern == "*.*" || Matches(name, pattern))
            return true;
    }
    return !has_pattern;
}

DirectoryListing ListDirectory(const CString& directory, const CString& patterns, Marks marks)
{
    const std::unique_ptr<DIR, CloseDirectory> stream{opendir(directory.c_str())};
    if (!stream)
        return {errno, {}};
    DirectoryListing listing;
    ViewedMarks reader;
    std::string path = std::string{directory.View()} + '/'; // the path of each file, in one buffer
    const size_t directory_bytes = path.size();
    errno = 0;
    for (const dirent* item; (item = readdir(stream.get())); errno = 0) {
        if (CCmdTarget::WorkInterrupted()) {
            errno = 0;
            break;
        }
        const std::string_view name = item->d_name;
        if (name.starts_with('.') || !MayBeListed(item->d_type))
            continue;
        // The name of a regular file decides whether the file is listed. Sub-directories with any name are
        // listed.
        const bool matches = MatchesPatterns(name, patterns);
        struct stat system;
        if ((!matches && item->d_type == DT_REG) ||
            fstatat(dirfd(stream.get()), item->d_name, &system, 0) != 0)
            continue;
        DirectoryEntry entry{{}, FileStatusFrom(system), false};
        if (!entry.status.IsDirectory() && !(entry.status.IsFile() && matches))
            continue;
        if (marks == Marks::read) {
            path.replace(directory_bytes, std::string::npos, name);
            entry.is_viewed = reader.IsViewed(path.c_str(), entry.status);
        }
        entry.name = name;
        listing.entries.push_back(std::move(entry));
    }
    if (errno != 0)
        return {errno, {}};
    return listing;
}
