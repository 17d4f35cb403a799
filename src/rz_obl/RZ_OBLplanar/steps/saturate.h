#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"

namespace rz_obl {

/// At most 512 samples per step, either way: the largest step that a scan can take. A NaN gives 512.
inline float saturate_step(float samples) {
    const float magnitude = samples < 0.0F ? -samples : samples;
    if (512.0F > magnitude) return samples;
    return 0.0F > samples ? -512.0F : 512.0F;
}

/// The same in Q18: the limits are 0xf8000000 and 0x8000000.
inline int saturate_q18(float samples) {
    return to_q18(saturate_step(samples));
}

}  // namespace rz_obl
