#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/linear/trilinear_sample.h"
#include "rz_obl/RZ_OBLplanar/kernels/max_min/row_walk.h"
#include "rz_obl/RZ_OBLplanar/kernels/run_start.h"

// Planes inside columns: for slabs that walk mainly along source rows, where the planes of a pixel lie side
// by side. The run remembers the plane that won last, from pixel to pixel.

namespace rz_obl {

template <class Rule>
static inline void scan_pixel_major(const scan_args_16& args, bool fast) {
    if (fast) double_column_step(args.columnStep);
    const int planes = plane_count(args.slabSteps);
    const int advance = column_advance(fast);
    const __m128i offsetFactors = offset_factors(args.sourceWidth);
    const q18_point step = q18_step(args.slabStep);
    const __m128i slabStep = position_lanes(step);
    const __m128i toNextPixel = position_lanes(q18_step(args.columnStep) - planes * step);
    const auto cellAt = [&args, offsetFactors](__m128i position) {
        return gather_cell(args.slices, position, offsetFactors, args.sourceWidth);
    };

    walk_rows<Rule>(args, fast, [&](int row, int first, int last, short* outputRow) {
        __m128i position =
            position_lanes(run_start(args.planeToIndex, row, first, args.slabSteps, args.slabStep));
        winner remembered = static_cast<winner>(planes);
        for (int column = first; column <= last; column += advance) {
            const __m128i stepsToWinner = _mm_set1_epi32(wrap_sub(planes, remembered));
            const __m128i at = _mm_add_epi32(position, _mm_mullo_epi32(stepsToWinner, slabStep));
            const int seed = interpolate_cell(cellAt(at), at);
            int best = replaces<Rule>(seed, outputRow[column]) ? seed : outputRow[column];
            for (int plane = planes; plane >= 1; --plane) {
                const __m128i cell = cellAt(position);
                if (Rule::any_beats(cell, best)) {
                    const int sample = interpolate_cell(cell, position);
                    if (Rule::beats(sample, best)) {
                        best = sample;
                        remembered = static_cast<winner>(plane);
                    }
                }
                position = _mm_add_epi32(position, slabStep);
            }
            outputRow[column] = static_cast<short>(best);
            position = _mm_add_epi32(position, toNextPixel);
        }
    });
}

}  // namespace rz_obl
