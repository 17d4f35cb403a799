#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/wide/grid_rows_avx2.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/row_columns_avx2.h"

// Columns one sample apart along a row: sixteen of them share their weights, and their pairs of neighbours
// are two loads side by side. Included by wide files only.

namespace rz_obl {

/// Sixteen values in 32 bits. Lanes 0-3 and 8-11, then 4-7 and 12-15: the order that unpacking leaves.
struct sixteen {
    __m256i low;
    __m256i high;
};

/// Packed to 16 bits, in their order.
static inline __m256i in_order(const sixteen& values) {
    return _mm256_packs_epi32(values.low, values.high);
}

/// The four rows around a run at one plane, from its first column on, and the weights of all columns.
struct unit_lines {
    const short* p;
    const short* q;
    int width;
    wide_weights weights;
};

static inline unit_lines unit_lines_at(const wide_source& source, const q18_point& position) {
    const row_lines rows = lines_at(source, position);
    const std::ptrdiff_t x = position.x >> 18;
    return {rows.p + x, rows.q + x, source.width, weights_at(in_all_lanes(position))};
}

static inline sixteen sixteen_pairs(const short* samples) {
    const __m256i left = load_sixteen(samples);
    const __m256i right = load_sixteen(samples + 1);
    return {_mm256_unpacklo_epi16(left, right), _mm256_unpackhi_epi16(left, right)};
}

/// Samples of columns `column` to `column` + 15.
static inline sixteen sixteen_samples(const unit_lines& lines, std::ptrdiff_t column) {
    const sixteen p0 = sixteen_pairs(lines.p + column);
    const sixteen p1 = sixteen_pairs(lines.p + lines.width + column);
    const sixteen q0 = sixteen_pairs(lines.q + column);
    const sixteen q1 = sixteen_pairs(lines.q + lines.width + column);
    return {interpolate_cells({p0.low, p1.low, q0.low, q1.low}, lines.weights),
            interpolate_cells({p0.high, p1.high, q0.high, q1.high}, lines.weights)};
}

}  // namespace rz_obl
