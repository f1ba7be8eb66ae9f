// SPDX-License-Identifier: MIT
// A slow Squeeze decoder that tests compare the library with. It reads bit by bit, has its code words as text
// and handles one list entry at a time. It shares nothing with the library's decoder or the encoder in
// tools/.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace test_support
{

struct SqzReference {
    std::vector<std::vector<uint8_t>> rows; // rows before the failure, row_bytes each
    std::string error;                      // empty if all rows were decoded
    // The first row with a decreasing list, and the first one with bits from after the end. -1: none.
    int decreasing = -1, filler = -1;
    int raw_rows = 0;
    std::size_t bytes = 0; // bytes read; more than the stream has if filler was read after its end
};

// Decodes the first `rows` rows of a stream. first_ref_row is the row above the first one and has row_bytes
// bytes; null means white.
SqzReference DecodeSqueeze(std::span<const uint8_t> stream, int width, int row_bytes, int rows,
                           const uint8_t* first_ref_row = nullptr);

} // namespace test_support
