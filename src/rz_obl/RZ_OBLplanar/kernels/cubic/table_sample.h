#pragma once

#include <smmintrin.h>

#include "rz_obl/RZ_OBLplanar/kernels/cubic/gather_neighbourhood.h"
#include "rz_obl/RZ_OBLplanar/kernels/position.h"
#include "rz_obl/RZ_OBLplanar/kernels/prefetch.h"

// A cubic sample: the inner product of a neighbourhood with an entry of the weight table. `static inline`,
// since wide files include this too.

namespace rz_obl {

/// First weight of the entry for p, chosen by the top six bits of each fraction, without rounding.
static inline const short* weight_entry(const short* weights, const q18_point& p) {
    const std::int32_t fz = (p.z >> 12) & 63;
    const std::int32_t fy = (p.y >> 12) & 63;
    const std::int32_t fx = (p.x >> 12) & 63;
    return weights + ((fz << 18) | (fy << 12) | (fx << 6));
}

/// Asks for an entry and for four rows of one slice: the samples before and behind in the walk share rows and
/// ask for the other slices. corner: the first of the rows' samples.
[[gnu::always_inline]] static inline void prefetch_table_sample(const short* entry, const short* corner,
                                                                std::ptrdiff_t sourceWidth) {
    prefetch(entry);
    prefetch(entry + 32);
    for (int j = 0; j < 4; ++j) prefetch(corner + j * sourceWidth);
}

static inline std::int32_t sum_of_lanes(__m128i four) {
    const __m128i pairs =
        _mm_add_epi32(four, _mm_shuffle_epi32(four, _MM_SHUFFLE(1, 0, 3, 2)));  // 02 13 02 13
    return _mm_cvtsi128_si32(_mm_add_epi32(pairs, _mm_shuffle_epi32(pairs, _MM_SHUFFLE(2, 3, 0, 1))));
}

/// Limits a sample to the range of its neighbourhood, all taken as signed or all as unsigned 16-bit values.
static inline std::int32_t truncate_overshoot(std::int32_t sample, const __m128i buffer[8], bool isSigned) {
    const std::int32_t bias = isSigned ? 0x8000 : 0;  // orders signed values as unsigned ones
    const __m128i flip = _mm_set1_epi16(static_cast<short>(bias));
    __m128i least = _mm_xor_si128(buffer[0], flip);
    __m128i greatest = least;
    for (int i = 1; i < 8; ++i) {
        const __m128i eight = _mm_xor_si128(buffer[i], flip);
        least = _mm_min_epu16(least, eight);
        greatest = _mm_max_epu16(greatest, eight);
    }
    const __m128i ones = _mm_set1_epi16(-1);
    const std::int32_t lo = _mm_extract_epi16(_mm_minpos_epu16(least), 0) - bias;
    const std::int32_t hi =
        0xffff - _mm_extract_epi16(_mm_minpos_epu16(_mm_xor_si128(greatest, ones)), 0) - bias;
    const std::int32_t raised = sample > lo ? sample : lo;
    return raised < hi ? raised : hi;
}

/// MultiplyAdd::products(buffer, entry): the 64 products, summed into four lanes.
template <class MultiplyAdd>
static inline std::int32_t table_sample(const short* const* slices, const q18_point& p, int sourceWidth,
                                        const short* weights, bool isSigned, bool overshootClamp) {
    __m128i buffer[8];
    gather_neighbourhood_16(slices, p.x, p.y, p.z, sourceWidth, buffer);
    const std::int32_t sum = sum_of_lanes(MultiplyAdd::products(buffer, weight_entry(weights, p)));
    std::int32_t sample = wrap_add(sum, 0x2000) >> 14;
    const std::int32_t least = isSigned ? -32768 : 0;
    sample = sample > least ? sample : least;
    sample = sample < 32767 ? sample : 32767;  // required: unsigned data, too, stop here
    if (overshootClamp) sample = truncate_overshoot(sample, buffer, isSigned);
    return low16(sample);
}

}  // namespace rz_obl
