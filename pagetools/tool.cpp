// SPDX-License-Identifier: MIT
// Reads the arguments of a tool and runs it.
#include "tool.h"

#include "showntext.h"

#include <kesterlib/version.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <unistd.h>

namespace
{
const char* g_tool_name = "page tool"; // RunTool sets it

// A file must not be opened as 0, 1 or 2: its bytes would be used as input, or be overwritten by output.
void FillStandardDescriptors()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(descriptor, F_GETFD) < 0 && errno == EBADF)
            // The other direction, so that a read or write fails. open returns the lowest free number.
            (void)open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

std::string UsageLine(const Tool& tool)
{
    std::string line = std::string{"Usage: "} + tool.name;
    for (const ToolOption& option : tool.options) {
        line += std::string{" [-"} + option.letter;
        if (option.argument)
            line += std::string{" "} + option.argument;
        line += ']';
    }
    return line + ' ' + tool.operands + '\n';
}

void PrintHelp(const Tool& tool)
{
    std::printf("%s%s\n\n", UsageLine(tool).c_str(), tool.purpose);
    for (const ToolOption& option : tool.options)
        std::printf("  -%c%s%s\n      %s\n", option.letter, option.argument ? " " : "",
                    option.argument ? option.argument : "", option.help);
    std::printf(
        "  --help, --version\n      print this text or the version, and do nothing else\n\n"
        "A PAGE of \"-\" is standard input. After \"--\", all arguments are pages.\n"
        "Exit status: 0 all pages are good, 1 a page is not good, 2 wrong usage, or a file cannot be read\n"
        "or written.\n");
}

int RunWithArguments(const Tool& tool, const Arguments& arguments)
{
    if (arguments.WantsHelp()) {
        PrintHelp(tool);
        return kGood;
    }
    if (arguments.WantsVersion()) {
        std::printf("%s %s\n", tool.name, kesterlib_version());
        return kGood;
    }
    const auto pages = arguments.Pages();
    if (pages.size() < tool.least_pages)
        throw UsageError{"no page is named"};
    if (pages.size() > tool.most_pages)
        throw UsageError{std::string{"more than one page is named: "} + pages[tool.most_pages]};
    if (std::count_if(pages.begin(), pages.end(), IsStandardInput) > 1)
        throw UsageError{"standard input is named twice"};
    return tool.run(arguments);
}
} // namespace

std::string Arguments::Read(std::span<char* const> words)
{
    while (!words.empty()) {
        const std::string_view word = words.front();
        words = words.subspan(1);
        if (word == "--") {
            m_pages.insert(m_pages.end(), words.begin(), words.end());
            break;
        }
        m_help = word == "--help";
        m_version = word == "--version";
        if (m_help || m_version)
            break;
        if (word.size() < 2 || word[0] != '-')
            m_pages.push_back(word.data());
        else if (word[1] == '-')
            return "unknown option " + std::string{word};
        else if (std::string error = ReadGroup(word.substr(1), words); !error.empty())
            return error;
    }
    return {};
}

// Reads the letters after a dash. An argument is the rest of the group, or the next word.
std::string Arguments::ReadGroup(std::string_view group, std::span<char* const>& words)
{
    for (size_t i = 0; i < group.size(); ++i) {
        const auto option = std::find_if(m_options.begin(), m_options.end(),
                                         [&](const ToolOption& one) { return one.letter == group[i]; });
        if (option == m_options.end())
            return std::string{"unknown option -"} + group[i];
        if (!option->argument) {
            m_used.emplace_back(group[i], "");
            continue;
        }
        if (i + 1 < group.size()) {
            m_used.emplace_back(group[i], group.data() + i + 1);
        } else if (!words.empty()) {
            m_used.emplace_back(group[i], words.front());
            words = words.subspan(1);
        } else {
            return std::string{"option -"} + group[i] + " needs an argument";
        }
        break;
    }
    return {};
}

const char* Arguments::Value(char option) const
{
    const auto used = std::find_if(m_used.rbegin(), m_used.rend(),
                                   [option](const auto& one) { return one.first == option; });
    return used == m_used.rend() ? nullptr : used->second;
}

int RunTool(const Tool& tool, int argc, char** argv)
{
    g_tool_name = tool.name;
    FillStandardDescriptors();
    std::signal(SIGXFSZ, SIG_IGN); // a write above the file size limit returns an error
    int status = kFailed;
    try {
        Arguments arguments{tool.options};
        const std::span<char* const> words{argv, static_cast<size_t>(argc)};
        if (std::string error = arguments.Read(words.subspan(argc > 0 ? 1 : 0)); !error.empty())
            throw UsageError{error};
        status = RunWithArguments(tool, arguments);
    } catch (const UsageError& error) {
        PrintMessage(error.text + "; try " + tool.name + " --help");
    } catch (const std::bad_alloc&) {
        PrintMessage("not enough memory");
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        PrintMessage(std::string{"cannot write to standard output: "} + std::strerror(errno));
        status = kFailed;
    }
    return status;
}

void PrintMessage(const std::string& text)
{
    std::fprintf(stderr, "%s: %s\n", g_tool_name, ShownText(text).c_str());
}

std::string PageName(const char* path)
{
    return IsStandardInput(path) ? "standard input" : path;
}

bool IsStandardInput(const char* path)
{
    return std::string_view{path} == "-";
}
