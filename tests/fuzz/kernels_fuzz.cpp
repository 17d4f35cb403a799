#include "rz_obl/RZ_OBLplanar/kernels/bits32/scan_32bits.h"
#include "rz_obl/RZ_OBLplanar/kernels/bits8/scan_8bits.h"
#include "rz_obl/RZ_OBLplanar/kernels/cubic/scan_cubic.h"
#include "rz_obl/RZ_OBLplanar/kernels/linear/scan_linear.h"
#include "rz_obl/RZ_OBLplanar/kernels/max_min/scan_max_min.h"
#include "rz_obl/RZ_OBLplanar/kernels/semicubic/scan_semicubic.h"
#include "rz_obl/RZ_OBLplanar/kernels/tricubic/scan_tricubic.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "tests/fuzz/fuzz.h"
#include "tests/reference/bits32.h"
#include "tests/reference/bits8.h"
#include "tests/reference/cubic.h"
#include "tests/reference/linear.h"
#include "tests/reference/max_min.h"
#include "tests/reference/semicubic.h"
#include "tests/reference/tricubic.h"
#include "tests/support/scan_case.h"

// Scans of every kernel: each path and the plain form.

namespace {

using namespace rz_test;
using rz_fuzz::stop_at;

constexpr Seed kSeed = 1;

template <class Case, class Reference, class... Kernels>
void compare(const ScanOptions& options, int quality, Reference reference, Kernels... kernels) {
    auto c = make_scan_case<Case>(kSeed, options);
    c.quality = quality;
    Branches unused;
    const auto want = run([&](const auto& args) { reference(args, unused); }, c);
    (stop_at(first_difference(c, want, run(kernels, c))), ...);
}

ScanOptions anywhere() {
    ScanOptions options;
    options.reach = Reach::kAnywhere;
    options.slicesBelow = 1;
    options.slicesAbove = 2;
    return options;
}

void linear(bool runOver) {
    ScanOptions options;
    options.maxSlabSteps = 60;
    options.negativeSlabStep = true;
    if (runOver) options.reach = Reach::kInRaster;
    compare<ScanCase16>(options, 4, rz_reference::scan_linear, rz_obl::scan_linear, rz_obl::scan_linear_avx2);
}

void cubic(bool clamp) {
    rz_obl::OvershootClamp = clamp;
    const auto reference = [=](const auto& args, Branches& b) { rz_reference::scan_cubic(args, clamp, b); };
    compare<ScanCase16>(anywhere(), 3, reference, rz_obl::scan_cubic_sse, rz_obl::scan_cubic_avx2);
}

void max_min(std::uint8_t which, bool fast) {
    using rz_obl::scan_args_16;
    ScanOptions options;
    options.negativeSlabSteps = false;
    const auto both = [&](auto reference, auto narrow, auto wide) {
        compare<ScanCase16>(
            options, fast ? 1 : 4, [=](const auto& args, Branches& b) { reference(args, fast, b); },
            [=](const scan_args_16& args) { narrow(args, fast); },
            [=](const scan_args_16& args) { wide(args, fast); });
    };
    if (which == 0)
        both(rz_reference::scan_max_plane_major, rz_obl::scan_max_plane_major,
             rz_obl::scan_max_plane_major_avx2);
    if (which == 1)
        both(rz_reference::scan_min_plane_major, rz_obl::scan_min_plane_major,
             rz_obl::scan_min_plane_major_avx2);
    if (which == 2)
        both(rz_reference::scan_max_pixel_major, rz_obl::scan_max_pixel_major,
             rz_obl::scan_max_pixel_major_avx2);
    if (which == 3)
        both(rz_reference::scan_min_pixel_major, rz_obl::scan_min_pixel_major,
             rz_obl::scan_min_pixel_major_avx2);
}

void bits8(std::uint8_t which, bool runOver) {
    ScanOptions options;
    options.limitsAbove = true;
    if (runOver) options.reach = Reach::kInRaster;
    if (which == 0)
        compare<ScanCase8>(options, 4, rz_reference::scan_linear_8bits, rz_obl::scan_linear_8bits,
                           rz_obl::scan_linear_8bits_avx2);
    if (which == 1)
        compare<ScanCase8>(options, 4, rz_reference::scan_max_linear_8bits, rz_obl::scan_max_linear_8bits,
                           rz_obl::scan_max_linear_8bits_avx2);
    if (which == 2)
        compare<ScanCase8>(options, 4, rz_reference::scan_min_linear_8bits, rz_obl::scan_min_linear_8bits,
                           rz_obl::scan_min_linear_8bits_avx2);
}

void bits32(bool isCubic, bool runOver) {
    ScanOptions options;
    if (runOver) options.reach = Reach::kInRaster;
    if (!isCubic)
        return compare<ScanCase32>(options, 4, rz_reference::scan_linear_32bits, rz_obl::scan_linear_32bits,
                                   rz_obl::scan_linear_32bits_avx2);
    options.slicesBelow = 1;
    options.slicesAbove = 2;
    options.neighboursBefore = 1;
    options.neighboursBehind = 1;
    compare<ScanCase32>(options, 3, rz_reference::scan_cubic_32bits, rz_obl::scan_cubic_32bits,
                        rz_obl::scan_cubic_32bits_avx2);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    rz_obl::build_weight_table(rz_obl::g_cubicWeightTable);
    rz_fuzz::stop_unless(rz_obl::g_cpuFeatures.hasAvx2(), "this processor has no AVX2 for the wide forms");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    rz_fuzz::Input input(bytes, count);
    const int which = input.byte() % 16;
    const int flags = input.byte();
    const bool flag = (flags & 1) != 0;
    const int quality = (flags & 2) != 0 ? 3 : 4;
    input.put_on_tape(kSeed);
    if (which <= 1) linear(which == 1);
    if (which == 2) cubic(flag);
    if (which == 3)
        compare<ScanCase16>(anywhere(), quality, rz_reference::scan_semicubic_x, rz_obl::scan_semicubic_x,
                            rz_obl::scan_semicubic_x_avx2);
    if (which == 4)
        compare<ScanCase16>(anywhere(), quality, rz_reference::scan_semicubic_y, rz_obl::scan_semicubic_y,
                            rz_obl::scan_semicubic_y_avx2);
    if (which == 5)
        compare<ScanCase16>(anywhere(), quality, rz_reference::scan_semicubic_z, rz_obl::scan_semicubic_z,
                            rz_obl::scan_semicubic_z_avx2);
    if (which == 6)
        compare<ScanCase16>(anywhere(), quality, rz_reference::scan_tricubic, rz_obl::scan_tricubic,
                            rz_obl::scan_tricubic_avx2);
    if (which >= 7 && which <= 10) max_min(static_cast<std::uint8_t>(which - 7), flag);
    if (which >= 11 && which <= 13) bits8(static_cast<std::uint8_t>(which - 11), flag);
    if (which >= 14) bits32(which == 15, flag);
    return 0;
}
