#pragma once

#include <smmintrin.h>

#include <cstddef>

#include "rz_obl/RZ_OBLplanar/kernels/max_min/rules.h"

// What the fast mode did not sample: averages of the neighbours, first along a row, then between rows.

namespace rz_obl {

/// Columns first + 1, first + 3, ... between two sampled ones. A last column of odd distance keeps its
/// content.
template <class Rule>
static inline void fill_columns(short* row, int first, int last) {
    int previous = row[first];
    for (int column = first + 2; column <= last; column += 2) {
        const int next = row[column];
        const int average = (previous + next) / 2;
        if (replaces<Rule>(average, row[column - 1])) row[column - 1] = static_cast<short>(average);
        previous = next;
    }
}

/// One row of `width` samples between two others. required: halved before the sum, so 3 and 3 give 2.
template <class Rule>
static inline void fill_row(const short* above, const short* below, short* row, int width) {
    int column = 0;
    for (; column + 8 <= width; column += 8) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(above + column));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(below + column));
        __m128i* const out = reinterpret_cast<__m128i*>(row + column);
        __m128i middle = _mm_add_epi16(_mm_srai_epi16(a, 1), _mm_srai_epi16(b, 1));
        if (Rule::kKeepsPrevious) middle = _mm_max_epi16(middle, _mm_loadu_si128(out));
        _mm_storeu_si128(out, middle);
    }
    for (; column < width; ++column) {
        const int middle = (above[column] >> 1) + (below[column] >> 1);
        if (replaces<Rule>(middle, row[column])) row[column] = static_cast<short>(middle);
    }
}

/// The rows first + 1, first + 3, ... of the rectangle, spans or not. required: the column `right` is left
/// out.
template <class Rule>
static inline void fill_rows(int first, int last, int left, int right, int rowStride, short* output) {
    const int end = last / 2 * 2;
    for (int row = first; row < end; row += 2) {
        short* const above = output + static_cast<std::ptrdiff_t>(row) * rowStride + left;
        fill_row<Rule>(above, above + 2 * static_cast<std::ptrdiff_t>(rowStride), above + rowStride,
                       right - left);
    }
}

}  // namespace rz_obl
