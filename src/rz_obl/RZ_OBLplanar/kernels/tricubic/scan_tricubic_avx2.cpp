#include "rz_obl/RZ_OBLplanar/kernels/semicubic/serpentine_walk_avx2.h"
#include "rz_obl/RZ_OBLplanar/kernels/tricubic/scan_tricubic.h"

namespace rz_obl {
namespace {

/// Weighted sums of p0 to p3 in 32-bit lanes.
inline __m256i coefficient(const wide_quads& p, int w0, int w1, int w2, int w3) {
    return _mm256_add_epi32(_mm256_madd_epi16(p.p01, pair_in_all_lanes(w0, w1)),
                            _mm256_madd_epi16(p.p23, pair_in_all_lanes(w2, w3)));
}

/// required: each product wraps and is rounded down by itself, so samples beyond some 5400 may wrap; the sum
/// does not repair it.
inline __m256i term(__m256i coefficient, __m256i power) {
    return _mm256_srai_epi32(_mm256_mullo_epi32(coefficient, power), 16);
}

/// (a x b >> 16) << 1, of at most 15 bits each.
inline __m256i next_power(__m256i a, __m256i b) {
    return _mm256_slli_epi32(_mm256_srli_epi32(_mm256_mullo_epi32(a, b), 16), 1);
}

/// Powers of the fraction at a scale of 2^15, the lowest bit of the first one lost.
inline __m256i wide_cubic_by_terms(const wide_quads& p, __m256i coordinate) {
    const __m256i f = _mm256_and_si256(_mm256_srli_epi32(coordinate, 3), _mm256_set1_epi32(0x7fff));
    const __m256i square = next_power(f, f);
    const __m256i cube = next_power(square, f);
    const __m256i constant = term(coefficient(p, 0, 2, 0, 0), _mm256_set1_epi32(0x8000));
    const __m256i linear = term(coefficient(p, -1, 0, 1, 0), _mm256_and_si256(f, _mm256_set1_epi32(0x7ffe)));
    const __m256i rest = _mm256_add_epi32(term(coefficient(p, 2, -5, 4, -1), square),
                                          term(coefficient(p, -1, 3, -3, 1), cube));
    return _mm256_add_epi32(_mm256_add_epi32(constant, linear), rest);
}

/// Cubic along x, y and z over four slices.
struct AllCubic {
    static constexpr cubic_reach kReach = {-1, 2, -1, 2};

    static __m256i readable(const serpentine_scan&, __m256i, __m256i) { return _mm256_set1_epi32(-1); }

    static __m256i sample(const serpentine_scan& scan, const wide_point& position) {
        const eight_places places = places_of(scan, position);
        const wide_quads wx = wide_catmull_rom_weights(position.x);
        const wide_quads wy = wide_catmull_rom_weights(position.y);
        __m256i planes[4];
        for (int k = 0; k < 4; ++k) planes[k] = plane_along_xy(scan, places, k - 1, wx, wy);
        return wide_cubic_by_terms(saturated_quads(planes), position.z);
    }
};

}  // namespace

void scan_tricubic_avx2(const scan_args_16& args) {
    scan_serpentine_wide<AllCubic>(args);
}

}  // namespace rz_obl
