// SPDX-License-Identifier: MIT
// JBIG streams by jbigkit, for comparison with our encoder and decoder. Rows are packed, and a 1 stays a 1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

extern "C" {
#include <jbig.h>
}

namespace test_support
{

// Returns the stream of a bit plane of width x height pixels. Bits after the width must be 0.
inline std::vector<uint8_t> EncodeWithJbigkit(std::vector<uint8_t> rows, int width, int height,
                                              unsigned long stripe_rows)
{
    std::vector<uint8_t> stream;
    uint8_t* plane = rows.data();
    const auto append = [](unsigned char* bytes, size_t count, void* to) {
        auto* const all = static_cast<std::vector<uint8_t>*>(to);
        all->insert(all->end(), bytes, bytes + count);
    };
    jbg_enc_state state;
    jbg_enc_init(&state, static_cast<unsigned long>(width), static_cast<unsigned long>(height), 1, &plane,
                 append, &stream);
    jbg_enc_layers(&state, 0);
    jbg_enc_options(&state, 0, 0, stripe_rows, 0, 0);
    jbg_enc_out(&state);
    jbg_enc_free(&state);
    return stream;
}

} // namespace test_support
