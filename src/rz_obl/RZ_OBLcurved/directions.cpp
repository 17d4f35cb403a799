#include "rz_obl/RZ_OBLcurved/directions.h"

#include <cmath>

#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"

rz_obl::ThicknessStep rz_obl::thickness_step(const RZ_3Coord& normal, const RZ_Box& volumeBox,
                                             float thickness) {
    float toNormalised[4][4];
    volumeBox.params.GetNormTrans(toNormalised);
    const RZ_3Coord v = transform_direction(normal, toNormalised);
    const float a = static_cast<float>(volumeBox.xDim) * v.x;
    const float b = static_cast<float>(volumeBox.yDim) * v.y;
    const float e = static_cast<float>(volumeBox.zDim) * v.z;
    float longest = std::fabs(a);
    if (std::fabs(b) > longest) longest = std::fabs(b);
    if (std::fabs(e) > longest) longest = std::fabs(e);

    RZ_3Coord step = normal;
    step *= 1.0F / longest;
    const float length = std::sqrt(step.x * step.x + step.y * step.y + step.z * step.z);

    ThicknessStep result{limit_step(RZ_3Coord(a / longest, b / longest, e / longest)),
                         trunc_to_int(std::floor(thickness / length))};
    if (0.0F > result.step.x) negate(result.step);
    return result;
}
