// SPDX-License-Identifier: MIT
// The command-line parser: the options of a vector, the help, and lines split into vectors.
#include "kesterlib/commandline.h"

#include <gtest/gtest.h>

namespace
{
using namespace std::string_literals;
using testing::internal::CaptureStderr, testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr, testing::internal::GetCapturedStdout;

std::string calls; // the handlers that were called, with their arguments

template <typename... Texts>
void Handler(Texts... texts)
{
    calls += "[";
    ((calls += std::string(texts) + " "), ...);
    calls += "]";
}

template <typename... Texts>
option_handler Handle()
{
    return reinterpret_cast<option_handler>(&Handler<Texts...>);
}

using T = const char*;
const option_record kOptions[] = {
    {"", "Pages:", 0, nullptr},
    {"-n", "turns over", 0, Handle<>()},
    {"-one", nullptr, 1, Handle<T>()},
    {"-two", "takes a pair", 2, Handle<T, T>()},
    {"-three", nullptr, 3, Handle<T, T, T>()},
    {"-four", nullptr, 4, Handle<T, T, T, T>()},
    {"-n", "never reached", 1, Handle<T>()},
    {"-h", "never reached", 0, Handle<>()},
    {"-five", nullptr, 5, Handle<>()},
    {"-less", nullptr, -1, Handle<>()},
    {"-none", nullptr, 0, nullptr},
    {nullptr, nullptr, 0, nullptr},
};

constexpr const char* kHelp =
    "\nRecognised options are:\n\n\t Pages:\n-n: turns over\n-one: arg1"
    "\n-two: arg1 arg2 takes a pair\n-three: arg1 arg2 arg3\n-four: arg1 arg2 arg3 arg4"
    "\n-n: arg1 never reached\n-h: never reached"
    "\n-five: arg1 arg2 arg3 arg4 arg5\n-less:\n-none:\n";

TEST(CommandLine, HandlersAreCalledInOrder)
{
    struct Case {
        std::vector<const char*> words;
        const char *calls, *errors;
        bool helped = false;
    };
    const Case kCases[] = {
        {{}, "", ""},
        {{"-two", "a", "b", "-n", "-four", "1", "2", "3", "4", "-three", "x", "y", "z"},
         "[a b ][][1 2 3 4 ][x y z ]",
         ""},
        {{"-one", "-n", "-n"}, "[-n ][]", ""},
        {{"-n", "-h", "-n"}, "[][]", "", true},
        {{"-one"}, "", "\nCommand line option -one requires an argument"},
        {{"-two", "-n"}, "[]", "\nCommand line option -two requires 2 arguments"},
        {{"-four", "-n", "-n", "-n"}, "[][][]", "\nCommand line option -four requires 4 arguments"},
        {{"x", "-n"}, "[]", "\nCommand Line Option x not understood, -h for help\n"},
    };
    for (const Case& c : kCases) {
        SCOPED_TRACE(testing::PrintToString(c.words));
        calls.clear();
        CaptureStdout();
        CaptureStderr();
        parse_command_line(int(c.words.size()), const_cast<char* const*>(c.words.data()), kOptions);
        EXPECT_EQ(GetCapturedStderr(), c.errors);
        EXPECT_EQ(GetCapturedStdout(), c.helped ? kHelp : "");
        EXPECT_EQ(calls, c.calls);
    }
}

TEST(CommandLineDeathTest, AnInvalidTableEndsTheProcess)
{
    for (const char* word : {"-five", "-less", "-none"}) {
        char* words[] = {const_cast<char*>(word)};
        EXPECT_EXIT(parse_command_line(1, words, kOptions), testing::ExitedWithCode(1),
                    std::string("^\nInternal Error, at option ") + word + "$");
    }
}

TEST(CommandLine, LinesAreSplitAtBlanksOutsideBrackets)
{
    struct Case {
        const char* name;
        std::string line; // a buffer ends with the 0 after it, a stream with nothing
        int result;
        std::vector<std::string> tokens;
        int stream_result = result;
    };
    const std::string word(300, 'w');
    std::string line_of_205;
    for (int i = 0; i < 205; ++i)
        line_of_205 += "t ";
    const Case kCases[] = {
        {"all separators", "a\tb  c\n", 1, {"a", "b", "c"}},
        {"brackets within tokens", "f(x (y z))w v\n", 1, {"f(x (y z))w", "v"}},
        {"bracket never closed", "a (b c\nd\n", 1, {"a"}},
        {"more brackets closed than opened", "a) (b c) d\n", 1, {"a)", "(b", "c)", "d"}},
        {"only the first line", "a b\rc\n", 1, {"a", "b"}},
        {"ended by 0", "a b\0c\n"s, 1, {"a", "b"}},
        {"no end of line", "a b", 1, {"a", "b"}, 0},
        {"byte of 255", "a \xff b\n", 0, {}, 1},
        {"long token", word + " a\n", 1, {word.substr(0, 200), "a"}},
        {"brackets after the 200 bytes do not count",
         std::string(200, 'w') + "( a\n",
         1,
         {std::string(200, 'w'), "a"}},
        {"200 bytes in brackets", "(" + word + ") a\n", 1, {}},
        {"205 tokens", line_of_205 + "\n", 1, std::vector<std::string>(200, "t")},
    };
    for (const Case& c : kCases)
        for (const bool from_stream : {false, true}) {
            SCOPED_TRACE(testing::Message() << c.name << (from_stream ? ", stream" : ", buffer"));
            int argc = 99;
            char* none = nullptr;
            char** argv = &none;
            int result = 0;
            if (from_stream) {
                FILE* stream = tmpfile();
                fwrite(c.line.data(), 1, c.line.size(), stream);
                rewind(stream);
                result = parse_line_from_stream(stream, &argc, &argv);
                fclose(stream);
            } else {
                result = parse_line_from_buffer(c.line.c_str(), &argc, &argv);
            }
            std::vector<std::string> tokens(argv, argv + argc);
            if (from_stream && c.name == "byte of 255"s)
                EXPECT_EQ(tokens, std::vector({"a"s, "\xff"s, "b"s})); // 255 is an ordinary byte in a stream
            else if (from_stream && c.stream_result == 0)
                EXPECT_EQ(tokens, std::vector<std::string>{});
            else
                EXPECT_EQ(tokens, c.tokens);
            EXPECT_EQ(result, from_stream ? c.stream_result : c.result);
            EXPECT_EQ(argv == nullptr, tokens.empty());
            if (argc > 0) { // a string that is taken out belongs to the test
                free(argv[0]);
                argv[0] = nullptr;
            }
            dispose_argc_commands(argc, argv);
        }
}

TEST(CommandLine, WholeLinesAreReadFromAStream)
{
    FILE* stream = tmpfile();
    std::vector<std::string> want;
    const auto put = [&](size_t bytes, char end) {
        const std::string text(bytes, 'l');
        fwrite((text + end).data(), 1, bytes + 1, stream);
        want.push_back(text + "\n");
    };
    for (const size_t bytes : {0, 1, 198, 199, 200, 201, 399, 400, 401, 5000})
        put(bytes, '\n');
    put(3, '\0');
    put(4, '\xff');
    fputs("rest", stream);
    want.insert(want.end(), {"rest\n", "\n"}); // the last two are read at the end of the file
    rewind(stream);
    for (const std::string& line : want) {
        char* got = read_command_line_from_stream(stream);
        EXPECT_EQ(got, line);
        free(got);
    }
    fclose(stream);
}

TEST(CommandLine, LeadingDashes)
{
    const auto count = [](std::vector<const char*> words) {
        return count_leading_dash_args(int(words.size()), const_cast<char* const*>(words.data()));
    };
    EXPECT_EQ(count({"program"}), 1);
    EXPECT_EQ(count({"program", "page"}), 0);
    EXPECT_EQ(count({"program", "-a", "-b", "page", "-c"}), 2);
    EXPECT_EQ(count({"program", "-a", "-b"}), 3);
}
} // namespace
