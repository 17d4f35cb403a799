#pragma once

#include "lower/geometry/box.h"

namespace rz_obl {

/// What of an image box belongs to which axis.
struct CurveAxis {
    int curvePixels;    ///< N
    int crossPixels;    ///< M
    float curveExtent;  ///< W, millimetres
    float crossExtent;  ///< H, millimetres

    CurveAxis(const RZ_Box& box, bool transposed)
        : curvePixels(transposed ? box.yDim : box.xDim),
          crossPixels(transposed ? box.xDim : box.yDim),
          curveExtent(transposed ? box.params.GetHeight() : box.params.GetWidth()),
          crossExtent(transposed ? box.params.GetWidth() : box.params.GetHeight()) {}
};

/// Samples at pixel centres along the whole curve: even, 0 for less than two.
int curve_columns(float length, const CurveAxis& axis);

/// Points along the whole curve, ends included, at most N. axis must have pixels.
int curve_points(float length, const CurveAxis& axis);

}  // namespace rz_obl
