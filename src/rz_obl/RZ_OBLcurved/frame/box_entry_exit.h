#pragma once

#include "lower/definitions/coord.h"

namespace rz_obl {

/// Range of a ray parameter, empty unless hi > lo.
struct RayRange {
    float lo;
    float hi;

    bool hit() const { return hi > lo; }
};

/// Where the ray position + t x direction runs inside the unit cube, less 0.01 at both ends, and made ready
/// for truncation: the truncated ends are the least integer above and the greatest below. Slab method (Kay
/// and Kajiya 1986).
RayRange box_entry_exit(const RZ_3Coord& direction, const RZ_3Coord& position);

}  // namespace rz_obl
