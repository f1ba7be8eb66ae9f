// SPDX-License-Identifier: MIT
// The row loops of the scale engine. Included once for each instruction set, which defines
// KESTERLIB_SCALE_LOOPS. Compile it with -O3: the loops are written for a compiler that vectorises them,
// and at -O2 they are half as fast.
//
// From scale 8 on, a row adds the number of 1 bits in each of its bytes to a count for that byte. The
// counts of a cell's bytes are added up at the end of the band, or before one of them can overflow. Below
// scale 8 a byte has several columns. Their counts come from a table, all columns in one word, or from
// vectors.
#include "scale_loops.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace kesterlib
{
namespace
{
template <typename Word>
inline Word word_at(const void* bytes)
{
    Word word;
    memcpy(&word, bytes, sizeof word);
    return word;
}

// ---- Scales 1, 2, 4: the columns of a byte in one word -------------------------------------------------

template <typename Word>
struct ColumnCounts {
    uint8_t of[256][sizeof(Word)];
};
template <typename Word>
constexpr ColumnCounts<Word> make_column_counts()
{
    constexpr uint32_t bits = 8 / sizeof(Word); // bits of a column
    ColumnCounts<Word> counts{};
    for (uint32_t byte = 0; byte < 256; ++byte)
        for (uint32_t bit = 0; bit < 8; ++bit) {
            uint8_t& count = counts.of[byte][bit / bits];
            count = static_cast<uint8_t>(count + (byte >> (7 - bit) & 1));
        }
    return counts;
}
template <typename Word>
constexpr ColumnCounts<Word> kColumnCounts = make_column_counts<Word>();

// Adds the columns of a row's bytes at scales 2 and 4, for all bytes that fill whole vectors. Returns the
// number of these bytes.
template <typename Word>
inline size_t add_column_vectors(uint8_t* __restrict columns, const uint8_t* __restrict row, size_t bytes,
                                 bool first)
{
    size_t done = 0;
#if defined(__AVX2__)
    constexpr size_t kVector = sizeof(__m128i);
    // For each half of a byte: its number of 1 bits, those of its upper pair, those of its lower pair.
    const __m128i ones = _mm_setr_epi8(0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4);
    const __m128i upper = _mm_setr_epi8(0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 2, 2, 2, 2);
    const __m128i lower = _mm_setr_epi8(0, 1, 1, 2, 0, 1, 1, 2, 0, 1, 1, 2, 0, 1, 1, 2);
    const __m128i half = _mm_set1_epi8(15);
    const auto add = [first](uint8_t* at, __m128i counts) {
        auto* const to = reinterpret_cast<__m128i*>(at);
        _mm_storeu_si128(to, first ? counts : _mm_add_epi8(_mm_loadu_si128(to), counts));
    };
    for (; sizeof(Word) < 8 && done + kVector <= bytes; done += kVector) {
        const __m128i vector = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + done));
        const __m128i left = _mm_and_si128(_mm_srli_epi16(vector, 4), half);
        const __m128i right = _mm_and_si128(vector, half);
        uint8_t* const to = columns + done * sizeof(Word);
        if constexpr (sizeof(Word) == 2) {
            const __m128i lefts = _mm_shuffle_epi8(ones, left), rights = _mm_shuffle_epi8(ones, right);
            add(to, _mm_unpacklo_epi8(lefts, rights));
            add(to + kVector, _mm_unpackhi_epi8(lefts, rights));
        } else {
            const __m128i a = _mm_shuffle_epi8(upper, left), b = _mm_shuffle_epi8(lower, left);
            const __m128i c = _mm_shuffle_epi8(upper, right), d = _mm_shuffle_epi8(lower, right);
            const __m128i ab = _mm_unpacklo_epi8(a, b), cd = _mm_unpacklo_epi8(c, d);
            const __m128i ab_high = _mm_unpackhi_epi8(a, b), cd_high = _mm_unpackhi_epi8(c, d);
            add(to, _mm_unpacklo_epi16(ab, cd));
            add(to + kVector, _mm_unpackhi_epi16(ab, cd));
            add(to + 2 * kVector, _mm_unpacklo_epi16(ab_high, cd_high));
            add(to + 3 * kVector, _mm_unpackhi_epi16(ab_high, cd_high));
        }
    }
#else
    (void)columns, (void)row, (void)bytes, (void)first;
#endif
    return done;
}

// No count exceeds scale * scale = 16, so words can be added without a carry from column to column.
template <typename Word>
inline void add_columns(uint8_t* __restrict columns, const uint8_t* __restrict row, size_t row_bytes,
                        size_t out_width, bool first)
{
    constexpr size_t kColumns = sizeof(Word);
    const auto counts_of = [](uint8_t byte) { return word_at<Word>(kColumnCounts<Word>.of[byte]); };
    const size_t whole = out_width / kColumns;
    for (size_t i = add_column_vectors<Word>(columns, row, whole, first); i < whole; ++i) {
        uint8_t* const to = columns + i * kColumns;
        const Word sum = static_cast<Word>(counts_of(row[i]) + (first ? Word{0} : word_at<Word>(to)));
        memcpy(to, &sum, sizeof sum);
    }
    if (whole < row_bytes) // the last byte, in which not every bit belongs to a column
        for (size_t i = whole * kColumns; i < out_width; ++i)
            columns[i] = static_cast<uint8_t>((first ? 0 : columns[i]) +
                                              kColumnCounts<Word>.of[row[whole]][i % kColumns]);
}

// ---- Scales from 8 on: 1 bits per source byte ---------------------------------------------------------

inline void count_bytes(uint8_t* counts, const uint8_t* row, size_t bytes, bool first)
{
    for (size_t i = 0; i < bytes; ++i)
        counts[i] = static_cast<uint8_t>((first ? 0 : counts[i]) + count_table[row[i]]);
}

constexpr size_t kCacheLine = 64;
// Bytes to prefetch ahead. Rows are usually adjacent in memory, so this reaches into the next rows.
// Measured on a page that is not in the cache: it takes 0.7 of the time without prefetch, and 0.8 at half
// the distance.
constexpr uintptr_t kFetchAhead = 4096;

inline void fetch_ahead(const uint8_t* at)
{
    __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(at) + kFetchAhead));
}

#if defined(__AVX2__)

inline __m256i load32(const uint8_t* from)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}
inline void store32(uint8_t* to, __m256i v)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), v);
}

// Returns the number of 1 bits in each byte, from its two halves.
inline __m256i ones_of(__m256i bytes)
{
    const __m256i ones = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4)); // 1 bits in 0 to 15
    const __m256i half = _mm256_set1_epi8(15);
    return _mm256_add_epi8(_mm256_shuffle_epi8(ones, _mm256_and_si256(bytes, half)),
                           _mm256_shuffle_epi8(ones, _mm256_and_si256(_mm256_srli_epi16(bytes, 4), half)));
}

struct LastOnes {
    uint8_t bytes[2 * sizeof(__m256i)]; // a vector from byte n on has ones in its last n bytes
};
constexpr LastOnes kLastOnes = [] {
    LastOnes mask{};
    for (size_t i = sizeof(__m256i); i < sizeof mask.bytes; ++i)
        mask.bytes[i] = 0xFF;
    return mask;
}();

// The last bytes of a row are counted first, in a vector that ends with the row. So no load waits for the
// store of the vector before.
template <bool first>
inline void count_row(uint8_t* __restrict counts, const uint8_t* __restrict row, size_t bytes)
{
    constexpr size_t kVector = sizeof(__m256i);
    if (bytes < kVector) {
        count_bytes(counts, row, bytes, first);
        return;
    }
    const size_t odd = bytes % kVector;
    const size_t last = bytes - kVector;
    const __m256i rest = _mm256_and_si256(ones_of(load32(row + last)), load32(kLastOnes.bytes + odd));
    store32(counts + last, first ? rest : _mm256_add_epi8(load32(counts + last), rest));
    const auto count_vector = [=](size_t i) {
        const __m256i ones = ones_of(load32(row + i));
        store32(counts + i, first ? ones : _mm256_add_epi8(load32(counts + i), ones));
    };
    const size_t vectors_end = bytes - odd;
    size_t i = 0;
    for (; i + kCacheLine <= vectors_end; i += kCacheLine) {
        fetch_ahead(row + i);
        count_vector(i);
        count_vector(i + kVector);
    }
    if (i < vectors_end)
        count_vector(i);
}

#else

// Each byte's 1 bits, in its place.
inline uint64_t ones_by_byte(uint64_t bytes)
{
    constexpr uint64_t kPairs = 0x5555555555555555, kFours = 0x3333333333333333, kHalves = 0x0F0F0F0F0F0F0F0F;
    bytes -= bytes >> 1 & kPairs;
    bytes = (bytes & kFours) + (bytes >> 2 & kFours);
    return (bytes + (bytes >> 4)) & kHalves;
}

template <bool first>
inline void count_row(uint8_t* __restrict counts, const uint8_t* __restrict row, size_t bytes)
{
    constexpr size_t kBlock = 8 * kCacheLine; // long enough for the compiler to vectorise the inner loop
    const size_t done = bytes / 8 * 8;
    for (size_t begin = 0; begin < done; begin += kBlock) {
        const size_t end = begin + kBlock < done ? begin + kBlock : done;
        for (size_t line = begin; line < end; line += kCacheLine)
            fetch_ahead(row + line);
        for (size_t i = begin; i < end; i += 8) {
            uint64_t ones = ones_by_byte(word_at<uint64_t>(row + i));
            if constexpr (!first)
                ones += word_at<uint64_t>(counts + i);
            memcpy(counts + i, &ones, sizeof ones);
        }
    }
    count_bytes(counts + done, row + done, bytes - done, first);
}

#endif

void count_rows(uint8_t* counts, const uint8_t* rows, ptrdiff_t stride, int32_t height, size_t bytes)
{
    count_row<true>(counts, rows, bytes);
    for (int32_t y = 1; y < height; ++y)
        count_row<false>(counts, rows + y * stride, bytes);
}

// ---- Cells: the counts of their bytes, added up in `shorts` ---------------------------------------------

template <typename Sum>
inline void gather(uint16_t* __restrict shorts, size_t from, size_t columns, bool first, Sum sum)
{
    if (first)
        for (size_t i = from; i < columns; ++i)
            shorts[i] = static_cast<uint16_t>(sum(i));
    else
        for (size_t i = from; i < columns; ++i)
            shorts[i] = static_cast<uint16_t>(shorts[i] + sum(i));
}

// Adds columns of 3 bytes, for all columns that fill whole vectors. Returns the number of these columns.
inline size_t gather_threes(uint16_t* shorts, const uint8_t* counts, size_t columns, bool first)
{
    size_t done = 0;
#if defined(__AVX2__)
    // Moves the bytes of each column into 32 bits of their own. A vector reads 4 bytes more than it uses.
    const __m256i places =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1));
    for (; done + 8 <= columns; done += 8) {
        const auto* const at = reinterpret_cast<const __m128i*>(counts + 3 * done);
        const auto* const after = reinterpret_cast<const __m128i*>(counts + 3 * done + 12);
        const __m256i bytes =
            _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128(at)), _mm_loadu_si128(after), 1);
        const __m256i pairs = _mm256_maddubs_epi16(_mm256_shuffle_epi8(bytes, places), _mm256_set1_epi8(1));
        const __m256i sums = _mm256_madd_epi16(pairs, _mm256_set1_epi16(1));
        const __m128i narrow =
            _mm_packus_epi32(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
        auto* const to = reinterpret_cast<__m128i*>(shorts + done);
        _mm_storeu_si128(to, first ? narrow : _mm_add_epi16(_mm_loadu_si128(to), narrow));
    }
#else
    (void)shorts, (void)counts, (void)columns, (void)first;
#endif
    return done;
}

inline uint32_t sum_of_four(uint32_t counts)
{
    const uint32_t pairs = (counts & 0x00FF00FF) + (counts >> 8 & 0x00FF00FF);
    return (pairs + (pairs >> 16)) & 0xFFFF;
}

// Returns the sum of a cell of up to `words` words. `mask` selects the bytes of the last word that belong
// to the cell.
template <size_t words>
inline uint64_t sum_of_words(const uint8_t* counts, uint64_t mask)
{
    constexpr uint64_t kLow = 0x00FF00FF00FF00FF;
    uint64_t pairs = 0;
    for (size_t i = 0; i < words; ++i) {
        const uint64_t word = word_at<uint64_t>(counts + 8 * i) & (i == words - 1 ? mask : ~uint64_t{0});
        pairs += (word & kLow) + (word >> 8 & kLow);
    }
    return pairs * 0x0001000100010001 >> 48;
}

template <size_t words>
inline void gather_words(uint16_t* shorts, const uint8_t* counts, size_t cell_bytes, size_t columns,
                         bool first)
{
    uint8_t mask_bytes[8] = {};
    memset(mask_bytes, 0xFF, cell_bytes - 8 * (words - 1));
    const auto mask = word_at<uint64_t>(mask_bytes);
#if defined(__AVX2__)
    if constexpr (words == 1) {
        // Four columns at a time; `shorts` has room for a multiple of four.
        for (size_t i = 0; i < columns; i += 4) {
            const uint8_t* const at = counts + i * cell_bytes;
            const auto cell = [&](size_t n) { return word_at<long long>(at + n * cell_bytes); };
            const __m256i cells = _mm256_set_epi64x(cell(3), cell(2), cell(1), cell(0));
            const __m256i sums =
                _mm256_sad_epu8(_mm256_and_si256(cells, _mm256_set1_epi64x(static_cast<long long>(mask))),
                                _mm256_setzero_si256());
            __m128i narrow =
                _mm_packus_epi32(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
            narrow = _mm_packus_epi32(narrow, narrow);
            auto* const to = reinterpret_cast<__m128i*>(shorts + i);
            _mm_storel_epi64(to, first ? narrow : _mm_add_epi16(_mm_loadl_epi64(to), narrow));
        }
        return;
    }
#endif
    gather(shorts, 0, columns, first,
           [=](size_t i) { return sum_of_words<words>(counts + i * cell_bytes, mask); });
}

// Adds the counts to `shorts`. The next row starts new counts.
void gather_cells(scale_engine* engine)
{
    uint16_t* const shorts = engine->shorts;
    const uint8_t* const counts = engine->counts;
    const auto columns = static_cast<size_t>(engine->out_width);
    const auto cell_bytes = static_cast<size_t>(engine->cell_bytes);
    const bool first = engine->rows_in_cell == engine->counted_rows;
    switch ((cell_bytes + 7) / 8) {
    case 1:
        if (cell_bytes == 3)
            gather(shorts, gather_threes(shorts, counts, columns, first), columns, first,
                   [=](size_t i) { return counts[3 * i] + counts[3 * i + 1] + counts[3 * i + 2]; });
        else if (cell_bytes == 4)
            gather(shorts, 0, columns, first,
                   [=](size_t i) { return sum_of_four(word_at<uint32_t>(counts + 4 * i)); });
        else
            gather_words<1>(shorts, counts, cell_bytes, columns, first);
        break;
    case 2: gather_words<2>(shorts, counts, cell_bytes, columns, first); break;
    case 3: gather_words<3>(shorts, counts, cell_bytes, columns, first); break;
    default: gather_words<4>(shorts, counts, cell_bytes, columns, first);
    }
    engine->counted_rows = 0;
}

// ---- Greys --------------------------------------------------------------------------------------------

// The same as grey_table without a load: step 256 becomes 255, and all bits are inverted if the table
// descends.
inline uint8_t grey_of(uint32_t step, uint8_t turned)
{
    return static_cast<uint8_t>((step - (step >> 8)) ^ turned);
}

// Converts counts of bytes; up_shift is the engine's.
template <int up_shift>
inline void greys_of_bytes(uint8_t* greys, const uint8_t* counts, size_t columns, uint8_t turned)
{
    for (size_t i = 0; i < columns; ++i) // in bytes: a 1 shifted out at the top means 256, a full cell
        greys[i] = static_cast<uint8_t>(static_cast<uint8_t>(static_cast<uint8_t>(counts[i] << up_shift) -
                                                             (counts[i] >> (8 - up_shift))) ^
                                        turned);
}

void add_row(scale_engine* engine, const uint8_t* row)
{
    const auto row_bytes = static_cast<size_t>(engine->row_bytes);
    const auto columns = static_cast<size_t>(engine->out_width);
    const bool first = engine->rows_in_cell == 0;
    if (engine->cell_bytes == 0) {
        switch (engine->scale) {
        case 1: add_columns<uint64_t>(engine->bytes, row, row_bytes, columns, first); break;
        case 2: add_columns<uint32_t>(engine->bytes, row, row_bytes, columns, first); break;
        default: add_columns<uint16_t>(engine->bytes, row, row_bytes, columns, first);
        }
        return;
    }
    if (engine->counted_rows == kMostCounted)
        gather_cells(engine);
    if (engine->counted_rows == 0)
        count_row<true>(engine->counts, row, row_bytes);
    else
        count_row<false>(engine->counts, row, row_bytes);
    ++engine->counted_rows;
}

void finish_band(scale_engine* engine)
{
    uint8_t* const greys = engine->bytes;
    const uint8_t* const counts = engine->counts;
    const auto columns = static_cast<size_t>(engine->out_width);
    const uint8_t turned = grey_table.load(std::memory_order_relaxed)[0]; // the tables never change
    switch (engine->scale) {
    case 1: greys_of_bytes<8>(greys, greys, columns, turned); break;
    case 2: greys_of_bytes<6>(greys, greys, columns, turned); break;
    case 4: greys_of_bytes<4>(greys, greys, columns, turned); break;
    case 8: greys_of_bytes<2>(greys, counts, columns, turned); break;
    case 16:
        for (size_t i = 0; i < columns; ++i) {
            const auto pair = word_at<uint16_t>(counts + 2 * i);
            greys[i] = grey_of(static_cast<uint16_t>((pair & 0xFF) + (pair >> 8)), turned);
        }
        break;
    default: {
        gather_cells(engine);
        const uint16_t* const shorts = engine->shorts;
        const uint32_t before = engine->shift_before, multiplier = engine->multiplier;
        const uint32_t after = engine->shift_after;
        for (size_t i = 0; i < columns; ++i)
            greys[i] = grey_of(((shorts[i] >> before) * multiplier >> 16) >> after, turned);
    }
    }
    engine->counted_rows = 0;
}
} // namespace

constinit const scale_loops KESTERLIB_SCALE_LOOPS{add_row, finish_band, count_rows};
} // namespace kesterlib
