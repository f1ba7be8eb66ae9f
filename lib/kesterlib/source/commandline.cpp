// SPDX-License-Identifier: MIT
// The command-line parser: calls the handlers of the options, prints the help, and splits lines into tokens.
#include "kesterlib/commandline.h"

#include <stdlib.h>
#include <string.h>

namespace
{
// ---- Options ---------------------------------------------------------------------------------------

constexpr int32_t kMostArguments = 4;

// Part of the message for an option with too few elements after it, by its argument_count.
constexpr const char* kMissing[kMostArguments + 1] = {"", "an argument", "2 arguments", "3 arguments",
                                                      "4 arguments"};

const option_record* find_option(const option_record* options, const char* word)
{
    for (const option_record* option = options; option->name != nullptr; ++option)
        if (option->name[0] != '\0' && strcmp(option->name, word) == 0)
            return option;
    return nullptr;
}

// The table stores all handlers as one type. Each is cast back to its own type here.
void call_handler(const option_record& option, char* const* arguments)
{
    using Text = const char*;
    char* const* a = arguments;
    switch (option.argument_count) {
    case 0: option.handler(); break;
    case 1: reinterpret_cast<void (*)(Text)>(option.handler)(a[0]); break;
    case 2: reinterpret_cast<void (*)(Text, Text)>(option.handler)(a[0], a[1]); break;
    case 3: reinterpret_cast<void (*)(Text, Text, Text)>(option.handler)(a[0], a[1], a[2]); break;
    default: reinterpret_cast<void (*)(Text, Text, Text, Text)>(option.handler)(a[0], a[1], a[2], a[3]);
    }
}

// ---- Lines -----------------------------------------------------------------------------------------

constexpr size_t kTokenBytes = 200; // bytes of a token that are kept
constexpr int kMostTokens = 200;    // tokens of a line that are kept

// The tokens of a line while it is read. The caller receives all of them or none.
struct Tokens {
    int count = 0;
    char* texts[kMostTokens];
    size_t bytes = 0; // bytes of the current token
    char token[kTokenBytes];

    // Ends the current token, if there is one. Returns false if memory is short.
    [[nodiscard]] bool close_token()
    {
        if (bytes > 0 && count < kMostTokens) {
            auto* copy = static_cast<char*>(malloc(bytes + 1)); // with the terminator
            if (copy == nullptr)
                return false;
            memcpy(copy, token, bytes);
            copy[bytes] = '\0';
            texts[count++] = copy;
        }
        bytes = 0;
        return true;
    }

    // Moves the tokens to the caller. Returns false if memory is short.
    [[nodiscard]] bool release(int* argc_out, char*** argv_out)
    {
        if (count == 0)
            return true;
        const size_t array_bytes = static_cast<size_t>(count) * sizeof(char*);
        auto** array = static_cast<char**>(malloc(array_bytes));
        if (array == nullptr)
            return false;
        memcpy(array, texts, array_bytes);
        *argc_out = count;
        *argv_out = array;
        return true;
    }

    void drop()
    {
        for (int i = 0; i < count; ++i)
            free(texts[i]);
    }
};

bool is_line_end(int character)
{
    return character == '\n' || character == '\r' || character == '\0';
}

bool is_separator(int character)
{
    return is_line_end(character) || character == ' ' || character == '\t';
}

// Reads a line. `next` returns a character, or EOF at the end of the input. Returns false if the input
// ended before the line did, or if memory is short.
template <typename Source>
[[nodiscard]] bool split_line(Source&& next, Tokens* tokens)
{
    for (int64_t depth = 0;;) { // 64 bits: no line is long enough to overflow it
        const int character = next();
        if (character == EOF)
            return false;
        if (depth <= 0 && is_separator(character)) {
            if (!tokens->close_token())
                return false;
        } else if (tokens->bytes < kTokenBytes) {
            tokens->token[tokens->bytes++] = static_cast<char>(character);
            depth += (character == '(') - (character == ')');
        }
        if (is_line_end(character))
            return true;
    }
}

template <typename Source>
int parse_line_from_source(Source&& next, int* argc_out, char*** argv_out)
{
    *argc_out = 0;
    *argv_out = nullptr;
    Tokens tokens;
    if (split_line(next, &tokens) && tokens.release(argc_out, argv_out))
        return 1;
    tokens.drop();
    return 0;
}
} // namespace

void parse_command_line(int argc, char* const* argv, const option_record* options)
{
    for (int i = 0; i < argc; ++i) {
        const char* word = argv[i];
        if (strcmp(word, "-h") == 0) {
            print_help(options);
            continue;
        }
        const option_record* option = find_option(options, word);
        if (option == nullptr) {
            fprintf(stderr, "\nCommand Line Option %s not understood, -h for help\n", word);
            continue;
        }
        const int32_t wanted = option->argument_count;
        if (wanted < 0 || wanted > kMostArguments || option->handler == nullptr) {
            fprintf(stderr, "\nInternal Error, at option %s", word);
            exit(1);
        }
        if (argc - 1 - i < wanted) {
            fprintf(stderr, "\nCommand line option %s requires %s", word, kMissing[wanted]);
            continue;
        }
        call_handler(*option, argv + i + 1);
        i += wanted;
    }
}

void print_help(const option_record* options)
{
    printf("\nRecognised options are:");
    for (const option_record* option = options; option->name != nullptr; ++option) {
        if (option->name[0] != '\0')
            printf("\n%s:", option->name);
        else
            printf("\n\n\t");
        for (int32_t number = 1; number <= option->argument_count; ++number)
            printf(" arg%d", static_cast<int>(number));
        if (option->help != nullptr)
            printf(" %s", option->help);
    }
    printf("\n");
}

char* read_command_line_from_stream(FILE* stream)
{
    constexpr size_t kFirstBytes = 200;
    size_t room = kFirstBytes;
    auto* line = static_cast<char*>(malloc(room));
    for (size_t bytes = 0; line != nullptr;) {
        const int character = getc(stream);
        const bool ends = character == EOF || character == '\0' || character == 255 || character == '\n';
        line[bytes++] = ends ? '\n' : static_cast<char>(character);
        if (!ends && bytes + 1 < room) // room for the next character and the terminator
            continue;
        if (ends) {
            line[bytes] = '\0';
            return line;
        }
        char* longer = room <= SIZE_MAX / 2 ? static_cast<char*>(realloc(line, room * 2)) : nullptr;
        if (longer == nullptr)
            free(line);
        line = longer;
        room *= 2;
    }
    return nullptr;
}

int parse_line_from_stream(FILE* stream, int* argc_out, char*** argv_out)
{
    return parse_line_from_source([stream] { return fgetc(stream); }, argc_out, argv_out);
}

int parse_line_from_buffer(const char* text, int* argc_out, char*** argv_out)
{
    // The byte is signed, so that 255 is EOF.
    return parse_line_from_source([&text]() -> int { return static_cast<signed char>(*text++); }, argc_out,
                                  argv_out);
}

void dispose_argc_commands(int argc, char** argv)
{
    if (argv == nullptr)
        return;
    for (int i = 0; i < argc; ++i)
        free(argv[i]);
    free(argv);
}

int count_leading_dash_args(int argc, char* const* argv)
{
    if (argc < 2)
        return 1;
    for (int i = 1; i < argc; ++i)
        if (argv[i][0] != '-')
            return i - 1;
    return argc;
}
