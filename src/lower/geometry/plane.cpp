#include "lower/geometry/plane.h"

#include <algorithm>
#include <cmath>

#include "lower/geometry/affine.h"

using rz_obl::cross3;
using rz_obl::dot3;
using rz_obl::normalize3;

RZ_PlaneParams::RZ_PlaneParams()
    : origin_{}, units_{{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}}, normal_{0.0, 0.0, 1.0} {}

RZ_PlaneParams::RZ_PlaneParams(const float* normal, const float* origin, const float* unit)
    : RZ_PlaneParams() {
    for (int i = 0; i < 3; ++i) {
        normal_[i] = static_cast<double>(normal[i]);
        origin_[i] = static_cast<double>(origin[i]);
        units_[0][i] = static_cast<double>(unit[i]);
    }
    if (!normalize3(normal_)) {
        const double fallback[3] = {0.0, 0.0, 1.0};
        std::copy_n(fallback, 3, normal_);
    }
    bool usable = normalize3(units_[0]);
    const double lean = dot3(units_[0], normal_);
    for (int i = 0; i < 3; ++i) units_[0][i] -= lean * normal_[i];
    usable = usable && dot3(units_[0], units_[0]) > 1e-12 && normalize3(units_[0]);
    if (!usable) rz_obl::any_orthogonal(normal_, units_[0]);
    cross3(normal_, units_[0], units_[1]);
}

void RZ_PlaneParams::GetOrigin(float out[3]) const {
    for (int i = 0; i < 3; ++i) out[i] = static_cast<float>(origin_[i]);
}

void RZ_PlaneParams::GetUnits(float u[3], float v[3]) const {
    for (int i = 0; i < 3; ++i) {
        u[i] = static_cast<float>(units_[0][i]);
        v[i] = static_cast<float>(units_[1][i]);
    }
}

void RZ_PlaneParams::GetPlaneEq(float out[4]) const {
    for (int i = 0; i < 3; ++i) out[i] = static_cast<float>(normal_[i]);
    out[3] = static_cast<float>(0.0 - dot3(normal_, origin_));
}

void RZ_PlaneParams::ParallelTranslate(float distance) {
    for (int i = 0; i < 3; ++i) origin_[i] += static_cast<double>(distance) * normal_[i];
}

float RZ_PlaneParams::Distance(const float* point) const {
    double offset[3];
    for (int i = 0; i < 3; ++i) offset[i] = static_cast<double>(point[i]) - origin_[i];
    return static_cast<float>(dot3(offset, normal_));
}

void RZ_PlaneParams::Get2Projection(float matrix[4][4]) const {
    const double* axes[3] = {units_[0], units_[1], normal_};
    for (int k = 0; k < 3; ++k) {
        for (int i = 0; i < 3; ++i) matrix[i][k] = static_cast<float>(axes[k][i]);
        matrix[3][k] = static_cast<float>(0.0 - dot3(axes[k], origin_));
        matrix[k][3] = 0.0F;
    }
    matrix[3][3] = 1.0F;
}

void RZ_PlaneParams::GetPhysicalFromPlane(double matrix[4][4]) const {
    const double* rows[4] = {units_[0], units_[1], normal_, origin_};
    for (int k = 0; k < 4; ++k) {
        std::copy_n(rows[k], 3, matrix[k]);
        matrix[k][3] = k == 3 ? 1.0 : 0.0;
    }
}

void RZ_CalcPlane(const RZ_3Coord& normal, const RZ_3Coord& point, RZ_PlaneParams& plane, bool keepUp) {
    // (-ny, nx, 0) is physical z x normal: level, and the second unit then rises. Too short means that the
    // normal runs along z; the zero vector lets the plane choose.
    RZ_3Coord level(-normal.y, normal.x, 0.0F);
    const float across = RZ_dot(level, level);
    if (!keepUp || !(across > 1e-12F * RZ_dot(normal, normal))) level = RZ_3Coord(0.0F, 0.0F, 0.0F);
    plane = RZ_PlaneParams(normal, point, level);
}
