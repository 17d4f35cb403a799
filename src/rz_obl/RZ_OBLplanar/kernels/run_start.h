#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"
#include "rz_obl/RZ_OBLplanar/kernels/position.h"

// The start of a run: where a row's first column lies in the source, the step back to the slab's first plane,
// the clamp at sample 0. Separate, since a kernel may leave one out or shift in between; run_start is all
// three.

namespace rz_obl {

/// Source position of output sample (column, row), each product and sum rounded in this order.
static inline float_point plane_position(const float planeToIndex[4][4], int row, int column) {
    const float r = static_cast<float>(row);
    const float c = static_cast<float>(column);
    return {(r * planeToIndex[1][0] + c * planeToIndex[0][0]) + planeToIndex[3][0],
            (r * planeToIndex[1][1] + c * planeToIndex[0][1]) + planeToIndex[3][1],
            (r * planeToIndex[1][2] + c * planeToIndex[0][2]) + planeToIndex[3][2]};
}

/// Toward zero, no saturation.
static inline q18_point to_q18(const float_point& p) {
    return {to_q18(p.x), to_q18(p.y), to_q18(p.z)};
}

/// From the plane to the slab plane furthest on the negative side. No plane on either side, or a negative
/// count: p itself.
static inline q18_point first_slab_plane(const q18_point& p, int slabSteps, const int slabStep[3]) {
    return slabSteps > 0 ? p - slabSteps * q18_step(slabStep) : p;
}

static inline float_point first_slab_plane(const float_point& p, int slabSteps, const float slabStep[3]) {
    return slabSteps > 0 ? p - static_cast<float>(slabSteps) * float_step(slabStep) : p;
}

/// Once per run, x and y only: later pixels keep the shift, and z reaches the guard slices.
static inline q18_point clamp_start(const q18_point& p) {
    return {p.x < 0 ? 0 : p.x, p.y < 0 ? 0 : p.y, p.z};
}

static inline float_point clamp_start(const float_point& p) {
    return {0.0F > p.x ? 0.0F : p.x, 0.0F > p.y ? 0.0F : p.y, p.z};
}

static inline q18_point run_start(const float planeToIndex[4][4], int row, int column, int slabSteps,
                                  const int slabStep[3]) {
    const q18_point inPlane = to_q18(plane_position(planeToIndex, row, column));
    return clamp_start(first_slab_plane(inPlane, slabSteps, slabStep));
}

static inline float_point run_start(const float planeToIndex[4][4], int row, int column, int slabSteps,
                                    const float slabStep[3]) {
    const float_point inPlane = plane_position(planeToIndex, row, column);
    return clamp_start(first_slab_plane(inPlane, slabSteps, slabStep));
}

}  // namespace rz_obl
