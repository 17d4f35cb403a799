#include "rz_obl/RZ_OBLplanar/kernels/max_min/scan_max_min.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/row_columns_avx2.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/run_walk_avx2.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/segments_avx2.h"

// A minimum depends on the order of its planes, on the raw test and on the winner memory: through the
// downward bias of a sample the test may drop a plane that would win. So each lane keeps the exact rule of
// one state: of one column where planes go outside columns, of one row where they go inside.

namespace rz_obl {
namespace {

constexpr int kLanes = 8;
/// One winner for each column that a signed 16-bit span can name.
constexpr int kMostColumns = 32768;

struct minimum_scan {
    wide_source source;
    int stride;
    __m256i offsetFactors;
    wide_point toNextPlane;
    short* winners;    // plane-major: by column
    row_chunk* chunk;  // the same
};

/// required: winners are 16-bit numbers.
inline int winner_of(int plane) {
    return low16(plane);
}

/// Lanes where some raw sample lies below the current value.
inline __m256i any_raw_below(const wide_cells& c, __m256i current) {
    const __m256i least = _mm256_min_epi16(_mm256_min_epi16(c.p0, c.p1), _mm256_min_epi16(c.q0, c.q1));
    const __m256i below = _mm256_cmpgt_epi16(in_both_halves(current), least);
    return _mm256_xor_si256(_mm256_cmpeq_epi32(below, _mm256_setzero_si256()), _mm256_set1_epi32(-1));
}

inline __m256i seed(const minimum_scan& scan, const wide_point& start, __m256i winners) {
    const wide_source& source = scan.source;
    const __m256i steps = _mm256_sub_epi32(_mm256_set1_epi32(source.planes), winners);
    const wide_point at = start + multiples(steps, source.slabStep);
    return interpolate_cells(gather_cells(source.slices, at, scan.offsetFactors, source.width), at);
}

/// Eight states and one plane. skipWinner: a plane that is the memory's is not looked at.
inline void look_at_plane(const wide_cells& cells, const wide_weights& weights, int plane, bool skipWinner,
                          __m256i& current, __m256i& winners) {
    __m256i take = any_raw_below(cells, current);
    if (skipWinner) {
        take = _mm256_andnot_si256(_mm256_cmpeq_epi32(winners, _mm256_set1_epi32(plane)), take);
    }
    if (_mm256_testz_si256(take, take) != 0) return;
    const __m256i sample = interpolate_cells(cells, weights);
    take = _mm256_and_si256(take, _mm256_cmpgt_epi32(current, sample));
    current = _mm256_blendv_epi8(current, sample, take);
    winners = _mm256_blendv_epi8(winners, _mm256_set1_epi32(winner_of(plane)), take);
}

/// All planes, the first one first.
inline void scan_planes(const minimum_scan& scan, wide_point position, bool skipWinner, __m256i& current,
                        __m256i& winners) {
    for (int plane = scan.source.planes; plane >= 1; --plane) {
        const wide_cells cells =
            gather_cells(scan.source.slices, position, scan.offsetFactors, scan.source.width);
        look_at_plane(cells, weights_at(position), plane, skipWinner, current, winners);
        position = position + scan.toNextPlane;
    }
}

/// The eight columns from `column` on, or what is left of them: their first plane, values and memories.
struct eight_columns {
    wide_point start;
    short* output;
    short* memory;
    int left;
};

inline eight_columns columns_at(const minimum_scan& scan, const wide_run& run, int column) {
    const int left = run.columns - column;
    const std::ptrdiff_t offset = static_cast<std::ptrdiff_t>(column) * scan.stride;
    const q18_point& step = scan.source.pixelStep;
    return {in_all_lanes(run.start + column * step) + multiples(lane_numbers(left), step),
            run.output + offset, scan.winners + run.first + offset, left};
}

void draw_anywhere(const minimum_scan& scan, const wide_run& run) {
    for (int done = 0; done < run.columns; done += kLanes) {
        const eight_columns at = columns_at(scan, run, done);
        __m256i winners = load_pixels(at.memory, at.left, scan.stride);
        __m256i current = seed(scan, at.start, winners);
        scan_planes(scan, at.start, true, current, winners);
        store_pixels(current, at.output, at.left, scan.stride);
        store_pixels(winners, at.memory, at.left, scan.stride);
    }
}

void draw_along_row(const minimum_scan& scan, const wide_run& run) {
    const wide_source& source = scan.source;
    row_chunk& chunk = *scan.chunk;
    for (int done = 0; done < run.columns; done += kRowChunk) {
        const int left = run.columns - done;
        const int count = left < kRowChunk ? left : kRowChunk;
        __m256i current[kRowChunk / kLanes];
        __m256i winners[kRowChunk / kLanes];
        for (int b = 0; b < blocks_of(count); ++b) {
            const eight_columns at = columns_at(scan, run, done + kLanes * b);
            winners[b] = load_pixels(at.memory, at.left, scan.stride);
            current[b] = seed(scan, at.start, winners[b]);
        }
        q18_point p = run.start + done * source.pixelStep;
        for (int plane = source.planes; plane >= 1; --plane) {
            make_columns(source, p.x, count, chunk);
            const row_lines lines = lines_at(source, p);
            for (int b = 0; b < blocks_of(count); ++b) {
                const row_columns& columns = chunk.blocks[b];
                look_at_plane(cells_of(lines, columns), weights_of(lines, columns), plane, true, current[b],
                              winners[b]);
            }
            p = p + source.slabStep;
        }
        for (int b = 0; b < blocks_of(count); ++b) {
            const eight_columns at = columns_at(scan, run, done + kLanes * b);
            store_pixels(current[b], at.output, at.left, scan.stride);
            store_pixels(winners[b], at.memory, at.left, scan.stride);
        }
    }
}

/// Seeds of sixteen columns on the grid, from the planes that their memories name.
inline __m256i grid_seeds(const minimum_scan& scan, const wide_run& run, int from, int count, int block,
                          __m256i winners) {
    alignas(32) short winner[16];
    alignas(32) short raw[16];
    _mm256_store_si256(reinterpret_cast<__m256i*>(winner), winners);
    for (int lane = 0; lane < 16; ++lane) {
        const int plane = scan.source.planes - winner[lane];
        raw[lane] = grid_row(scan.source, run.start, from, count, plane)[block + lane];
    }
    return grid_samples(_mm256_load_si256(reinterpret_cast<const __m256i*>(raw)));
}

inline __m256i least_of_two(const short* samples) {
    return _mm256_min_epi16(load_sixteen(samples), load_sixteen(samples + 1));
}

/// The least of the raw samples around sixteen positions on the grid.
inline __m256i least_raw(const short* p, const short* q, int width) {
    return _mm256_min_epi16(_mm256_min_epi16(least_of_two(p), least_of_two(p + width)),
                            _mm256_min_epi16(least_of_two(q), least_of_two(q + width)));
}

/// Sixteen states and one plane. The memory's own plane gave the value, so that it cannot win.
inline void look_at_grid(const short* p, const short* q, int width, int plane, __m256i& current,
                         __m256i& winners) {
    const __m256i sample = grid_samples(load_sixteen(p));
    // some raw sample and the sample itself must lie below
    const __m256i bound = _mm256_max_epi16(least_raw(p, q, width), sample);
    const __m256i take = _mm256_cmpgt_epi16(current, bound);
    current = _mm256_blendv_epi8(current, sample, take);
    winners = _mm256_blendv_epi8(winners, _mm256_set1_epi16(static_cast<short>(winner_of(plane))), take);
}

/// Columns of a run on the grid, sixteen at a time. Unlike sums and maxima, minima must not be drawn twice:
/// the second time would start from other memories. So chunks do not overlap, and blocks only until they are
/// stored.
void draw_on_grid(const minimum_scan& scan, const wide_run& run) {
    const wide_source& source = scan.source;
    const bool descending = source.pixelStep.x < 0;
    int count = 0;
    for (int done = 0; done < run.columns; done += count) {
        const int left = run.columns - done;
        count = left <= kGridChunk ? left : left < kGridChunk + 16 ? kGridChunk - 16 : kGridChunk;
        __m256i current[kGridChunk / 16];
        __m256i winners[kGridChunk / 16];
        const auto column_of = [&](int block) { return done + (descending ? count - 16 - block : block); };
        for (int i = 0; i < count; i += 16) {
            const int block = grid_block(i, count);
            const __m256i memory = load_sixteen(scan.winners + run.first + column_of(block));
            winners[i / 16] = descending ? turned_round(memory) : memory;
            current[i / 16] = grid_seeds(scan, run, done, count, block, winners[i / 16]);
        }
        for (int plane = source.planes; plane >= 1; --plane) {
            const int steps = source.planes - plane;
            const short* const p = grid_row(source, run.start, done, count, steps);
            const short* const q = grid_row(source, run.start, done, count, steps, 1);
            for (int i = 0; i < count; i += 16) {
                const int block = grid_block(i, count);
                look_at_grid(p + block, q + block, source.width, plane, current[i / 16], winners[i / 16]);
            }
        }
        for (int i = 0; i < count; i += 16) {
            const int column = column_of(grid_block(i, count));
            const __m256i pixels = current[i / 16];
            const __m256i memory = winners[i / 16];
            store_sixteen(descending ? turned_round(pixels) : pixels, run.output + column);
            store_sixteen(descending ? turned_round(memory) : memory, scan.winners + run.first + column);
        }
    }
}

void draw_columns(const void* opaque, const wide_run* runs, int) {
    const minimum_scan& scan = *static_cast<const minimum_scan*>(opaque);
    switch (shape_of_run(scan.source, runs[0].start, runs[0].columns)) {
        case kOnGrid:
            return scan.stride == 1 ? draw_on_grid(scan, runs[0]) : draw_along_row(scan, runs[0]);
        case kUnitSteps:
        case kAlongRow:
            return draw_along_row(scan, runs[0]);
        default:
            return draw_anywhere(scan, runs[0]);
    }
}

/// One pixel of at least sixteen adjacent samples, one a plane, sixteen of them at a time. Planes that did
/// not win when it was their turn do not later either, since the value only falls: no lane needs to be left
/// out.
inline int least_of_segment(const short* p, const short* q, int width, int planes, int& winner) {
    int current = grid_sample(p[planes - winner]);
    for (int plane = 0; plane < planes; plane += 16) {
        const int first = grid_block(plane, planes);
        const __m256i samples = grid_samples(load_sixteen(p + first));
        const __m256i bounds = _mm256_max_epi16(least_raw(p + first, q + first, width), samples);
        alignas(32) short sample[16];
        _mm256_store_si256(reinterpret_cast<__m256i*>(sample), samples);
        while (true) {
            const __m256i below = _mm256_cmpgt_epi16(_mm256_set1_epi16(static_cast<short>(current)), bounds);
            const auto lanes = static_cast<unsigned>(_mm256_movemask_epi8(below));
            if (lanes == 0) break;
            const int lane = __builtin_ctz(lanes) / 2;
            current = sample[lane];
            winner = planes - (first + lane);
        }
    }
    return current;
}

void draw_segments(const minimum_scan& scan, const wide_run& run) {
    const wide_source& source = scan.source;
    int winner = source.planes;
    q18_point p = run.start;
    for (int column = 0; column < run.columns; ++column) {
        if (column + kSegmentsAhead < run.columns) prefetch_segment(source, p);
        const short* const above = segment_at(source, {p.x, p.y, wrap_add(p.z, 1 << 18)});
        run.output[static_cast<std::ptrdiff_t>(column) * scan.stride] = static_cast<short>(
            least_of_segment(segment_at(source, p), above, source.width, source.planes, winner));
        p = p + source.pixelStep;
    }
}

/// Up to eight runs, column by column.
void draw_side_by_side(const minimum_scan& scan, const wide_run* runs, int count) {
    if (count == 0) return;
    alignas(32) std::int32_t x[kLanes];
    alignas(32) std::int32_t y[kLanes];
    alignas(32) std::int32_t z[kLanes];
    alignas(32) std::int32_t columns[kLanes];
    int longest = 0;
    for (int lane = 0; lane < kLanes; ++lane) {
        const wide_run& run = runs[lane < count ? lane : 0];
        x[lane] = run.start.x;
        y[lane] = run.start.y;
        z[lane] = run.start.z;
        columns[lane] = run.columns;
        longest = run.columns > longest ? run.columns : longest;
    }
    const wide_point starts = {_mm256_load_si256(reinterpret_cast<const __m256i*>(x)),
                               _mm256_load_si256(reinterpret_cast<const __m256i*>(y)),
                               _mm256_load_si256(reinterpret_cast<const __m256i*>(z))};
    const __m256i lastColumn =
        _mm256_sub_epi32(_mm256_load_si256(reinterpret_cast<const __m256i*>(columns)), _mm256_set1_epi32(1));
    __m256i winners = _mm256_set1_epi32(winner_of(scan.source.planes));
    for (int column = 0; column < longest; ++column) {
        // lanes whose run has ended stay on its last pixel
        const __m256i steps = _mm256_min_epi32(_mm256_set1_epi32(column), lastColumn);
        const wide_point start = starts + multiples(steps, scan.source.pixelStep);
        __m256i current = seed(scan, start, winners);
        scan_planes(scan, start, false, current, winners);
        alignas(32) std::int32_t pixel[kLanes];
        _mm256_store_si256(reinterpret_cast<__m256i*>(pixel), current);
        for (int r = 0; r < count; ++r) {
            if (column < runs[r].columns) {
                runs[r].output[static_cast<std::ptrdiff_t>(column) * scan.stride] =
                    static_cast<short>(pixel[r]);
            }
        }
    }
}

void draw_rows(const void* opaque, const wide_run* runs, int count) {
    const minimum_scan& scan = *static_cast<const minimum_scan*>(opaque);
    wide_run anywhere[kMostRunsAtOnce];
    int rows = 0;
    for (int r = 0; r < count; ++r) {
        const bool segments = scan.source.planes >= 16 &&
                              shape_of_run(scan.source, runs[r].start, runs[r].columns) == kSegments;
        if (segments)
            draw_segments(scan, runs[r]);
        else
            anywhere[rows++] = runs[r];
    }
    draw_side_by_side(scan, anywhere, rows);
}

minimum_scan make_scan(const scan_args_16& args, bool fast, bool pixelMajor) {
    if (fast) double_wide_step(args.columnStep);
    const int planes = wrap_add(wrap_mul(2, args.slabSteps), 1);
    minimum_scan scan;
    scan.source = {args.slices, args.sourceWidth, planes, wide_pixel_step(args, planes, pixelMajor),
                   q18_step(args.slabStep)};
    scan.stride = fast ? 2 : 1;
    scan.offsetFactors = wide_offset_factors(args.sourceWidth);
    scan.toNextPlane = in_all_lanes(scan.source.slabStep);
    scan.winners = nullptr;
    scan.chunk = nullptr;
    return scan;
}

}  // namespace

void scan_min_plane_major_avx2(const scan_args_16& args, bool fast) {
    minimum_scan scan = make_scan(args, fast, false);
    short winners[kMostColumns];
    const int columns = args.rowStride < kMostColumns ? args.rowStride : kMostColumns;
    for (int column = 0; column < columns; ++column)
        winners[column] = static_cast<short>(winner_of(scan.source.planes));
    scan.winners = winners;
    row_chunk chunk;
    chunk.columns = 0;
    scan.chunk = &chunk;
    walk_wide_rows(args, fast, {draw_columns, &scan, 1, fill_columns_min, fill_rows_min});
}

void scan_min_pixel_major_avx2(const scan_args_16& args, bool fast) {
    const minimum_scan scan = make_scan(args, fast, true);
    walk_wide_rows(args, fast, {draw_rows, &scan, kMostRunsAtOnce, fill_columns_min, fill_rows_min});
}

}  // namespace rz_obl
