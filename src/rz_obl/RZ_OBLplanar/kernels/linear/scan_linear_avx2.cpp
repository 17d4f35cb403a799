#include "rz_obl/RZ_OBLplanar/kernels/dirty_bounds.h"
#include "rz_obl/RZ_OBLplanar/kernels/linear/scan_linear.h"
#include "rz_obl/RZ_OBLplanar/kernels/run_start.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/cells_avx2.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/row_columns_avx2.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/segments_avx2.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/unit_steps_avx2.h"

namespace rz_obl {
namespace {

constexpr int kLanes = 8;
// Blocks of eight columns by four rows, plane by plane inside a block: neighbouring rows of a steep plane
// share cache lines.
constexpr int kRows = 4;

struct linear_scan {
    wide_source source;
    __m256i offsetFactors;
    wide_point lanes;
    wide_point toNextPlane;
    __m256 count;
};

struct linear_run {
    q18_point start;
    short* output;  // of the first column
    int columns;
};

/// Means of eight sums, halves away from zero, in 32-bit lanes.
inline __m256i rounded_means(__m256i sums, __m256 count) {
    const __m256 means = _mm256_div_ps(_mm256_cvtepi32_ps(sums), count);
    const __m256 half = _mm256_or_ps(_mm256_and_ps(means, _mm256_set1_ps(-0.0F)), _mm256_set1_ps(0.5F));
    return _mm256_cvttps_epi32(_mm256_add_ps(means, half));
}

/// Stores the low 16 bits of the first `columns` lanes.
inline void store_lanes(__m256i values, int columns, short* output) {
    const __m128i pixels =
        _mm_packs_epi32(_mm256_castsi256_si128(values), _mm256_extracti128_si256(values, 1));
    if (columns >= kLanes) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(output), pixels);
        return;
    }
    alignas(16) short pixel[kLanes];
    _mm_store_si128(reinterpret_cast<__m128i*>(pixel), pixels);
    for (int lane = 0; lane < columns; ++lane) output[lane] = pixel[lane];
}

/// The mean of one plane is its sample. No plane at all, for negative slabSteps, gives 0.
inline void store_means(const linear_scan& scan, __m256i sums, int columns, short* output) {
    store_lanes(scan.source.planes == 1 ? sums : rounded_means(sums, scan.count), columns, output);
}

inline wide_point lanes_of(const linear_scan& scan, int columns) {
    return columns >= kLanes ? scan.lanes : multiples(lane_numbers(columns), scan.source.pixelStep);
}

/// Up to eight columns of each run, from column `done` on.
void draw_block(const linear_scan& scan, const linear_run* runs, int count, int done) {
    wide_point position[kRows];
    __m256i sum[kRows];
    for (int r = 0; r < count; ++r) {
        const int left = runs[r].columns - done;
        if (left <= 0) continue;
        position[r] = in_all_lanes(runs[r].start + done * scan.source.pixelStep) + lanes_of(scan, left);
        sum[r] = _mm256_setzero_si256();
    }
    for (int plane = 0; plane < scan.source.planes; ++plane) {
        for (int r = 0; r < count; ++r) {
            if (runs[r].columns <= done) continue;
            const wide_cells cells =
                gather_cells(scan.source.slices, position[r], scan.offsetFactors, scan.source.width);
            sum[r] = _mm256_add_epi32(sum[r], interpolate_cells(cells, position[r]));
            position[r] = position[r] + scan.toNextPlane;
        }
    }
    for (int r = 0; r < count; ++r) {
        const int left = runs[r].columns - done;
        if (left > 0) store_means(scan, sum[r], left, runs[r].output + done);
    }
}

void draw_anywhere(const linear_scan& scan, const linear_run* runs, int count) {
    int longest = 0;
    for (int r = 0; r < count; ++r) longest = runs[r].columns > longest ? runs[r].columns : longest;
    for (int done = 0; done < longest; done += kLanes) draw_block(scan, runs, count, done);
}

inline __m256i sample_of(const row_lines& lines, const row_columns& columns) {
    return interpolate_cells(cells_of(lines, columns), weights_of(lines, columns));
}

/// Columns `done` to done + count - 1 of a single plane.
void copy_along_row(const linear_scan& scan, const linear_run& run, int done, int count, row_chunk& chunk) {
    const row_lines lines = lines_at(scan.source, run.start);
    make_columns(scan.source, (run.start + done * scan.source.pixelStep).x, count, chunk);
    for (int b = 0; b < blocks_of(count); ++b) {
        store_lanes(sample_of(lines, chunk.blocks[b]), count - 8 * b, run.output + done + 8 * b);
    }
}

void draw_along_row(const linear_scan& scan, const linear_run& run, row_chunk& chunk) {
    const wide_source& source = scan.source;
    for (int done = 0; done < run.columns; done += kRowChunk) {
        const int left = run.columns - done;
        const int count = left < kRowChunk ? left : kRowChunk;
        if (source.planes == 1) {
            copy_along_row(scan, run, done, count, chunk);
            continue;
        }
        __m256i sums[kRowChunk / kLanes];
        for (int b = 0; b < blocks_of(count); ++b) sums[b] = _mm256_setzero_si256();
        q18_point p = run.start + done * source.pixelStep;
        for (int plane = 0; plane < source.planes; ++plane) {
            make_columns(source, p.x, count, chunk);
            const row_lines lines = lines_at(source, p);
            for (int b = 0; b < blocks_of(count); ++b) {
                sums[b] = _mm256_add_epi32(sums[b], sample_of(lines, chunk.blocks[b]));
            }
            p = p + source.slabStep;
        }
        for (int b = 0; b < blocks_of(count); ++b) {
            store_lanes(rounded_means(sums[b], scan.count), count - 8 * b, run.output + done + 8 * b);
        }
    }
}

/// Columns one sample apart, of a single plane.
void copy_unit_steps(const linear_scan& scan, const linear_run& run) {
    const unit_lines lines = unit_lines_at(scan.source, run.start);
    for (int i = 0; i < run.columns; i += 16) {
        const int block = grid_block(i, run.columns);
        store_sixteen(in_order(sixteen_samples(lines, block)), run.output + block);
    }
}

/// Columns one sample apart: see sixteen_samples. Blocks and chunks at the end of a run move back over
/// columns that are drawn already.
void draw_unit_steps(const linear_scan& scan, const linear_run& run) {
    const wide_source& source = scan.source;
    for (int done = 0; done < run.columns; done += kGridChunk) {
        const int from = grid_chunk_start(done, run.columns);
        const int count = grid_chunk_size(from, run.columns);
        short* const output = run.output + from;
        sixteen sums[kGridChunk / 16];
        for (int i = 0; i < count; i += 16) sums[i / 16] = {_mm256_setzero_si256(), _mm256_setzero_si256()};
        q18_point p = run.start + from * source.pixelStep;
        for (int plane = 0; plane < source.planes; ++plane) {
            const unit_lines lines = unit_lines_at(source, p);
            for (int i = 0; i < count; i += 16) {
                const sixteen samples = sixteen_samples(lines, grid_block(i, count));
                sums[i / 16].low = _mm256_add_epi32(sums[i / 16].low, samples.low);
                sums[i / 16].high = _mm256_add_epi32(sums[i / 16].high, samples.high);
            }
            p = p + source.slabStep;
        }
        for (int i = 0; i < count; i += 16) {
            const sixteen means = {rounded_means(sums[i / 16].low, scan.count),
                                   rounded_means(sums[i / 16].high, scan.count)};
            store_sixteen(in_order(means), output + grid_block(i, count));
        }
    }
}

/// Adds the samples of a plane, or of two, to 32-bit sums; lanes 0-3 8-11 | 4-7 12-15 of sixteen columns.
inline void add_planes(__m256i a, __m256i b, __m256i* sums) {
    const __m256i ones = _mm256_set1_epi16(1);
    sums[0] = _mm256_add_epi32(sums[0], _mm256_madd_epi16(_mm256_unpacklo_epi16(a, b), ones));
    sums[1] = _mm256_add_epi32(sums[1], _mm256_madd_epi16(_mm256_unpackhi_epi16(a, b), ones));
}

/// Sixteen means from sums in the order that add_planes leaves.
inline __m256i means_of(const linear_scan& scan, const __m256i* sums) {
    return _mm256_packs_epi32(rounded_means(sums[0], scan.count), rounded_means(sums[1], scan.count));
}

void draw_on_grid(const linear_scan& scan, const linear_run& run) {
    const wide_source& source = scan.source;
    const bool descending = source.pixelStep.x < 0;
    for (int done = 0; done < run.columns; done += kGridChunk) {
        const int from = grid_chunk_start(done, run.columns);
        const int count = grid_chunk_size(from, run.columns);
        __m256i sums[2 * kGridChunk / 16];
        for (int i = 0; i < 2 * ((count + 15) / 16); ++i) sums[i] = _mm256_setzero_si256();
        for (int plane = 0; plane < source.planes; plane += 2) {
            const bool both = plane + 1 < source.planes;
            const short* const a = grid_row(source, run.start, from, count, plane);
            const short* const b = both ? grid_row(source, run.start, from, count, plane + 1) : a;
            for (int i = 0; i < count; i += 16) {
                const int block = grid_block(i, count);
                const __m256i second = both ? grid_samples(load_sixteen(b + block)) : _mm256_setzero_si256();
                add_planes(grid_samples(load_sixteen(a + block)), second, sums + i / 8);
            }
        }
        for (int i = 0; i < count; i += 16) {
            const int block = grid_block(i, count);
            const int column = from + (descending ? count - 16 - block : block);
            const __m256i means = means_of(scan, sums + i / 8);
            store_sixteen(descending ? turned_round(means) : means, run.output + column);
        }
    }
}

/// A single plane on the grid is copied, less what the stages take.
void copy_on_grid(const linear_scan& scan, const linear_run& run) {
    const short* const row = grid_row(scan.source, run.start, 0, run.columns, 0);
    if (scan.source.pixelStep.x > 0) {
        for (int i = 0; i + 16 < run.columns; i += 16) {
            store_sixteen(grid_samples(load_sixteen(row + i)), run.output + i);
        }
        const int last = run.columns - 16;
        store_sixteen(grid_samples(load_sixteen(row + last)), run.output + last);
        return;
    }
    for (int i = 0; i < run.columns; i += 16) {
        const int block = grid_block(i, run.columns);
        const __m256i samples = grid_samples(load_sixteen(row + block));
        store_sixteen(turned_round(samples), run.output + run.columns - 16 - block);
    }
}

/// A pixel for each segment of `planes` adjacent samples.
void draw_segments(const linear_scan& scan, const linear_run& run) {
    const wide_source& source = scan.source;
    q18_point p = run.start;
    if (source.planes == 1) {
        for (int column = 0; column < run.columns; ++column) {
            run.output[column] = static_cast<short>(grid_sample(*segment_at(source, p)));
            p = p + source.pixelStep;
        }
        return;
    }
    alignas(32) std::int32_t sums[kLanes] = {};
    for (int column = 0; column < run.columns; ++column) {
        const int lane = column % kLanes;
        if (column + kSegmentsAhead < run.columns) prefetch_segment(source, p);
        sums[lane] = sum_of_segment(segment_at(source, p), source.planes);
        p = p + source.pixelStep;
        if (lane == kLanes - 1 || column == run.columns - 1) {
            const __m256i eight = _mm256_load_si256(reinterpret_cast<const __m256i*>(sums));
            store_lanes(rounded_means(eight, scan.count), lane + 1, run.output + column - lane);
        }
    }
}

}  // namespace

void scan_linear_avx2(const scan_args_16& args) {
    linear_scan scan;
    scan.source = {args.slices, args.sourceWidth, 2 * args.slabSteps + 1, q18_step(args.columnStep),
                   q18_step(args.slabStep)};
    scan.offsetFactors = wide_offset_factors(args.sourceWidth);
    scan.lanes = multiples(lane_numbers(kLanes), scan.source.pixelStep);
    scan.toNextPlane = in_all_lanes(scan.source.slabStep);
    scan.count = _mm256_set1_ps(static_cast<float>(scan.source.planes));

    dirty_bounds seen = no_rows_seen(args.rowStride);
    linear_run runs[kRows];
    int count = 0;
    row_chunk chunk;
    chunk.columns = 0;
    for (int row = 0; row < args.rowCount; ++row) {
        const int first = args.rowSpans[2 * static_cast<std::ptrdiff_t>(row)];
        const int last = args.rowSpans[2 * static_cast<std::ptrdiff_t>(row) + 1];
        if (first >= last) continue;  // required: a span of one column is skipped, too
        visit_row(seen, row, first, last);
        linear_run& run = runs[count];
        run.start = run_start(args.planeToIndex, row, first, args.slabSteps, args.slabStep);
        run.output = args.output + static_cast<std::ptrdiff_t>(row) * args.rowStride + first;
        run.columns = last - first + 1;
        switch (shape_of_run(scan.source, run.start, run.columns)) {
            case kOnGrid:
                scan.source.planes == 1 ? copy_on_grid(scan, run) : draw_on_grid(scan, run);
                break;
            case kUnitSteps:
                scan.source.planes == 1 ? copy_unit_steps(scan, run) : draw_unit_steps(scan, run);
                break;
            case kAlongRow:
                draw_along_row(scan, run, chunk);
                break;
            case kSegments:
                draw_segments(scan, run);
                break;
            case kAnywhere:
                if (++count == kRows) {
                    draw_anywhere(scan, runs, count);
                    count = 0;
                }
        }
    }
    draw_anywhere(scan, runs, count);
    merge_bounds(seen, args.firstRow, args.lastRow, args.firstColumn, args.lastColumn);
}

}  // namespace rz_obl
