#pragma once

#include "lower/geometry/box.h"
#include "lower/geometry/plane.h"

namespace rz_obl {

/// Source axis (0, 1, 2 for x, y, z) along which the plane's normal, in index space, is longest.
int dominant_axis(const RZ_PlaneParams& plane, const RZ_Box& volumeBox);

}  // namespace rz_obl
