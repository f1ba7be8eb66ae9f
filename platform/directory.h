// SPDX-License-Identifier: MIT
// Lists a directory for a dialog. Receives the path and patterns for file names. Returns the matching files,
// all sub-directories, and which files were viewed.
#pragma once

#include "platform/cstring.h"
#include "platform/viewedmark.h"

#include <string_view>
#include <vector>

constexpr int kLongestPath = 4095; // bytes, the system's limit

struct DirectoryEntry {
    CString name;           // the bytes of the name, valid UTF-8 or not
    FileStatus status;      // links followed: the status of a file or a directory
    bool is_viewed = false; // set only for files, and only if the marks were read
};

struct DirectoryListing {
    int error = 0; // errno; `entries` is then empty
    std::vector<DirectoryEntry> entries;
};

enum class Marks {
    leave, // the marks are not read, which saves time; is_viewed is false
    read
};

// Lists the regular files of `directory` whose names match `patterns` (see MatchesPatterns), and all its
// sub-directories, in no particular order. Links are followed. Names with a leading dot (also "." and ".."),
// special files, and entries whose status cannot be read are skipped. A file that the user may not read is
// listed.
//
// If the user interrupts the listing, it contains the entries that were read before.
//
// Makes one status call per entry, and one call for the mark of each matching file. An empty directory has no
// entries and no error. A directory that does not exist, is no directory or may not be read sets `error`.
[[nodiscard]] DirectoryListing ListDirectory(const CString& directory, const CString& patterns, Marks marks);

// Returns true if the whole name matches one of the patterns. Patterns are separated by semicolons, with
// blanks around them ignored, as in "*.tif; *.low". "*" matches any text, "?" one character. The case of
// ASCII letters is ignored. "*.*" matches every name, and so does an empty list of patterns.
[[nodiscard]] bool MatchesPatterns(std::string_view name, std::string_view patterns);
