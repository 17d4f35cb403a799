// Compiled for AVX2: one entry, everything else unnamed or `static inline`.

#include <immintrin.h>

#include "rz_obl/RZ_OBLplanar/kernels/cubic/lookup_avx2.h"
#include "rz_obl/RZ_OBLplanar/kernels/cubic/scan_cubic.h"
#include "rz_obl/RZ_OBLplanar/kernels/cubic/walk_cubic.h"

namespace rz_obl {
namespace {

constexpr int kLanes = 8;
// Steps of eight samples between a prefetch and its use. Fewer are slower, more do not help.
constexpr int kAhead = 6;

struct cubic_scan {
    const scan_args_16& args;
    const short* weights;
    depth_limits limits;
    int planes;
    wide_point lanes;        // of eight columns, from the first
    wide_point toNextBlock;  // by eight columns
    wide_point toNextPlane;
};

/// Walks a run's steps: eight columns, plane by plane, then the next eight.
struct step_cursor {
    wide_point block;
    wide_point position;
    int columnsLeft;
    int plane;
};

inline __m256i first_lanes(int count) {
    return _mm256_cmpgt_epi32(_mm256_set1_epi32(count), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
}

/// Of no lane behind the last step.
inline void look_up_next(cubic_lookup& lookup, step_cursor& cursor, const cubic_scan& scan) {
    look_up(lookup, cursor.position, first_lanes(cursor.columnsLeft), scan.args, scan.weights);
    cursor.position = cursor.position + scan.toNextPlane;
    if (++cursor.plane < scan.planes) return;
    cursor.plane = 0;
    cursor.columnsLeft -= kLanes;
    cursor.block = cursor.block + scan.toNextBlock;
    cursor.position = cursor.block;
}

inline __m256i four_in_all(const short* samples) {
    return _mm256_broadcastq_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(samples)));
}

/// Four rows of a slice. Broadcasts and blends, since unpacking would wait for the one port that shuffles.
inline __m256i sixteen_samples(const short* corner, std::ptrdiff_t width) {
    const __m256i upper = _mm256_blend_epi32(four_in_all(corner), four_in_all(corner + width), 0x0c);
    const __m256i lower =
        _mm256_blend_epi32(four_in_all(corner + 2 * width), four_in_all(corner + 3 * width), 0xc0);
    return _mm256_blend_epi32(upper, lower, 0xf0);  // j 0 1 | j 2 3
}

/// The 64 products of a sample, summed into eight lanes.
inline __m256i products(const cubic_lookup& lookup, int lane, const cubic_scan& scan) {
    const short* const* slice = scan.args.slices + lookup.slice[lane];
    const std::ptrdiff_t corner = lookup.corner[lane];
    const __m256i* weights = reinterpret_cast<const __m256i*>(scan.weights + lookup.entry[lane]);
    __m256i sum[4];
    for (int k = 0; k < 4; ++k) {
        sum[k] = _mm256_madd_epi16(sixteen_samples(slice[k] + corner, scan.args.sourceWidth),
                                   _mm256_loadu_si256(weights + k));
    }
    return _mm256_add_epi32(_mm256_add_epi32(sum[0], sum[1]), _mm256_add_epi32(sum[2], sum[3]));
}

/// Eight sums of eight lanes each, in order.
inline __m256i sums_of_lanes(const __m256i s[8]) {
    const __m256i a = _mm256_hadd_epi32(_mm256_hadd_epi32(s[0], s[1]), _mm256_hadd_epi32(s[2], s[3]));
    const __m256i b = _mm256_hadd_epi32(_mm256_hadd_epi32(s[4], s[5]), _mm256_hadd_epi32(s[6], s[7]));
    return _mm256_add_epi32(_mm256_permute2x128_si256(a, b, 0x20),   // 0 1 2 3 | 4 5 6 7, low halves
                            _mm256_permute2x128_si256(a, b, 0x31));  // the high halves
}

inline q18_point lane_of(const wide_point& p, int lane) {
    alignas(32) std::int32_t x[8];
    alignas(32) std::int32_t y[8];
    alignas(32) std::int32_t z[8];
    _mm256_store_si256(reinterpret_cast<__m256i*>(x), p.x);
    _mm256_store_si256(reinterpret_cast<__m256i*>(y), p.y);
    _mm256_store_si256(reinterpret_cast<__m256i*>(z), p.z);
    return {x[lane], y[lane], z[lane]};
}

void truncate_overshoots(const cubic_lookup& lookup, const cubic_scan& scan, std::int32_t samples[8]) {
    for (int lane = 0; lane < kLanes; ++lane) {
        if (!(lookup.tableLanes & (1U << lane))) continue;
        const q18_point p = lane_of(lookup.position, lane);
        __m128i buffer[8];
        gather_neighbourhood_16(scan.args.slices, p.x, p.y, p.z, scan.args.sourceWidth, buffer);
        samples[lane] = truncate_overshoot(samples[lane], buffer, scan.args.isSigned);
    }
}

inline __m256i table_samples(const cubic_lookup& lookup, const cubic_scan& scan) {
    __m256i sums[kLanes];
    for (int lane = 0; lane < kLanes; ++lane) {
        sums[lane] = lookup.tableLanes & (1U << lane) ? products(lookup, lane, scan) : _mm256_setzero_si256();
    }
    const __m256i rounded =
        _mm256_srai_epi32(_mm256_add_epi32(sums_of_lanes(sums), _mm256_set1_epi32(0x2000)), 14);
    const __m256i raised = _mm256_max_epi32(rounded, _mm256_set1_epi32(scan.args.isSigned ? -32768 : 0));
    // required: unsigned data, too, stop here
    __m256i samples = _mm256_min_epi32(raised, _mm256_set1_epi32(32767));
    if (OvershootClamp) {
        alignas(32) std::int32_t each[8];
        _mm256_store_si256(reinterpret_cast<__m256i*>(each), samples);
        truncate_overshoots(lookup, scan, each);
        samples = _mm256_load_si256(reinterpret_cast<const __m256i*>(each));
        samples = _mm256_srai_epi32(_mm256_slli_epi32(samples, 16), 16);  // what low16 keeps
    }
    return _mm256_and_si256(samples, lookup.isTable);
}

__m256i border_samples(const cubic_lookup& lookup, const cubic_scan& scan) {
    alignas(32) std::int32_t each[8] = {};
    for (int lane = 0; lane < kLanes; ++lane) {
        if (!(lookup.borderLanes & (1U << lane))) continue;
        each[lane] = border_sample(scan.args.slices, lane_of(lookup.position, lane), scan.args.sourceWidth,
                                   scan.args.sourceHeight);
    }
    return _mm256_load_si256(reinterpret_cast<const __m256i*>(each));
}

/// required: the means of the planes used, not of all; a pixel without any keeps its content
inline void store_means(const cubic_scan& scan, __m256i sums, __m256i used, short* output) {
    const __m256 means = _mm256_div_ps(_mm256_cvtepi32_ps(sums), _mm256_cvtepi32_ps(used));
    const __m256 half = _mm256_or_ps(_mm256_and_ps(means, _mm256_set1_ps(-0.0F)), _mm256_set1_ps(0.5F));
    __m256i pixels = _mm256_cvttps_epi32(_mm256_add_ps(means, half));
    pixels = _mm256_min_epi32(pixels, _mm256_set1_epi32(scan.limits.greatest));
    pixels = _mm256_max_epi32(pixels, _mm256_set1_epi32(scan.limits.least));
    const unsigned drawn = lanes_of_mask(_mm256_cmpgt_epi32(used, _mm256_setzero_si256()));
    const __m256i low = _mm256_and_si256(pixels, _mm256_set1_epi32(0xffff));
    const __m128i packed = _mm_packus_epi32(_mm256_castsi256_si128(low), _mm256_extracti128_si256(low, 1));
    if (drawn == 0xff) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(output), packed);
        return;
    }
    alignas(16) short pixel[kLanes];
    _mm_store_si128(reinterpret_cast<__m128i*>(pixel), packed);
    for (int lane = 0; lane < kLanes; ++lane) {
        if (drawn & (1U << lane)) output[lane] = pixel[lane];
    }
}

void draw_run(const cubic_scan& scan, const q18_point& start, int columns, short* output) {
    step_cursor cursor;
    cursor.block = in_all_lanes(start) + scan.lanes;
    cursor.position = cursor.block;
    cursor.columnsLeft = columns;
    cursor.plane = 0;
    cubic_lookup lookups[kAhead];
    for (int i = 0; i < kAhead; ++i) look_up_next(lookups[i], cursor, scan);
    int next = 0;
    for (int done = 0; done < columns; done += kLanes) {
        __m256i sums = _mm256_setzero_si256();
        __m256i used = _mm256_setzero_si256();
        for (int plane = 0; plane < scan.planes; ++plane) {
            cubic_lookup& lookup = lookups[next];
            next = next + 1 < kAhead ? next + 1 : 0;
            sums = _mm256_add_epi32(sums, table_samples(lookup, scan));
            if (lookup.borderLanes != 0) sums = _mm256_add_epi32(sums, border_samples(lookup, scan));
            used = _mm256_sub_epi32(used, _mm256_or_si256(lookup.isTable, lookup.isBorder));
            look_up_next(lookup, cursor, scan);
        }
        store_means(scan, sums, used, output + done);
    }
}

/// Lanes multiply row and width in 32 bits once, for the first row of four.
bool offsets_fit(const scan_args_16& args) {
    return static_cast<std::int64_t>(args.sourceWidth) * args.sourceHeight <= INT32_MAX;
}

}  // namespace

void scan_cubic_avx2(const scan_args_16& args) {
    if (!offsets_fit(args)) return scan_cubic_sse(args);
    const q18_point columnStep = q18_step(args.columnStep);
    const __m256i lanes = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    const cubic_scan scan = {args,
                             g_cubicWeightTable.weights,
                             limits_of_depth(args.isSigned, args.bitDepth),
                             2 * args.slabSteps + 1,
                             multiples(lanes, columnStep),
                             in_all_lanes(kLanes * columnStep),
                             in_all_lanes(q18_step(args.slabStep))};
    dirty_bounds seen = no_rows_seen(args.rowStride);
    const short* span = args.rowSpans;
    short* outputRow = args.output;
    for (int row = 0; row < args.rowCount; ++row, span += 2, outputRow += args.rowStride) {
        const int first = span[0];
        const int last = span[1];
        if (first >= last) continue;
        visit_row(seen, row, first, last);
        if (scan.planes <= 0) continue;  // no plane used: every pixel keeps its content
        draw_run(scan, run_start(args.planeToIndex, row, first, args.slabSteps, args.slabStep),
                 last - first + 1, outputRow + first);
    }
    merge_bounds(seen, args.firstRow, args.lastRow, args.firstColumn, args.lastColumn);
}

}  // namespace rz_obl
