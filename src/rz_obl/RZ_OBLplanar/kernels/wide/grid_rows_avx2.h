#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/wide/run_shape_avx2.h"

// Runs on the grid. Each stage weighs with 32767 and 0, so that a raw sample loses 1 above 0 and nothing
// below. Included by wide files only.

namespace rz_obl {

/// What the three stages leave of sixteen raw samples: a - 3 above 3, 0 from 0 to 3, a below, -32767 for
/// -32768.
static inline __m256i grid_samples(__m256i raw) {
    const __m256i less = _mm256_subs_epi16(raw, _mm256_set1_epi16(3));
    const __m256i notAbove = _mm256_min_epi16(raw, _mm256_setzero_si256());
    return _mm256_max_epi16(_mm256_max_epi16(less, notAbove), _mm256_set1_epi16(-32767));
}

static inline __m256i load_sixteen(const short* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

static inline void store_sixteen(__m256i pixels, short* p) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), pixels);
}

/// Sixteen samples last to first, for runs that go down in x.
static inline __m256i turned_round(__m256i pixels) {
    const __m256i turn =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1));
    return _mm256_permute4x64_epi64(_mm256_shuffle_epi8(pixels, turn), 0x4e);
}

/// Raw samples of columns `done` to done + count - 1 of a run on the grid, at a plane, in ascending order of
/// x; or those of the slices above it.
static inline const short* grid_row(const wide_source& source, const q18_point& start, int done, int count,
                                    int plane, std::ptrdiff_t slicesAbove = 0) {
    const q18_point p = start + plane * source.slabStep;
    const std::ptrdiff_t x = p.x >> 18;
    const std::ptrdiff_t first = source.pixelStep.x > 0 ? x + done : x - done - count + 1;
    return source.slices[(p.z >> 18) + slicesAbove] + static_cast<std::ptrdiff_t>(p.y >> 18) * source.width +
           first;
}

/// Columns of a run on the grid that are drawn at once; what is collected of them stays in the first-level
/// cache.
static constexpr int kGridChunk = 512;

/// The next chunk from column `done` on. The last one of a run moves back over columns that are drawn
/// already, so that it has at least sixteen.
static inline int grid_chunk_start(int done, int columns) {
    return columns - done < 16 ? columns - 16 : done;
}

static inline int grid_chunk_size(int start, int columns) {
    return columns - start < kGridChunk ? columns - start : kGridChunk;
}

/// First sample of a block of sixteen; the last block moves back over samples that are done already.
static inline int grid_block(int i, int count) {
    return i + 16 <= count ? i : count - 16;
}

}  // namespace rz_obl
