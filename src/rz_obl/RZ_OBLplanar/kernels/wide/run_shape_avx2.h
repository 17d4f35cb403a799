#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/cells_avx2.h"

// Runs that stay in one source row per plane, as those of axial and coronal pictures do, need no lane-wise
// addresses. Included by wide files only.

namespace rz_obl {

enum run_shape {
    kAnywhere,
    /// Columns move along x only, by at most two samples: four of them lie within eight adjacent samples.
    kAlongRow,
    /// Along a row by one whole sample, every fraction 0 at every plane: a sample depends on one raw sample.
    kOnGrid,
};

/// What a wide scan knows of its source and steps.
struct wide_source {
    const short* const* slices;
    int width;
    int planes;
    q18_point pixelStep;
    q18_point slabStep;
};

static inline bool whole_samples(const q18_point& step) {
    return ((step.x | step.y | step.z) & 0x3ffff) == 0;
}

/// Whether columns first to last lie in the raster, neighbours included, at this plane.
static inline bool inside_row(const wide_source& source, std::int64_t x, int columns) {
    const std::int64_t end = x + static_cast<std::int64_t>(source.pixelStep.x) * (columns - 1);
    const std::int64_t beyond = static_cast<std::int64_t>(source.width - 1) << 18;
    return x >= 0 && end >= 0 && x < beyond && end < beyond;
}

static inline run_shape shape_of_run(const wide_source& source, const q18_point& start, int columns) {
    const q18_point& step = source.pixelStep;
    if (step.y != 0 || step.z != 0 || step.x > (2 << 18) || step.x < -(2 << 18)) return kAnywhere;
    if (source.width < 8 || source.width > 32767 || source.planes < 1) return kAnywhere;
    const std::int64_t lastPlane =
        start.x + static_cast<std::int64_t>(source.slabStep.x) * (source.planes - 1);
    if (!inside_row(source, start.x, columns) || !inside_row(source, lastPlane, columns)) return kAnywhere;
    // the three lowest bits of a fraction are never used
    const bool onGrid = ((start.x | start.y | start.z) & 0x3fff8) == 0 && whole_samples(source.slabStep) &&
                        (step.x == (1 << 18) || step.x == -(1 << 18)) && columns >= 16;
    return onGrid ? kOnGrid : kAlongRow;
}

/// Where eight columns of a row lie: two groups of eight adjacent samples, and which bytes of them are the
/// pairs.
struct row_window {
    int low;
    int high;
    __m256i pairs;
};

static inline int first_of_window(int a, int b, int width) {
    const int first = a < b ? a : b;
    return first < width - 8 ? first : width - 8;  // never past the raster's end
}

static inline row_window window_of(__m256i x, int width) {
    const __m256i index = _mm256_srai_epi32(x, 18);
    const __m128i lowIndex = _mm256_castsi256_si128(index);
    const __m128i highIndex = _mm256_extracti128_si256(index, 1);
    row_window window;
    window.low = first_of_window(_mm_cvtsi128_si32(lowIndex), _mm_extract_epi32(lowIndex, 3), width);
    window.high = first_of_window(_mm_cvtsi128_si32(highIndex), _mm_extract_epi32(highIndex, 3), width);
    const __m256i first = _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_set1_epi32(window.low)),
                                                  _mm_set1_epi32(window.high), 1);
    const __m256i byte = _mm256_slli_epi32(_mm256_sub_epi32(index, first), 1);
    window.pairs = _mm256_add_epi32(_mm256_mullo_epi32(byte, _mm256_set1_epi32(0x01010101)),
                                    _mm256_set1_epi32(0x03020100));
    return window;
}

static inline __m256i pairs_of_row(const short* row, const row_window& window) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + window.low));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + window.high));
    return _mm256_shuffle_epi8(_mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1), window.pairs);
}

/// The cells of eight columns of a run along a row, at y and z.
static inline wide_cells cells_of_rows(const wide_source& source, const row_window& window, std::int32_t y,
                                       std::int32_t z) {
    const std::ptrdiff_t row = static_cast<std::ptrdiff_t>(y >> 18) * source.width;
    const short* const p = source.slices[z >> 18] + row;
    const short* const q = source.slices[static_cast<std::ptrdiff_t>(z >> 18) + 1] + row;
    return {pairs_of_row(p, window), pairs_of_row(p + source.width, window), pairs_of_row(q, window),
            pairs_of_row(q + source.width, window)};
}

// On the grid. Each stage weighs with 32767 and 0, so that a raw sample loses 1 above 0 and nothing below.

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
/// x.
static inline const short* grid_row(const wide_source& source, const q18_point& start, int done, int count,
                                    int plane) {
    const q18_point p = start + plane * source.slabStep;
    const std::ptrdiff_t x = p.x >> 18;
    const std::ptrdiff_t first = source.pixelStep.x > 0 ? x + done : x - done - count + 1;
    return source.slices[p.z >> 18] + static_cast<std::ptrdiff_t>(p.y >> 18) * source.width + first;
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
