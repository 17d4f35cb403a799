#pragma once

#include <smmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "rz_obl/RZ_OBLplanar/kernels/position.h"

// One trilinear sample of 16-bit rasters in 15-bit fixed point, as two stages: the eight raw samples, then
// their interpolation. Positions are registers of four 32-bit lanes in Q18: x y z 0.

namespace rz_obl {

static inline __m128i position_lanes(const q18_point& p) {
    return _mm_set_epi32(0, p.z, p.y, p.x);
}

/// 16-bit factors 1, W, 0, 0 | 0: what makes a raster offset of the indices x, y. W is cut to 16 bits.
static inline __m128i offset_factors(int sourceWidth) {
    return _mm_cvtsi32_si128(static_cast<int>((static_cast<std::uint32_t>(sourceWidth) << 16) | 1U));
}

/// Two neighbouring samples; unaligned.
static inline int read_pair(const short* samples) {
    int pair = 0;
    std::memcpy(&pair, samples, sizeof pair);
    return pair;
}

/// The samples around a position, by slice p, q and row y, y+1; a left, b right.
/// 16-bit lanes: p,y: a b  p,y+1: a b  q,y: a b  q,y+1: a b
static inline __m128i gather_cell(const short* const* slices, __m128i position, __m128i offsetFactors,
                                  int sourceWidth) {
    const __m128i index = _mm_srai_epi32(position, 18);  // xi yi zi 0, 14 bits each
    const __m128i products = _mm_madd_epi16(_mm_packs_epi32(index, index), offsetFactors);  // xi + yi W | 0
    const std::ptrdiff_t upper = _mm_cvtsi128_si32(products);
    const std::ptrdiff_t lower = upper + sourceWidth;
    const short* const* const slice = slices + _mm_extract_epi32(index, 2);
    const short* const p = slice[0];
    const short* const q = slice[1];
    __m128i cell = _mm_cvtsi32_si128(read_pair(p + upper));
    cell = _mm_insert_epi32(cell, read_pair(p + lower), 1);
    cell = _mm_insert_epi32(cell, read_pair(q + upper), 2);
    return _mm_insert_epi32(cell, read_pair(q + lower), 3);
}

/// The sample at a position from its cell. Stages x, y, z, each rounded toward minus infinity.
static inline std::int32_t interpolate_cell(__m128i cell, __m128i position) {
    const __m128i mask = _mm_set1_epi32(0x7fff);
    const __m128i f = _mm_and_si128(_mm_srli_epi32(position, 3), mask);  // fx fy fz, 15 bits
    // required: f ^ 0x7fff, so weights sum to 32767 and a constant 1000 comes out as 997
    const __m128i weights = _mm_or_si128(_mm_xor_si128(f, mask), _mm_slli_epi32(f, 16));  // pairs (1 - f, f)
    const __m128i x4 = _mm_srai_epi32(_mm_madd_epi16(cell, _mm_shuffle_epi32(weights, 0x00)), 15);
    const __m128i rows = _mm_packs_epi32(x4, x4);  // p,y  p,y+1  q,y  q,y+1 | again
    const __m128i y2 = _mm_srai_epi32(_mm_madd_epi16(rows, _mm_shuffle_epi32(weights, 0x55)), 15);
    const __m128i pq = _mm_packs_epi32(y2, y2);  // p q p q | again
    const __m128i z = _mm_srai_epi32(_mm_madd_epi16(pq, _mm_shuffle_epi32(weights, 0xaa)), 15);
    return static_cast<std::int16_t>(_mm_cvtsi128_si32(z));  // cannot leave 16 bits
}

}  // namespace rz_obl
