#include <smmintrin.h>

#include <cstdint>

#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "rz_obl/rz_oblique/multi_slice_plane/combine.h"
#include "rz_obl/rz_oblique/multi_slice_plane/wide_blocks.h"

namespace {

constexpr std::int64_t kBlock = 4;

/// Four samples by their 16-bit pattern, also where they are signed: required, the mean of -1 and 1 is
/// 0x8000. Fetches eight.
__m128i widen(const short* p) {
    return _mm_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}

/// Low 16 bits of trunc(double(sum) x factor + 0.5), four samples stored.
void finish(__m128i sum, __m128d factor, short* output) {
    const __m128d half = _mm_set1_pd(0.5);
    const __m128d low = _mm_add_pd(_mm_mul_pd(_mm_cvtepi32_pd(sum), factor), half);
    const __m128i upper = _mm_unpackhi_epi64(sum, sum);
    const __m128d high = _mm_add_pd(_mm_mul_pd(_mm_cvtepi32_pd(upper), factor), half);
    const __m128i ints = _mm_unpacklo_epi64(_mm_cvttpd_epi32(low), _mm_cvttpd_epi32(high));
    const __m128i pick = _mm_set_epi8(-1, -1, -1, -1, -1, -1, -1, -1, 13, 12, 9, 8, 5, 4, 1, 0);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(output), _mm_shuffle_epi8(ints, pick));
}

/// Blocks of any width do the same unless one writes what a later one reads.
bool apart(const short* raster, const short* output, int count) {
    return raster == output || !rz_obl::overlap(raster, output, count);
}

bool apart(const std::vector<const short*>& rasters, const short* output, int count) {
    for (const short* raster : rasters) {
        if (!apart(raster, output, count)) return false;
    }
    return true;
}

}  // namespace

void rz_obl::combine_mean(const std::vector<const short*>& rasters, int count, double factor, short* output) {
    const __m128d scale = _mm_set1_pd(factor);
    const bool wide = g_cpuFeatures.hasAvx2() && apart(rasters, output, count);
    const int done = wide ? mean_blocks_avx2({rasters.data(), rasters.size()}, count, factor, output) : 0;
    for (std::int64_t i = done; i < count; i += kBlock) {
        __m128i sum = _mm_setzero_si128();
        for (const short* raster : rasters) sum = _mm_add_epi32(sum, widen(raster + i));
        finish(sum, scale, output + i);
    }
}

void rz_obl::update_mean(const short* previous, int previousCount, const std::vector<const short*>& entering,
                         const std::vector<const short*>& leaving, int count, bool isSigned, double factor,
                         short* output) {
    const __m128d scale = _mm_set1_pd(factor);
    const __m128i planes = _mm_set1_epi32(previousCount);
    const bool wide = g_cpuFeatures.hasAvx2() && apart(previous, output, count) &&
                      apart(entering, output, count) && apart(leaving, output, count);
    const int done =
        wide ? update_blocks_avx2(previous, previousCount, {entering.data(), entering.size()},
                                  {leaving.data(), leaving.size()}, count, isSigned, factor, output)
             : 0;
    for (std::int64_t i = done; i < count; i += kBlock) {
        __m128i sum = _mm_mullo_epi32(widen(previous + i), planes);
        for (const short* raster : entering) sum = _mm_add_epi32(sum, widen(raster + i));
        for (const short* raster : leaving) sum = _mm_sub_epi32(sum, widen(raster + i));
        if (!isSigned) sum = _mm_max_epi32(sum, _mm_setzero_si128());
        finish(sum, scale, output + i);
    }
}
