#pragma once

#include "lower/definitions/coord.h"
#include "lower/geometry/box_params.h"
#include "rz_obl/RZ_OBLcurved/rz_obl_curved.h"

namespace rz_obl {

/// Cross indices to draw of one curve index: first <= j < end.
struct SweepSpan {
    int first;
    int end;
};

/// The range of cross indices that the frame box gives; least stays INT_MAX if no curve index has one.
struct CrossRange {
    int least;
    int greatest;
};

struct SweepRequest {
    const RZ_CurveProjectData* data;
    const RZ_BoxParams* cropParams;
    const RZ_BoxParams* frameParams;
    /// Physical step per cross pixel where frames are not local.
    RZ_3Coord step;
    bool localFrames;
    bool requireInside;
    float thickness;
};

/// Fills spans of curve indices firstSample to lastSample - 1; the others keep what they hold. With a
/// thickness (also a NaN) a column is left only where both faces of the slab lie in the crop box.
CrossRange fill_sweep_spans(const SweepRequest& request, SweepSpan* spans);

}  // namespace rz_obl
