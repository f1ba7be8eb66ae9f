// JBIG streams by jbigkit, for comparison with our encoder and our decoder. Rows are packed, and a 1 stays a 1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

extern "C" {
#include <jbig.h>
}

namespace test_support
{

// Returns the stream of a bit plane of width x height pixels. `reset`: each stripe has fresh contexts. Bits
// after the width must be 0.
inline std::vector<uint8_t> EncodeWithJbigkit(std::vector<uint8_t> rows, int width, int height,
                                              unsigned long stripe_rows, bool reset = false)
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
    jbg_enc_options(&state, 0, reset ? JBG_SDRST : 0, stripe_rows, 0, 0);
    jbg_enc_out(&state);
    jbg_enc_free(&state);
    return stream;
}

struct JbigkitPage {
    unsigned long width = 0, height = 0;
    std::vector<uint8_t> rows; // empty if jbigkit refuses the stream or does not use all of it
};

inline JbigkitPage DecodeWithJbigkit(std::span<const uint8_t> stream)
{
    std::vector<uint8_t> copy(stream.begin(), stream.end()); // jbigkit takes no const bytes
    JbigkitPage page;
    jbg_dec_state state;
    jbg_dec_init(&state);
    size_t taken = 0;
    if (jbg_dec_in(&state, copy.data(), copy.size(), &taken) == JBG_EOK && taken == copy.size()) {
        page.width = jbg_dec_getwidth(&state);
        page.height = jbg_dec_getheight(&state);
        page.rows.assign(jbg_dec_getimage(&state, 0), jbg_dec_getimage(&state, 0) + jbg_dec_getsize(&state));
    }
    jbg_dec_free(&state);
    return page;
}

} // namespace test_support
