#pragma once

#include "bench/jobs/planar/planar.h"
#include "lower/geometry/box.h"
#include "lower/geometry/plane.h"

namespace rz_bench {

/// A request as our library takes it.
struct PlanarBoxes {
    PlanarBoxes(const Volume& volume, const PlanarRequest& request);

    RZ_PlaneParams plane;
    RZ_Box output;
    float halfThickness = 0.0F;
};

}  // namespace rz_bench
