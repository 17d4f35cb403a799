#include <gtest/gtest.h>

#include <climits>

#include "rz_obl/RZ_OBLplanar/kernels/cubic/scan_cubic.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "tests/reference/cubic.h"
#include "tests/support/branches.h"
#include "tests/support/scan_case.h"

// Runs long enough that a kernel which works ahead of itself goes round its store of prepared samples, with
// every length of the last block. Rasters are exactly as large as they must be.

namespace {

using namespace rz_test;
using rz_obl::scan_args_16;

constexpr float kOne = 262144.0F;

struct Path {
    const char* name;
    void (*kernel)(const scan_args_16&);
    bool needsAvx2;
};

class CubicRuns : public testing::TestWithParam<Path> {
  protected:
    void SetUp() override {
        if (GetParam().needsAvx2 && !__builtin_cpu_supports("avx2")) {
            GTEST_SKIP() << GetParam().name << " not run: the processor has no AVX2";
        }
        rz_obl::build_weight_table(rz_obl::g_cubicWeightTable);
    }
    void TearDown() override { rz_obl::OvershootClamp = false; }
};

INSTANTIATE_TEST_SUITE_P(Paths, CubicRuns,
                         testing::Values(Path{"scan_cubic_sse", rz_obl::scan_cubic_sse, false},
                                         Path{"scan_cubic_avx2", rz_obl::scan_cubic_avx2, true}),
                         [](const auto& path) { return path.param.name; });

/// A line from somewhere to somewhere along one axis, in steps; both ends between least and greatest.
void set_axis(ScanCase16& c, Random& random, std::size_t axis, float least, float greatest) {
    const float from = random.real(least, greatest);
    const float to = random.real(least, greatest);
    c.planeToIndex[3][axis] = from;
    c.planeToIndex[0][axis] = (to - from) / static_cast<float>(c.rowStride);
    c.planeToIndex[1][axis] = random.real(-0.4F, 0.4F);
    c.columnStep[axis] = static_cast<int>(c.planeToIndex[0][axis] * kOne);
    c.slabStep[axis] = static_cast<int>(random.real(axis == 0 ? 0.0F : -0.6F, 0.6F) * kOne);
}

/// Oblique runs that may leave the volume at its faces in x and y, never in z.
ScanCase16 long_case(Seed seed, bool within) {
    Random random(seed);
    const int width = random.between(12, 90);
    const int height = random.between(12, 90);
    const int columns = random.between(2, 200);
    ScanCase16 c = blank_scan_case<ScanCase16>(width, height, 24, 4, columns);
    c.seed = seed;
    c.isSigned = random.once_in(2);
    c.bitDepth = random.pick({8, 12, 16});
    for (auto& raster : c.rasters) fill_nasty(random, raster.data(), raster.size(), c.isSigned, c.bitDepth);
    const float beyond = within ? -5.0F : 6.0F;
    set_axis(c, random, 0, -beyond, static_cast<float>(width) + beyond);
    set_axis(c, random, 1, -beyond, static_cast<float>(height) + beyond);
    set_axis(c, random, 2, 6.0F, 16.0F);
    c.slabSteps = random.pick({0, 0, 1, 2, 5});
    for (std::size_t row = 0; row < 4; ++row) {
        c.spans[2 * row] = static_cast<short>(random.between(0, columns / 3));
        c.spans[2 * row + 1] = static_cast<short>(random.between(columns / 2, columns - 1));
    }
    return c;
}

constexpr const char* kLengths[8] = {"whole blocks of eight columns",
                                     "one column over",
                                     "2 over",
                                     "3 over",
                                     "4 over",
                                     "5 over",
                                     "6 over",
                                     "7 over"};

void note_lengths(const ScanCase16& c, Branches& branches) {
    for (std::size_t row = 0; row < 4; ++row) {
        const int count = c.spans[2 * row + 1] - c.spans[2 * row] + 1;
        if (count > 100) branches.met("run of more than 100 columns");
        if (count > 1) branches.met(kLengths[count % 8]);
    }
}

TEST_P(CubicRuns, long_runs_equal_the_reference) {
    Branches branches;
    for (const Seed seed : seeds(1200)) {
        const ScanCase16 c = long_case(seed, seed % 2 == 0);
        const bool clamp = seed % 5 == 0;
        rz_obl::OvershootClamp = clamp;
        const auto want =
            run([&](const scan_args_16& a) { rz_reference::scan_cubic(a, clamp, branches); }, c);
        ASSERT_EQ(first_difference(c, want, run(GetParam().kernel, c)), "");
        note_lengths(c, branches);
    }
    EXPECT_EQ(branches.never_met({"table sample", "border sample", "dropped before the first column or row",
                                  "dropped behind the last column or row", "pixel without any plane",
                                  "mean over some of the planes", "run of more than 100 columns", kLengths[0],
                                  kLengths[1], kLengths[2], kLengths[3], kLengths[4], kLengths[5],
                                  kLengths[6], kLengths[7]}),
              "");
}

TEST_P(CubicRuns, source_of_more_samples_than_an_int_counts) {
    // Only the stated height: the runs stay in the rows that are there.
    Branches branches;
    for (const Seed seed : seeds(40)) {
        ScanCase16 c = long_case(seed, true);
        c.planeToIndex[1][1] = 0.0F;
        c.slabStep[1] = 0;
        c.sourceHeight = INT_MAX;
        const auto want =
            run([&](const scan_args_16& a) { rz_reference::scan_cubic(a, false, branches); }, c);
        ASSERT_EQ(first_difference(c, want, run(GetParam().kernel, c)), "");
    }
    EXPECT_EQ(branches.never_met({"table sample"}), "");
}

}  // namespace
