#pragma once

#include <vector>

#include "lower/geometry/spline/cubic_segment.h"

namespace rz_obl {

/// Segments of the centripetal Catmull-Rom curve through knots, no two neighbours of which may coincide.
/// Closed adds the segment from the last knot to the first (three knots at least, and the last must differ
/// from the first).
std::vector<cubic_segment> catmull_rom(const std::vector<point3>& knots, bool closed);

}  // namespace rz_obl
