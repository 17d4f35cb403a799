#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/dirty_bounds.h"
#include "rz_obl/RZ_OBLplanar/kernels/run_start.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/cells_avx2.h"

// Rows of a maximum or minimum in groups, since wide kernels draw several rows at once. Included by wide
// files only.

namespace rz_obl {

/// One row's run. Columns are counted as sampled: in the fast mode every second one.
struct wide_run {
    q18_point start;
    short* output;  // of the first column
    int first;
    int columns;
    int lastColumn;
};

/// What tells the two reductions apart for the row walk.
struct wide_reduction {
    /// Draws up to eight runs.
    void (*draw)(const void* scan, const wide_run* runs, int count);
    const void* scan;
    int runsAtOnce;
    void (*fillColumns)(short* row, int first, int last);
    void (*fillRows)(int first, int last, int left, int right, int rowStride, short* output);
};

static constexpr int kMostRunsAtOnce = 8;

static inline void flush_runs(const wide_reduction& reduction, const wide_run* runs, int count, bool fast) {
    if (count == 0) return;
    reduction.draw(reduction.scan, runs, count);
    if (!fast) return;
    for (int r = 0; r < count; ++r) {
        reduction.fillColumns(runs[r].output - runs[r].first, runs[r].first, runs[r].lastColumn);
    }
}

static inline void walk_wide_rows(const scan_args_16& args, bool fast, const wide_reduction& reduction) {
    int rowAdvance = fast ? 2 : 1;
    dirty_bounds seen = no_rows_seen(args.rowStride);
    wide_run runs[kMostRunsAtOnce];
    int count = 0;
    for (int row = 0; row < args.rowCount; row += rowAdvance) {
        if (row + 2 == args.rowCount) rowAdvance = 1;  // the last row is always sampled
        const int first = args.rowSpans[2 * static_cast<std::ptrdiff_t>(row)];
        const int last = args.rowSpans[2 * static_cast<std::ptrdiff_t>(row) + 1];
        if (first >= last) continue;  // required: a span of one column is skipped, too
        visit_row(seen, row, first, last);
        wide_run& run = runs[count];
        run.start = run_start(args.planeToIndex, row, first, args.slabSteps, args.slabStep);
        run.output = args.output + static_cast<std::ptrdiff_t>(row) * args.rowStride + first;
        run.first = first;
        run.columns = fast ? (last - first + 2) / 2 : last - first + 1;
        run.lastColumn = last;
        if (++count == reduction.runsAtOnce) {
            flush_runs(reduction, runs, count, fast);
            count = 0;
        }
    }
    flush_runs(reduction, runs, count, fast);
    if (fast) {
        reduction.fillRows(first_row_candidate(seen), seen.lastSeen, seen.leastColumn, seen.greatestColumn,
                           args.rowStride, args.output);
    }
    merge_bounds(seen, args.firstRow, args.lastRow, args.firstColumn, args.lastColumn);
}

/// required: the fast mode doubles the caller's step in place, also if no row is visited.
static inline void double_wide_step(int columnStep[3]) {
    for (int axis = 0; axis < 3; ++axis) columnStep[axis] = wrap_mul(2, columnStep[axis]);
}

/// From one pixel to the next. The pixel-major walk steps back by n planes, which only shows where it went
/// none forward: for a count of planes that is not positive.
static inline q18_point wide_pixel_step(const scan_args_16& args, int planes, bool pixelMajor) {
    const q18_point step = q18_step(args.columnStep);
    return pixelMajor && planes <= 0 ? step - planes * q18_step(args.slabStep) : step;
}

/// Eight pixels, `stride` samples apart, sign-extended; lanes past `columns` repeat the last one.
static inline __m256i load_pixels(const short* output, int columns, int stride) {
    if (stride == 1 && columns >= 8) {
        return _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(output)));
    }
    alignas(32) std::int32_t pixel[8];
    for (int lane = 0; lane < 8; ++lane) pixel[lane] = output[(lane < columns ? lane : columns - 1) * stride];
    return _mm256_load_si256(reinterpret_cast<const __m256i*>(pixel));
}

static inline void store_pixels(__m256i values, short* output, int columns, int stride) {
    const __m128i pixels =
        _mm_packs_epi32(_mm256_castsi256_si128(values), _mm256_extracti128_si256(values, 1));
    if (stride == 1 && columns >= 8) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(output), pixels);
        return;
    }
    alignas(16) short pixel[8];
    _mm_store_si128(reinterpret_cast<__m128i*>(pixel), pixels);
    for (int lane = 0; lane < 8 && lane < columns; ++lane) output[lane * stride] = pixel[lane];
}

/// A 32-bit lane's value in both of its 16-bit halves.
static inline __m256i in_both_halves(__m256i values) {
    return _mm256_blend_epi16(values, _mm256_slli_epi32(values, 16), 0xaa);
}

}  // namespace rz_obl
