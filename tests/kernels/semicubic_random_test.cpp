#include <gtest/gtest.h>

#include "tests/kernels/serpentine_forms.h"
#include "tests/reference/semicubic.h"
#include "tests/support/branches.h"

// Both forms of the semi-cubic kernels against their plain forms, on seeded cases that together reach every
// branch.

namespace {

using namespace rz_test;

using Reference = void (*)(const rz_obl::scan_args_16&, Branches&);

void compare(const SerpentineKernel& kernel, Reference reference, ScanOptions options, Branches& branches) {
    // x and y are tested by the kernel, slices and their guards serve z.
    options.reach = Reach::kAnywhere;
    for (const Seed seed : seeds(3500)) {
        auto c = make_scan_case<ScanCase16>(seed, options);
        c.quality = seed % 2 == 0 ? 3 : 2;
        const auto want = run([&](const auto& args) { reference(args, branches); }, c);
        ASSERT_EQ(first_difference(c, want, run(kernel.narrow, c)), "");
        if (!rz_obl::g_cpuFeatures.hasAvx2()) continue;
        ASSERT_EQ(first_difference(c, want, run(kernel.wide, c)), "");
    }
}

std::string never_met_of_all(const Branches& branches) {
    return branches.never_met({"empty span",
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
                               "first stage saturated above",
                               "first stage saturated below",
                               "linear fraction below 15 bits",
                               "linear stage truncated up",
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
                               "unsigned: limited above"});
}

TEST(ScanSemicubicRandom, wide_forms_are_compared_here) {
    if (!rz_obl::g_cpuFeatures.hasAvx2())
        GTEST_SKIP() << "this processor has no AVX2: scan_semicubic_x_avx2, _y and _z did not run";
}

TEST(ScanSemicubicRandom, linear_along_z) {
    Branches branches;
    compare(kSemicubicZ, rz_reference::scan_semicubic_z, {}, branches);
    EXPECT_EQ(never_met_of_all(branches), "");
    EXPECT_EQ(branches.never_met({"dropped: end of the raster", "used: just before the end of the raster"}),
              "");
}

TEST(ScanSemicubicRandom, linear_along_y) {
    ScanOptions options;
    options.slicesBelow = 1;
    options.slicesAbove = 2;
    Branches branches;
    compare(kSemicubicY, rz_reference::scan_semicubic_y, options, branches);
    EXPECT_EQ(never_met_of_all(branches), "");
}

TEST(ScanSemicubicRandom, linear_along_x) {
    ScanOptions options;
    options.slicesBelow = 1;
    options.slicesAbove = 2;
    Branches branches;
    compare(kSemicubicX, rz_reference::scan_semicubic_x, options, branches);
    EXPECT_EQ(never_met_of_all(branches), "");
}

// One run over all 32768 fractions along an axis, about four samples that are all least or greatest.
void compare_every_fraction(const SerpentineKernel& kernel, Reference reference, int axis) {
    for (int extremes = 0; extremes < 16; ++extremes) {
        SCOPED_TRACE(extremes);
        auto c = blank_scan_case<ScanCase16>(20, 20, 8, 1, 32767);
        fill_by(c, [&](int x, int y, int z) {
            const int at[3] = {x, y, z};
            const int i = at[axis] - 2;
            return i >= 0 && i < 4 && ((extremes >> i) & 1) != 0 ? 32767 : -32768;
        });
        c.quality = 2;
        set_origin(c, 3.0F, 3.0F, 3.0F);
        c.columnStep = {0, 0, 0};
        c.columnStep[static_cast<std::size_t>(axis)] = 8;
        Branches branches;
        const auto want = run([&](const auto& args) { reference(args, branches); }, c);
        ASSERT_EQ(first_difference(c, want, run_forms(kernel, c)), "");
        // The last fraction, 0x7fff, by a start of its own.
        c.planeToIndex[3][axis] = 3.0F + 32767.0F / 32768.0F;
        set_span(c, 0, 0, 1);
        const auto wantLast = run([&](const auto& args) { reference(args, branches); }, c);
        ASSERT_EQ(first_difference(c, wantLast, run_forms(kernel, c)), "");
    }
}

TEST(ScanSemicubicFractions, along_x) {
    compare_every_fraction(kSemicubicZ, rz_reference::scan_semicubic_z, 0);
    compare_every_fraction(kSemicubicY, rz_reference::scan_semicubic_y, 0);
}

TEST(ScanSemicubicFractions, along_y) {
    compare_every_fraction(kSemicubicX, rz_reference::scan_semicubic_x, 1);
}

TEST(ScanSemicubicFractions, along_z) {
    compare_every_fraction(kSemicubicX, rz_reference::scan_semicubic_x, 2);
    compare_every_fraction(kSemicubicZ, rz_reference::scan_semicubic_z, 2);
}

}  // namespace
