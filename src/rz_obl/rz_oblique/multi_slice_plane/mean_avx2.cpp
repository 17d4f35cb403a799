#include <immintrin.h>

#include <cstdint>

#include "rz_obl/rz_oblique/multi_slice_plane/wide_blocks.h"

namespace rz_obl {
namespace {

constexpr int kLanes = 16;
constexpr int kVectors = 4;
// More rasters side by side than the processor foresees by itself.
constexpr int kAhead = 4 * kVectors * kLanes;

inline __m256i load(const short* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

/// Sums of 16 samples by their 16-bit pattern. `pairs` sums two neighbours as one 32-bit number, `second`
/// the upper one alone; the lower one is what is left, since all sums wrap at 32 bits.
struct wide_sums {
    __m256i pairs;
    __m256i second;

    void add(__m256i samples) {
        pairs = _mm256_add_epi32(pairs, samples);
        second = _mm256_add_epi32(second, _mm256_srli_epi32(samples, 16));
    }
    void subtract(__m256i samples) {
        pairs = _mm256_sub_epi32(pairs, samples);
        second = _mm256_sub_epi32(second, _mm256_srli_epi32(samples, 16));
    }
    __m256i first() const { return _mm256_sub_epi32(pairs, _mm256_slli_epi32(second, 16)); }
};

/// trunc(double(sum) x factor + 0.5) of eight sums.
inline __m256i scaled(__m256i sums, __m256d factor) {
    const __m256d half = _mm256_set1_pd(0.5);
    const __m256d low = _mm256_cvtepi32_pd(_mm256_castsi256_si128(sums));
    const __m256d high = _mm256_cvtepi32_pd(_mm256_extracti128_si256(sums, 1));
    const __m128i lowInts = _mm256_cvttpd_epi32(_mm256_add_pd(_mm256_mul_pd(low, factor), half));
    const __m128i highInts = _mm256_cvttpd_epi32(_mm256_add_pd(_mm256_mul_pd(high, factor), half));
    return _mm256_set_m128i(highInts, lowInts);
}

/// The low 16 bits of each mean, in the order of the samples.
inline void finish(__m256i first, __m256i second, __m256d factor, short* output) {
    const __m256i means =
        _mm256_blend_epi16(scaled(first, factor), _mm256_slli_epi32(scaled(second, factor), 16), 0xaa);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(output), means);
}

/// kCount vectors at sample i, all rasters, in registers.
template <int kCount>
inline void mean_block(const raster_list& list, int i, __m256d factor, short* output) {
    wide_sums sums[kCount];
    for (int k = 0; k < kCount; ++k) sums[k] = {_mm256_setzero_si256(), _mm256_setzero_si256()};
    for (std::size_t r = 0; r < list.size; ++r) {
        const short* const at = list.rasters[r] + i;
        for (int k = 0; k < kCount; ++k) {
            if (k % 2 == 0)
                _mm_prefetch(reinterpret_cast<const char*>(at + k * kLanes + kAhead), _MM_HINT_T0);
            sums[k].add(load(at + k * kLanes));
        }
    }
    for (int k = 0; k < kCount; ++k) finish(sums[k].first(), sums[k].second, factor, output + i + k * kLanes);
}

}  // namespace

int mean_blocks_avx2(const raster_list& list, int count, double factor, short* output) {
    const __m256d scale = _mm256_set1_pd(factor);
    int i = 0;
    for (; count - i >= kVectors * kLanes; i += kVectors * kLanes)
        mean_block<kVectors>(list, i, scale, output);
    for (; count - i >= kLanes; i += kLanes) mean_block<1>(list, i, scale, output);
    return i;
}

int update_blocks_avx2(const short* previous, int previousCount, const raster_list& entering,
                       const raster_list& leaving, int count, bool isSigned, double factor, short* output) {
    const __m256d scale = _mm256_set1_pd(factor);
    const __m256i planes = _mm256_set1_epi32(previousCount);
    const __m256i least = _mm256_set1_epi32(isSigned ? INT32_MIN : 0);
    int i = 0;
    for (; count - i >= kLanes; i += kLanes) {
        wide_sums change{_mm256_setzero_si256(), _mm256_setzero_si256()};
        for (std::size_t r = 0; r < entering.size; ++r) change.add(load(entering.rasters[r] + i));
        for (std::size_t r = 0; r < leaving.size; ++r) change.subtract(load(leaving.rasters[r] + i));
        const __m256i before = load(previous + i);
        const __m256i firstBefore = _mm256_blend_epi16(before, _mm256_setzero_si256(), 0xaa);
        const __m256i secondBefore = _mm256_srli_epi32(before, 16);
        const __m256i first = _mm256_add_epi32(_mm256_mullo_epi32(firstBefore, planes), change.first());
        const __m256i second = _mm256_add_epi32(_mm256_mullo_epi32(secondBefore, planes), change.second);
        finish(_mm256_max_epi32(first, least), _mm256_max_epi32(second, least), scale, output + i);
    }
    return i;
}

}  // namespace rz_obl
