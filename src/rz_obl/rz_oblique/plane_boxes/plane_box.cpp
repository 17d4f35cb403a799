#include <algorithm>

#include "rz_obl/RZ_OBLcurved/directions.h"
#include "rz_obl/RZ_OBLcurved/frame/box_entry_exit.h"
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
        const rz_obl::RayRange range = rz_obl::box_entry_exit(sweep, q);
        if (range.hi < range.lo) continue;
        lowest = std::min(range.lo, lowest);
        highest = std::max(range.hi, highest);
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
