#pragma once

#include <gtest/gtest.h>

#include "rz_obl/RZ_OBLplanar/kernels/semicubic/scan_semicubic.h"
#include "rz_obl/RZ_OBLplanar/kernels/tricubic/scan_tricubic.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "tests/support/hand_made.h"

// Both forms of the semi-cubic kernels and of scan_tricubic.

namespace rz_test {

struct SerpentineKernel {
    const char* name;
    void (*narrow)(const rz_obl::scan_args_16&);
    void (*wide)(const rz_obl::scan_args_16&);
};

constexpr SerpentineKernel kSemicubicX = {"linear along x", rz_obl::scan_semicubic_x,
                                          rz_obl::scan_semicubic_x_avx2};
constexpr SerpentineKernel kSemicubicY = {"linear along y", rz_obl::scan_semicubic_y,
                                          rz_obl::scan_semicubic_y_avx2};
constexpr SerpentineKernel kSemicubicZ = {"linear along z", rz_obl::scan_semicubic_z,
                                          rz_obl::scan_semicubic_z_avx2};

constexpr SerpentineKernel kTricubic = {"cubic along all axes", rz_obl::scan_tricubic,
                                        rz_obl::scan_tricubic_avx2};

/// What the narrow form makes; the wide one, where the processor has it, must make the same.
inline Outcome16 run_forms(const SerpentineKernel& kernel, const ScanCase16& c) {
    const Outcome16 o = run(kernel.narrow, c);
    if (rz_obl::g_cpuFeatures.hasAvx2()) {
        EXPECT_EQ(first_difference(c, o, run(kernel.wide, c)), "");
    }
    return o;
}

}  // namespace rz_test
