#pragma once

#include "lower/geometry/box.h"
#include "lower/geometry/plane.h"

namespace rz_obl {

/// How a scan walks from one face of the slab to the other.
struct slab_walk {
    /// Steps on each side of the plane; 0 for no slab or for a slab thinner than one step.
    int steps = 0;
    /// In samples: one sample along the axis on which the normal is longest. Sign as the normal has it.
    float step[3] = {0.0F, 0.0F, 0.0F};
};

slab_walk make_slab_walk(const RZ_PlaneParams& plane, const RZ_Box& volumeBox, float halfThickness);

}  // namespace rz_obl
