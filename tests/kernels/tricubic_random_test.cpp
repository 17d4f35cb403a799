#include <gtest/gtest.h>

#include "tests/kernels/serpentine_forms.h"
#include "tests/reference/tricubic.h"
#include "tests/support/branches.h"
#include "tests/support/scan_case.h"

// Both forms of scan_tricubic against the plain form, on seeded cases that together reach every branch.

namespace {

using namespace rz_test;

TEST(ScanTricubicRandom, wide_form_is_compared_here) {
    if (!rz_obl::g_cpuFeatures.hasAvx2())
        GTEST_SKIP() << "this processor has no AVX2: scan_tricubic_avx2 did not run";
}

TEST(ScanTricubicRandom, every_depth_and_sign) {
    ScanOptions options;
    options.reach = Reach::kAnywhere;
    options.slicesBelow = 1;
    options.slicesAbove = 2;
    Branches branches;
    for (const Seed seed : seeds(4000)) {
        auto c = make_scan_case<ScanCase16>(seed, options);
        c.quality = seed % 2 == 0 ? 3 : 4;
        const auto want = run([&](const auto& args) { rz_reference::scan_tricubic(args, branches); }, c);
        ASSERT_EQ(first_difference(c, want, run(kTricubic.narrow, c)), "");
        if (!rz_obl::g_cpuFeatures.hasAvx2()) continue;
        ASSERT_EQ(first_difference(c, want, run(kTricubic.wide, c)), "");
    }
    EXPECT_EQ(branches.never_met({"empty span",
                                  "span of one column",
                                  "no row seen",
                                  "no plane at all",
                                  "half a sample shifted",
                                  "not shifted",
                                  "shift spares the clamp in x",
                                  "shift spares the clamp in y",
                                  "start clamped in x",
                                  "start clamped in y",
                                  "dropped: column negative",
                                  "dropped: row negative",
                                  "dropped: column 0",
                                  "dropped: row 0",
                                  "dropped: column W - 2",
                                  "dropped: row T - 2",
                                  "dropped: column beyond",
                                  "dropped: row beyond",
                                  "used: column 1",
                                  "used: row 1",
                                  "used: column W - 3",
                                  "used: row T - 3",
                                  "guard slice before the first",
                                  "stage x saturated above",
                                  "stage x saturated below",
                                  "stage y saturated above",
                                  "stage y saturated below",
                                  "lowest bit of fz dropped",
                                  "product with T2 wrapped",
                                  "product with T3 wrapped",
                                  "sample above 16 bits",
                                  "sample below 16 bits",
                                  "single plane dropped",
                                  "all planes dropped",
                                  "some planes dropped",
                                  "all planes used",
                                  "negative mean truncated toward zero",
                                  "slab walked backward",
                                  "signed: limited above",
                                  "signed: limited below",
                                  "unsigned: limited below",
                                  "unsigned: limited above"}),
              "");
}

// One run over the fractions along z, about four slices that are each least or greatest, or half of that:
// there the products of the last stage wrap.
TEST(ScanTricubicFractions, along_z) {
    for (const int magnitude : {4000, 16384, 32767}) {
        for (int extremes = 0; extremes < 16; ++extremes) {
            SCOPED_TRACE(extremes);
            auto c = blank_scan_case<ScanCase16>(8, 20, 8, 1, 32767);
            fill_by(c, [&](int, int, int z) {
                const int i = z - 2;
                return i >= 0 && i < 4 && ((extremes >> i) & 1) != 0 ? magnitude : -magnitude;
            });
            set_origin(c, 3.0F, 10.0F, 3.0F);
            c.columnStep = {0, 0, 8};
            // Two planes outside leave a third of the value, so that the limits do not hide it.
            set_slab(c, 1, 0, 15 * kSample, 0);
            Branches branches;
            const auto want = run([&](const auto& args) { rz_reference::scan_tricubic(args, branches); }, c);
            ASSERT_EQ(first_difference(c, want, run_forms(kTricubic, c)), "");
        }
    }
}

}  // namespace
