#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/prefetch.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/grid_rows_avx2.h"

// Pixels that depend on adjacent raw samples of a row, one for each plane, as those of sagittal pictures on
// the grid do. Included by wide files only.

namespace rz_obl {

/// What the three stages leave of a raw sample.
static inline int grid_sample(int raw) {
    const int less = raw - 3;
    const int notAbove = raw < 0 ? raw : 0;
    const int sample = less > notAbove ? less : notAbove;
    return sample > -32767 ? sample : -32767;
}

/// The first plane's sample.
static inline const short* segment_at(const wide_source& source, const q18_point& p) {
    return source.slices[p.z >> 18] + static_cast<std::ptrdiff_t>(p.y >> 18) * source.width + (p.x >> 18);
}

/// Each segment lies in cache lines of its own, so that a walk waits for memory at every pixel: asks for what
/// the pixel this many columns ahead will read.
static constexpr int kSegmentsAhead = 24;

[[gnu::always_inline]] static inline void prefetch_segment(const wide_source& source, const q18_point& p) {
    const short* const segment = segment_at(source, p + kSegmentsAhead * source.pixelStep);
    prefetch(segment);
    prefetch(segment + source.planes - 1);
}

static inline int greatest_lane(__m256i values) {
    const __m128i half = _mm_max_epi16(_mm256_castsi256_si128(values), _mm256_extracti128_si256(values, 1));
    // as unsigned numbers the other way round, for the one instruction that finds a least lane
    const __m128i turned = _mm_xor_si128(half, _mm_set1_epi16(0x7fff));
    return static_cast<short>(_mm_extract_epi16(_mm_minpos_epu16(turned), 0) ^ 0x7fff);
}

static inline int greatest_of_segment(const short* segment, int count) {
    if (count < 16) {
        int greatest = segment[0];
        for (int i = 1; i < count; ++i) greatest = segment[i] > greatest ? segment[i] : greatest;
        return greatest;
    }
    __m256i greatest = load_sixteen(segment + count - 16);
    for (int i = 0; i + 16 < count; i += 16) greatest = _mm256_max_epi16(greatest, load_sixteen(segment + i));
    return greatest_lane(greatest);
}

static inline int sum_of_lanes(__m256i sums) {
    __m128i half = _mm_add_epi32(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
    half = _mm_add_epi32(half, _mm_shuffle_epi32(half, 0x4e));
    return _mm_cvtsi128_si32(_mm_add_epi32(half, _mm_shuffle_epi32(half, 0xb1)));
}

/// The sum of what the stages leave.
static inline int sum_of_segment(const short* segment, int count) {
    if (count < 16) {
        int sum = 0;
        for (int i = 0; i < count; ++i) sum += grid_sample(segment[i]);
        return sum;
    }
    const __m256i ones = _mm256_set1_epi16(1);
    // the last sixteen, less those that the blocks before them add
    const __m256i lane = _mm256_setr_epi16(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    const __m256i added = _mm256_set1_epi16(static_cast<short>(15 - (count - 1) % 16));
    const __m256i last = _mm256_andnot_si256(_mm256_cmpgt_epi16(added, lane),
                                             grid_samples(load_sixteen(segment + count - 16)));
    __m256i sums = _mm256_madd_epi16(last, ones);
    for (int i = 0; i + 16 < count; i += 16) {
        sums = _mm256_add_epi32(sums, _mm256_madd_epi16(grid_samples(load_sixteen(segment + i)), ones));
    }
    return sum_of_lanes(sums);
}

}  // namespace rz_obl
