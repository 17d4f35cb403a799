#pragma once

#include <immintrin.h>

#include <cstddef>

// Eight bytes from each of eight places. Included by wide files only.

namespace rz_obl {

/// The first and the last four of the eight bytes, in 32-bit lanes.
struct wide_octets {
    __m256i low;
    __m256i high;
};

template <class Sample>
static inline __m128i two_octets(const Sample* a, const Sample* b) {
    return _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(a)),
                              _mm_loadl_epi64(reinterpret_cast<const __m128i*>(b)));
}

/// From at[0] + offset to at[7] + offset, by plain loads.
template <class Sample>
static inline wide_octets eight_octets(const Sample* const at[8], std::ptrdiff_t offset) {
    const __m256i a = _mm256_set_m128i(two_octets(at[4] + offset, at[5] + offset),
                                       two_octets(at[0] + offset, at[1] + offset));  // 0 1 | 4 5
    const __m256i b = _mm256_set_m128i(two_octets(at[6] + offset, at[7] + offset),
                                       two_octets(at[2] + offset, at[3] + offset));  // 2 3 | 6 7
    const __m256 af = _mm256_castsi256_ps(a);
    const __m256 bf = _mm256_castsi256_ps(b);
    return {_mm256_castps_si256(_mm256_shuffle_ps(af, bf, 0x88)),
            _mm256_castps_si256(_mm256_shuffle_ps(af, bf, 0xdd))};
}

}  // namespace rz_obl
