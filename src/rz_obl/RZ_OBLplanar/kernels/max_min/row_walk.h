#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/dirty_bounds.h"
#include "rz_obl/RZ_OBLplanar/kernels/max_min/fills.h"
#include "rz_obl/RZ_OBLplanar/kernels/position.h"
#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"

// The rows of a maximum or minimum, the fast mode's skips and fills included.

namespace rz_obl {

/// n, by which planes are numbered down to 1 from the first one. Not positive for a negative slabSteps: only
/// seeds are written then.
static inline int plane_count(int slabSteps) {
    return wrap_add(wrap_mul(2, slabSteps), 1);
}

/// Number of a plane that won, the seed of the next pixel. required: 16 bits.
using winner = short;

/// Columns from one sampled column to the next.
static inline int column_advance(bool fast) {
    return fast ? 2 : 1;
}

/// required: the fast mode doubles the caller's step in place, also if no row is visited.
static inline void double_column_step(int columnStep[3]) {
    for (int axis = 0; axis < 3; ++axis) columnStep[axis] = wrap_mul(2, columnStep[axis]);
}

/// scanRun(row, first, last, outputRow) for each visited row, then fills and bounds.
template <class Rule, class ScanRun>
static inline void walk_rows(const scan_args_16& args, bool fast, ScanRun scanRun) {
    int rowAdvance = fast ? 2 : 1;
    dirty_bounds seen = no_rows_seen(args.rowStride);
    for (int row = 0; row < args.rowCount; row += rowAdvance) {
        if (row + 2 == args.rowCount) rowAdvance = 1;  // the last row is always sampled
        const int first = args.rowSpans[2 * row];
        const int last = args.rowSpans[2 * row + 1];
        if (first >= last) continue;  // required: a span of one column is skipped, too
        visit_row(seen, row, first, last);

        short* const outputRow = args.output + static_cast<std::ptrdiff_t>(row) * args.rowStride;
        scanRun(row, first, last, outputRow);
        if (fast) fill_columns<Rule>(outputRow, first, last);
    }
    if (fast) {
        fill_rows<Rule>(first_row_candidate(seen), seen.lastSeen, seen.leastColumn, seen.greatestColumn,
                        args.rowStride, args.output);
    }
    merge_bounds(seen, args.firstRow, args.lastRow, args.firstColumn, args.lastColumn);
}

}  // namespace rz_obl
