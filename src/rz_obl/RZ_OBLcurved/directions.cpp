#include "rz_obl/RZ_OBLcurved/directions.h"

#include <cmath>

#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"

rz_obl::ThicknessSteps::ThicknessSteps(const RZ_Box& volumeBox)
    : dims_{static_cast<float>(volumeBox.xDim), static_cast<float>(volumeBox.yDim),
            static_cast<float>(volumeBox.zDim)} {
    volumeBox.params.GetNormTrans(toNormalised_);
}

rz_obl::ThicknessStep rz_obl::ThicknessSteps::along(const RZ_3Coord& normal, float thickness) const {
    const RZ_3Coord v = transform_direction(normal, toNormalised_);
    const float a = dims_[0] * v.x;
    const float b = dims_[1] * v.y;
    const float e = dims_[2] * v.z;
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
