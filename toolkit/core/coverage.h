#pragma once

#include <vector>

#include "lower/geometry/box.h"
#include "lower/geometry/plane.h"

namespace rzobl {

/// Columns first to last, inclusive, of one row that a scan writes; none if first >= last (a scan leaves out
/// rows with a single column).
struct RowRange {
    int first = 0;
    int last = -1;
};

/// What a scan of a 16-bit volume with linear interpolation writes of each row. A kernel does not tell, and a
/// maximum mixes what the raster held before into its result, so that the background must be put in
/// afterwards, where nothing was drawn. Found by scanning the plane, and the faces of the slab, through a
/// volume of zeros.
std::vector<RowRange> scanned_rows(const RZ_Box& volumeBox, const RZ_PlaneParams& plane,
                                   const RZ_Box& outputBox, float halfThickness);

/// The same for quality LinearFast, whose maximum and minimum scan every second column and row and fill the
/// others from scanned neighbours: pixels that were filled from background do not count as drawn.
std::vector<RowRange> fast_rows(const std::vector<RowRange>& scanned);

}  // namespace rzobl
