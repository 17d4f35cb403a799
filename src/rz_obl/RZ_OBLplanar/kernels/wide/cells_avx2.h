#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "rz_obl/RZ_OBLplanar/kernels/position.h"

// Eight trilinear samples of 16-bit rasters at once, one per 32-bit lane: the same stages, weights and
// roundings as one sample. Included by wide files only, so everything is `static inline`.

namespace rz_obl {

/// Eight Q18 positions.
struct wide_point {
    __m256i x;
    __m256i y;
    __m256i z;
};

static inline wide_point operator+(const wide_point& a, const wide_point& b) {
    return {_mm256_add_epi32(a.x, b.x), _mm256_add_epi32(a.y, b.y), _mm256_add_epi32(a.z, b.z)};
}

/// The same position in all lanes.
static inline wide_point in_all_lanes(const q18_point& p) {
    return {_mm256_set1_epi32(p.x), _mm256_set1_epi32(p.y), _mm256_set1_epi32(p.z)};
}

/// Lane-wise multiples of a step; products wrap, so that any lane stands where repeated steps would bring it.
static inline wide_point multiples(__m256i counts, const q18_point& step) {
    const wide_point s = in_all_lanes(step);
    return {_mm256_mullo_epi32(counts, s.x), _mm256_mullo_epi32(counts, s.y),
            _mm256_mullo_epi32(counts, s.z)};
}

/// 0 to 7, but no lane above count - 1: lanes past the end of a run repeat its last column.
static inline __m256i lane_numbers(int count) {
    const __m256i lanes = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    return count >= 8 ? lanes : _mm256_min_epi32(lanes, _mm256_set1_epi32(count - 1));
}

/// 16-bit factors 1, W in every lane: what makes a raster offset of the indices x, y.
static inline __m256i wide_offset_factors(int sourceWidth) {
    return _mm256_set1_epi32(
        static_cast<int>(((static_cast<std::uint32_t>(sourceWidth) & 0xffffU) << 16) | 1U));
}

/// The raw samples around eight positions: pairs (left, right) of slices p, q and rows y, y + 1.
struct wide_cells {
    __m256i p0;
    __m256i p1;
    __m256i q0;
    __m256i q1;
};

static inline int pair_at(const short* samples) {
    int pair = 0;
    std::memcpy(&pair, samples, sizeof pair);
    return pair;
}

/// Plain loads and inserts: on slabs they beat gathers, whose lanes wait for each other's cache misses.
static inline __m256i eight_pairs(const short* const at[8], std::ptrdiff_t offset) {
    __m128i low = _mm_cvtsi32_si128(pair_at(at[0] + offset));
    __m128i high = _mm_cvtsi32_si128(pair_at(at[4] + offset));
    low = _mm_insert_epi32(low, pair_at(at[1] + offset), 1);
    high = _mm_insert_epi32(high, pair_at(at[5] + offset), 1);
    low = _mm_insert_epi32(low, pair_at(at[2] + offset), 2);
    high = _mm_insert_epi32(high, pair_at(at[6] + offset), 2);
    low = _mm_insert_epi32(low, pair_at(at[3] + offset), 3);
    high = _mm_insert_epi32(high, pair_at(at[7] + offset), 3);
    return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}

static inline wide_cells gather_cells(const short* const* slices, const wide_point& position,
                                      __m256i offsetFactors, int sourceWidth) {
    const __m256i xi = _mm256_srai_epi32(position.x, 18);
    const __m256i yi = _mm256_slli_epi32(_mm256_srai_epi32(position.y, 18), 16);
    const __m256i offsets = _mm256_madd_epi16(_mm256_blend_epi16(xi, yi, 0xaa), offsetFactors);  // xi + yi W
    alignas(32) std::int32_t offset[8];
    alignas(32) std::int32_t slice[8];
    _mm256_store_si256(reinterpret_cast<__m256i*>(offset), offsets);
    _mm256_store_si256(reinterpret_cast<__m256i*>(slice), _mm256_srai_epi32(position.z, 18));
    const short* p[8];
    const short* q[8];
    for (int lane = 0; lane < 8; ++lane) {
        p[lane] = slices[slice[lane]] + offset[lane];
        q[lane] = slices[static_cast<std::ptrdiff_t>(slice[lane]) + 1] + offset[lane];
    }
    return {eight_pairs(p, 0), eight_pairs(p, sourceWidth), eight_pairs(q, 0), eight_pairs(q, sourceWidth)};
}

/// Pairs of weights (1 - f, f) of a coordinate. required: f ^ 0x7fff, so weights sum to 32767.
static inline __m256i weight_pairs(__m256i coordinate) {
    const __m256i mask = _mm256_set1_epi32(0x7fff);
    const __m256i f = _mm256_and_si256(_mm256_srli_epi32(coordinate, 3), mask);
    return _mm256_or_si256(_mm256_xor_si256(f, mask), _mm256_slli_epi32(f, 16));
}

/// One stage before its cut: a (1 - f) + b f.
static inline __m256i weigh(__m256i pairs, __m256i weights) {
    return _mm256_madd_epi16(pairs, weights);
}

/// Low 16 bits of a and of b as pairs.
static inline __m256i as_pairs(__m256i a, __m256i b) {
    return _mm256_blend_epi16(a, _mm256_slli_epi32(b, 16), 0xaa);
}

/// Two stages cut by 15 bits, as pairs for the next one. A cut stage cannot leave 16 bits, so that saturation
/// never shows and bits 15 to 30 are all of it.
static inline __m256i cut_to_pairs(__m256i a, __m256i b) {
    return _mm256_blend_epi16(_mm256_srli_epi32(a, 15), _mm256_slli_epi32(b, 1), 0xaa);
}

/// Weights of the three stages.
struct wide_weights {
    __m256i x;
    __m256i y;
    __m256i z;
};

static inline wide_weights weights_at(const wide_point& position) {
    return {weight_pairs(position.x), weight_pairs(position.y), weight_pairs(position.z)};
}

/// Eight samples, sign-extended to 32 bits. Stages x, y, z.
static inline __m256i interpolate_cells(const wide_cells& cells, const wide_weights& weights) {
    const __m256i p = weigh(cut_to_pairs(weigh(cells.p0, weights.x), weigh(cells.p1, weights.x)), weights.y);
    const __m256i q = weigh(cut_to_pairs(weigh(cells.q0, weights.x), weigh(cells.q1, weights.x)), weights.y);
    return _mm256_srai_epi32(weigh(cut_to_pairs(p, q), weights.z), 15);
}

static inline __m256i interpolate_cells(const wide_cells& cells, const wide_point& position) {
    return interpolate_cells(cells, weights_at(position));
}

}  // namespace rz_obl
