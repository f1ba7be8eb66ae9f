// What a dialog shows of a directory: its files by a pattern, its sub-directories, and which files are
// viewed.
#pragma once

#include "platform/cstring.h"
#include "platform/viewedmark.h"

#include <string_view>
#include <vector>

struct DirectoryEntry {
    CString name;           // bytes as they stand in the directory, be they UTF-8 or not
    FileStatus status;      // links followed, so a file or a directory
    bool is_viewed = false; // of files, where marks were to be read
};

struct DirectoryListing {
    int error = 0; // errno; entries is empty then
    std::vector<DirectoryEntry> entries;
};

enum class Marks {
    leave, // no entry counts as viewed, and no mark costs anything
    read
};

// Lists the regular files of `directory` whose names match `patterns` (see MatchesPatterns), and all its
// sub-directories; of links what they lead to. Names with a leading dot ("." and ".." too), special files,
// and what cannot be looked at are left out; a file that may not be read is listed. In no order.
//
// If the user interrupts it, the listing has what there was until then.
//
// One status call an entry and one for the mark of a file that matches. A directory that is empty gives no
// entries and no error; one that is not there, is no directory or may not be read gives errno.
DirectoryListing ListDirectory(const CString& directory, const CString& patterns, Marks marks);

// Whether the whole name matches one of the patterns, which stand between semicolons, blanks round them
// skipped, as in "*.tif; *.low". "*" stands for any text, "?" for one character; case of ASCII letters does
// not count. "*.*" matches every name, and so do no patterns at all.
bool MatchesPatterns(std::string_view name, std::string_view patterns);
