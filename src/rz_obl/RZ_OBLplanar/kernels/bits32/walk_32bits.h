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

/// Plane(args): (position) -> the three channels of one plane, 0 to 255, in lanes 0 to 2.
template <class Plane>
static inline void walk_32bits(const scan_args_32& args) {
    const Plane sample(args);
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

        float_point p = run_start_32bits(args, row, first);
        for (int column = first; column <= last; ++column) {
            __m128i sums = _mm_setzero_si128();
            for (int plane = 0; plane < planes; ++plane) {
                sums = _mm_add_epi32(sums, sample(p));
                p = p + slabStep;
            }
            outputRow[column] = assemble_pixel(sums, planesF);
            p = p + toNextPixel;
        }
    }
    merge_bounds(seen, args.firstRow, args.lastRow, args.firstColumn, args.lastColumn);
}

}  // namespace rz_obl
