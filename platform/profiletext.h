// The text of the settings file: groups of keys with a value each, and nothing that its reader would act on.
#pragma once

#include <map>
#include <string>
#include <string_view>

// Keys are "group/key". Both are bytes; a value may be any, be they UTF-8 or not.
using ProfileValues = std::map<std::string, std::string>;

// Never fails: a line that is no group, key or comment is left out, and of a key that comes twice the last
// one holds. A key before any group is in the group "General".
ProfileValues ParseProfile(std::string_view text);

// Lines "[group]" and "key=value". In groups and keys all but letters, digits, "-", "." and "_" is written as
// % and two digits; in a value control characters, bytes that are no UTF-8, quotation marks and backslashes
// after a backslash, and it stands between quotation marks where blanks at its ends or a semicolon would be
// misread. What has no "/" behind its first character is left out.
std::string ComposeProfile(const ProfileValues& values);
