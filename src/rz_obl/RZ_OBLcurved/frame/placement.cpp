#include "rz_obl/RZ_OBLcurved/frame/placement.h"

#include <algorithm>

#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"

rz_obl::CrossPlacement rz_obl::place_cross_axis(const CurveAxis& axis, float start, const CrossRange& range,
                                                bool localFrames) {
    const float pixels = start / axis.curveExtent * static_cast<float>(axis.curvePixels);
    CrossPlacement placement{};
    placement.crossStart = trunc_to_int(static_cast<double>(pixels) + 0.0001);
    const int m = axis.crossPixels;
    if (localFrames) {
        placement.rowShift = wrap_sub(0, placement.crossStart);
        placement.crossLo = std::max(placement.crossStart, range.least);
        placement.crossHi = std::min(wrap_add(m, placement.crossStart), range.greatest);
        return placement;
    }
    const int extent = wrap_add(wrap_sub(range.greatest, range.least), 1) & ~1;
    const int half = extent / 2;
    const int k = wrap_add(half, placement.crossStart);
    placement.rowShift = wrap_sub(wrap_sub(wrap_sub(0, placement.crossStart), half), range.least);
    placement.crossLo = wrap_add(std::max(k, 0), range.least);
    placement.crossHi = wrap_add(std::min(wrap_add(m, k), extent), range.least);
    return placement;
}

void rz_obl::limit_spans(SweepSpan* spans, int count, const CrossPlacement& placement, bool localFrames,
                         float maxWidth, float pixel) {
    int lo = placement.crossLo;
    int hi = placement.crossHi;
    if (localFrames && maxWidth > 0.1F) {
        lo = trunc_to_int(std::max(-maxWidth * 0.5F / pixel, static_cast<float>(placement.crossLo)));
        hi = trunc_to_int(std::min(maxWidth * 0.5F / pixel, static_cast<float>(placement.crossHi)));
    }
    for (int c = 0; c < count; ++c) {
        spans[c].first = std::max(spans[c].first, lo);
        spans[c].end = std::min(spans[c].end, hi);
    }
}
