#include "rz_obl/RZ_OBLcurved/coordinates/curve_centring.h"

#include <algorithm>

#include "lower/log/log.h"
#include "rz_obl/RZ_OBLcurved/directions.h"
#include "rz_obl/RZ_OBLcurved/frame/box_entry_exit.h"
#include "rz_obl/RZ_OBLcurved/log_name.h"
#include "rz_obl/RZ_OBLcurved/prepare/curve_axis.h"
#include "rz_obl/RZ_OBLcurved/rz_obl_curved.h"
#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"

namespace {

constexpr int kAccuracy = 5;

void log_error(const char* function, int line, const char* text) {
    if (JrnGLog.StoreParams(rz_obl::kCurvedLogFile, function, line, 3, 208, 1)) JrnGLog.Log("%s", text);
}

/// Half of the free room, or 0 where there is none; tested in 16 bits.
int half_room(int room) {
    const int half = room / 2;
    return rz_obl::low16(half) < 0 ? 0 : half;
}

}  // namespace

rz_obl::WholeCurve rz_obl::whole_curve(RZ_Spline& spline, const RZ_Box& imageBox, bool transposed,
                                       const char* function) {
    const CurveAxis axis(imageBox, transposed);
    WholeCurve curve{axis.curveExtent, axis.crossExtent, axis.curvePixels, axis.crossPixels, 0};
    if (curve.curvePixels < 1) {
        // The texts name RZ_CalcCurved whatever the function.
        log_error(function, __LINE__, "RZ_CalcCurved: negative image width\n");
        return curve;
    }
    const int points = curve_points(spline.GetLength(0), axis);
    if (points < 2) {
        log_error(function, __LINE__, "RZ_CalcCurved: negative image size\n");
        return curve;
    }
    curve.points = points;
    return curve;
}

rz_obl::CurveCentring rz_obl::begin_centring(const RZ_BoxParams& params, RZ_Spline& spline,
                                             const RZ_Box& imageBox, int* sign, const char* function) {
    CurveCentring centring;
    if (spline.splineKind == 1) return centring;
    RZ_GetInterTab(3, 12);
    centring.step = spline.sweepDirection;
    RZ_3Coord line = spline.GetLineDirection();
    centring.transposed = RZ_FlipCurved(centring.step, line, sign) != 0;
    centring.curve = whole_curve(spline, imageBox, centring.transposed, function);
    if (centring.curve.points == 0) return centring;
    params.GetNormTrans(centring.toNormalised);
    centring.valid = true;
    return centring;
}

void rz_obl::finish_centring(CurveCentring& centring, RZ_Spline& spline, RZ_3Coord* points) {
    const int n = centring.curve.points;
    const int crossPixels = centring.curve.crossPixels;
    spline.InterpolateEDCurve(points, n, kAccuracy, nullptr, 0, 0);
    centring.step.Normalize();
    centring.step *= centring.curve.crossExtent / static_cast<float>(crossPixels);
    centring.normalisedStep = transform_direction(centring.step, centring.toNormalised);

    int lowest = low16(crossPixels);
    int highest = 0;
    for (int i = 0; i < n; ++i) {
        const RayRange range =
            box_entry_exit(centring.normalisedStep, transform_point(points[i], centring.toNormalised));
        if (!range.hit()) continue;
        // A column counts for at most the image's height from where it enters the box.
        const float end = std::min(range.hi, range.lo + static_cast<float>(crossPixels));
        lowest = low16(std::min(lowest, trunc_to_int(range.lo)));
        highest = low16(std::max(highest, trunc_to_int(end)));
    }
    // required: all points of the curve, also where its ends lie outside the box
    const int firstIndex = 0;
    const int lastIndex = n - 1;
    centring.lowest = lowest;
    centring.along = half_room(centring.curve.curvePixels - 1 + firstIndex - lastIndex) - firstIndex;
    centring.across = half_room(wrap_add(crossPixels, -1) + lowest - highest);
}

int RZ_PrepareSplineTrans(const RZ_Box& box, const RZ_BoxParams&, RZ_Spline& spline, const RZ_Box& imageBox,
                          int* alongOffset, int* acrossOffset, int* sign, RZ_3Coord* points) {
    const rz_obl::CurveCentring centring = rz_obl::centre_curve(
        box.params, spline, imageBox, sign, "RZ_PrepareSplineTrans", [points](int) { return points; });
    if (!centring.valid) return 0;
    *alongOffset = centring.along;
    *acrossOffset = centring.across - centring.lowest;
    return centring.transposed ? 1 : 0;
}
