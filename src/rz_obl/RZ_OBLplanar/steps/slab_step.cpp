#include "rz_obl/RZ_OBLplanar/steps/slab_step.h"

#include <algorithm>
#include <cmath>

#include "lower/definitions/coord.h"
#include "lower/definitions/matrix.h"
#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"

namespace rz_obl {

slab_walk make_slab_walk(const RZ_PlaneParams& plane, const RZ_Box& volumeBox, float halfThickness) {
    float toNormalised[4][4];
    volumeBox.params.GetNormTrans(toNormalised);
    RZ_3Coord normal(0.0F, 0.0F, 0.0F);
    plane.GetPlaneEq(normal);
    RZ_3Coord v(0.0F, 0.0F, 0.0F);
    RZ_vec3mlt(normal, toNormalised, v);
    v -= RZ_3Coord(toNormalised[3]);  // a direction: without the translation
    v.x = static_cast<float>(volumeBox.xDim) * v.x;
    v.y = static_cast<float>(volumeBox.yDim) * v.y;
    v.z = static_cast<float>(volumeBox.zDim) * v.z;
    const float longest = std::max({std::fabs(v.x), std::fabs(v.y), std::fabs(v.z)});

    slab_walk walk;
    normal *= 1.0F / longest;  // now the millimetres of one step
    const float stepLength = std::sqrt(normal.x * normal.x + normal.y * normal.y + normal.z * normal.z);
    walk.steps = trunc_to_int(std::floor(halfThickness / stepLength));
    walk.step[0] = v.x / longest;
    walk.step[1] = v.y / longest;
    walk.step[2] = v.z / longest;
    return walk;
}

}  // namespace rz_obl
