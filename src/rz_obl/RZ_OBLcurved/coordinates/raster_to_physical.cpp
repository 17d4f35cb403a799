#include <vector>

#include "rz_obl/RZ_OBLcurved/coordinates/curve_centring.h"
#include "rz_obl/RZ_OBLcurved/directions.h"
#include "rz_obl/RZ_OBLcurved/rz_obl_curved.h"
#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"

namespace {

constexpr char kFunction[] = "RZ_CurvedRasterToPhysical";

/// The whole pixel of a raster position as a physical point.
void locate(const float* raster, bool transposed, int alongOffset, int acrossOffset, const RZ_3Coord* points,
            const RZ_3Coord& step, float* physical) {
    const int x = rz_obl::trunc_to_int(raster[0]);
    const int y = rz_obl::trunc_to_int(raster[1]);
    const int along = rz_obl::wrap_sub(transposed ? y : x, alongOffset);
    const int across = rz_obl::wrap_sub(transposed ? x : y, acrossOffset);
    const RZ_3Coord point = rz_obl::moved(points[along], static_cast<float>(across), step);
    physical[0] = point.x;
    physical[1] = point.y;
    physical[2] = point.z;
}

}  // namespace

int RZ_CurvedRasterToPhysical(float* physical, const RZ_Box&, const RZ_BoxParams&, RZ_Spline& spline,
                              const RZ_Box& imageBox, int transposed, int alongOffset, int acrossOffset,
                              int sign, RZ_3Coord* points, const float* raster) {
    if (spline.splineKind == 1) return 0;
    RZ_GetInterTab(3, 12);
    RZ_3Coord step = spline.sweepDirection;
    step *= static_cast<float>(sign);
    const rz_obl::WholeCurve curve = rz_obl::whole_curve(spline, imageBox, transposed != 0, kFunction);
    if (curve.points == 0) return 0;
    step.Normalize();
    step *= curve.crossExtent / static_cast<float>(curve.crossPixels);
    locate(raster, transposed != 0, alongOffset, acrossOffset, points, step, physical);
    return 1;
}

int RZ_CurvedRasterToPhysical(float* physical, const RZ_Box&, const RZ_BoxParams& params, RZ_Spline& spline,
                              const RZ_Box& imageBox, const float* raster) {
    std::vector<RZ_3Coord> points;
    int sign = 1;
    const auto room = [&points](int n) {
        points.resize(static_cast<std::size_t>(n));
        return points.data();
    };
    const rz_obl::CurveCentring centring =
        rz_obl::centre_curve(params, spline, imageBox, &sign, kFunction, room);
    if (!centring.valid) return 0;
    locate(raster, centring.transposed, centring.along, centring.across - centring.lowest, points.data(),
           centring.step, physical);
    return 1;
}
