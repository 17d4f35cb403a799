#include <gtest/gtest.h>

#include "rz_obl/RZ_OBLplanar/kernels/bits32/scan_32bits.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "tests/reference/bits32.h"
#include "tests/support/scan_case.h"

// The kernels of 32-bit pixels, each path by name. Expected numbers are worked out by hand.

namespace {

using namespace rz_test;
using rz_obl::scan_args_32;

struct Pair {
    const char* name;
    void (*kernel)(const scan_args_32&);
    void (*reference)(const scan_args_32&, Branches&);
    bool isCubic;
    bool needsAvx2;
};

const Pair kLinear{"scan_linear_32bits", rz_obl::scan_linear_32bits, rz_reference::scan_linear_32bits, false,
                   false};
const Pair kLinearAvx2{"scan_linear_32bits_avx2", rz_obl::scan_linear_32bits_avx2,
                       rz_reference::scan_linear_32bits, false, true};
const Pair kCubic{"scan_cubic_32bits", rz_obl::scan_cubic_32bits, rz_reference::scan_cubic_32bits, true,
                  false};
const Pair kCubicAvx2{"scan_cubic_32bits_avx2", rz_obl::scan_cubic_32bits_avx2,
                      rz_reference::scan_cubic_32bits, true, true};

class Bits32 : public testing::TestWithParam<Pair> {
  protected:
    void SetUp() override {
        if (GetParam().needsAvx2 && !__builtin_cpu_supports("avx2")) {
            GTEST_SKIP() << GetParam().name << " not run: the processor has no AVX2";
        }
        rz_obl::build_weight_table(rz_obl::g_cubicWeightTable);
    }

    Outcome<std::uint32_t, float> scan(const ScanCase32& c) const { return run(GetParam().kernel, c); }
};

class LinearBits32 : public Bits32 {};
class CubicBits32 : public Bits32 {};

const auto kName = [](const auto& pair) { return pair.param.name; };
INSTANTIATE_TEST_SUITE_P(Kernels, Bits32, testing::Values(kLinear, kLinearAvx2, kCubic, kCubicAvx2), kName);
INSTANTIATE_TEST_SUITE_P(Kernels, LinearBits32, testing::Values(kLinear, kLinearAvx2), kName);
INSTANTIATE_TEST_SUITE_P(Kernels, CubicBits32, testing::Values(kCubic, kCubicAvx2), kName);

// The cubic kernels read a row and a pixel around each raster; so does the shift of quality 1.
ScanCase32 random_case(Seed seed, bool isCubic) {
    const int quality = seed % 8 == 0 ? 1 : isCubic ? 3 : 4;
    ScanOptions options;
    options.reach = seed % 2 == 0 ? Reach::kInRaster : Reach::kInside;
    options.slicesBelow = isCubic ? 1 : 0;
    options.slicesAbove = isCubic ? 2 : 1;
    options.neighboursBefore = isCubic ? 1 : 0;
    options.neighboursBehind = (isCubic ? 1 : 0) + (quality == 1 ? 1 : 0);
    auto c = make_scan_case<ScanCase32>(seed, options);
    c.quality = quality;
    // A fraction below 0 by less than a float's last bit is a whole one above the sample before.
    if (seed % 16 == 3 && c.planeToIndex[0][2] == 0.0F && c.planeToIndex[1][2] == 0.0F && c.slabSteps == 0) {
        c.planeToIndex[3][2] = -1e-9F;
    }
    return c;
}

TEST_P(Bits32, random_cases_equal_the_reference) {
    Branches branches;
    for (const Seed seed : seeds(4000)) {
        const ScanCase32 c = random_case(seed, GetParam().isCubic);
        const auto want = run([&](const scan_args_32& a) { GetParam().reference(a, branches); }, c);
        ASSERT_EQ(first_difference(c, want, scan(c)), "");
    }
    EXPECT_EQ(branches.never_met({"negative x in a run", "negative y in a run", "negative z",
                                  "x clamped at the start of a run", "y clamped at the start of a run",
                                  "shift by half a sample", "slab", "no plane at all", "span of one column",
                                  "empty span", "no row seen"}),
              "");
    if (GetParam().isCubic) {
        EXPECT_EQ(branches.never_met({"channel raised to 0", "channel cut to 255", "entry index cut to 63"}),
                  "");
    }
}

TEST(Bits32Paths, scan_linear_32bits_avx2_equals_scan_linear_32bits_in_every_bit) {
    if (!__builtin_cpu_supports("avx2")) {
        GTEST_SKIP() << "scan_linear_32bits_avx2 not run: the processor has no AVX2";
    }
    for (Seed seed : seeds(4000)) {
        if (!is_replay()) seed += 100000;
        const ScanCase32 c = random_case(seed, false);
        const auto want = run(rz_obl::scan_linear_32bits, c);
        ASSERT_EQ(first_difference(c, want, run(rz_obl::scan_linear_32bits_avx2, c)), "");
    }
}

TEST(Bits32Paths, scan_cubic_32bits_avx2_equals_scan_cubic_32bits_in_every_bit) {
    if (!__builtin_cpu_supports("avx2")) {
        GTEST_SKIP() << "scan_cubic_32bits_avx2 not run: the processor has no AVX2";
    }
    rz_obl::build_weight_table(rz_obl::g_cubicWeightTable);
    for (Seed seed : seeds(4000)) {
        if (!is_replay()) seed += 100000;
        const ScanCase32 c = random_case(seed, true);
        ASSERT_EQ(
            first_difference(c, run(rz_obl::scan_cubic_32bits, c), run(rz_obl::scan_cubic_32bits_avx2, c)),
            "");
    }
}

// One row of pixels along x, the first at sample x, y, z of a 10 x 8 x 5 volume; rasters with guards of
// nought.
ScanCase32 row_case(int columns, float x, float y, float z) {
    ScanCase32 c = blank_scan_case<ScanCase32>(10, 8, 5, 1, columns);
    for (std::size_t slice = 0; slice < c.rasters.size(); ++slice) {
        c.rasters[slice] = SourceRaster<std::uint32_t>(80, {11, 11});
        std::fill_n(c.rasters[slice].data() - 11, 80 + 22, 0U);
    }
    for (int i = -2; i <= c.depth + 1; ++i) {
        const int slice = std::min(std::max(i, 0), c.depth - 1);
        c.table[static_cast<std::size_t>(i + 2)] = c.rasters[static_cast<std::size_t>(slice)].data();
    }
    c.planeToIndex[3][0] = x;
    c.planeToIndex[3][1] = y;
    c.planeToIndex[3][2] = z;
    return c;
}

void fill_slice(ScanCase32& c, std::size_t z, std::uint32_t pixel) {
    std::fill_n(c.rasters[z].data(), c.rasters[z].size(), pixel);
}

void fill_all(ScanCase32& c, std::uint32_t pixel) {
    for (std::size_t z = 0; z < c.rasters.size(); ++z) fill_slice(c, z, pixel);
}

TEST_P(Bits32, bytes_0_and_2_change_places) {
    ScanCase32 c = row_case(4, 2.3F, 2.6F, 1.2F);
    fill_all(c, 0x00112233U);
    const auto o = scan(c);
    for (int column = 0; column < 4; ++column) EXPECT_EQ(o.output.data()[column], 0x00332211U);
}

TEST_P(Bits32, bytes_change_places_with_a_slab_too) {
    ScanCase32 c = row_case(2, 2.0F, 2.0F, 2.0F);
    fill_all(c, 0x00112233U);
    c.slabSteps = 1;
    c.slabStep = {0.0F, 0.0F, 0.5F};
    EXPECT_EQ(scan(c).output.data()[1], 0x00332211U);
}

TEST_P(Bits32, source_byte_3_has_no_effect) {
    ScanCase32 c = row_case(2, 2.5F, 2.5F, 1.5F);
    fill_all(c, 0xff0a0b0cU);
    EXPECT_EQ(scan(c).output.data()[0], 0x000c0b0aU);
}

TEST_P(Bits32, white_stays_white) {
    ScanCase32 c = row_case(3, 2.0F, 2.0F, 1.0F);
    fill_all(c, 0x00ffffffU);
    EXPECT_EQ(scan(c).output.data()[0], 0x00ffffffU);
}

TEST_P(Bits32, slab_mean_per_channel) {
    // Channels 0: 1 2 2 gives 2; 1: 10 10 11 gives 10; 2: 255 0 0 gives 85.
    ScanCase32 c = row_case(2, 2.0F, 2.0F, 2.0F);
    c.slabSteps = 1;
    c.slabStep = {0.0F, 0.0F, 1.0F};
    fill_slice(c, 1, 0x00ff0a01U);
    fill_slice(c, 2, 0x00000a02U);
    fill_slice(c, 3, 0x00000b02U);
    EXPECT_EQ(scan(c).output.data()[0], 0x00020a55U);
}

TEST_P(Bits32, no_plane_gives_pixels_of_0) {
    ScanCase32 c = row_case(3, 2.0F, 2.0F, 1.0F);
    fill_all(c, 0x00ffffffU);
    c.slabSteps = -1;
    const auto o = scan(c);
    for (int column = 0; column < 3; ++column) EXPECT_EQ(o.output.data()[column], 0U);
    EXPECT_EQ(o.bounds, (std::array<int, 4>{0, 0, 0, 2}));
}

TEST_P(Bits32, quality_1_shifts_by_half_a_sample_before_the_clamp) {
    // Linear and cubic alike half-way on a ramp: columns 3 and 4 of 20 a column give 70.
    ScanCase32 c = row_case(2, 3.0F, 3.0F, 2.0F);
    for (auto& raster : c.rasters) {
        for (int i = 0; i < 80; ++i) raster.data()[i] = static_cast<std::uint32_t>(20 * (i % 10));
    }
    c.quality = 4;
    EXPECT_EQ(scan(c).output.data()[0], 60U << 16);
    c.quality = 1;
    EXPECT_EQ(scan(c).output.data()[0], 70U << 16);
    // -0.25 + 0.5 stays above 0: column 0.25; after the clamp it would be 0.5.
    c.planeToIndex[3][0] = -0.25F;
    c.planeToIndex[3][1] = 2.5F;
    const auto at = scan(c).output.data()[1];  // column 1.25
    EXPECT_EQ(at, 25U << 16);
}

TEST_P(Bits32, start_is_clamped_to_0_once) {
    ScanCase32 c = row_case(4, -0.5F, 3.0F, 2.0F);
    for (auto& raster : c.rasters) {
        for (int i = 0; i < 80; ++i) raster.data()[i] = static_cast<std::uint32_t>(20 * (i % 10));
    }
    const auto o = scan(c);
    for (unsigned column = 0; column < 4; ++column) EXPECT_EQ(o.output.data()[column], (20U * column) << 16);
}

TEST_P(Bits32, one_column_is_no_span_and_two_are) {
    ScanCase32 c = row_case(7, 0.0F, 2.0F, 1.0F);
    c.spans = {5, 5};
    EXPECT_TRUE(scan(c).output.untouched());
    EXPECT_EQ(scan(c).bounds, (std::array<int, 4>{0, 0, 7, 0}));
    fill_all(c, 0x00010203U);
    c.spans = {5, 6};
    const auto o = scan(c);
    for (std::size_t i = 0; i < 7; ++i) {
        EXPECT_EQ(o.output.data()[i], i == 5 || i == 6 ? 0x00030201U : o.output.before(i)) << i;
    }
    EXPECT_EQ(o.bounds, (std::array<int, 4>{0, 0, 5, 6}));
}

TEST_P(LinearBits32, before_the_first_slice_the_fraction_is_taken_from_the_floor) {
    // z = -0.25 reads slices 0 and 1 with a fraction of 0.75: 100 x 0.25 + 200 x 0.75.
    ScanCase32 c = row_case(2, 2.0F, 2.0F, -0.25F);
    fill_slice(c, 0, 100U);
    fill_slice(c, 1, 200U);
    EXPECT_EQ(scan(c).output.data()[0], 175U << 16);
}

TEST_P(LinearBits32, steps_accumulate_in_single_precision) {
    // On a ramp of 1 a column: 25 steps of 0.1F add up to 2.4999998, which gives 2; 25 x 0.1F is 2.5, which
    // gives 3.
    ScanCase32 c = row_case(26, 0.0F, 2.0F, 1.0F);
    c.planeToIndex[0][0] = 0.1F;
    c.columnStep = {0.1F, 0.0F, 0.0F};
    for (auto& raster : c.rasters) {
        for (int i = 0; i < 80; ++i) raster.data()[i] = static_cast<std::uint32_t>(i % 10);
    }
    EXPECT_EQ(scan(c).output.data()[25], 2U << 16);
}

TEST_P(LinearBits32, value_is_rounded_to_the_nearest) {
    // 2.3F - 2 is 0.29999995, and five times that, 1.4999998, gives 1; half of 5 gives 3.
    ScanCase32 c = row_case(2, 2.3F, 2.0F, 1.0F);
    for (auto& raster : c.rasters) {
        for (int i = 0; i < 80; ++i) raster.data()[i] = i % 10 == 3 ? 5U : 0U;
    }
    EXPECT_EQ(scan(c).output.data()[0], 1U << 16);
    c.planeToIndex[3][0] = 2.5F;
    EXPECT_EQ(scan(c).output.data()[0], 3U << 16);
}

TEST_P(CubicBits32, constant_255_at_fraction_0_stays) {
    // Weight 16383 on the sample and 1 on the far diagonal neighbour: (255 x 16384 + 8192) >> 14 = 255.
    ScanCase32 c = row_case(2, 3.0F, 3.0F, 2.0F);
    fill_all(c, 0x00ffffffU);
    EXPECT_EQ(scan(c).output.data()[0], 0x00ffffffU);
}

TEST_P(CubicBits32, fraction_0_is_the_sample_itself) {
    ScanCase32 c = row_case(2, 3.0F, 3.0F, 2.0F);
    c.rasters[2].data()[33] = 0x00c86432U;
    EXPECT_EQ(scan(c).output.data()[0], 0x003264c8U);
    EXPECT_EQ(scan(c).output.data()[1], 0U);
}

TEST_P(CubicBits32, overshoot_is_cut_to_0_and_255) {
    // Half-way along x, weights -1023, 9215, 9215, -1023. 0 0 0 255 gives -15.4, 0 255 255 255 gives 270.9.
    ScanCase32 c = row_case(3, 2.5F, 3.0F, 2.0F);
    for (auto& raster : c.rasters) {
        for (int i = 0; i < 80; ++i) raster.data()[i] = i % 10 >= 5 ? 255U : 0U;
    }
    c.spans = {1, 2};
    c.planeToIndex[3][0] = 2.5F;
    auto o = scan(c);
    EXPECT_EQ(o.output.data()[1], 0U);          // 3.5
    EXPECT_EQ(o.output.data()[2], 128U << 16);  // 4.5: (8192 x 255 + 8192) >> 14
    c.planeToIndex[3][0] = 4.5F;
    o = scan(c);
    EXPECT_EQ(o.output.data()[1], 255U << 16);  // 5.5
}

TEST_P(CubicBits32, fraction_that_rounds_up_to_1_takes_the_last_entry) {
    // z = -1e-9: slice 0, and a fraction of 1.0F, cut to 63/64. Along z the weights are -1, 135, 16373, -124,
    // one more in plane 1: 135 x 200 + 8192 >> 14 = 2 with 200 in slices -1 and 0. Entry 0 would give 200.
    ScanCase32 c = row_case(2, 3.0F, 3.0F, 0.0F);
    c.planeToIndex[3][2] = -1e-9F;
    fill_slice(c, 0, 200U);
    EXPECT_EQ(scan(c).output.data()[0], 2U << 16);
    fill_slice(c, 0, 0U);
    fill_slice(c, 1, 100U);
    EXPECT_EQ(scan(c).output.data()[0], 100U << 16);
}

TEST_P(CubicBits32, rows_and_pixels_around_the_raster_enter_the_sum) {
    // At (0, 0) half-way in x and y the 4 x 4 pixels start at (-1, -1): a row before, and the pixel that ends
    // the row before. Weights -1023/16384 each way; along y alone: 128 before row 0 adds -8.
    ScanCase32 c = row_case(2, 3.0F, 0.5F, 2.0F);
    for (auto& raster : c.rasters) std::fill_n(raster.data(), 80, 100U);
    // (16384 + 1023) x 100 + 8192 >> 14 = 106 with nought before, 100 - 8 + 6 = 98 with 128 there.
    EXPECT_EQ(scan(c).output.data()[0], 106U << 16);
    for (auto& raster : c.rasters) std::fill_n(raster.data() - 10, 10, 128U);
    EXPECT_EQ(scan(c).output.data()[0], 98U << 16);
}

TEST_P(CubicBits32, nothing_is_dropped_at_the_last_row_and_column) {
    // iy = T - 2 and ix = W - 2: a row behind is read, and the pixel behind a row is the next row's first.
    ScanCase32 c = row_case(2, 8.5F, 6.0F, 2.0F);
    c.planeToIndex[0][0] = 0.0F;
    c.columnStep = {0.0F, 0.0F, 0.0F};
    for (auto& raster : c.rasters) {
        for (int i = 0; i < 80; ++i) raster.data()[i] = i % 10 == 0 ? 160U : 100U;
    }
    // -1023 x 160 in place of 100: (1638400 - 61380 + 8192) >> 14 = 96.
    EXPECT_EQ(scan(c).output.data()[0], 96U << 16);
}

}  // namespace
