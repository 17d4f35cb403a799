#include "rz_obl/RZ_OBLcurved/frame/sweep_spans.h"

#include <algorithm>
#include <climits>

#include "rz_obl/RZ_OBLcurved/directions.h"
#include "rz_obl/RZ_OBLcurved/frame/box_entry_exit.h"
#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"

namespace {

using rz_obl::RayRange;
using rz_obl::SweepRequest;
using rz_obl::SweepSpan;
using rz_obl::trunc_to_int;

bool outside(const RZ_3Coord& p) {
    const auto beyond = [](float x) {
        return static_cast<double>(x) < -0.000001 || static_cast<double>(x) > 1.000001;
    };
    return beyond(p.x) || beyond(p.y) || beyond(p.z);
}

/// One of the two boxes, normalised, with the sweep's step in it.
class NormalisedBox {
  public:
    NormalisedBox(const RZ_BoxParams& box, const SweepRequest& request) : request_(request) {
        box.GetNormTrans(matrix_);
        step_ = rz_obl::transform_direction(request.step, matrix_);
    }
    RZ_3Coord point(const RZ_3Coord& physical) const { return rz_obl::transform_point(physical, matrix_); }
    RayRange range(int element, const RZ_3Coord& position) const {
        if (!request_.localFrames) return rz_obl::box_entry_exit(step_, position);
        const RZ_3Coord step = rz_obl::transform_direction(request_.data->directions[element], matrix_);
        return rz_obl::box_entry_exit(step, position);
    }

  private:
    const SweepRequest& request_;
    float matrix_[4][4];
    RZ_3Coord step_;
};

}  // namespace

rz_obl::CrossRange rz_obl::fill_sweep_spans(const SweepRequest& request, SweepSpan* spans) {
    const RZ_CurveProjectData& data = *request.data;
    const NormalisedBox crop(*request.cropParams, request);
    const NormalisedBox frame(*request.frameParams, request);
    const bool slab = request.thickness != 0.0F;
    CrossRange cross{INT_MAX, INT_MIN};

    for (int c = data.firstSample; c < data.lastSample; ++c) {
        const int i = c - data.firstSample;
        const RZ_3Coord surface = data.points[i];
        const RZ_3Coord face = slab ? moved(surface, request.thickness, data.normals[i]) : surface;
        const RZ_3Coord inCrop = crop.point(face);
        if (request.requireInside && outside(inCrop)) continue;
        const RayRange drawn = crop.range(i, inCrop);
        const RayRange framed = frame.range(i, frame.point(surface));
        if (framed.hit()) {
            cross.least = std::min(cross.least, trunc_to_int(framed.lo));
            cross.greatest = std::max(cross.greatest, trunc_to_int(framed.hi));
        }
        if (drawn.hit()) spans[c] = {trunc_to_int(drawn.lo), trunc_to_int(drawn.hi)};
    }
    if (!slab) return cross;

    for (int c = data.firstSample; c < data.lastSample; ++c) {
        const int i = c - data.firstSample;
        const float t = request.thickness;
        const RZ_3Coord& p = data.points[i];
        const RZ_3Coord& n = data.normals[i];
        const RZ_3Coord inCrop = crop.point(RZ_3Coord(p.x - t * n.x, p.y - t * n.y, p.z - t * n.z));
        SweepSpan& span = spans[c];
        if (request.requireInside && outside(inCrop)) {
            span = {0, -1};
            continue;
        }
        const RayRange drawn = crop.range(i, inCrop);
        if (drawn.hit()) {
            span.first = std::max(span.first, trunc_to_int(drawn.lo));
            span.end = std::min(span.end, trunc_to_int(drawn.hi));
        } else {
            span = {0, -1};
        }
    }
    return cross;
}
