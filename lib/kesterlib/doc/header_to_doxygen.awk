# SPDX-License-Identifier: MIT
# awk -f header_to_doxygen.awk HEADER: prints the header with comments that Doxygen reads. The headers have plain
# comments, which are easier to read. Each line keeps its number, so that the lines in warnings are right.
#   - A comment documents what follows it. After code on the same line, it documents this code.
#   - The first comment, after the line with the licence, documents the file.
#   - The line of dashes with a title begins a group. If a comment and an empty line follow it, the comment
#     documents the group.
#   - Indented lines with a name and a text, which describe parameters, become a list.
{
  line[NR] = $0
}
END {
  name = FILENAME
  sub(/.*\//, "", name)
  for (i = 1; i <= NR; ++i) {
    text = line[i]
    if (i == 1) {
      text = ""
    } else if (i == 2) {
      sub(/^\/\*/, "/** @file " name "\n", text)
      gsub(/\n/, "", text)
    } else if (text ~ /^\/\* -+ .* -+ \*\/$/) {
      title = text
      gsub(/^\/\* -+ | -+ \*\/$/, "", title)
      text = (open ? "/** @} */ " : "") "/** @name " title
      open = 1
      last = group_comment_end(i)
      if (!last)
        text = text " */ /** @{ */"
    } else if (last && text ~ /^\/\*/) {
      sub(/^\/\*/, " *", text)
    } else if (text ~ /^ *\/\* /) {
      sub(/\/\* /, "/** ", text)
    } else if (text ~ /\/\* /) {
      sub(/\/\* /, "/**< ", text)
    } else if (text ~ /^KESTERLIB_END/ && open) {
      text = "/** @} */"
    }
    if (text ~ /^ \*   [A-Za-z_][A-Za-z0-9_]*(,? [a-z_]+)*  /) {
      sub(/^ \*   /, "", text)
      term = text
      sub(/  .*/, "", term)
      sub(/^[^ ]+( [^ ]+)*  +/, "", text)
      text = " * - **" term "**: " text
    }
    if (last && i == last) {
      text = text " /** @{ */"
      last = 0
    }
    print text
  }
}

# Returns the last line of the comment after the title in line i, if an empty line follows it. Otherwise 0.
function group_comment_end(i)
{
  for (++i; line[i] == "" && i <= NR; ++i) {
  }
  if (line[i] !~ /^\/\*/ || line[i] ~ /^\/\* -+ /)
    return 0
  for (; line[i] !~ /\*\/$/; ++i) {
  }
  return line[i + 1] == "" ? i : 0
}
