#include <cmath>
#include <vector>

#include "rz_obl/RZ_OBLcurved/coordinates/curve_centring.h"
#include "rz_obl/RZ_OBLcurved/directions.h"
#include "rz_obl/RZ_OBLcurved/frame/box_entry_exit.h"
#include "rz_obl/RZ_OBLcurved/rz_obl_curved.h"

namespace {

using rz_obl::CurveCentring;
using rz_obl::RayRange;

constexpr char kFunction[] = "RZ_CurvedPhysicalToRaster";

void store(float* raster, bool transposed, float along, float across) {
    raster[0] = transposed ? across : along;
    raster[1] = transposed ? along : across;
}

/// Squared distance of a point from the line through it + diff along step. A point on the line's origin gives
/// a NaN, which no comparison lets win: required.
float squared_distance(const RZ_3Coord& diff, const RZ_3Coord& step) {
    const float ee = RZ_dot(diff, diff);
    const float dd = RZ_dot(step, step);
    const float e = RZ_dot(diff, step);
    const float s = std::sqrt(ee / dd) * (e / std::sqrt(ee * dd));
    const RZ_3Coord rest(diff.x - s * step.x, diff.y - s * step.y, diff.z - s * step.z);
    return RZ_dot(rest, rest);
}

struct NearestLine {
    int index = -1;
    /// Cross pixels from the curve point to the physical point.
    float offset = 0.0F;
};

NearestLine nearest_line(const CurveCentring& centring, const std::vector<RZ_3Coord>& points,
                         const RZ_3Coord& physical) {
    NearestLine nearest;
    float bestDistance = 1e20F;
    const RZ_3Coord q = rz_obl::transform_point(physical, centring.toNormalised);
    const RayRange atPoint = rz_obl::box_entry_exit(centring.normalisedStep, q);
    for (std::size_t i = 0; i < points.size(); ++i) {
        RZ_3Coord diff = points[i];
        diff -= physical;
        const float d = squared_distance(diff, centring.step);
        if (bestDistance > d) {
            bestDistance = d;
            nearest.index = static_cast<int>(i);
            const RayRange atCurve = rz_obl::box_entry_exit(
                centring.normalisedStep, rz_obl::transform_point(points[i], centring.toNormalised));
            nearest.offset = ((atCurve.lo - atPoint.lo) + (atCurve.hi - atPoint.hi)) * 0.5F;
        }
    }
    return nearest;
}

}  // namespace

int RZ_CurvedPhysicalToRaster(const float* physical, const RZ_Box&, const RZ_BoxParams&, RZ_Spline& spline,
                              const RZ_Box& imageBox, float curveFraction, int transposed, int alongOffset,
                              int acrossOffset, int sign, RZ_3Coord* originPoint, float* raster) {
    if (spline.splineKind == 1) return 0;
    RZ_3Coord direction = spline.sweepDirection;
    direction *= static_cast<float>(sign);
    const rz_obl::WholeCurve curve = rz_obl::whole_curve(spline, imageBox, transposed != 0, kFunction);
    if (curve.points == 0) return 0;
    direction.Normalize();
    const float along =
        static_cast<float>(curve.points - 1) * curveFraction + static_cast<float>(alongOffset);
    const float distance = RZ_dot(physical, direction) - RZ_dot(*originPoint, direction);
    const float across = static_cast<float>(acrossOffset) +
                         distance * static_cast<float>(curve.crossPixels) / curve.crossExtent;
    store(raster, transposed != 0, along, across);
    return 1;
}

int RZ_CurvedPhysicalToRaster(const float* physical, const RZ_Box&, const RZ_BoxParams& params,
                              RZ_Spline& spline, const RZ_Box& imageBox, float* raster) {
    std::vector<RZ_3Coord> points;
    int sign = 1;
    const auto room = [&points](int n) {
        points.resize(static_cast<std::size_t>(n));
        return points.data();
    };
    const CurveCentring centring = rz_obl::centre_curve(params, spline, imageBox, &sign, kFunction, room);
    if (!centring.valid) return 0;
    const NearestLine nearest = nearest_line(centring, points, RZ_3Coord(physical));
    const auto along = static_cast<float>(centring.along + nearest.index);
    const float across =
        static_cast<float>(centring.across) + nearest.offset - static_cast<float>(centring.lowest);
    store(raster, centring.transposed, along, across);
    return 1;
}
