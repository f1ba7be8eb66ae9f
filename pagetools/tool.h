// SPDX-License-Identifier: MIT
// What the page tools have in common: arguments, messages and exit statuses.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Exit statuses. If several apply, the highest one is returned.
constexpr int kGood = 0;
constexpr int kNotGood = 1; // a page is damaged or no page file
constexpr int kFailed = 2;  // wrong usage, or a file cannot be read or written

struct ToolOption {
    char letter;
    const char* argument; // name of the option's argument in the help text; null: it has none
    const char* help;     // its further lines begin with 6 blanks
};

// The arguments of a tool.
class Arguments
{
public:
    explicit Arguments(std::span<const ToolOption> options) : m_options(options) {}

    // Reads the command line. Options may be grouped, as in "-ps", and may follow a page. "--" ends the
    // options. Nothing after "--help" or "--version" is read. Returns an empty text, or what is wrong.
    [[nodiscard]] std::string Read(std::span<char* const> words);

    [[nodiscard]] bool Has(char option) const { return Value(option) != nullptr; }
    // Returns the argument of an option, which is empty if the option has none. If an option is repeated, the
    // last argument counts. Returns null if the option was not used.
    [[nodiscard]] const char* Value(char option) const;
    [[nodiscard]] std::span<const char* const> Pages() const { return m_pages; }
    [[nodiscard]] bool WantsHelp() const { return m_help; }
    [[nodiscard]] bool WantsVersion() const { return m_version; }

private:
    std::string ReadGroup(std::string_view group, std::span<char* const>& words);

    std::span<const ToolOption> m_options;
    std::vector<std::pair<char, const char*>> m_used; // letters and arguments of the options used
    std::vector<const char*> m_pages;
    bool m_help = false;
    bool m_version = false;
};

struct Tool {
    const char* name;
    const char* operands; // as in the usage line: "PAGE..."
    const char* purpose;  // one or more lines of the help text
    std::span<const ToolOption> options;
    size_t least_pages, most_pages;
    int (*run)(const Arguments& arguments); // returns an exit status; may throw UsageError
};

struct UsageError {
    std::string text;
};

// The main function of a tool. Answers --help, --version and wrong usage. Returns the exit status. It is
// kFailed if something that was written to standard output was lost.
[[nodiscard]] int RunTool(const Tool& tool, int argc, char** argv);

// Prints "TOOL: TEXT" as one line to standard error. The text may have any bytes.
void PrintMessage(const std::string& text);

// Returns how a page is named in messages: its path, or "standard input".
[[nodiscard]] std::string PageName(const char* path);

// Returns whether a path means standard input.
[[nodiscard]] bool IsStandardInput(const char* path);
