#include "rz_obl/RZ_OBLplanar/kernels/linear/scan_linear.h"

#include "rz_obl/RZ_OBLplanar/kernels/dirty_bounds.h"
#include "rz_obl/RZ_OBLplanar/kernels/linear/trilinear_sample.h"
#include "rz_obl/RZ_OBLplanar/kernels/run_start.h"

namespace rz_obl {

void scan_linear(const scan_args_16& args) {
    const int planes = 2 * args.slabSteps + 1;  // not positive for negative slabSteps: every pixel is 0 then
    const float planesF = static_cast<float>(planes);
    const q18_point columnStep = q18_step(args.columnStep);
    const q18_point slabStep = q18_step(args.slabStep);
    const __m128i toNextPlane = position_lanes(slabStep);
    const __m128i toNextPixel = position_lanes(columnStep - planes * slabStep);
    const __m128i offsetFactors = offset_factors(args.sourceWidth);

    dirty_bounds seen = no_rows_seen(args.rowStride);
    const short* span = args.rowSpans;
    short* outputRow = args.output;
    for (int row = 0; row < args.rowCount; ++row, span += 2, outputRow += args.rowStride) {
        const int first = span[0];
        const int last = span[1];
        if (first >= last) continue;  // required: a span of one column is skipped, too
        visit_row(seen, row, first, last);

        __m128i position =
            position_lanes(run_start(args.planeToIndex, row, first, args.slabSteps, args.slabStep));
        for (int column = first; column <= last; ++column) {
            std::int32_t sum = 0;
            for (int plane = 0; plane < planes; ++plane) {
                const __m128i cell = gather_cell(args.slices, position, offsetFactors, args.sourceWidth);
                sum += interpolate_cell(cell, position);  // at most 65535 planes of 16 bits: no wrap
                position = _mm_add_epi32(position, toNextPlane);
            }
            // the mean of one sample is that sample
            outputRow[column] = static_cast<short>(planes == 1 ? sum : rounded_mean(sum, planesF));
            position = _mm_add_epi32(position, toNextPixel);
        }
    }
    merge_bounds(seen, args.firstRow, args.lastRow, args.firstColumn, args.lastColumn);
}

}  // namespace rz_obl
