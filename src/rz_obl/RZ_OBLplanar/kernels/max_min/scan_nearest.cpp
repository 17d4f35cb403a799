#include "rz_obl/RZ_OBLplanar/kernels/max_min/scan_nearest.h"

#include <cstddef>

#include "rz_obl/RZ_OBLplanar/kernels/dirty_bounds.h"
#include "rz_obl/RZ_OBLplanar/kernels/run_start.h"

namespace rz_obl {

void scan_nearest(const scan_args_16& args) {
    const q18_point columnStep = q18_step(args.columnStep);

    dirty_bounds seen = no_rows_seen(args.rowStride);
    const short* span = args.rowSpans;
    short* outputRow = args.output;
    for (int row = 0; row < args.rowCount; ++row, span += 2, outputRow += args.rowStride) {
        const int first = span[0];
        const int last = span[1];
        if (first >= last) continue;
        visit_row(seen, row, first, last);

        q18_point p = clamp_start(to_q18(plane_position(args.planeToIndex, row, first)));
        for (int column = first; column <= last; ++column) {
            const std::ptrdiff_t offset = wrap_add(wrap_mul(p.y >> 18, args.sourceWidth), p.x >> 18);
            outputRow[column] = args.slices[p.z >> 18][offset];
            p = p + columnStep;
        }
    }
    merge_bounds(seen, args.firstRow, args.lastRow, args.firstColumn, args.lastColumn);
}

}  // namespace rz_obl
