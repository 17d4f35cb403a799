#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/dirty_bounds.h"
#include "rz_obl/RZ_OBLplanar/kernels/run_start.h"
#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/float_cells_avx2.h"

// Scans whose steps add up in float: a column's position hangs on all columns before it, so that lanes are
// eight rows, each with its own run. Every lane does its run's additions in the run's order. Included by wide
// files only.

namespace rz_obl {

static inline wide_float_point operator+(const wide_float_point& a, const wide_float_point& b) {
    return {_mm256_add_ps(a.x, b.x), _mm256_add_ps(a.y, b.y), _mm256_add_ps(a.z, b.z)};
}

static inline wide_float_point in_all_float_lanes(const float_point& p) {
    return {_mm256_set1_ps(p.x), _mm256_set1_ps(p.y), _mm256_set1_ps(p.z)};
}

/// b in the lanes of the mask, else a.
static inline wide_float_point chosen(const wide_float_point& a, const wide_float_point& b, __m256i mask) {
    const __m256 m = _mm256_castsi256_ps(mask);
    return {_mm256_blendv_ps(a.x, b.x, m), _mm256_blendv_ps(a.y, b.y, m), _mm256_blendv_ps(a.z, b.z, m)};
}

/// sums / count in single precision, to nearest with halves away from zero.
static inline __m256i wide_rounded_means(__m256i sums, __m256 count) {
    const __m256 means = _mm256_div_ps(_mm256_cvtepi32_ps(sums), count);
    const __m256 half = _mm256_or_ps(_mm256_and_ps(means, _mm256_set1_ps(-0.0F)), _mm256_set1_ps(0.5F));
    return _mm256_cvttps_epi32(_mm256_add_ps(means, half));
}

template <class Sample>
struct float_run {
    float_point start;
    Sample* output;  // of the first column
    int columns;
};

/// How the runs of a scan go on.
struct float_walk {
    int planes;
    wide_float_point toNextPlane;
    wide_float_point toNextPixel;  // from behind the last plane
    bool crossesRows;              // within a run; along a row the processor foresees what is read
};

template <class Sample>
static inline float_walk float_walk_of(const scan_args<Sample, float>& args) {
    const int planes = 2 * args.slabSteps + 1;
    const float_point slabStep = float_step(args.slabStep);
    const float_point toNextPixel = float_step(args.columnStep) - static_cast<float>(planes) * slabStep;
    return {planes, in_all_float_lanes(slabStep), in_all_float_lanes(toNextPixel),
            args.columnStep[1] != 0.0F || args.columnStep[2] != 0.0F};
}

/// Where eight runs stand. A lane whose run has ended stays on its last column and reads it again.
struct float_columns {
    wide_float_point first;  // the first plane of the column
    int column;
};

static inline void advance(float_columns& at, const wide_float_point& pastPlanes, const float_walk& walk,
                           __m256i ends) {
    ++at.column;
    at.first = chosen(at.first, pastPlanes + walk.toNextPixel,
                      _mm256_cmpgt_epi32(ends, _mm256_set1_epi32(at.column)));
}

/// Columns whose cache lines are asked for at once: their misses overlap, where those of the samples wait in
/// turn.
static constexpr int kColumnsAhead = 4;

/// Goes on by kColumnsAhead columns, taking every step of the scan so that it reads no slice but the scan's,
/// and asks for the lines of every other column.
template <class Kernel>
static inline void look_ahead(const Kernel& kernel, const float_walk& walk, __m256i ends, float_columns& at) {
    for (int i = 0; i < kColumnsAhead; ++i) {
        wide_float_point p = at.first;
        for (int plane = 0; plane < walk.planes; ++plane) {
            if (i % 2 == 0) kernel.prefetch(p);
            p = p + walk.toNextPlane;
        }
        advance(at, p, walk, ends);
    }
}

/// Up to eight runs, column by column.
template <class Kernel, class Sample>
static inline void draw_float_runs(const Kernel& kernel, const float_walk& walk,
                                   const float_run<Sample>* runs, int count) {
    alignas(32) float start[3][kFloatLanes];
    alignas(32) std::int32_t columns[kFloatLanes];
    int longest = 0;
    for (int lane = 0; lane < kFloatLanes; ++lane) {
        const float_run<Sample>& run = runs[lane < count ? lane : 0];
        start[0][lane] = run.start.x;
        start[1][lane] = run.start.y;
        start[2][lane] = run.start.z;
        columns[lane] = run.columns;
        longest = run.columns > longest ? run.columns : longest;
    }
    const __m256i ends = _mm256_load_si256(reinterpret_cast<const __m256i*>(columns));
    float_columns at = {{_mm256_load_ps(start[0]), _mm256_load_ps(start[1]), _mm256_load_ps(start[2])}, 0};
    float_columns ahead = at;
    if (walk.crossesRows) look_ahead(kernel, walk, ends, ahead);
    while (at.column < longest) {
        if (walk.crossesRows && at.column % kColumnsAhead == 0) look_ahead(kernel, walk, ends, ahead);
        typename Kernel::Planes planes = kernel.none();
        wide_float_point p = at.first;
        for (int plane = 0; plane < walk.planes; ++plane) {
            kernel.add(planes, p);
            p = p + walk.toNextPlane;
        }
        alignas(32) std::int32_t values[kFloatLanes];
        _mm256_store_si256(reinterpret_cast<__m256i*>(values), kernel.pixels(planes));
        for (int r = 0; r < count; ++r) {
            if (at.column < runs[r].columns) runs[r].output[at.column] = static_cast<Sample>(values[r]);
        }
        advance(at, p, walk, ends);
    }
}

/// Walks all runs. Kernel: `Planes none() const`, `void add(Planes&, const wide_float_point&) const`,
/// `__m256i pixels(const Planes&) const`, which gives the stored samples in their lanes' low bits, and
/// `void prefetch(const wide_float_point&) const`. start(row, column) -> float_point.
template <class Kernel, class Sample, class Start>
static inline void scan_float_runs(const scan_args<Sample, float>& args, const Kernel& kernel, Start start) {
    const float_walk walk = float_walk_of(args);
    dirty_bounds seen = no_rows_seen(args.rowStride);
    float_run<Sample> runs[kFloatLanes];
    int count = 0;
    for (int row = 0; row < args.rowCount; ++row) {
        const int first = args.rowSpans[2 * static_cast<std::ptrdiff_t>(row)];
        const int last = args.rowSpans[2 * static_cast<std::ptrdiff_t>(row) + 1];
        if (first >= last) continue;  // required: a span of one column is skipped, too
        visit_row(seen, row, first, last);
        runs[count].start = start(row, first);
        runs[count].output = args.output + static_cast<std::ptrdiff_t>(row) * args.rowStride + first;
        runs[count].columns = last - first + 1;
        if (++count == kFloatLanes) {
            draw_float_runs(kernel, walk, runs, count);
            count = 0;
        }
    }
    if (count > 0) draw_float_runs(kernel, walk, runs, count);
    merge_bounds(seen, args.firstRow, args.lastRow, args.firstColumn, args.lastColumn);
}

}  // namespace rz_obl
