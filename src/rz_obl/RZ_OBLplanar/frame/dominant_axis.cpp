#include "rz_obl/RZ_OBLplanar/frame/dominant_axis.h"

#include <cmath>

#include "lower/definitions/matrix.h"

namespace rz_obl {

int dominant_axis(const RZ_PlaneParams& plane, const RZ_Box& volumeBox) {
    float physicalToIndex[4][4];
    volumeBox.GetPhysicalToIndexFromCorner(physicalToIndex);
    float n[4];
    plane.GetPlaneEq(n);
    // required: the matrix itself, as for a direction, not its inverse transpose
    RZ_vectrans_no_translation(n, physicalToIndex);
    for (int k = 0; k < 3; ++k) n[k] = std::fabs(n[k]);
    if (n[2] > n[0] && n[2] > n[1]) return 2;
    if (n[1] > n[2] && n[1] > n[0]) return 1;
    return 0;  // required: takes every tie, also that of y and z
}

}  // namespace rz_obl
