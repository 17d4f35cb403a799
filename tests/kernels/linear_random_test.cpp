#include <gtest/gtest.h>

#include "rz_obl/RZ_OBLplanar/kernels/linear/scan_linear.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "tests/reference/linear.h"
#include "tests/support/branches.h"
#include "tests/support/scan_case.h"

// Both forms of scan_linear against their plain form, on seeded cases that together reach every branch.

namespace {

using namespace rz_test;

void compare(int cases, const ScanOptions& options, Branches& branches) {
    for (const Seed seed : seeds(cases)) {
        const auto c = make_scan_case<ScanCase16>(seed, options);
        const auto reference = [&](const rz_obl::scan_args_16& args) {
            rz_reference::scan_linear(args, branches);
        };
        const auto want = run(reference, c);
        ASSERT_EQ(first_difference(c, want, run(rz_obl::scan_linear, c)), "");
        if (!rz_obl::g_cpuFeatures.hasAvx2()) continue;
        ASSERT_EQ(first_difference(c, want, run(rz_obl::scan_linear_avx2, c)), "");
    }
}

TEST(ScanLinearRandom, wide_form_is_compared_here) {
    if (!rz_obl::g_cpuFeatures.hasAvx2())
        GTEST_SKIP() << "this processor has no AVX2: scan_linear_avx2 did not run";
}

TEST(ScanLinearRandom, inside_the_volume) {
    Branches branches;
    compare(4000, {}, branches);
    EXPECT_EQ(branches.never_met({"empty span", "span of one column", "no row seen", "no plane at all",
                                  "x clamped at the start of a run", "y clamped at the start of a run",
                                  "guard slice before the first", "slab mean up", "slab mean down"}),
              "");
}

TEST(ScanLinearRandom, columns_run_over_into_the_next_row) {
    ScanOptions options;
    options.reach = Reach::kInRaster;
    Branches branches;
    compare(1500, options, branches);
    EXPECT_EQ(branches.never_met({"slab mean up", "slab mean down"}), "");
}

TEST(ScanLinearRandom, slab_step_that_walks_down_in_x) {
    ScanOptions options;
    options.negativeSlabStep = true;
    Branches branches;
    compare(1500, options, branches);
    EXPECT_EQ(branches.never_met({"slab mean up", "slab mean down"}), "");
}

TEST(ScanLinearRandom, thick_slabs) {
    ScanOptions options;
    options.maxSlabSteps = 90;
    options.negativeSlabSteps = false;
    Branches branches;
    compare(500, options, branches);
    EXPECT_EQ(branches.never_met({"slab mean up", "slab mean down"}), "");
}

}  // namespace
