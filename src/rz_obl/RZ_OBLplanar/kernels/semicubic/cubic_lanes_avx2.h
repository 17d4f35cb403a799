#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/semicubic/cubic_poly.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/cells_avx2.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/eight_octets_avx2.h"

// The polynomial of cubic_poly.h for eight quads at once, one per 32-bit lane. A quad lies in two registers
// of 16-bit pairs. Included by wide files only.

namespace rz_obl {

/// p0 p1 and p2 p3 of eight quads, or their weights.
struct wide_quads {
    __m256i p01;
    __m256i p23;
};

/// The same 16-bit pair in every lane.
static inline __m256i pair_in_all_lanes(int low, int high) {
    return _mm256_set1_epi32(static_cast<int>(((static_cast<std::uint32_t>(high) & 0xffffU) << 16) |
                                              (static_cast<std::uint32_t>(low) & 0xffffU)));
}

static inline __m256i weighted_powers(__m256i t1, __m256i t2, __m256i t3, __m256i atZero, __m256i linear,
                                      __m256i square, __m256i cube) {
    return _mm256_add_epi16(_mm256_add_epi16(atZero, _mm256_mullo_epi16(t1, linear)),
                            _mm256_add_epi16(_mm256_mullo_epi16(t2, square), _mm256_mullo_epi16(t3, cube)));
}

/// By the 15-bit fractions of eight coordinates. The two middle ones are less kMiddleWeight.
static inline wide_quads wide_catmull_rom_weights(__m256i coordinate) {
    const __m256i once = _mm256_and_si256(_mm256_srli_epi32(coordinate, 3), _mm256_set1_epi32(0x7fff));
    const __m256i f = _mm256_or_si256(once, _mm256_slli_epi32(once, 16));
    const __m256i t1 = _mm256_srli_epi16(f, 1);
    const __m256i t2 = _mm256_slli_epi16(_mm256_mulhi_epu16(t1, f), 1);
    const __m256i t3 = _mm256_slli_epi16(_mm256_mulhi_epu16(t2, f), 1);
    const int m = kMiddleWeight;
    return {weighted_powers(t1, t2, t3, pair_in_all_lanes(0, m), pair_in_all_lanes(-1, 0),
                            pair_in_all_lanes(2, -5), pair_in_all_lanes(-1, 3)),
            weighted_powers(t1, t2, t3, pair_in_all_lanes(-m, 0), pair_in_all_lanes(1, 0),
                            pair_in_all_lanes(4, -1), pair_in_all_lanes(-3, 1))};
}

/// The polynomial of eight quads in 32-bit lanes, rounded toward minus infinity.
static inline __m256i wide_cubic_poly(const wide_quads& quads, const wide_quads& weights) {
    const int m = kMiddleWeight;
    const __m256i middle = _mm256_add_epi32(_mm256_madd_epi16(quads.p01, pair_in_all_lanes(0, m)),
                                            _mm256_madd_epi16(quads.p23, pair_in_all_lanes(m, 0)));
    const __m256i rest = _mm256_add_epi32(_mm256_madd_epi16(quads.p01, weights.p01),
                                          _mm256_madd_epi16(quads.p23, weights.p23));
    return _mm256_srai_epi32(_mm256_add_epi32(middle, rest), 15);
}

/// 32-bit lanes of a and b, saturated to 16 bits, as pairs.
static inline __m256i saturated_pairs(__m256i a, __m256i b) {
    const __m256i pairs =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15));
    return _mm256_shuffle_epi8(_mm256_packs_epi32(a, b), pairs);  // a0-3 b0-3 | a4-7 b4-7
}

/// The results of a first stage as the quads of the second.
static inline wide_quads saturated_quads(const __m256i stage[4]) {
    return {saturated_pairs(stage[0], stage[1]), saturated_pairs(stage[2], stage[3])};
}

/// Four adjacent samples in each of eight places.
static inline wide_quads read_eight_quads(const short* const at[8], std::ptrdiff_t offset) {
    const wide_octets octets = eight_octets(at, offset);
    return {octets.low, octets.high};
}

/// Between a and b, `part` units from a. Double holds every product and sum exactly, so only the truncation
/// toward zero shows.
static inline __m128i blend_four(__m128i a, __m128i b, __m128i part, double unit) {
    const __m256d g = _mm256_mul_pd(_mm256_cvtepi32_pd(part), _mm256_set1_pd(unit));
    const __m256d fromB = _mm256_mul_pd(_mm256_cvtepi32_pd(b), g);
    const __m256d fromA = _mm256_mul_pd(_mm256_cvtepi32_pd(a), _mm256_sub_pd(_mm256_set1_pd(1.0), g));
    return _mm256_cvttpd_epi32(_mm256_add_pd(fromB, fromA));
}

static inline __m256i wide_blend(__m256i a, __m256i b, __m256i part, double unit) {
    const __m128i low =
        blend_four(_mm256_castsi256_si128(a), _mm256_castsi256_si128(b), _mm256_castsi256_si128(part), unit);
    const __m128i high = blend_four(_mm256_extracti128_si256(a, 1), _mm256_extracti128_si256(b, 1),
                                    _mm256_extracti128_si256(part, 1), unit);
    return _mm256_set_m128i(high, low);
}

/// By the whole fraction of a Q18 coordinate.
static inline __m256i wide_blend_18(__m256i a, __m256i b, __m256i coordinate) {
    const __m256i part = _mm256_and_si256(coordinate, _mm256_set1_epi32(0x3ffff));
    return wide_blend(a, b, part, 3.814697265625e-06);
}

/// By its upper 15 bits.
static inline __m256i wide_blend_15(__m256i a, __m256i b, __m256i coordinate) {
    const __m256i part = _mm256_and_si256(_mm256_srli_epi32(coordinate, 3), _mm256_set1_epi32(0x7fff));
    return wide_blend(a, b, part, 3.0517578125e-05);
}

}  // namespace rz_obl
