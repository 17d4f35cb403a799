#include "rz_obl/RZ_OBLplanar/kernels/max_min/scan_max_min.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/row_columns_avx2.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/run_walk_avx2.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/segments_avx2.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/unit_steps_avx2.h"

// A maximum depends neither on the order of planes nor on the memory of the last winner: a sample never
// exceeds its greatest neighbour, but for raw samples of -32768, which give -32767 and so lose to any seed.
// So planes are simply compared, and a block whose raw samples all lie below what is there is not
// interpolated.

namespace rz_obl {
namespace {

constexpr int kLanes = 8;
constexpr int kRows = 4;

struct maximum_scan {
    wide_source source;  // at least one plane: for a count that is not positive the seed's
    int stride;          // columns from one sampled column to the next
    __m256i offsetFactors;
    wide_point lanes;
    wide_point toNextPlane;
    row_chunk* chunk;
};

inline __m256i greatest_raw(const wide_cells& c) {
    return _mm256_max_epi16(_mm256_max_epi16(c.p0, c.p1), _mm256_max_epi16(c.q0, c.q1));
}

/// Whether some raw sample lies above what its column has.
inline bool may_improve(__m256i best, const wide_cells& cells) {
    const __m256i beyond = _mm256_cmpgt_epi16(greatest_raw(cells), in_both_halves(best));
    return _mm256_testz_si256(beyond, beyond) == 0;
}

inline wide_point lanes_of(const maximum_scan& scan, int columns) {
    return columns >= kLanes ? scan.lanes : multiples(lane_numbers(columns), scan.source.pixelStep);
}

inline short* pixel_at(const maximum_scan& scan, const wide_run& run, int column) {
    return run.output + static_cast<std::ptrdiff_t>(column) * scan.stride;
}

/// Up to eight sampled columns of each run, from column `done` on.
void draw_block(const maximum_scan& scan, const wide_run* const* runs, int count, int done) {
    wide_point position[kRows];
    __m256i best[kRows];
    for (int r = 0; r < count; ++r) {
        const int left = runs[r]->columns - done;
        if (left <= 0) continue;
        position[r] = in_all_lanes(runs[r]->start + done * scan.source.pixelStep) + lanes_of(scan, left);
        best[r] = load_pixels(pixel_at(scan, *runs[r], done), left, scan.stride);
    }
    for (int plane = 0; plane < scan.source.planes; ++plane) {
        for (int r = 0; r < count; ++r) {
            if (runs[r]->columns <= done) continue;
            const wide_cells cells =
                gather_cells(scan.source.slices, position[r], scan.offsetFactors, scan.source.width);
            if (may_improve(best[r], cells)) {
                best[r] = _mm256_max_epi32(best[r], interpolate_cells(cells, position[r]));
            }
            position[r] = position[r] + scan.toNextPlane;
        }
    }
    for (int r = 0; r < count; ++r) {
        const int left = runs[r]->columns - done;
        if (left > 0) store_pixels(best[r], pixel_at(scan, *runs[r], done), left, scan.stride);
    }
}

void draw_anywhere(const maximum_scan& scan, const wide_run* const* runs, int count) {
    int longest = 0;
    for (int r = 0; r < count; ++r) longest = runs[r]->columns > longest ? runs[r]->columns : longest;
    for (int done = 0; done < longest; done += kLanes) draw_block(scan, runs, count, done);
}

void draw_along_row(const maximum_scan& scan, const wide_run& run, row_chunk& chunk) {
    const wide_source& source = scan.source;
    for (int done = 0; done < run.columns; done += kRowChunk) {
        const int left = run.columns - done;
        const int count = left < kRowChunk ? left : kRowChunk;
        __m256i best[kRowChunk / kLanes];
        for (int b = 0; b < blocks_of(count); ++b) {
            best[b] = load_pixels(pixel_at(scan, run, done + 8 * b), count - 8 * b, scan.stride);
        }
        q18_point p = run.start + done * source.pixelStep;
        for (int plane = 0; plane < source.planes; ++plane) {
            make_columns(source, p.x, count, chunk);
            const row_lines lines = lines_at(source, p);
            for (int b = 0; b < blocks_of(count); ++b) {
                const wide_cells cells = cells_of(lines, chunk.blocks[b]);
                if (!may_improve(best[b], cells)) continue;
                const wide_weights weights = weights_of(lines, chunk.blocks[b]);
                best[b] = _mm256_max_epi32(best[b], interpolate_cells(cells, weights));
            }
            p = p + source.slabStep;
        }
        for (int b = 0; b < blocks_of(count); ++b) {
            store_pixels(best[b], pixel_at(scan, run, done + 8 * b), count - 8 * b, scan.stride);
        }
    }
}

/// Columns one sample apart; blocks and chunks at the end of a run may be drawn twice.
void draw_unit_steps(const maximum_scan& scan, const wide_run& run) {
    const wide_source& source = scan.source;
    for (int done = 0; done < run.columns; done += kGridChunk) {
        const int from = grid_chunk_start(done, run.columns);
        const int count = grid_chunk_size(from, run.columns);
        __m256i best[kGridChunk / 16];
        for (int i = 0; i < count; i += 16)
            best[i / 16] = load_sixteen(run.output + from + grid_block(i, count));
        q18_point p = run.start + from * source.pixelStep;
        for (int plane = 0; plane < source.planes; ++plane) {
            const unit_lines lines = unit_lines_at(source, p);
            for (int i = 0; i < count; i += 16) {
                const __m256i samples = in_order(sixteen_samples(lines, grid_block(i, count)));
                best[i / 16] = _mm256_max_epi16(best[i / 16], samples);
            }
            p = p + source.slabStep;
        }
        for (int i = 0; i < count; i += 16)
            store_sixteen(best[i / 16], run.output + from + grid_block(i, count));
    }
}

/// The sample of the greatest raw one of each segment of `planes` adjacent samples.
void draw_segments(const maximum_scan& scan, const wide_run& run) {
    q18_point p = run.start;
    for (int column = 0; column < run.columns; ++column) {
        if (column + kSegmentsAhead < run.columns) prefetch_segment(scan.source, p);
        const int sample = grid_sample(greatest_of_segment(segment_at(scan.source, p), scan.source.planes));
        short* const pixel = pixel_at(scan, run, column);
        if (*pixel < sample) *pixel = static_cast<short>(sample);
        p = p + scan.source.pixelStep;
    }
}

/// The greatest raw samples of `count` columns over all planes, four planes at a time.
void greatest_of_planes(const wide_source& source, const q18_point& start, int from, int count,
                        __m256i* greatest) {
    for (int i = 0; i < (count + 15) / 16; ++i) greatest[i] = _mm256_set1_epi16(-32768);
    for (int plane = 0; plane < source.planes; plane += 4) {
        const short* rows[4];
        for (int k = 0; k < 4; ++k) {
            const int own = plane + k < source.planes ? plane + k : source.planes - 1;
            rows[k] = grid_row(source, start, from, count, own);
        }
        for (int i = 0; i < count; i += 16) {
            const int block = grid_block(i, count);
            const __m256i a = _mm256_max_epi16(load_sixteen(rows[0] + block), load_sixteen(rows[1] + block));
            const __m256i b = _mm256_max_epi16(load_sixteen(rows[2] + block), load_sixteen(rows[3] + block));
            greatest[i / 16] = _mm256_max_epi16(greatest[i / 16], _mm256_max_epi16(a, b));
        }
    }
}

/// On the grid a sample is a rising function of one raw sample: it is worked out once, of the greatest.
void draw_on_grid(const maximum_scan& scan, const wide_run& run) {
    const wide_source& source = scan.source;
    const bool descending = source.pixelStep.x < 0;
    for (int done = 0; done < run.columns; done += kGridChunk) {
        const int from = grid_chunk_start(done, run.columns);
        const int count = grid_chunk_size(from, run.columns);
        __m256i greatest[kGridChunk / 16];
        greatest_of_planes(source, run.start, from, count, greatest);
        for (int i = 0; i < count; i += 16) {
            const int block = grid_block(i, count);
            const int column = from + (descending ? count - 16 - block : block);
            __m256i pixels = grid_samples(greatest[i / 16]);
            if (descending) pixels = turned_round(pixels);
            short* const output = run.output + column;
            store_sixteen(_mm256_max_epi16(pixels, load_sixteen(output)), output);
        }
    }
}

void draw_runs(const void* opaque, const wide_run* runs, int count) {
    const maximum_scan& scan = *static_cast<const maximum_scan*>(opaque);
    const wide_run* anywhere[kRows];
    int rows = 0;
    for (int r = 0; r < count; ++r) {
        switch (shape_of_run(scan.source, runs[r].start, runs[r].columns)) {
            case kOnGrid:
                if (scan.stride == 1) {
                    draw_on_grid(scan, runs[r]);
                    break;
                }
                draw_along_row(scan, runs[r], *scan.chunk);
                break;
            case kUnitSteps:
                if (scan.stride == 1) {
                    draw_unit_steps(scan, runs[r]);
                    break;
                }
                draw_along_row(scan, runs[r], *scan.chunk);
                break;
            case kAlongRow:
                draw_along_row(scan, runs[r], *scan.chunk);
                break;
            case kSegments:
                draw_segments(scan, runs[r]);
                break;
            case kAnywhere:
                anywhere[rows++] = &runs[r];
        }
    }
    draw_anywhere(scan, anywhere, rows);
}

void scan_max(const scan_args_16& args, bool fast, bool pixelMajor) {
    if (fast) double_wide_step(args.columnStep);
    const int planes = wrap_add(wrap_mul(2, args.slabSteps), 1);
    maximum_scan scan;
    scan.source = {args.slices, args.sourceWidth, planes > 0 ? planes : 1,
                   wide_pixel_step(args, planes, pixelMajor), q18_step(args.slabStep)};
    scan.stride = fast ? 2 : 1;
    scan.offsetFactors = wide_offset_factors(args.sourceWidth);
    scan.lanes = multiples(lane_numbers(kLanes), scan.source.pixelStep);
    scan.toNextPlane = in_all_lanes(scan.source.slabStep);
    row_chunk chunk;
    chunk.columns = 0;
    scan.chunk = &chunk;
    walk_wide_rows(args, fast, {draw_runs, &scan, kRows, fill_columns_max, fill_rows_max});
}

}  // namespace

void scan_max_plane_major_avx2(const scan_args_16& args, bool fast) {
    scan_max(args, fast, false);
}

void scan_max_pixel_major_avx2(const scan_args_16& args, bool fast) {
    scan_max(args, fast, true);
}

}  // namespace rz_obl
