#include <algorithm>
#include <cmath>

#include "rz_obl/RZ_OBLcurved/directions.h"
#include "rz_obl/RZ_OBLcurved/rz_obl_curved.h"
#include "rz_obl/rz_oblique/rz_oblique.h"

namespace {

constexpr int kPoints = 300;
constexpr int kAccuracy = 10;

bool outside(const RZ_3Coord& q) {
    const auto beyond = [](float x) {
        return static_cast<double>(x) < -1e-6 || static_cast<double>(x) > 1.000001;
    };
    return beyond(q.x) || beyond(q.y) || beyond(q.z);
}

struct Stretch {
    float low;
    float high;
};

/// Where the sweep line through q runs inside the unit cube, in millimetres from q. Not box_entry_exit of the
/// curved frame: what is not a number comes through here, in low first, and so leaves no surface.
Stretch stretch_in_cube(const RZ_3Coord& sweep, const RZ_3Coord& point) {
    const float ds[3] = {sweep.x, sweep.y, sweep.z};
    const float q[3] = {point.x, point.y, point.z};
    float low = -1e10F;
    float high = 1e10F;
    for (int k = 0; k < 3; ++k) {
        const float d = ds[k];
        if (static_cast<double>(std::fabs(d)) > 1e-10) {
            const float toStart = -q[k] / d;
            const float toEnd = (1.0F - q[k]) / d;
            low = std::max(d < 0.0F ? toEnd : toStart, low);
            high = std::min(high, d < 0.0F ? toStart : toEnd);
        } else if (!(q[k] > 0.0F && q[k] < 1.0F)) {
            high = -1.0F;
            low = 0.1F;
            break;
        }
    }
    low = low + 0.01F;
    high = high + -0.01F;
    if (low > 0.0F) low = static_cast<float>(static_cast<double>(low) + 1.0);
    if (high < 0.0F) high = static_cast<float>(static_cast<double>(high) - 1.0);
    return {low, high};
}

}  // namespace

int RZ_GetPlaneBox(const RZ_BoxParams& box, RZ_Spline& spline, RZ_BoxParams& result, int inside_only) {
    if (spline.splineKind != 0) return 0;
    RZ_3Coord points[kPoints];
    spline.InterpolateEDCurve(points, kPoints, kAccuracy, nullptr, 0, 0);

    float toNormalised[4][4];
    box.GetNormTrans(toNormalised);
    RZ_3Coord sweep = spline.sweepDirection;
    RZ_3Coord line = spline.GetLineDirection();
    int sign = 1;
    const bool flipped = RZ_FlipCurved(sweep, line, &sign) != 0;
    sweep.Normalize();
    RZ_vectrans(sweep, toNormalised);
    sweep -= RZ_3Coord(toNormalised[3]);

    // Ranges are in millimetres along the sweep, since its length is 1 in physical space.
    float lowest = 1e20F;
    float highest = -1e20F;
    int first = kPoints;
    int last = -1;
    for (int i = 0; i < kPoints; ++i) {
        const RZ_3Coord q = rz_obl::transform_point(points[i], toNormalised);
        if (inside_only != 0 && outside(q)) continue;
        const Stretch stretch = stretch_in_cube(sweep, q);
        if (stretch.high < stretch.low) continue;
        lowest = std::min(stretch.low, lowest);
        highest = std::max(stretch.high, highest);
        last = std::max(i, last);
        first = std::min(i, first);
    }
    const float extent = highest - lowest;
    const auto span = static_cast<float>(last - first);
    if (!(span > 0.0F) || !(extent > 0.0F)) return 0;

    const float along = spline.GetLength(0) * span / 299.0F;
    result = flipped ? RZ_BoxParams(extent, along, 1.0F) : RZ_BoxParams(along, extent, 1.0F);
    return 1;
}
