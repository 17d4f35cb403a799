#include <gtest/gtest.h>

#include <functional>

#include "rz_obl/RZ_OBLplanar/kernels/cubic/scan_cubic.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "tests/reference/cubic.h"
#include "tests/support/scan_case.h"

// The 16-bit cubic kernels, each path by name. Expected numbers are worked out by hand.

namespace {

using namespace rz_test;
using rz_obl::scan_args_16;

struct Path {
    const char* name;
    void (*kernel)(const scan_args_16&);
    bool needsAvx2;
};

constexpr int kOne = 262144;
constexpr int kHalf = kOne / 2;

class Cubic : public testing::TestWithParam<Path> {
  protected:
    void SetUp() override {
        if (GetParam().needsAvx2 && !__builtin_cpu_supports("avx2")) {
            GTEST_SKIP() << GetParam().name << " not run: the processor has no AVX2";
        }
        rz_obl::build_weight_table(rz_obl::g_cubicWeightTable);
    }
    void TearDown() override { rz_obl::OvershootClamp = false; }

    Outcome<short, int> scan(const ScanCase16& c) const { return run(GetParam().kernel, c); }
};

INSTANTIATE_TEST_SUITE_P(Paths, Cubic,
                         testing::Values(Path{"scan_cubic_sse", rz_obl::scan_cubic_sse, false},
                                         Path{"scan_cubic_avx2", rz_obl::scan_cubic_avx2, true}),
                         [](const auto& path) { return path.param.name; });

ScanCase16 random_case(Seed seed) {
    ScanOptions options;
    options.reach = Reach::kAnywhere;
    options.slicesBelow = 1;
    options.slicesAbove = 2;
    options.maxSlabSteps = 12;
    return make_scan_case<ScanCase16>(seed, options);
}

TEST_P(Cubic, random_cases_equal_the_reference) {
    Branches branches;
    for (const Seed seed : seeds(4000)) {
        const ScanCase16 c = random_case(seed);
        rz_obl::OvershootClamp = seed % 3 == 0;
        const auto want =
            run([&](const scan_args_16& a) { rz_reference::scan_cubic(a, seed % 3 == 0, branches); }, c);
        ASSERT_EQ(first_difference(c, want, scan(c)), "");
        branches.met(c.isSigned ? "signed" : "unsigned");
        if (c.bitDepth == 8) branches.met("8 bits");
        if (c.bitDepth == 12) branches.met("12 bits");
        if (c.bitDepth == 16) branches.met("16 bits");
    }
    EXPECT_EQ(branches.never_met({"table sample",
                                  "border sample",
                                  "dropped before the first column or row",
                                  "dropped behind the last column or row",
                                  "pixel without any plane",
                                  "mean over some of the planes",
                                  "no plane at all",
                                  "x clamped at the start of a run",
                                  "y clamped at the start of a run",
                                  "sample raised to -32768",
                                  "sample raised to 0",
                                  "sample cut to 32767",
                                  "overshoot raised, signed",
                                  "overshoot raised, unsigned",
                                  "overshoot cut, signed",
                                  "overshoot cut, unsigned",
                                  "border x limited",
                                  "border y limited",
                                  "border with negative z",
                                  "border sample wraps",
                                  "border sample below 0",
                                  "mean below 0",
                                  "pixel raised, signed",
                                  "pixel raised, unsigned",
                                  "pixel cut, signed",
                                  "pixel cut, unsigned",
                                  "span of one column",
                                  "empty span",
                                  "no row seen",
                                  "signed",
                                  "unsigned",
                                  "8 bits",
                                  "12 bits",
                                  "16 bits"}),
              "");
}

TEST(CubicPaths, scan_cubic_avx2_equals_scan_cubic_sse_in_every_bit) {
    if (!__builtin_cpu_supports("avx2")) GTEST_SKIP() << "scan_cubic_avx2 not run: the processor has no AVX2";
    rz_obl::build_weight_table(rz_obl::g_cubicWeightTable);
    for (Seed seed : seeds(4000)) {
        if (!is_replay()) seed += 100000;
        const ScanCase16 c = random_case(seed);
        rz_obl::OvershootClamp = seed % 2 == 0;
        ASSERT_EQ(first_difference(c, run(rz_obl::scan_cubic_sse, c), run(rz_obl::scan_cubic_avx2, c)), "");
    }
    rz_obl::OvershootClamp = false;
}

// One row of pixels along x in row y of slice z, the first at sample x, all in samples.
ScanCase16 row_case(int columns, float x, float y, float z) {
    ScanCase16 c = blank_scan_case<ScanCase16>(10, 12, 6, 1, columns);
    c.planeToIndex[3][0] = x;
    c.planeToIndex[3][1] = y;
    c.planeToIndex[3][2] = z;
    return c;
}

void fill_column(ScanCase16& c, int x, short value) {
    for (auto& raster : c.rasters) {
        for (int y = 0; y < c.sourceHeight; ++y) raster.data()[y * c.sourceWidth + x] = value;
    }
}

void fill_all(ScanCase16& c, short value) {
    for (int x = 0; x < c.sourceWidth; ++x) fill_column(c, x, value);
}

TEST_P(Cubic, table_samples_from_1_to_width_minus_3_and_border_samples_around) {
    // Half-way between columns a table sample weighs its far columns with -1023 of 16384: 1000 there gives
    // (-1023000 + 8192) >> 14 = -62. A border sample does not see them: 0.
    ScanCase16 left = row_case(2, 0.5F, 5.0F, 2.0F);
    fill_column(left, 2, 1000);  // right of column 0's pair
    EXPECT_EQ(scan(left).output.data()[0], 0);
    ScanCase16 one = row_case(2, 1.5F, 5.0F, 2.0F);
    fill_column(one, 0, 1000);
    EXPECT_EQ(scan(one).output.data()[0], -62);
    ScanCase16 right = row_case(2, 7.5F, 5.0F, 2.0F);
    fill_column(right, 6, 1000);
    EXPECT_EQ(scan(right).output.data()[0], -62);  // xi = W - 3
    ScanCase16 last = row_case(2, 8.5F, 5.0F, 2.0F);
    fill_column(last, 7, 1000);
    EXPECT_EQ(scan(last).output.data()[0], 0);  // xi = W - 2
}

TEST_P(Cubic, table_samples_from_row_1_to_height_minus_3) {
    const struct {
        float y;
        int markedRow;
        short want;
    } rows[] = {{0.5F, 2, 0}, {1.5F, 0, -62}, {9.5F, 8, -62}, {10.5F, 9, 0}};
    for (const auto& r : rows) {
        ScanCase16 c = row_case(2, 4.0F, r.y, 2.0F);
        for (auto& raster : c.rasters)
            std::fill_n(raster.data() + r.markedRow * c.sourceWidth, 10, short{1000});
        EXPECT_EQ(scan(c).output.data()[0], r.want) << r.y;
    }
}

TEST_P(Cubic, all_planes_dropped_keeps_the_previous_value_and_counts_for_the_bounds) {
    // Columns 8 and 9 are border samples, 10 to 12 lie behind the volume.
    ScanCase16 c = row_case(5, 8.0F, 5.0F, 2.0F);
    fill_all(c, 100);
    const auto o = scan(c);
    EXPECT_EQ(o.output.data()[0], 100);
    EXPECT_EQ(o.output.data()[1], 100);
    for (std::size_t i = 2; i < 5; ++i) EXPECT_EQ(o.output.data()[i], o.output.before(i));
    EXPECT_EQ(o.bounds, (std::array<int, 4>{0, 0, 0, 4}));
}

TEST_P(Cubic, negative_index_in_a_run_is_dropped) {
    // The step goes to the left: columns 1, 0, -1, -2.
    ScanCase16 c = row_case(4, 1.0F, 5.0F, 2.0F);
    c.planeToIndex[0][0] = -1.0F;
    c.columnStep = {-kOne, 0, 0};
    fill_all(c, 100);
    const auto o = scan(c);
    EXPECT_EQ(o.output.data()[0], 100);
    EXPECT_EQ(o.output.data()[1], 100);
    EXPECT_EQ(o.output.data()[2], o.output.before(2));
    EXPECT_EQ(o.output.data()[3], o.output.before(3));
}

TEST_P(Cubic, no_plane_for_negative_slab_steps_stores_nothing) {
    ScanCase16 c = row_case(5, 2.0F, 5.0F, 2.0F);
    fill_all(c, 100);
    c.slabSteps = -1;
    const auto o = scan(c);
    EXPECT_TRUE(o.output.untouched());
    EXPECT_EQ(o.bounds, (std::array<int, 4>{0, 0, 0, 4}));
}

TEST_P(Cubic, mean_is_over_the_planes_used) {
    // Planes at columns 8, 9 and 10. 8: 800. 9: cut to 8.99, 800 x 0.01 + 900 x 0.99 = 899. 10: dropped.
    // (800 + 899) / 2 = 849.5 gives 850; over three planes it would be 566.
    ScanCase16 c = row_case(2, 9.0F, 5.0F, 2.0F);
    for (int x = 0; x < 10; ++x) fill_column(c, x, static_cast<short>(100 * x));
    c.slabSteps = 1;
    c.slabStep = {kOne, 0, 0};
    EXPECT_EQ(scan(c).output.data()[0], 850);
}

TEST_P(Cubic, mean_of_a_negative_half_goes_away_from_0) {
    // The same with the sign turned. A border sample adds its half toward zero: -800 gives -799, -898.99998
    // gives -898. Their mean of -848.5 goes to -849.
    ScanCase16 c = row_case(2, 9.0F, 5.0F, 2.0F);
    for (int x = 0; x < 10; ++x) fill_column(c, x, static_cast<short>(-100 * x));
    c.slabSteps = 1;
    c.slabStep = {kOne, 0, 0};
    EXPECT_EQ(scan(c).output.data()[0], -849);
}

TEST_P(Cubic, mean_rounds_halves_away_from_0) {
    // Three slices of constant values: thirds to the nearest.
    const struct {
        short a, b, c;
        short want;
    } slabs[] = {{1, 2, 2, 2}, {-1, -2, -2, -2}, {1, 1, 2, 1}, {-1, -1, -2, -1}, {3, 4, 4, 4}, {0, 0, -1, 0}};
    for (const auto& slab : slabs) {
        ScanCase16 c = row_case(2, 4.0F, 5.0F, 2.0F);
        c.slabSteps = 1;
        c.slabStep = {0, 0, kOne};
        const short values[3] = {slab.a, slab.b, slab.c};
        for (std::size_t z = 1; z <= 3; ++z) std::fill_n(c.rasters[z].data(), 120, values[z - 1]);
        EXPECT_EQ(scan(c).output.data()[0], slab.want);
    }
}

TEST_P(Cubic, constant_1000_at_fraction_0_is_not_lost) {
    ScanCase16 c = row_case(4, 2.0F, 5.0F, 2.0F);
    fill_all(c, 1000);
    const auto o = scan(c);
    for (int column = 0; column < 4; ++column) EXPECT_EQ(o.output.data()[column], 1000);
}

TEST_P(Cubic, edge_rings_below_0_for_signed_data) {
    // Half-way, weights -1023, 9215, 9215, -1023. Before the edge (0 0 0 1000): -62. Behind it (0 1000 1000
    // 1000): (17407000 + 8192) >> 14 = 1062.
    ScanCase16 c = row_case(3, 2.5F, 5.0F, 2.0F);
    for (int x = 5; x < 10; ++x) fill_column(c, x, 1000);
    c.isSigned = true;
    c.bitDepth = 12;
    const auto o = scan(c);
    EXPECT_EQ(o.output.data()[0], 0);
    EXPECT_EQ(o.output.data()[1], -62);
    EXPECT_EQ(o.output.data()[2], 500);  // (0 0 1000 1000): 8192000 + 8192 >> 14 = 500
}

TEST_P(Cubic, edge_is_cut_at_0_for_unsigned_data) {
    ScanCase16 c = row_case(4, 2.5F, 5.0F, 2.0F);
    for (int x = 5; x < 10; ++x) fill_column(c, x, 1000);
    c.isSigned = false;
    c.bitDepth = 12;
    const auto o = scan(c);
    EXPECT_EQ(o.output.data()[1], 0);
    EXPECT_EQ(o.output.data()[3], 1062);
}

TEST_P(Cubic, unsigned_sample_is_cut_before_the_mean) {
    // Planes at x = 3.5 (-62, cut to 0) and 4.5 (500), 5.5 (1062): 1562 / 3 = 520.67 gives 521; uncut it were
    // 500.
    ScanCase16 c = row_case(2, 4.5F, 5.0F, 2.0F);
    for (int x = 5; x < 10; ++x) fill_column(c, x, 1000);
    c.isSigned = false;
    c.slabSteps = 1;
    c.slabStep = {kOne, 0, 0};
    EXPECT_EQ(scan(c).output.data()[0], 521);
}

TEST_P(Cubic, overshoot_clamp_keeps_an_edge_within_its_samples) {
    rz_obl::OvershootClamp = true;
    for (const bool isSigned : {true, false}) {
        ScanCase16 c = row_case(4, 2.5F, 5.0F, 2.0F);
        for (int x = 0; x < 10; ++x) fill_column(c, x, x < 5 ? 10 : 1000);
        c.isSigned = isSigned;
        const auto o = scan(c);
        EXPECT_EQ(o.output.data()[1], 10);
        EXPECT_EQ(o.output.data()[3], 1000);
    }
}

TEST_P(Cubic, overshoot_clamp_of_unsigned_samples_above_32767_keeps_16_bits) {
    // 40000 counts as -25536 in the sum, is raised to 0 and by the clamp to 40000 again, of which 16 bits are
    // -25536 once more: the pixel is raised to 0.
    rz_obl::OvershootClamp = true;
    ScanCase16 c = row_case(2, 4.0F, 5.0F, 2.0F);
    fill_all(c, static_cast<short>(40000 - 65536));
    c.isSigned = false;
    c.bitDepth = 16;
    EXPECT_EQ(scan(c).output.data()[0], 0);
}

TEST_P(Cubic, overshoot_clamp_does_not_apply_to_border_samples) {
    // At z = -0.25 a border sample extrapolates: 100 x 1.25 - 200 x 0.25 = 75, below both.
    rz_obl::OvershootClamp = true;
    ScanCase16 c = row_case(2, 0.0F, 5.0F, -0.25F);
    std::fill_n(c.rasters[0].data(), 120, short{100});
    std::fill_n(c.rasters[1].data(), 120, short{200});
    EXPECT_EQ(scan(c).output.data()[0], 75);
}

TEST_P(Cubic, border_sample_before_the_first_slice_extrapolates) {
    ScanCase16 c = row_case(2, 0.0F, 5.0F, -0.25F);
    std::fill_n(c.rasters[0].data(), 120, short{100});
    std::fill_n(c.rasters[1].data(), 120, short{200});
    EXPECT_EQ(scan(c).output.data()[0], 75);  // the guard slice would give 100
}

TEST_P(Cubic, border_sample_rounds_toward_0_below_a_half) {
    // x = 0.1 between 0 and b: 0.1 b + 0.5 toward zero. -0.7, -1.2 and -1.6 of a pixel.
    const struct {
        short b;
        short want;
    } samples[] = {{-7, 0}, {-12, 0}, {-16, -1}, {7, 1}, {4, 0}};
    for (const auto& s : samples) {
        ScanCase16 c = row_case(2, 0.1F, 5.0F, 2.0F);
        fill_column(c, 1, s.b);
        EXPECT_EQ(scan(c).output.data()[0], s.want) << s.b;
    }
}

TEST_P(Cubic, unsigned_12_bits_end_at_4095) {
    ScanCase16 c = row_case(2, 4.0F, 5.0F, 2.0F);
    fill_all(c, 5000);
    c.isSigned = false;
    c.bitDepth = 12;
    EXPECT_EQ(scan(c).output.data()[0], 4095);
    fill_all(c, -5);
    EXPECT_EQ(scan(c).output.data()[0], 0);
}

TEST_P(Cubic, signed_12_bits_are_minus_2048_to_2047) {
    ScanCase16 c = row_case(2, 4.0F, 5.0F, 2.0F);
    c.isSigned = true;
    c.bitDepth = 12;
    fill_all(c, 3000);
    EXPECT_EQ(scan(c).output.data()[0], 2047);
    fill_all(c, -3000);
    EXPECT_EQ(scan(c).output.data()[0], -2048);
}

TEST_P(Cubic, unsigned_samples_end_at_32767_in_the_table_sample) {
    // Overshoot of (0 30000 30000 30000): 31875, and of (0 32767 32767 32767) beyond 32767.
    ScanCase16 c = row_case(2, 4.5F, 5.0F, 2.0F);
    for (int x = 4; x < 10; ++x) fill_column(c, x, 32767);
    c.isSigned = false;
    c.bitDepth = 16;
    EXPECT_EQ(scan(c).output.data()[0], 32767);
}

TEST_P(Cubic, fraction_is_cut_to_its_top_six_bits) {
    // One unit below 33/64 is still entry 32: the same as half-way.
    ScanCase16 c = row_case(2, 2.0F, 5.0F, 2.0F);
    for (int x = 0; x < 10; ++x) fill_column(c, x, static_cast<short>(x * x * 50));
    c.planeToIndex[3][0] = 2.0F + static_cast<float>(33 * 4096 - 1) / 262144.0F;
    const auto below = scan(c);
    c.planeToIndex[3][0] = 2.5F;
    EXPECT_EQ(below.output.data()[0], scan(c).output.data()[0]);
    c.planeToIndex[3][0] = 2.0F + static_cast<float>(33 * 4096) / 262144.0F;
    EXPECT_NE(below.output.data()[0], scan(c).output.data()[0]);
}

TEST_P(Cubic, start_is_clamped_to_0_once_and_no_quality_shifts_it) {
    // Columns at -0.5 (moved to 0), then 0.5 (moved to 1), 1.5 (2) ...
    ScanCase16 c = row_case(4, -0.5F, 5.0F, 2.0F);
    for (int x = 0; x < 10; ++x) fill_column(c, x, static_cast<short>(100 * x));
    for (const int quality : {1, 3}) {
        c.quality = quality;
        const auto o = scan(c);
        for (int column = 0; column < 4; ++column) EXPECT_EQ(o.output.data()[column], 100 * column);
    }
}

TEST_P(Cubic, slab_starts_on_the_negative_side_and_every_pixel_starts_there_again) {
    // Half-sample planes x - 0.5, x, x + 0.5 on a ramp of 64 per column: the mean is the middle. The cubic
    // reproduces the ramp: weights of entry 32 sum to 16384.
    ScanCase16 c = row_case(4, 3.0F, 5.0F, 2.0F);
    for (int x = 0; x < 10; ++x) fill_column(c, x, static_cast<short>(64 * x));
    c.slabSteps = 1;
    c.slabStep = {kHalf, 0, 0};
    const auto o = scan(c);
    for (int column = 0; column < 4; ++column) EXPECT_EQ(o.output.data()[column], 64 * (3 + column));
}

}  // namespace
