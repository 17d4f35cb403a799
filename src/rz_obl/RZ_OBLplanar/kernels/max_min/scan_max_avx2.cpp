#include "rz_obl/RZ_OBLplanar/kernels/max_min/scan_max_min.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/run_walk_avx2.h"

// A maximum depends neither on the order of planes nor on the memory of the last winner: a sample never
// exceeds its greatest neighbour, but for raw samples of -32768, which give -32767 and so lose to any seed.
// So planes are simply compared, and a block whose raw samples all lie below what is there is not
// interpolated.

namespace rz_obl {
namespace {

constexpr int kLanes = 8;
constexpr int kRows = 4;

struct maximum_scan {
    const short* const* slices;
    int width;
    int planes;  // at least one: for a count that is not positive the seed's plane
    int stride;  // columns from one sampled column to the next
    q18_point pixelStep;
    __m256i offsetFactors;
    wide_point lanes;
    wide_point toNextPlane;
};

inline __m256i greatest_raw(const wide_cells& c) {
    return _mm256_max_epi16(_mm256_max_epi16(c.p0, c.p1), _mm256_max_epi16(c.q0, c.q1));
}

/// One block: up to eight sampled columns of each run, from column `done` on.
void draw_block(const maximum_scan& scan, const wide_run* runs, int count, int done) {
    wide_point position[kRows];
    __m256i best[kRows];
    for (int r = 0; r < count; ++r) {
        const int left = runs[r].columns - done;
        if (left <= 0) continue;
        const q18_point start = runs[r].start + done * scan.pixelStep;
        position[r] = in_all_lanes(start) +
                      (left >= kLanes ? scan.lanes : multiples(lane_numbers(left), scan.pixelStep));
        best[r] =
            load_pixels(runs[r].output + static_cast<std::ptrdiff_t>(done) * scan.stride, left, scan.stride);
    }
    for (int plane = 0; plane < scan.planes; ++plane) {
        for (int r = 0; r < count; ++r) {
            if (runs[r].columns <= done) continue;
            const wide_cells cells = gather_cells(scan.slices, position[r], scan.offsetFactors, scan.width);
            const __m256i beyond = _mm256_cmpgt_epi16(greatest_raw(cells), in_both_halves(best[r]));
            if (_mm256_testz_si256(beyond, beyond) == 0) {
                best[r] = _mm256_max_epi32(best[r], interpolate_cells(cells, position[r]));
            }
            position[r] = position[r] + scan.toNextPlane;
        }
    }
    for (int r = 0; r < count; ++r) {
        const int left = runs[r].columns - done;
        if (left <= 0) continue;
        store_pixels(best[r], runs[r].output + static_cast<std::ptrdiff_t>(done) * scan.stride, left,
                     scan.stride);
    }
}

void draw_runs(const void* scan, const wide_run* runs, int count) {
    int longest = 0;
    for (int r = 0; r < count; ++r) longest = runs[r].columns > longest ? runs[r].columns : longest;
    for (int done = 0; done < longest; done += kLanes) {
        draw_block(*static_cast<const maximum_scan*>(scan), runs, count, done);
    }
}

void scan_max(const scan_args_16& args, bool fast, bool pixelMajor) {
    if (fast) double_wide_step(args.columnStep);
    const int planes = wrap_add(wrap_mul(2, args.slabSteps), 1);
    maximum_scan scan;
    scan.slices = args.slices;
    scan.width = args.sourceWidth;
    scan.planes = planes > 0 ? planes : 1;
    scan.stride = fast ? 2 : 1;
    scan.pixelStep = wide_pixel_step(args, planes, pixelMajor);
    scan.offsetFactors = wide_offset_factors(args.sourceWidth);
    scan.lanes = multiples(lane_numbers(kLanes), scan.pixelStep);
    scan.toNextPlane = in_all_lanes(q18_step(args.slabStep));
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
