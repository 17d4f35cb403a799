#pragma once

#include "rz_obl/RZ_OBLcurved/frame/sweep_spans.h"
#include "rz_obl/RZ_OBLcurved/prepare/curve_axis.h"

namespace rz_obl {

/// Where cross indices lie in the image: index j at position j + rowShift along the cross axis.
struct CrossPlacement {
    /// Whole pixels of the box's start on the cross axis.
    int crossStart;
    int rowShift;
    /// Cross indices of the image: crossLo <= j < crossHi.
    int crossLo;
    int crossHi;
};

/// start: the box's start on the cross axis, millimetres. With local frames the curve stays where the start
/// puts it, without them the range of the frame box is centred.
CrossPlacement place_cross_axis(const CurveAxis& axis, float start, const CrossRange& range,
                                bool localFrames);

/// Narrows every span to the image, and with local frames to the band of maxWidth millimetres about the
/// curve.
void limit_spans(SweepSpan* spans, int count, const CrossPlacement& placement, bool localFrames,
                 float maxWidth, float pixel);

}  // namespace rz_obl
