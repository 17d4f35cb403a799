#include <algorithm>
#include <cmath>
#include <vector>

#include "lower/geometry/plane.h"
#include "lower/log/log.h"
#include "rz_obl/RZ_OBLcurved/directions.h"
#include "rz_obl/RZ_OBLcurved/log_name.h"
#include "rz_obl/RZ_OBLcurved/prepare/curve_axis.h"
#include "rz_obl/RZ_OBLcurved/rz_obl_curved.h"
#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"

namespace {

using rz_obl::trunc_to_int;
using rz_obl::wrap_add;
using rz_obl::wrap_sub;

constexpr int kAccuracy = 10;
constexpr int kTangentAccuracy = 5;
// Curves of more than ten times as many points get tangents and directions from every tenth point only: those
// of a very dense curve are restless.
constexpr int kThinFactor = 10;

/// Takes margin pixels from each end of the curve axis, over the same extent; the cross axis grows so that
/// the larger pixels stay square.
void shrink(RZ_Box& box, bool transposed, int margin) {
    float middle[3];
    box.params.GetMiddle(middle);
    int& pixels = transposed ? box.yDim : box.xDim;
    const float f =
        static_cast<float>(wrap_sub(pixels, rz_obl::wrap_mul(2, margin))) / static_cast<float>(pixels);
    pixels = trunc_to_int(static_cast<float>(pixels) * f + 0.5F);
    if (transposed) {
        box.params.TScale(1.0F / f, 1.0F, 1.0F, middle);
    } else {
        box.params.TScale(1.0F, 1.0F / f, 1.0F, middle);
    }
}

void warn_if_anisotropic(const RZ_Box& box) {
    const float x = box.GetXMmPerPixel();
    const float y = box.GetYMmPerPixel();
    if (std::fabs(x - y) > 0.001F &&
        JrnGLog.StoreParams(rz_obl::kCurvedLogFile, "RZ_PrepareCurveData", __LINE__, 6, 208, 1)) {
        JrnGLog.Log("Anisotropic mm-per-px in curved MPR: %f, %f\n", static_cast<double>(x),
                    static_cast<double>(y));
    }
}

void renew(RZ_3Coord*& array, std::size_t size) {
    delete[] array;
    array = nullptr;
    array = new RZ_3Coord[size];
}

/// Positions, tangents and directions of the run that the view needs, at double density: index c of the curve
/// stands at point 2 c + 1, so that columns lie at pixel centres.
void interpolate(RZ_Spline& spline, bool localFrames, const RZ_CurveProjectData& data, RZ_3Coord* tangents) {
    const int count = wrap_add(rz_obl::wrap_mul(2, data.curveColumns), 1);
    const int first = 2 * data.firstSample + 1;
    const int length = 2 * data.sampleCount - 1;
    if (!localFrames) {
        spline.InterpolateEDCurveWithTangents(data.points, tangents, count, kAccuracy, kTangentAccuracy,
                                              nullptr, first, length);
    } else if (spline.NumOfPoints(1) <= kThinFactor * 10) {
        spline.InterpolateEDCurveWithTangents(data.points, tangents, count, kAccuracy, kTangentAccuracy,
                                              data.directions, first, length);
    } else {
        RZ_Spline thin(static_cast<SPLINE_TYPE>(1), static_cast<EDGE_TYPE>(0));
        spline.ThinSpline(thin, kThinFactor);
        thin.InterpolateEDCurveWithTangents(data.points, tangents, count, kAccuracy, kTangentAccuracy,
                                            data.directions, first, length);
        spline.InterpolateEDCurve(data.points, count, kAccuracy, nullptr, first, length);
    }
}

}  // namespace

int RZ_PrepareCurveData(RZ_Spline& spline, RZ_Box& box, bool localFrames, bool* transposedIn, int* signIn,
                        int margin, RZ_CurveProjectData* data, RZ_Box* secondBox) {
    if (spline.splineKind == 1) return 0;
    RZ_3Coord sweep = spline.sweepDirection;
    RZ_3Coord line = spline.GetLineDirection();
    int sign = 1;
    const bool transposed = transposedIn != nullptr ? *transposedIn : RZ_FlipCurved(sweep, line, &sign) != 0;
    if (signIn != nullptr && *signIn != sign) rz_obl::negate(sweep);

    shrink(box, transposed, margin);
    if (secondBox != nullptr) shrink(*secondBox, transposed, margin);
    warn_if_anisotropic(box);

    const rz_obl::CurveAxis axis(box, transposed);
    const int n = axis.curvePixels;
    if (n < 1) return 0;
    const float length = spline.GetLength(0);
    const int curveColumns = rz_obl::curve_columns(length, axis);
    if (curveColumns < 2) return 0;

    float start[3];
    box.params.GetStart(start);
    const float s = transposed ? start[1] : start[0];
    const int viewStart = trunc_to_int((length * 0.5F + s) * static_cast<float>(n) / axis.curveExtent + 0.5F);
    const float pixel = axis.curveExtent / static_cast<float>(n);
    const int viewEnd = wrap_add(n, viewStart);
    const int firstSample = std::min(std::max(viewStart, 0), curveColumns);
    const int lastSample = std::max(std::min(viewEnd, curveColumns), 0);
    const int sampleCount = lastSample - firstSample + 1;

    const std::size_t room = 2 * static_cast<std::size_t>(sampleCount) + 1;
    if (data->sampleCount < sampleCount) {
        data->sampleCount = 0;
        renew(data->points, room);
        renew(data->directions, room);
        renew(data->normals, room);
    }
    data->curveColumns = curveColumns;
    data->viewStart = viewStart;
    data->viewEnd = viewEnd;
    data->firstSample = firstSample;
    data->lastSample = lastSample;
    data->sampleCount = sampleCount;

    if (localFrames) {
        data->directions[0] = sweep;
    } else {
        std::fill(data->directions, data->directions + room, sweep);
    }
    std::vector<RZ_3Coord> tangents(room);
    interpolate(spline, localFrames, *data, tangents.data());

    // Nothing reads the plane; the geometry library is asked for it all the same.
    line.Normalize();
    RZ_PlaneParams plane;
    RZ_CalcPlane(sweep, RZ_3Coord(0.0F, 0.0F, 0.0F), plane, true);

    for (int i = 0; i < sampleCount; ++i) {
        const RZ_3Coord direction = data->directions[2 * i];
        data->points[i] = data->points[2 * i];
        RZ_cross(direction, tangents[static_cast<std::size_t>(2 * i)], data->normals[i]);
        data->normals[i].Normalize();
        data->directions[i] = RZ_3Coord(pixel * direction.x, pixel * direction.y, pixel * direction.z);
    }
    return 1;
}
