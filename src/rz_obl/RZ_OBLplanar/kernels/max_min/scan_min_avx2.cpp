#include "rz_obl/RZ_OBLplanar/kernels/max_min/scan_max_min.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/run_walk_avx2.h"

// A minimum depends on the order of its planes, on the raw test and on the winner memory: through the
// downward bias of a sample the test may drop a plane that would win. So each lane keeps the exact rule of
// one state: of one column where planes go outside columns, of one row where they go inside.

namespace rz_obl {
namespace {

constexpr int kLanes = 8;
/// One winner for each column that a signed 16-bit span can name.
constexpr int kMostColumns = 32768;

struct minimum_scan {
    const short* const* slices;
    int width;
    int planes;
    int stride;
    q18_point pixelStep;
    q18_point slabStep;
    __m256i offsetFactors;
    wide_point toNextPlane;
    short* winners;  // plane-major: by column
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
    const __m256i steps = _mm256_sub_epi32(_mm256_set1_epi32(scan.planes), winners);
    const wide_point at = start + multiples(steps, scan.slabStep);
    return interpolate_cells(gather_cells(scan.slices, at, scan.offsetFactors, scan.width), at);
}

/// All planes, the first one first, over eight states. skipWinner: a plane that is the memory's is not looked
/// at.
inline void scan_planes(const minimum_scan& scan, wide_point position, bool skipWinner, __m256i& current,
                        __m256i& winners) {
    for (int plane = scan.planes; plane >= 1; --plane) {
        const wide_cells cells = gather_cells(scan.slices, position, scan.offsetFactors, scan.width);
        __m256i take = any_raw_below(cells, current);
        if (skipWinner) {
            take = _mm256_andnot_si256(_mm256_cmpeq_epi32(winners, _mm256_set1_epi32(plane)), take);
        }
        if (_mm256_testz_si256(take, take) == 0) {
            const __m256i sample = interpolate_cells(cells, position);
            take = _mm256_and_si256(take, _mm256_cmpgt_epi32(current, sample));
            current = _mm256_blendv_epi8(current, sample, take);
            winners = _mm256_blendv_epi8(winners, _mm256_set1_epi32(winner_of(plane)), take);
        }
        position = position + scan.toNextPlane;
    }
}

/// One run, eight columns at a time.
void draw_columns(const void* opaque, const wide_run* runs, int) {
    const minimum_scan& scan = *static_cast<const minimum_scan*>(opaque);
    const wide_run& run = runs[0];
    for (int done = 0; done < run.columns; done += kLanes) {
        const int left = run.columns - done;
        const std::ptrdiff_t offset = static_cast<std::ptrdiff_t>(done) * scan.stride;
        const wide_point start =
            in_all_lanes(run.start + done * scan.pixelStep) + multiples(lane_numbers(left), scan.pixelStep);
        short* const memory = scan.winners + run.first + offset;
        __m256i winners = load_pixels(memory, left, scan.stride);
        __m256i current = seed(scan, start, winners);
        scan_planes(scan, start, true, current, winners);
        store_pixels(current, run.output + offset, left, scan.stride);
        store_pixels(winners, memory, left, scan.stride);
    }
}

/// Up to eight runs, column by column.
void draw_rows(const void* opaque, const wide_run* runs, int count) {
    const minimum_scan& scan = *static_cast<const minimum_scan*>(opaque);
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
    __m256i winners = _mm256_set1_epi32(winner_of(scan.planes));
    for (int column = 0; column < longest; ++column) {
        // lanes whose run has ended stay on its last pixel
        const __m256i steps = _mm256_min_epi32(_mm256_set1_epi32(column), lastColumn);
        const wide_point start = starts + multiples(steps, scan.pixelStep);
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

minimum_scan make_scan(const scan_args_16& args, bool fast, bool pixelMajor) {
    if (fast) double_wide_step(args.columnStep);
    minimum_scan scan;
    scan.slices = args.slices;
    scan.width = args.sourceWidth;
    scan.planes = wrap_add(wrap_mul(2, args.slabSteps), 1);
    scan.stride = fast ? 2 : 1;
    scan.pixelStep = wide_pixel_step(args, scan.planes, pixelMajor);
    scan.slabStep = q18_step(args.slabStep);
    scan.offsetFactors = wide_offset_factors(args.sourceWidth);
    scan.toNextPlane = in_all_lanes(scan.slabStep);
    scan.winners = nullptr;
    return scan;
}

}  // namespace

void scan_min_plane_major_avx2(const scan_args_16& args, bool fast) {
    minimum_scan scan = make_scan(args, fast, false);
    short winners[kMostColumns];
    const int columns = args.rowStride < kMostColumns ? args.rowStride : kMostColumns;
    for (int column = 0; column < columns; ++column)
        winners[column] = static_cast<short>(winner_of(scan.planes));
    scan.winners = winners;
    walk_wide_rows(args, fast, {draw_columns, &scan, 1, fill_columns_min, fill_rows_min});
}

void scan_min_pixel_major_avx2(const scan_args_16& args, bool fast) {
    const minimum_scan scan = make_scan(args, fast, true);
    walk_wide_rows(args, fast, {draw_rows, &scan, kMostRunsAtOnce, fill_columns_min, fill_rows_min});
}

}  // namespace rz_obl
