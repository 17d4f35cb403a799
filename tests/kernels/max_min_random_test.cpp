#include <gtest/gtest.h>

#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "tests/kernels/max_min_cases.h"

// Maximum and minimum in both loop orders against their plain forms, on seeded cases that together reach
// every branch.

namespace {

using namespace rz_test;

void compare(const NamedKernel& k, int cases, Reach reach, Branches& branches) {
    SCOPED_TRACE(k.name);
    ScanOptions options;
    options.reach = reach;
    options.negativeSlabSteps = false;
    for (const Seed seed : seeds(cases)) {
        auto c = make_scan_case<ScanCase16>(seed, options);
        const bool fast = seed % 5 < 2;
        maybe_take_all_planes(c, k.isPixelMajor, fast);
        const auto want = run([&](const auto& args) { k.reference(args, fast, branches); }, c);
        const auto got = run([&](const auto& args) { k.kernel(args, fast); }, c);
        ASSERT_EQ(first_difference(c, want, got), "") << (fast ? "fast" : "every row and column");
    }
}

std::string never_met_of_all(const Branches& branches) {
    return branches.never_met({"empty span",
                               "span of one column",
                               "no row seen",
                               "no plane at all",
                               "start clamped in x",
                               "start clamped in y",
                               "guard slice before the first",
                               "seed from the winner memory",
                               "plane wins",
                               "plane tested in vain",
                               "plane skipped",
                               "even count of rows: two rows at the end",
                               "odd count of rows",
                               "average truncated toward zero",
                               "column filled",
                               "odd run",
                               "last column of an even run stays",
                               "row filled",
                               "rows filled with a remainder",
                               "rows filled in eights",
                               "rows filled one by one"});
}

std::string never_met_of_maximum(const Branches& branches) {
    return never_met_of_all(branches) +
           branches.never_met({"seed taken", "content kept over the seed", "column keeps its content",
                               "row keeps its content"});
}

std::string never_met_of_minimum(const Branches& branches) {
    return never_met_of_all(branches) +
           branches.never_met({"plane skipped although it would win", "column raised by a minimum",
                               "row raised by a minimum"});
}

TEST(ScanMaxRandom, plane_major) {
    Branches branches;
    compare(kMaxPlaneMajor, 4000, Reach::kInside, branches);
    EXPECT_EQ(never_met_of_maximum(branches), "");
    EXPECT_EQ(branches.never_met({"plane of the memory skipped"}), "");
}

TEST(ScanMaxRandom, pixel_major) {
    Branches branches;
    compare(kMaxPixelMajor, 4000, Reach::kInside, branches);
    EXPECT_EQ(never_met_of_maximum(branches), "");
}

TEST(ScanMinRandom, plane_major) {
    Branches branches;
    compare(kMinPlaneMajor, 4000, Reach::kInside, branches);
    EXPECT_EQ(never_met_of_minimum(branches), "");
    EXPECT_EQ(branches.never_met({"plane of the memory skipped"}), "");
}

TEST(ScanMinRandom, pixel_major) {
    Branches branches;
    compare(kMinPixelMajor, 4000, Reach::kInside, branches);
    EXPECT_EQ(never_met_of_minimum(branches), "");
}

TEST(ScanMaxMinRandom, columns_run_over_into_the_next_row) {
    for (const NamedKernel& k : kAllKernels) {
        Branches branches;
        compare(k, 800, Reach::kInRaster, branches);
        EXPECT_EQ(branches.never_met({"plane wins", "plane skipped"}), "");
    }
}

TEST(ScanMaxMinRandom, wide_forms) {
    if (!rz_obl::g_cpuFeatures.hasAvx2())
        GTEST_SKIP() << "this processor has no AVX2: the wide forms did not run";
    for (const NamedKernel& k : kWideKernels) {
        Branches branches;
        compare(k, 4000, Reach::kInside, branches);
        compare(k, 800, Reach::kInRaster, branches);
        EXPECT_EQ(never_met_of_all(branches), "");
    }
}

TEST(FillRowsRandom, rectangles_of_every_size) {
    Branches maximum;
    Branches minimum;
    for (const Seed seed : seeds(3000)) {
        Random random(seed);
        const int rowStride = random.between(1, 40);
        const int rowCount = random.between(1, 9);
        const int first = random.between(0, rowCount - 1);
        const int last = random.between(0, rowCount - 1);
        const int left = random.between(0, rowStride);
        const int right = random.between(0, rowStride);
        const auto samples = static_cast<std::size_t>(rowStride * rowCount);
        Fenced<short> want(samples, seed);
        Fenced<short> got(samples, seed);
        rz_reference::fill_rows_max(first, last, left, right, rowStride, want.data(), maximum);
        rz_obl::fill_rows_max(first, last, left, right, rowStride, got.data());
        ASSERT_TRUE(want == got) << replay(seed);
        want = Fenced<short>(samples, seed);
        got = want;
        rz_reference::fill_rows_min(first, last, left, right, rowStride, want.data(), minimum);
        rz_obl::fill_rows_min(first, last, left, right, rowStride, got.data());
        ASSERT_TRUE(want == got) << replay(seed);
    }
    EXPECT_EQ(maximum.never_met({"row filled", "row keeps its content", "rows filled with a remainder",
                                 "rows filled in eights", "rows filled one by one"}),
              "");
    EXPECT_EQ(minimum.never_met({"row filled", "row raised by a minimum"}), "");
}

}  // namespace
