#include <gtest/gtest.h>

#include "rz_obl/RZ_OBLplanar/kernels/bits8/scan_8bits.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "tests/reference/bits8.h"
#include "tests/support/scan_case.h"

// The 8-bit kernels in both forms. Expected numbers are worked out by hand.

namespace {

using namespace rz_test;
using rz_obl::scan_args_8;

using Kernel = void (*)(const scan_args_8&);
using Reference = void (*)(const scan_args_8&, Branches&);

struct Forms {
    const char* name;
    Kernel narrow;
    Kernel wide;
    Reference reference;
    const char* negativeResult;
};

const Forms kMean{"scan_linear_8bits", rz_obl::scan_linear_8bits, rz_obl::scan_linear_8bits_avx2,
                  rz_reference::scan_linear_8bits, "mean below 0"};
const Forms kMaximum{"scan_max_linear_8bits", rz_obl::scan_max_linear_8bits,
                     rz_obl::scan_max_linear_8bits_avx2, rz_reference::scan_max_linear_8bits,
                     "result below 0"};
const Forms kMinimum{"scan_min_linear_8bits", rz_obl::scan_min_linear_8bits,
                     rz_obl::scan_min_linear_8bits_avx2, rz_reference::scan_min_linear_8bits,
                     "result below 0"};

/// What the narrow form makes; the wide one, where the processor has it, must make the same.
Outcome<unsigned char, float> scan(const Forms& forms, const ScanCase8& c) {
    const auto o = run(forms.narrow, c);
    if (rz_obl::g_cpuFeatures.hasAvx2()) {
        EXPECT_EQ(first_difference(c, o, run(forms.wide, c)), "");
    }
    return o;
}

class Bits8 : public testing::TestWithParam<Forms> {};

INSTANTIATE_TEST_SUITE_P(Kernels, Bits8, testing::Values(kMean, kMaximum, kMinimum),
                         [](const auto& forms) { return forms.param.name; });

TEST(Bits8Paths, wide_forms_are_compared_here) {
    if (!rz_obl::g_cpuFeatures.hasAvx2())
        GTEST_SKIP() << "this processor has no AVX2: the wide forms of the 8-bit kernels did not run";
}

TEST_P(Bits8, random_cases_equal_the_reference) {
    Branches branches;
    for (const Seed seed : seeds(4000)) {
        ScanOptions options;
        // Half of the cases leave a row at its ends, where coordinates turn negative or pass the last column.
        options.reach = seed % 2 == 0 ? Reach::kInRaster : Reach::kInside;
        options.limitsAbove = true;
        const auto c = make_scan_case<ScanCase8>(seed, options);
        const auto want = run([&](const scan_args_8& a) { GetParam().reference(a, branches); }, c);
        ASSERT_EQ(first_difference(c, want, run(GetParam().narrow, c)), "");
        if (rz_obl::g_cpuFeatures.hasAvx2()) {
            ASSERT_EQ(first_difference(c, want, run(GetParam().wide, c)), "");
        }
        branches.met(c.isSigned ? "signed" : "unsigned");
    }
    EXPECT_EQ(
        branches.never_met({"signed", "unsigned", "x limited from above", "y limited from above",
                            "value raised, signed", "value raised, unsigned", "value cut, signed",
                            "value cut, unsigned", "negative x in a run", "negative y in a run", "negative z",
                            "x clamped at the start of a run", "y clamped at the start of a run", "slab",
                            "no plane at all", "span of one column", "empty span", "no row seen",
                            GetParam().negativeResult}),
        "");
}

// One row of pixels along x, the first at sample x, y, z of a 10 x 8 x 4 volume.
ScanCase8 row_case(int columns, float x, float y, float z) {
    ScanCase8 c = blank_scan_case<ScanCase8>(10, 8, 4, 1, columns);
    c.planeToIndex[3][0] = x;
    c.planeToIndex[3][1] = y;
    c.planeToIndex[3][2] = z;
    c.isSigned = false;
    return c;
}

void fill_slice(ScanCase8& c, std::size_t z, int value) {
    std::fill_n(c.rasters[z].data(), c.rasters[z].size(), static_cast<unsigned char>(value));
}

void fill_all(ScanCase8& c, int value) {
    for (std::size_t z = 0; z < c.rasters.size(); ++z) fill_slice(c, z, value);
}

void fill_column(ScanCase8& c, int x, int value) {
    for (auto& raster : c.rasters) {
        for (int y = 0; y < c.sourceHeight; ++y) {
            raster.data()[y * c.sourceWidth + x] = static_cast<unsigned char>(value);
        }
    }
}

// The slabs of these tests: three planes, in slices 0, 1 and 2.
ScanCase8 slab_case(bool isSigned, int first, int second, int third) {
    ScanCase8 c = row_case(2, 2.0F, 2.0F, 1.0F);
    c.slabSteps = 1;
    c.slabStep = {0.0F, 0.0F, 1.0F};
    c.isSigned = isSigned;
    fill_slice(c, 0, first);
    fill_slice(c, 1, second);
    fill_slice(c, 2, third);
    return c;
}

TEST_P(Bits8, x_beyond_the_last_column_is_cut_to_width_minus_1_01) {
    // Between 0 in column 8 and 200 in column 9 at fraction 0.99: 198. Uncut, or cut to 9, it were 200.
    ScanCase8 c = row_case(3, 8.0F, 2.0F, 1.0F);
    fill_column(c, 9, 200);
    const auto o = scan(GetParam(), c);
    EXPECT_EQ(o.output.data()[0], 0);
    EXPECT_EQ(o.output.data()[1], 198);  // x = 9
    EXPECT_EQ(o.output.data()[2], 198);  // x = 10
}

TEST_P(Bits8, y_beyond_the_last_row_is_cut_to_height_minus_1_01) {
    ScanCase8 c = row_case(2, 2.0F, 7.5F, 1.0F);
    for (auto& raster : c.rasters) std::fill_n(raster.data() + 7 * 10, 10, static_cast<unsigned char>(200));
    EXPECT_EQ(scan(GetParam(), c).output.data()[0], 198);
}

TEST_P(Bits8, unsigned_constant_keeps_its_value) {
    ScanCase8 c = row_case(5, 2.3F, 2.6F, 1.2F);
    fill_all(c, 200);
    const auto o = scan(GetParam(), c);
    for (int column = 0; column < 5; ++column) EXPECT_EQ(o.output.data()[column], 200);
}

TEST(LinearBits8, signed_constant_of_minus_3_comes_out_as_minus_2) {
    ScanCase8 c = row_case(2, 2.0F, 2.0F, 1.0F);
    c.isSigned = true;
    fill_all(c, -3);
    EXPECT_EQ(scan(kMean, c).output.data()[0], 0xfe);
}

TEST(MaximumBits8, signed_constant_of_minus_5_gives_minus_4) {
    // A plane's value is the rounded one: -5.0 + 0.5 toward zero.
    ScanCase8 c = row_case(2, 2.0F, 2.0F, 1.0F);
    c.isSigned = true;
    fill_all(c, -5);
    EXPECT_EQ(scan(kMaximum, c).output.data()[0], 0xfc);
    EXPECT_EQ(scan(kMinimum, c).output.data()[0], 0xfc);
}

TEST(MaximumBits8, greatest_of_minus_5_and_minus_7_is_the_byte_0xfb) {
    // Samples of -6 and -8 have plane values of -5 and -7: -5.5 and -7.5 toward zero.
    EXPECT_EQ(scan(kMaximum, slab_case(true, -8, -6, -8)).output.data()[0], 0xfb);
    EXPECT_EQ(scan(kMinimum, slab_case(true, -8, -6, -8)).output.data()[0], 0xf9);
}

TEST(MaximumBits8, sign_decides_what_is_greatest) {
    EXPECT_EQ(scan(kMaximum, slab_case(false, 1, 200, 100)).output.data()[0], 200);
    EXPECT_EQ(scan(kMinimum, slab_case(false, 1, 200, 100)).output.data()[0], 1);
    // 200 is -56: + 0.5 toward zero gives -55.
    EXPECT_EQ(scan(kMaximum, slab_case(true, 1, 200, 100)).output.data()[0], 100);
    EXPECT_EQ(scan(kMinimum, slab_case(true, 1, 200, 100)).output.data()[0], 256 - 55);
}

TEST(MaximumBits8, previous_content_takes_no_part) {
    for (Seed seed = 1; seed <= 8; ++seed) {
        ScanCase8 c = slab_case(false, 7, 5, 9);
        c.seed = seed;
        EXPECT_EQ(scan(kMaximum, c).output.data()[0], 9);
        EXPECT_EQ(scan(kMinimum, c).output.data()[0], 5);
    }
}

TEST(LinearBits8, mean_of_a_slab_rounds_to_the_nearest) {
    EXPECT_EQ(scan(kMean, slab_case(false, 1, 2, 2)).output.data()[0], 2);
    EXPECT_EQ(scan(kMean, slab_case(false, 1, 1, 2)).output.data()[0], 1);
    EXPECT_EQ(scan(kMean, slab_case(false, 255, 255, 254)).output.data()[0], 255);
    // -2, -3, -3 have plane values of -1, -2, -2: -5 / 3 - 0.5 toward zero.
    EXPECT_EQ(scan(kMean, slab_case(true, -2, -3, -3)).output.data()[0], 0xfe);
}

TEST(LinearBits8, before_the_first_slice_it_extrapolates_and_is_cut) {
    // z = -0.25 lies between slices 0 and 1 with a fraction of -0.25: 1.25 a - 0.25 b.
    const struct {
        bool isSigned;
        int a, b, want;
    } slices[] = {{false, 100, 200, 75},
                  {false, 10, 200, 0},
                  {false, 250, 50, 255},
                  {true, 100, -100, 127},
                  {true, -100, 100, 256 - 127}};
    for (const auto& s : slices) {
        ScanCase8 c = row_case(2, 2.0F, 2.0F, -0.25F);
        c.isSigned = s.isSigned;
        fill_slice(c, 0, s.a);
        fill_slice(c, 1, s.b);
        EXPECT_EQ(scan(kMean, c).output.data()[0], s.want) << s.a << ", " << s.b;
    }
}

TEST_P(Bits8, steps_accumulate_in_single_precision) {
    // On a ramp of 1 a column: 25 steps of 0.1F add up to 2.4999998, which gives 2; 25 x 0.1F is 2.5, which
    // gives 3.
    ScanCase8 c = row_case(26, 0.0F, 2.0F, 1.0F);
    c.planeToIndex[0][0] = 0.1F;
    c.columnStep = {0.1F, 0.0F, 0.0F};
    for (int x = 0; x < 10; ++x) fill_column(c, x, x);
    EXPECT_EQ(scan(GetParam(), c).output.data()[25], 2);
}

TEST(Bits8NoPlane, mean_gives_0_maximum_0x00_minimum_0xff) {
    for (const int slabSteps : {-1, -7}) {
        ScanCase8 c = slab_case(false, 10, 20, 30);
        c.slabSteps = slabSteps;
        EXPECT_EQ(scan(kMean, c).output.data()[1], 0x00);
        EXPECT_EQ(scan(kMaximum, c).output.data()[1], 0x00);
        EXPECT_EQ(scan(kMinimum, c).output.data()[1], 0xff);
    }
}

TEST_P(Bits8, start_is_clamped_to_0_once) {
    // Columns at -0.5 (moved to 0), 0.5 (moved to 1), ...
    ScanCase8 c = row_case(4, -0.5F, -0.75F, 1.0F);
    for (int x = 0; x < 10; ++x) fill_column(c, x, 20 * x);
    const auto o = scan(GetParam(), c);
    for (int column = 0; column < 4; ++column) EXPECT_EQ(o.output.data()[column], 20 * column);
}

TEST_P(Bits8, one_column_is_no_span_and_two_are) {
    ScanCase8 c = blank_scan_case<ScanCase8>(10, 8, 4, 3, 7);
    c.isSigned = false;
    c.planeToIndex[3][2] = 1.0F;
    fill_all(c, 33);
    c.spans = {5, 5, 5, 6, 4, 3};
    const auto o = scan(GetParam(), c);
    for (std::size_t i = 0; i < 21; ++i) {
        EXPECT_EQ(o.output.data()[i], i == 12 || i == 13 ? 33 : o.output.before(i)) << i;
    }
    EXPECT_EQ(o.bounds, (std::array<int, 4>{1, 1, 5, 6}));
}

TEST_P(Bits8, value_is_rounded_in_double_precision) {
    // Just below a half between 0 and 1: in single precision the sum with 0.5 were 1.
    ScanCase8 c = row_case(2, 0x1.fffffep-2F, 2.0F, 1.0F);
    fill_column(c, 1, 1);
    EXPECT_EQ(scan(GetParam(), c).output.data()[0], 0);
    c.planeToIndex[3][0] = 0.5F;
    EXPECT_EQ(scan(GetParam(), c).output.data()[0], 1);
}

// More rows than lanes, and each row a run of its own length and start: a lane that has ended must neither
// write nor read on, and one row's steps must not reach another's.
TEST_P(Bits8, rows_of_any_length_side_by_side) {
    ScanCase8 c = blank_scan_case<ScanCase8>(40, 21, 4, 21, 37);
    c.isSigned = false;
    c.planeToIndex[3][2] = 1.25F;
    c.slabSteps = 1;
    c.slabStep = {0.0F, 0.0F, 0.5F};
    for (std::size_t z = 0; z < c.rasters.size(); ++z) {
        for (int y = 0; y < 21; ++y) {
            for (int x = 0; x < 40; ++x) {
                const int value = 7 * x + 31 * y + 90 * static_cast<int>(z);
                c.rasters[z].data()[y * 40 + x] = static_cast<unsigned char>(value);
            }
        }
    }
    for (int row = 0; row < 21; ++row) {
        const auto r = static_cast<std::size_t>(row) * 2;
        c.spans[r] = static_cast<short>((row * 5) % 13);
        c.spans[r + 1] = static_cast<short>(row % 6 == 4 ? 0 : 36 - (row * 11) % 23);
    }
    Branches unused;
    const auto want = run([&](const scan_args_8& a) { GetParam().reference(a, unused); }, c);
    EXPECT_EQ(first_difference(c, want, scan(GetParam(), c)), "");
}

}  // namespace
