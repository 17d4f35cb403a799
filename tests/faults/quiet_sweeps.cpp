#include <gtest/gtest.h>

#include "rz_obl/RZ_OBLplanar/kernels/bits32/scan_32bits.h"
#include "rz_obl/RZ_OBLplanar/kernels/bits8/scan_8bits.h"
#include "rz_obl/RZ_OBLplanar/kernels/cubic/scan_cubic.h"
#include "rz_obl/RZ_OBLplanar/kernels/linear/scan_linear.h"
#include "rz_obl/RZ_OBLplanar/kernels/max_min/scan_max_min.h"
#include "rz_obl/RZ_OBLplanar/kernels/max_min/scan_nearest.h"
#include "rz_obl/RZ_OBLplanar/kernels/semicubic/scan_semicubic.h"
#include "rz_obl/RZ_OBLplanar/kernels/tricubic/scan_tricubic.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "rz_obl/rz_obl.h"
#include "tests/curved/simple_curve.h"
#include "tests/faults/sweep.h"
#include "tests/support/scan_case.h"

// Functions that ask for no memory at all, and are to stay so: orientation and boxes, and every kernel in
// each of its forms.

namespace rz_test {
namespace {

void orientation_and_boxes() {
    CurvedRequest request = simple_request();
    expect_quiet([&] {
        RZ_3Coord sweep(0.0F, 0.0F, 1.0F);
        RZ_3Coord line(1.0F, 0.0F, 0.0F);
        int sign = 0;
        (void)RZ_FlipCurved(sweep, line, &sign);
        (void)RZ_GetWpixels(request.spline, request.imageBox);
        RZ_BoxParams result;
        (void)RZ_GetPlaneBox(request.crop, request.spline, result, 1);
        const RZ_PlaneParams plane(RZ_3Coord(1.0F, 1.0F, 1.0F), RZ_3Coord(8.0F, 8.0F, 8.0F),
                                   RZ_3Coord(1.0F, -1.0F, 0.0F));
        float polygon[20][3];
        const int corners = RZ_GetPlaneBoxPolygon(request.crop, plane, polygon, result, 1);
        RZ_SetStretchedMethod(corners);
        FFastInd index;
        FFastInd copy(index);
        copy = index;
        RZ_OBLUtils tools;
        const RZ_OBLUtils others;
        tools = others;
        tools = RZ_OBLUtils();
    });
}

/// run() makes the raster and the arguments outside of the watch, which sees the kernel alone.
template <class Case, class Kernel>
void expect_quiet_kernel(const char* name, const ScanOptions& options, Kernel kernel) {
    SCOPED_TRACE(name);
    for (Seed seed = 1; seed <= 25; ++seed) {
        const auto c = make_scan_case<Case>(seed, options);
        run(
            [&](const auto& args) {
                EXPECT_EQ(heap::watch(heap::kNone, [&] { kernel(args); }).requests, 0) << replay(seed);
            },
            c);
    }
}

ScanOptions anywhere() {
    ScanOptions options;
    options.reach = Reach::kAnywhere;
    options.slicesBelow = 1;
    options.slicesAbove = 2;
    options.maxSlabSteps = 12;
    return options;
}

void kernels_of_16_bits(bool wide) {
    using namespace rz_obl;
    ScanOptions plain;
    expect_quiet_kernel<ScanCase16>("linear", plain, wide ? scan_linear_avx2 : scan_linear);
    expect_quiet_kernel<ScanCase16>("cubic", anywhere(), wide ? scan_cubic_avx2 : scan_cubic_sse);
    expect_quiet_kernel<ScanCase16>("semi-cubic x", anywhere(),
                                    wide ? scan_semicubic_x_avx2 : scan_semicubic_x);
    expect_quiet_kernel<ScanCase16>("semi-cubic y", anywhere(),
                                    wide ? scan_semicubic_y_avx2 : scan_semicubic_y);
    expect_quiet_kernel<ScanCase16>("semi-cubic z", anywhere(),
                                    wide ? scan_semicubic_z_avx2 : scan_semicubic_z);
    expect_quiet_kernel<ScanCase16>("tricubic", anywhere(), wide ? scan_tricubic_avx2 : scan_tricubic);
    plain.negativeSlabSteps = false;
    const auto both = [&](const char* name, auto kernel) {
        for (const bool fast : {false, true}) {
            expect_quiet_kernel<ScanCase16>(name, plain,
                                            [=](const scan_args_16& args) { kernel(args, fast); });
        }
    };
    both("maximum", wide ? scan_max_plane_major_avx2 : scan_max_plane_major);
    both("minimum", wide ? scan_min_plane_major_avx2 : scan_min_plane_major);
    both("maximum by pixels", wide ? scan_max_pixel_major_avx2 : scan_max_pixel_major);
    both("minimum by pixels", wide ? scan_min_pixel_major_avx2 : scan_min_pixel_major);
}

void kernels_of_8_and_32_bits(bool wide) {
    using namespace rz_obl;
    ScanOptions limited;
    limited.limitsAbove = true;
    expect_quiet_kernel<ScanCase8>("8 bits", limited, wide ? scan_linear_8bits_avx2 : scan_linear_8bits);
    expect_quiet_kernel<ScanCase8>("8 bits, maximum", limited,
                                   wide ? scan_max_linear_8bits_avx2 : scan_max_linear_8bits);
    expect_quiet_kernel<ScanCase8>("8 bits, minimum", limited,
                                   wide ? scan_min_linear_8bits_avx2 : scan_min_linear_8bits);
    expect_quiet_kernel<ScanCase32>("32 bits", ScanOptions(),
                                    wide ? scan_linear_32bits_avx2 : scan_linear_32bits);
}

void nearest() {
    ScanOptions plain;
    plain.maxSlabSteps = 0;
    expect_quiet_kernel<ScanCase16>("nearest", plain, rz_obl::scan_nearest);
}

void cubic_of_32_bits(bool wide) {
    ScanOptions options;
    options.slicesBelow = 1;
    options.slicesAbove = 2;
    options.neighboursBefore = 1;
    options.neighboursBehind = 1;
    expect_quiet_kernel<ScanCase32>("32 bits, cubic", options,
                                    wide ? rz_obl::scan_cubic_32bits_avx2 : rz_obl::scan_cubic_32bits);
}

/// Only where they can run.
void kernels() {
    rz_obl::build_weight_table(rz_obl::g_cubicWeightTable);
    for (const bool wide : {false, true}) {
        if (wide && !rz_obl::g_cpuFeatures.hasAvx2()) continue;
        kernels_of_16_bits(wide);
        kernels_of_8_and_32_bits(wide);
        cubic_of_32_bits(wide);
    }
    nearest();
}

}  // namespace

std::vector<ExportedSweep> quiet_sweeps() {
    return {
        {"none_orientation_and_boxes",
         {"FFastInd::FFastInd()", "FFastInd::FFastInd(FFastInd const&", "FFastInd::operator=(",
          "RZ_FlipCurved(", "RZ_GetPlaneBox(", "RZ_GetPlaneBoxPolygon(", "RZ_GetWpixels(",
          "RZ_OBLUtils::operator=(RZ_OBLUtils const&", "RZ_OBLUtils::operator=(RZ_OBLUtils&&",
          "RZ_SetStretchedMethod("},
         orientation_and_boxes},
        {"none_kernels", {}, kernels},
    };
}

}  // namespace rz_test
