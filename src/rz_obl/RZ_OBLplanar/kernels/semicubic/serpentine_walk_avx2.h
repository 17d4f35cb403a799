#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/dirty_bounds.h"
#include "rz_obl/RZ_OBLplanar/kernels/semicubic/cubic_lanes_avx2.h"
#include "rz_obl/RZ_OBLplanar/kernels/semicubic/serpentine_run.h"

// The walk of serpentine_walk.h for eight columns at once. Steps and sums wrap exactly, so that the walk to
// and fro through the slab visits the planes that a walk always forward visits: each lane does its own
// column, in any order. Included by wide files only.

namespace rz_obl {

static constexpr int kColumns = 8;
// Blocks of eight columns by four rows, plane by plane inside a block: neighbouring rows share cache lines.
static constexpr int kRuns = 4;

struct serpentine_scan {
    const short* const* slices;
    std::ptrdiff_t width;
    __m256i beyondX;  // the least index without a neighbourhood
    __m256i beyondY;
    __m256i widths;
    __m256i readableEnd;
    __m256i offsetFactors;
    std::int32_t planes;
    q18_point pixelStep;
    wide_point lanes;
    wide_point toNextPlane;
    wide_point toNextBlock;
    bool crossesRows;  // within a run; along a row the processor foresees what is read
    __m256d count;
    __m256i least;
    __m256i greatest;
};

struct serpentine_row {
    q18_point start;
    short* output;  // of the first column
    int columns;
};

static inline __m256i index_of(__m256i coordinate) {
    return _mm256_srai_epi32(coordinate, 18);
}

/// Lanes that have a neighbourhood in x and y: xi in [1, W - 3], yi in [1, T - 3]. z is not tested, the guard
/// slices serve.
static inline __m256i lanes_inside(const serpentine_scan& scan, __m256i xi, __m256i yi) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i above = _mm256_and_si256(_mm256_cmpgt_epi32(xi, zero), _mm256_cmpgt_epi32(yi, zero));
    const __m256i below =
        _mm256_and_si256(_mm256_cmpgt_epi32(scan.beyondX, xi), _mm256_cmpgt_epi32(scan.beyondY, yi));
    return _mm256_and_si256(above, below);
}

/// Where eight neighbourhoods lie.
struct eight_places {
    alignas(32) std::int32_t offset[kColumns];  // of sample (xi, yi)
    alignas(32) std::int32_t slice[kColumns];
};

static inline eight_places places_of(const serpentine_scan& scan, const wide_point& position) {
    eight_places places;
    const __m256i xi = index_of(position.x);
    const __m256i yi = _mm256_slli_epi32(index_of(position.y), 16);
    const __m256i offsets =
        _mm256_madd_epi16(_mm256_blend_epi16(xi, yi, 0xaa), scan.offsetFactors);  // xi + yi W
    _mm256_store_si256(reinterpret_cast<__m256i*>(places.offset), offsets);
    _mm256_store_si256(reinterpret_cast<__m256i*>(places.slice), index_of(position.z));
    return places;
}

/// Addresses in slice zi + k, `from` samples from sample (xi, yi).
static inline void addresses(const serpentine_scan& scan, const eight_places& places, int k,
                             std::ptrdiff_t from, const short* at[kColumns]) {
    for (int lane = 0; lane < kColumns; ++lane) {
        const std::ptrdiff_t slice = places.slice[lane];
        at[lane] = scan.slices[slice + k] + (places.offset[lane] + from);
    }
}

/// Cubic along x, then y, in slice zi + k.
static inline __m256i plane_along_xy(const serpentine_scan& scan, const eight_places& places, int k,
                                     const wide_quads& wx, const wide_quads& wy) {
    const short* at[kColumns];
    addresses(scan, places, k, -scan.width - 1, at);
    __m256i rows[4];
    for (int j = 0; j < 4; ++j) rows[j] = wide_cubic_poly(read_eight_quads(at, j * scan.width), wx);
    return wide_cubic_poly(saturated_quads(rows), wy);
}

/// Slices and rows of a neighbourhood, from zi and yi.
struct cubic_reach {
    int firstSlice;
    int lastSlice;
    int firstRow;
    int lastRow;
};

/// The position of lane `from` in all lanes that the mask leaves out.
static inline __m256i moved_inside(__m256i coordinate, __m256i from, __m256i inside) {
    return _mm256_blendv_epi8(_mm256_permutevar8x32_epi32(coordinate, from), coordinate, inside);
}

template <class Sampler>
static inline __m256i lanes_with_plane(const serpentine_scan& scan, const wide_point& position) {
    const __m256i xi = index_of(position.x);
    const __m256i yi = index_of(position.y);
    return _mm256_and_si256(lanes_inside(scan, xi, yi), Sampler::readable(scan, xi, yi));
}

/// One plane of eight columns. A lane that is dropped gives 0 and reads where another one reads.
template <class Sampler>
static inline __m256i plane_of_lanes(const serpentine_scan& scan, const wide_point& position) {
    const __m256i inside = lanes_with_plane<Sampler>(scan, position);
    const int lanes = _mm256_movemask_ps(_mm256_castsi256_ps(inside));
    if (lanes == 0xff) return Sampler::sample(scan, position);
    if (lanes == 0) return _mm256_setzero_si256();
    const __m256i from = _mm256_set1_epi32(__builtin_ctz(static_cast<unsigned>(lanes)));
    const wide_point readable = {moved_inside(position.x, from, inside),
                                 moved_inside(position.y, from, inside),
                                 moved_inside(position.z, from, inside)};
    return _mm256_and_si256(Sampler::sample(scan, readable), inside);
}

/// sum / planes, toward zero. A double keeps a quotient of 32 by 17 bits away from the next integer.
static inline __m128i four_quotients(__m128i sums, __m256d count) {
    return _mm256_cvttpd_epi32(_mm256_div_pd(_mm256_cvtepi32_pd(sums), count));
}

/// required: divided by all planes, dropped ones as well.
static inline __m256i means_of(const serpentine_scan& scan, __m256i sums) {
    if (scan.planes != 1) {
        sums = _mm256_set_m128i(four_quotients(_mm256_extracti128_si256(sums, 1), scan.count),
                                four_quotients(_mm256_castsi256_si128(sums), scan.count));
    }
    return _mm256_max_epi32(_mm256_min_epi32(sums, scan.greatest), scan.least);
}

/// Stores the low 16 bits of the first `columns` lanes.
static inline void store_low_halves(__m256i values, int columns, short* output) {
    const __m256i low = _mm256_and_si256(values, _mm256_set1_epi32(0xffff));
    const __m128i pixels = _mm_packus_epi32(_mm256_castsi256_si128(low), _mm256_extracti128_si256(low, 1));
    if (columns >= kColumns) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(output), pixels);
        return;
    }
    alignas(16) short pixel[kColumns];
    _mm_store_si128(reinterpret_cast<__m128i*>(pixel), pixels);
    for (int lane = 0; lane < columns; ++lane) output[lane] = pixel[lane];
}

/// Asks for the cache lines of a plane, by every other column. Nothing if a column has no neighbourhood,
/// since its slice may not exist.
template <class Sampler>
static inline void prefetch_plane(const serpentine_scan& scan, const wide_point& position) {
    const __m256i inside = lanes_with_plane<Sampler>(scan, position);
    if (_mm256_movemask_ps(_mm256_castsi256_ps(inside)) != 0xff) return;
    const eight_places places = places_of(scan, position);
    constexpr cubic_reach r = Sampler::kReach;
    for (int lane = 0; lane < kColumns; lane += 2) {
        const short* const* const slices = scan.slices + places.slice[lane];
        for (int k = r.firstSlice; k <= r.lastSlice; ++k) {
            const short* const at = slices[k] + places.offset[lane];
            for (int j = r.firstRow; j <= r.lastRow; ++j)
                _mm_prefetch(reinterpret_cast<const char*>(at + j * scan.width), _MM_HINT_T0);
        }
    }
}

/// Up to eight columns of each run, from column `done` on.
template <class Sampler>
static inline void draw_block(const serpentine_scan& scan, const serpentine_row* runs, int count, int done) {
    wide_point position[kRuns];
    __m256i sum[kRuns];
    for (int r = 0; r < count; ++r) {
        const int left = runs[r].columns - done;
        if (left <= 0) continue;
        const wide_point lanes =
            left >= kColumns ? scan.lanes : multiples(lane_numbers(left), scan.pixelStep);
        position[r] = in_all_lanes(runs[r].start + done * scan.pixelStep) + lanes;
        sum[r] = _mm256_setzero_si256();
    }
    for (std::int32_t plane = 0; plane < scan.planes; ++plane) {
        // the next block's lines, all at once: their misses overlap, where those of the samples wait in turn
        for (int r = 0; r < count; ++r) {
            if (scan.crossesRows && runs[r].columns - done >= 2 * kColumns)
                prefetch_plane<Sampler>(scan, position[r] + scan.toNextBlock);
        }
        for (int r = 0; r < count; ++r) {
            if (runs[r].columns <= done) continue;
            sum[r] = _mm256_add_epi32(sum[r], plane_of_lanes<Sampler>(scan, position[r]));
            position[r] = position[r] + scan.toNextPlane;
        }
    }
    for (int r = 0; r < count; ++r) {
        const int left = runs[r].columns - done;
        if (left > 0) store_low_halves(means_of(scan, sum[r]), left, runs[r].output + done);
    }
}

template <class Sampler>
static inline void draw_runs(const serpentine_scan& scan, const serpentine_row* runs, int count) {
    int longest = 0;
    for (int r = 0; r < count; ++r) longest = runs[r].columns > longest ? runs[r].columns : longest;
    for (int done = 0; done < longest; done += kColumns) draw_block<Sampler>(scan, runs, count, done);
}

static inline serpentine_scan make_scan(const scan_args_16& args) {
    const mean_range range = range_of_depth(args.isSigned, args.bitDepth);
    serpentine_scan scan;
    scan.slices = args.slices;
    scan.width = args.sourceWidth;
    scan.beyondX = _mm256_set1_epi32(wrap_sub(args.sourceWidth, 2));
    scan.beyondY = _mm256_set1_epi32(wrap_sub(args.sourceHeight, 2));
    scan.widths = _mm256_set1_epi32(args.sourceWidth);
    scan.readableEnd = _mm256_set1_epi32(wrap_sub(wrap_mul(args.sourceWidth, args.sourceHeight), 8));
    scan.offsetFactors = wide_offset_factors(args.sourceWidth);
    scan.planes = planes_of_slab(args.slabSteps);
    scan.pixelStep = q18_step(args.columnStep);
    scan.lanes = multiples(lane_numbers(kColumns), scan.pixelStep);
    scan.toNextPlane = in_all_lanes(q18_step(args.slabStep));
    scan.toNextBlock = in_all_lanes(kColumns * scan.pixelStep);
    scan.crossesRows = (scan.pixelStep.y | scan.pixelStep.z) != 0;
    scan.count = _mm256_set1_pd(static_cast<double>(scan.planes));
    scan.least = _mm256_set1_epi32(range.least);
    scan.greatest = _mm256_set1_epi32(range.greatest);
    return scan;
}

/// Walks all runs. Sampler: kReach, which lines to ask for; readable(scan, xi, yi), a plane test beside the
/// interior; sample(scan, position), one plane of eight columns that have their neighbourhoods.
template <class Sampler>
static inline void scan_serpentine_wide(const scan_args_16& args) {
    const serpentine_scan scan = make_scan(args);
    dirty_bounds seen = no_rows_seen(args.rowStride);
    serpentine_row runs[kRuns];
    int count = 0;
    for (int row = 0; row < args.rowCount; ++row) {
        const int first = args.rowSpans[2 * static_cast<std::ptrdiff_t>(row)];
        const int last = args.rowSpans[2 * static_cast<std::ptrdiff_t>(row) + 1];
        if (first >= last) continue;  // required: a span of one column is skipped, too
        visit_row(seen, row, first, last);
        runs[count].start = serpentine_start(args, row, first);
        runs[count].output = args.output + static_cast<std::ptrdiff_t>(row) * args.rowStride + first;
        runs[count].columns = last - first + 1;
        if (++count == kRuns) {
            draw_runs<Sampler>(scan, runs, count);
            count = 0;
        }
    }
    draw_runs<Sampler>(scan, runs, count);
    merge_bounds(seen, args.firstRow, args.lastRow, args.firstColumn, args.lastColumn);
}

}  // namespace rz_obl
