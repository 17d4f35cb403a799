#pragma once

#include "rz_obl/RZ_OBLplanar/frame/reslice_request.h"

namespace rz_obl {

/// Matrix from output raster positions to source index coordinates for this plane: the request's own or a
/// face of its slab.
void make_plane_to_index(const RZ_PlaneParams& plane, const reslice_request& request,
                         float planeToIndex[4][4]);

}  // namespace rz_obl
