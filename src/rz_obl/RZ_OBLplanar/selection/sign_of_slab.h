#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"

namespace rz_obl {

// A slab is symmetric about its plane: turning the step round leaves the set of its planes and lets every
// scan walk with x ascending or constant. In place: the caller sees it.

inline void make_x_ascending(int slabStep[3]) {
    if (slabStep[0] >= 0) return;
    for (int k = 0; k < 3; ++k) slabStep[k] = wrap_sub(0, slabStep[k]);
}

inline void make_x_ascending(float slabStep[3]) {
    if (!(0.0F > slabStep[0])) return;  // -0 and NaN stay
    for (int k = 0; k < 3; ++k) slabStep[k] = -slabStep[k];
}

}  // namespace rz_obl
