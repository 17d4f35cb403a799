#pragma once

#include "lower/geometry/box_params.h"
#include "lower/geometry/spline.h"
#include "tests/support/branches.h"

namespace rz_reference {

/// Size of the flat image of a swept surface inside a box, one statement per step.
int get_plane_box(const RZ_BoxParams& box, RZ_Spline& spline, RZ_BoxParams& result, int insideOnly,
                  rz_test::Branches& branches);

}  // namespace rz_reference
