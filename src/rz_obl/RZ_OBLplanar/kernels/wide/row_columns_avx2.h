#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/wide/run_shape_avx2.h"

// Columns of runs along a row. What depends on x alone is worked out once for all rows and planes that start
// at the same x. Included by wide files only.

namespace rz_obl {

/// Where eight columns of a row lie: two groups of eight adjacent samples, and which bytes of them are the
/// pairs.
struct row_window {
    int low;
    int high;
    __m256i pairs;
};

static inline int first_of_window(int a, int b, int width) {
    const int first = a < b ? a : b;
    return first < width - 8 ? first : width - 8;  // never past the raster's end
}

static inline row_window window_of(__m256i x, int width) {
    const __m256i index = _mm256_srai_epi32(x, 18);
    const __m128i lowIndex = _mm256_castsi256_si128(index);
    const __m128i highIndex = _mm256_extracti128_si256(index, 1);
    row_window window;
    window.low = first_of_window(_mm_cvtsi128_si32(lowIndex), _mm_extract_epi32(lowIndex, 3), width);
    window.high = first_of_window(_mm_cvtsi128_si32(highIndex), _mm_extract_epi32(highIndex, 3), width);
    const __m256i first = _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_set1_epi32(window.low)),
                                                  _mm_set1_epi32(window.high), 1);
    const __m256i byte = _mm256_slli_epi32(_mm256_sub_epi32(index, first), 1);
    window.pairs = _mm256_add_epi32(_mm256_mullo_epi32(byte, _mm256_set1_epi32(0x01010101)),
                                    _mm256_set1_epi32(0x03020100));
    return window;
}

static inline __m256i pairs_of_row(const short* row, const row_window& window) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + window.low));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + window.high));
    return _mm256_shuffle_epi8(_mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1), window.pairs);
}

/// Eight columns: where they lie, and their weights in x.
struct row_columns {
    row_window window;
    __m256i weights;
};

/// Columns that are worked out at once, in blocks of eight.
static constexpr int kRowChunk = 1024;

struct row_chunk {
    std::int32_t x;
    int columns;  // 0: nothing yet
    row_columns blocks[kRowChunk / 8];
};

static inline int blocks_of(int columns) {
    return (columns + 7) / 8;
}

/// Blocks of `columns` columns, the first of them at x. Lanes past the last column repeat it.
static inline void make_columns(const wide_source& source, std::int32_t x, int columns, row_chunk& chunk) {
    if (chunk.x == x && chunk.columns == columns) return;
    chunk.x = x;
    chunk.columns = columns;
    const __m256i step = _mm256_set1_epi32(source.pixelStep.x);
    for (int b = 0; b < blocks_of(columns); ++b) {
        const __m256i lanes = _mm256_mullo_epi32(lane_numbers(columns - 8 * b), step);
        const std::int32_t first = wrap_add(x, wrap_mul(8 * b, source.pixelStep.x));
        const __m256i at = _mm256_add_epi32(_mm256_set1_epi32(first), lanes);
        chunk.blocks[b] = {window_of(at, source.width), weight_pairs(at)};
    }
}

/// The four rows around a run at one plane, and their weights.
struct row_lines {
    const short* p;
    const short* q;
    int width;
    __m256i weightsY;
    __m256i weightsZ;
};

static inline row_lines lines_at(const wide_source& source, const q18_point& position) {
    const std::ptrdiff_t row = static_cast<std::ptrdiff_t>(position.y >> 18) * source.width;
    const std::ptrdiff_t slice = position.z >> 18;
    return {source.slices[slice] + row, source.slices[slice + 1] + row, source.width,
            weight_pairs(_mm256_set1_epi32(position.y)), weight_pairs(_mm256_set1_epi32(position.z))};
}

static inline wide_cells cells_of(const row_lines& lines, const row_columns& columns) {
    const row_window& window = columns.window;
    return {pairs_of_row(lines.p, window), pairs_of_row(lines.p + lines.width, window),
            pairs_of_row(lines.q, window), pairs_of_row(lines.q + lines.width, window)};
}

static inline wide_weights weights_of(const row_lines& lines, const row_columns& columns) {
    return {columns.weights, lines.weightsY, lines.weightsZ};
}

}  // namespace rz_obl
