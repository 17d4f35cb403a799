#pragma once

#include "lower/geometry/box.h"
#include "lower/geometry/plane.h"
#include "rz_obl/rendition.h"

namespace rz_obl {

/// What a caller asks for, as far as it does not depend on the samples: the arguments that the planar entry
/// points have in common. Refers to the caller's objects; none is checked.
struct reslice_request {
    const RZ_Box& volumeBox;
    const RZ_BoxParams& volumeParams;
    const RZ_PlaneParams& plane;
    const RZ_BoxParams* clipParams;  // may be null
    const RZ_Box& outputBox;
    RZ_OBL_RenditionQuality quality;
    float halfThickness;  // millimetres
    int* firstRow;
    int* lastRow;
    int* firstColumn;
    int* lastColumn;
};

/// Nearest never has a slab. A NaN thickness counts as one.
inline bool has_slab(const reslice_request& request) {
    return request.halfThickness != 0.0F && request.quality != RZ_OBL_RenditionQuality::Nearest;
}

}  // namespace rz_obl
