#include <cmath>

#include "rz_obl/RZ_OBLcurved/directions.h"
#include "rz_obl/RZ_OBLcurved/rz_obl_curved.h"

namespace {

/// The axis along which v is longest; ties go to the later axis.
int dominant_axis(const RZ_3Coord& v) {
    const float x = std::fabs(v.x);
    const float y = std::fabs(v.y);
    const float z = std::fabs(v.z);
    if (x > y && x > z) return 0;
    if (x <= y && y > z) return 1;
    return 2;
}

}  // namespace

int RZ_FlipCurved(RZ_3Coord& sweep, RZ_3Coord& line, int* sign) {
    const int axis = dominant_axis(sweep);
    // required: z is turned the other way, so that a picture has the head up
    const bool flip = axis == 0 ? 0.0F > sweep.x : axis == 1 ? 0.0F > sweep.y : sweep.z > 0.0F;
    if (flip) rz_obl::negate(sweep);
    *sign = flip ? -1 : 1;
    return axis == 0 || (axis == 1 && dominant_axis(line) == 2) ? 1 : 0;
}
