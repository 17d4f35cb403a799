#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "rz_obl/RZ_OBLplanar/kernels/position.h"

// Catmull-Rom through four 16-bit values p0 to p3 in fixed point, at a 15-bit fraction f between p1 and p2:
// ((c0 t0) >> 1) + c1 t1 + c2 t2 + c3 t3, shifted right by 15. c0 to c3 are sums of the four values; t1, t2,
// t3 are f and its powers, cut at each step. The sum fits 32 bits, so it is collected by value instead: four
// weights, made once for all quads that share f. Cutting the powers leaves weights that differ from the true
// ones by a few units, but they always add up to 32768.

namespace rz_obl {

/// Fractions of a position, 15 bits in 32-bit lanes: fx fy fz 0.
static inline __m128i fractions_15(__m128i position) {
    return _mm_and_si128(_mm_srli_epi32(position, 3), _mm_set1_epi32(0x7fff));
}

/// pshufb pattern that turns fractions_15 into 16-bit lanes: four times axis a, four times axis b.
static inline __m128i pick_axes(int a, int b) {
    const int pairOfA = 0x01000100 + a * 0x04040404;
    const int pairOfB = 0x01000100 + b * 0x04040404;
    return _mm_set_epi32(pairOfB, pairOfB, pairOfA, pairOfA);
}

/// What the two middle weights lack in catmull_rom_weights: whole, they reach 32771.
static constexpr short kMiddleWeight = 16384;

/// Weights of p0 p1 p2 p3 | p0 p1 p2 p3 for the fractions in the lower and in the upper four 16-bit lanes.
/// The middle two are less kMiddleWeight: [-16386, 16387].
static inline __m128i catmull_rom_weights(__m128i f) {
    const __m128i t1 = _mm_srli_epi16(f, 1);
    const __m128i t2 = _mm_slli_epi16(_mm_mulhi_epu16(t1, f), 1);
    const __m128i t3 = _mm_slli_epi16(_mm_mulhi_epu16(t2, f), 1);
    const __m128i linear = _mm_mullo_epi16(t1, _mm_setr_epi16(-1, 0, 1, 0, -1, 0, 1, 0));
    const __m128i square = _mm_mullo_epi16(t2, _mm_setr_epi16(2, -5, 4, -1, 2, -5, 4, -1));
    const __m128i cube = _mm_mullo_epi16(t3, _mm_setr_epi16(-1, 3, -3, 1, -1, 3, -3, 1));
    const short m = kMiddleWeight;
    const __m128i atZero = _mm_setr_epi16(0, m, -m, 0, 0, m, -m, 0);  // 0 32768 0 0, less m in the middle
    return _mm_add_epi16(_mm_add_epi16(atZero, linear), _mm_add_epi16(square, cube));
}

/// 32-bit sums of p0, p1 and of p2, p3 for two quads: 01 23 | 01 23.
static inline __m128i weighted_pairs(__m128i quads, __m128i weights) {
    const short m = kMiddleWeight;
    const __m128i middle = _mm_setr_epi16(0, m, m, 0, 0, m, m, 0);
    return _mm_add_epi32(_mm_madd_epi16(quads, weights), _mm_madd_epi16(quads, middle));
}

/// The polynomial of four quads, two in a register, in 32-bit lanes: ab0 ab1 cd0 cd1. Rounded toward minus
/// infinity.
static inline __m128i cubic_poly(__m128i ab, __m128i cd, __m128i weights) {
    return _mm_srai_epi32(_mm_hadd_epi32(weighted_pairs(ab, weights), weighted_pairs(cd, weights)), 15);
}

/// The same of two quads: ab0 ab1 ab0 ab1.
static inline __m128i cubic_poly(__m128i ab, __m128i weights) {
    const __m128i pairs = weighted_pairs(ab, weights);
    return _mm_srai_epi32(_mm_hadd_epi32(pairs, pairs), 15);
}

/// Weights in the lower four lanes, twice; and those in the upper four.
static inline __m128i lower_twice(__m128i weights) {
    return _mm_unpacklo_epi64(weights, weights);
}

static inline __m128i upper_twice(__m128i weights) {
    return _mm_unpackhi_epi64(weights, weights);
}

/// Four adjacent samples at a and four at b: a0 a1 a2 a3 | b0 b1 b2 b3.
static inline __m128i read_quads(const short* a, const short* b) {
    return _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(a)),
                              _mm_loadl_epi64(reinterpret_cast<const __m128i*>(b)));
}

}  // namespace rz_obl
