// SPDX-License-Identifier: MIT
// Runs a fuzz target over every file of a directory, in the order of the file names.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv)
{
    const bool asks = argc == 2 && std::string{argv[1]} == "--help";
    if (asks || argc != 2 || argv[1][0] == '-') {
        fprintf(asks ? stdout : stderr,
                "Usage: %s DIRECTORY\n"
                "Runs the fuzz target over every file of DIRECTORY, in the order of the names.\n",
                argc > 0 ? argv[0] : "corpus");
        return asks ? 0 : 2;
    }
    std::vector<std::filesystem::path> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator{argv[1], error})
        if (entry.is_regular_file())
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    for (const std::filesystem::path& path : files) {
        printf("%s\n", path.filename().c_str()); // after a crash, the last name is the input that caused it
        fflush(stdout);
        std::ifstream stream{path, std::ios::binary};
        const std::string bytes{std::istreambuf_iterator<char>{stream}, {}};
        if (!stream) {
            fprintf(stderr, "cannot read this file\n");
            return 1;
        }
        // A block of exactly the file's size, so that the sanitizers detect a read past its end.
        const std::vector<uint8_t> input{bytes.begin(), bytes.end()};
        LLVMFuzzerTestOneInput(input.data(), input.size());
    }
    if (files.empty()) {
        fprintf(stderr, "no files in %s\n", argv[1]);
        return 1;
    }
    return 0;
}
