#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

// What trilinear samples by float positions share, eight at a time. Included by wide files only.

namespace rz_obl {

static constexpr int kFloatLanes = 8;

/// Eight positions in samples.
struct wide_float_point {
    __m256 x;
    __m256 y;
    __m256 z;
};

/// A fraction, and what it lacks to 1.
struct wide_fraction {
    __m256 f;
    __m256 rest;
};

static inline wide_fraction wide_fraction_of(__m256 f) {
    return {f, _mm256_sub_ps(_mm256_set1_ps(1.0F), f)};
}

/// a x (1 - f) + b x f
static inline __m256 between(__m256 a, __m256 b, const wide_fraction& f) {
    return _mm256_add_ps(_mm256_mul_ps(a, f.rest), _mm256_mul_ps(b, f.f));
}

/// The left sample of the upper row in slices z and z + 1, of eight cells.
template <class Sample>
struct wide_places {
    const Sample* near[kFloatLanes];
    const Sample* far[kFloatLanes];
};

template <class Sample>
static inline wide_places<Sample> places_of(const Sample* const* slices, __m256i x, __m256i y, __m256i z,
                                            int width) {
    alignas(32) std::int32_t offset[kFloatLanes];
    alignas(32) std::int32_t slice[kFloatLanes];
    _mm256_store_si256(reinterpret_cast<__m256i*>(offset),
                       _mm256_add_epi32(_mm256_mullo_epi32(y, _mm256_set1_epi32(width)), x));
    _mm256_store_si256(reinterpret_cast<__m256i*>(slice), z);
    wide_places<Sample> places;
    for (int lane = 0; lane < kFloatLanes; ++lane) {
        const Sample* const* const rasters = slices + slice[lane];
        places.near[lane] = rasters[0] + offset[lane];
        places.far[lane] = rasters[1] + offset[lane];
    }
    return places;
}

/// Asks for the cache lines of eight cells.
template <class Sample>
static inline void prefetch_cells(const wide_places<Sample>& places, int width) {
    for (int lane = 0; lane < kFloatLanes; ++lane) {
        _mm_prefetch(reinterpret_cast<const char*>(places.near[lane]), _MM_HINT_T0);
        _mm_prefetch(reinterpret_cast<const char*>(places.near[lane] + width), _MM_HINT_T0);
        _mm_prefetch(reinterpret_cast<const char*>(places.far[lane]), _MM_HINT_T0);
        _mm_prefetch(reinterpret_cast<const char*>(places.far[lane] + width), _MM_HINT_T0);
    }
}

}  // namespace rz_obl
