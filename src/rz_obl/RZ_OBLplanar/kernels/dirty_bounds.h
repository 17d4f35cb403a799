#pragma once

// What a scan visited, and how that enters the caller's bounds. `static inline`, since wide files include
// this too.

namespace rz_obl {

struct dirty_bounds {
    int firstSeen;  // -1 until a row was visited
    int lastSeen;
    int leastColumn;
    int greatestColumn;
};

static inline dirty_bounds no_rows_seen(int rowStride) {
    return {-1, 0, rowStride, 0};
}

/// A row that is not skipped, also if all its samples are dropped later.
static inline void visit_row(dirty_bounds& seen, int row, int firstColumn, int lastColumn) {
    if (seen.firstSeen == -1) seen.firstSeen = row;
    seen.lastSeen = row;
    if (firstColumn < seen.leastColumn) seen.leastColumn = firstColumn;
    if (lastColumn > seen.greatestColumn) seen.greatestColumn = lastColumn;
}

static inline int first_row_candidate(const dirty_bounds& seen) {
    return seen.firstSeen == -1 ? 0 : seen.firstSeen;
}

/// Accumulates. required: a scan without any row still pulls firstRow to 0 and firstColumn to rowStride, and
/// pushes the other two up to 0.
static inline void merge_bounds(const dirty_bounds& seen, int* firstRow, int* lastRow, int* firstColumn,
                                int* lastColumn) {
    const int first = first_row_candidate(seen);
    if (first < *firstRow) *firstRow = first;
    if (seen.leastColumn < *firstColumn) *firstColumn = seen.leastColumn;
    if (seen.lastSeen > *lastRow) *lastRow = seen.lastSeen;
    if (seen.greatestColumn > *lastColumn) *lastColumn = seen.greatestColumn;
}

}  // namespace rz_obl
