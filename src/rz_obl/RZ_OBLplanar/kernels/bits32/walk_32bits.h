#pragma once

#include <smmintrin.h>

#include "rz_obl/RZ_OBLplanar/kernels/dirty_bounds.h"
#include "rz_obl/RZ_OBLplanar/kernels/run_start.h"
#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"

// The walk that the three 32-bit kernels share: float positions, channel means, channels exchanged.
// `static inline`, since the wide kernel includes this too.

namespace rz_obl {

/// Channel means in lanes 0 to 2. required: bytes 0 and 2 change places between source and output
static inline std::uint32_t assemble_pixel(__m128i sums, float planes) {
    const auto mean = [planes](std::int32_t sum) {
        return static_cast<std::uint32_t>(rounded_mean(sum, planes)) & 0xffU;
    };
    return mean(_mm_extract_epi32(sums, 2)) | (mean(_mm_extract_epi32(sums, 1)) << 8) |
           (mean(_mm_extract_epi32(sums, 0)) << 16);
}

static inline float_point run_start_32bits(const scan_args_32& args, int row, int column) {
    const float shift = args.quality == 1 ? 0.5F : 0.0F;
    const float_point p =
        first_slab_plane(plane_position(args.planeToIndex, row, column), args.slabSteps, args.slabStep);
    return clamp_start(float_point{p.x + shift, p.y + shift, p.z});
}

/// The samples of a run in order: columns, and the planes of each. Steps add up in single precision.
struct walk_of_run {
    float_point position;
    float_point slabStep;
    float_point toNextPixel;
    int planes;
    int plane;
};

static inline float_point next_position(walk_of_run& walk) {
    const float_point p = walk.position;
    walk.position = p + walk.slabStep;
    if (++walk.plane == walk.planes) {
        walk.plane = 0;
        walk.position = walk.position + walk.toNextPixel;
    }
    return p;
}

/// Sampler(args): start(walk, samples) opens a run, next() -> the three channels of the run's next sample,
/// 0 to 255, in lanes 0 to 2.
template <class Sampler>
static inline void walk_32bits(const scan_args_32& args) {
    Sampler sampler(args);
    const int planes = 2 * args.slabSteps + 1;
    const float planesF = static_cast<float>(planes);
    const float_point slabStep = float_step(args.slabStep);
    const float_point toNextPixel = float_step(args.columnStep) - planesF * slabStep;

    dirty_bounds seen = no_rows_seen(args.rowStride);
    const short* span = args.rowSpans;
    std::uint32_t* outputRow = args.output;
    for (int row = 0; row < args.rowCount; ++row, span += 2, outputRow += args.rowStride) {
        const int first = span[0];
        const int last = span[1];
        if (first >= last) continue;
        visit_row(seen, row, first, last);

        sampler.start({run_start_32bits(args, row, first), slabStep, toNextPixel, planes, 0},
                      static_cast<std::int64_t>(planes) * (last - first + 1));
        for (int column = first; column <= last; ++column) {
            __m128i sums = _mm_setzero_si128();
            for (int plane = 0; plane < planes; ++plane) sums = _mm_add_epi32(sums, sampler.next());
            outputRow[column] = assemble_pixel(sums, planesF);
        }
    }
    merge_bounds(seen, args.firstRow, args.lastRow, args.firstColumn, args.lastColumn);
}

}  // namespace rz_obl
