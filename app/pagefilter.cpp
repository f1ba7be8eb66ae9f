// SPDX-License-Identifier: MIT
#include "app/pagefilter.h"

#include "platform/text.h"

namespace
{
constexpr std::string_view kBlanksAndBar = " \t\n\v\f\r|";

// Returns `text` from its first byte that is in `set`, or an empty text if there is none.
std::string_view FromFirstOf(std::string_view text, std::string_view set)
{
    const size_t at = text.find_first_of(set);
    return at == std::string_view::npos ? std::string_view{} : text.substr(at);
}

// Calls wanted(number, pattern) for each "text|pattern|" pair until it returns true. If two bars follow a
// text, its pattern is missing: the pair is counted but not passed on. The second bar then ends the text of
// the next pair, which is empty.
template <class Wanted>
void WalkFilters(std::string_view rest, Wanted wanted)
{
    for (int number = 1; !rest.empty(); ++number) {
        rest = FromFirstOf(rest, "|");
        if (rest.empty())
            return;
        rest.remove_prefix(1);
        if (rest.empty() || rest.front() == '|')
            continue;
        const size_t start = rest.find_first_not_of(kBlanks);
        if (start == std::string_view::npos)
            return;
        rest.remove_prefix(start);
        if (wanted(number, rest.substr(0, rest.size() - FromFirstOf(rest, kBlanksAndBar).size())))
            return;
        rest = FromFirstOf(rest, "|");
        rest.remove_prefix(rest.empty() ? 0 : 1);
    }
}
} // namespace

CString GetFilterPattern(const CString& filter, int index)
{
    CString found = "*.*";
    WalkFilters(filter, [&](int number, std::string_view pattern) {
        if (number == index)
            found = pattern;
        return number == index;
    });
    return found;
}

int FindFilter(const CString& filter, const CString& pattern)
{
    int found = 0;
    WalkFilters(filter, [&](int number, std::string_view candidate) {
        if (pattern.CompareNoCase(candidate) == 0)
            found = number;
        return found != 0;
    });
    return found;
}
