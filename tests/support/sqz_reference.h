// A Squeeze decoder that is written to be compared with: bit by bit, code words as text, one list entry at a
// time. Slow, and independent of the library's decoder and of the encoder in tools/.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace test_support
{

struct SqzReference {
    std::vector<std::vector<uint8_t>> rows; // row_bytes each; those before the failure
    std::string error;                      // empty when all rows came
    int decreasing = -1, filler = -1;       // the first row with such a list, or with such bits

    // How often the stream used what, the row that failed included.
    std::array<int, 21> codes_a{}; // by code index: verticals -3 to +3, first runs from 1, the long one last
    std::array<int, 23> codes_b{};
    std::array<int, 4> second_runs{}; // 1, 2, 3, and 4 with an extension number
    int coded_rows = 0, raw_rows = 0;
    int longest_number = 0; // groups of an extension number
    std::size_t bytes = 0;  // of the stream; more than it has where the filler was read
};

// The first `rows` rows of a stream. first_ref_row, of row_bytes, stands above the first one; null is white.
SqzReference DecodeSqueeze(std::span<const uint8_t> stream, int width, int row_bytes, int rows,
                           const uint8_t* first_ref_row = nullptr);

} // namespace test_support
