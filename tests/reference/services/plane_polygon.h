#pragma once

#include "rz_obl/rz_oblique/rz_oblique.h"
#include "tests/support/branches.h"

namespace rz_reference {

/// RZ_GetPlaneBoxPolygon, one statement per step. branches: what the cases met.
int get_plane_box_polygon(const RZ_BoxParams& box, const RZ_PlaneParams& plane, float (*polygon)[3],
                          RZ_BoxParams& result, int ordered, rz_test::Branches& branches);

}  // namespace rz_reference
