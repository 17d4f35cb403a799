#include "rz_obl/RZ_OBLcurved/prepare/curve_axis.h"

#include <algorithm>

#include "rz_obl/RZ_OBLcurved/rz_obl_curved.h"
#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"

int rz_obl::curve_columns(float length, const CurveAxis& axis) {
    const int columns = trunc_to_int(length / axis.curveExtent * static_cast<float>(axis.curvePixels));
    return wrap_add(columns, 1) & ~1;
}

int rz_obl::curve_points(float length, const CurveAxis& axis) {
    const int points = trunc_to_int(length / axis.curveExtent * static_cast<float>(axis.curvePixels - 1));
    return std::min(axis.curvePixels, wrap_add(points, 1));
}

int RZ_GetWpixels(RZ_Spline& spline, const RZ_Box& box) {
    RZ_3Coord sweep = spline.sweepDirection;
    RZ_3Coord line = spline.GetLineDirection();
    int sign = 1;
    const rz_obl::CurveAxis axis(box, RZ_FlipCurved(sweep, line, &sign) != 0);
    if (axis.curvePixels < 1) return 0;
    return rz_obl::curve_points(spline.GetLength(0), axis);
}
