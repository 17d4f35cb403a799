#include <gtest/gtest.h>

#include "rz_obl/RZ_OBLplanar/selection/selection.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "tests/kernels/serpentine_forms.h"

// scan_tricubic at its edges, with numbers worked out by hand.

namespace {

using namespace rz_test;

using Pixels = std::vector<short>;

ScanCase16 roomy_case() {
    auto c = blank_scan_case<ScanCase16>(20, 12, 9, 2, 6);
    set_origin(c, 4.0F, 4.0F, 4.0F);
    return c;
}

// Slices 3 to 6, the four about z = 4 to 5.
void fill_four_slices(ScanCase16& c, int p0, int p1, int p2, int p3) {
    const int p[4] = {p0, p1, p2, p3};
    for (int k = 0; k < 4; ++k) fill_slice(c, 3 + k, static_cast<short>(p[k]));
}

void set_z(ScanCase16& c, int fraction15) {
    set_origin(c, 4.0F, 4.0F, 4.0F + static_cast<float>(fraction15) / 32768.0F);
}

TEST(ScanTricubicEdges, constant_field_keeps_its_value_at_any_fraction) {
    auto c = roomy_case();
    fill_all(c, 1000);
    set_origin(c, 4.3F, 4.7F, 4.9F);
    c.columnStep = {262143, 77777, -54321};
    EXPECT_EQ(pixels(c, run_forms(kTricubic, c), 0, 0, 6), Pixels(6, 1000));
}

// c1 = -16000, c2 = -16000, c3 = 16000, T2 = T3 = 0. -16000 x 2 >> 16 is -1, -16000 x 0 >> 16 is 0.
TEST(ScanTricubicEdges, lowest_bit_of_fz_is_dropped) {
    auto c = roomy_case();
    fill_four_slices(c, 8000, 0, -8000, 0);
    set_z(c, 1);
    EXPECT_EQ(pixel(c, run_forms(kTricubic, c), 0, 0), 0);
    set_z(c, 2);
    EXPECT_EQ(pixel(c, run_forms(kTricubic, c), 0, 0), -1);
    set_z(c, 3);
    EXPECT_EQ(pixel(c, run_forms(kTricubic, c), 0, 0), -1);
}

TEST(ScanTricubicEdges, faces_in_x_add_nothing) {
    auto c = blank_scan_case<ScanCase16>(20, 12, 9, 1, 20);
    fill_all(c, 1000);
    set_origin(c, 0.0F, 4.0F, 4.0F);
    const auto o = run_forms(kTricubic, c);
    EXPECT_EQ(pixels(c, o, 0, 0, 3), (Pixels{0, 1000, 1000}));
    EXPECT_EQ(pixels(c, o, 0, 16, 4), (Pixels{1000, 1000, 0, 0}));  // the last used column is W - 3
}

TEST(ScanTricubicEdges, end_of_the_raster_is_used) {
    auto c = blank_scan_case<ScanCase16>(12, 8, 4, 1, 8);
    fill_all(c, 1000);
    set_origin(c, 1.0F, 5.0F, 1.0F);
    EXPECT_EQ(pixels(c, run_forms(kTricubic, c), 0, 0, 8), Pixels(8, 1000));
}

// At fz = 0x7fff, T = 0x8000, 32766, 32766, 32764. For 5400, -5400, 5400, -5400 the coefficients are -10800,
// 0, 64800, -43200: -5400 + 0 + 32398 - 21598 = 5400. For 6000 they are -12000, 0, 72000, -48000, and 72000 x
// 32766 passes 2^31: -6000 + 0 - 29539 - 23998 = -59537, of which two dropped planes leave a third.
TEST(ScanTricubicEdges, product_of_the_last_stage_wraps_from_extreme_contrast_on) {
    auto c = roomy_case();
    fill_four_slices(c, 5400, -5400, 5400, -5400);
    set_z(c, 0x7fff);
    EXPECT_EQ(pixel(c, run_forms(kTricubic, c), 0, 0), 5400);
    fill_four_slices(c, 6000, -6000, 6000, -6000);
    EXPECT_EQ(pixel(c, run_forms(kTricubic, c), 0, 0), -32767);
    set_slab(c, 1, 0, 8 * kSample, 0);  // rows -4, 4 and 12: row -4 is clamped to 0, so rows 0, 8, 16
    set_origin(c, 4.0F, 4.0F, 4.0F + 32767.0F / 32768.0F);
    EXPECT_EQ(pixel(c, run_forms(kTricubic, c), 0, 0), -19845);  // -59537 / 3
}

// The value of a plane enters the sum as it is: (32767, -32768, 32767, -32768) at a half gives
// -32768 + 0 - 16385 - 16384 = -65537. Two dropped planes leave -21845.
TEST(ScanTricubicEdges, value_beyond_16_bits_enters_the_sum) {
    auto c = roomy_case();
    fill_four_slices(c, 32767, -32768, 32767, -32768);
    set_z(c, 0x4000);
    set_slab(c, 1, 0, 8 * kSample, 0);
    EXPECT_EQ(pixel(c, run_forms(kTricubic, c), 0, 0), -21845);
}

TEST(ScanTricubicEdges, quality_3_lies_half_a_sample_further_in_x_and_y) {
    auto c = roomy_case();
    fill_by(c, [](int x, int y, int z) { return 100 * x + 1000 * y + 10 * z; });
    c.quality = 4;
    EXPECT_EQ(pixels(c, run_forms(kTricubic, c), 0, 0, 3), (Pixels{4440, 4540, 4640}));
    c.quality = 3;
    EXPECT_EQ(pixels(c, run_forms(kTricubic, c), 0, 0, 3), (Pixels{4990, 5090, 5190}));
}

TEST(ScanTricubicEdges, overshoots_along_all_three_axes) {
    auto c = roomy_case();
    const auto pit = [](int at) { return at == 4 || at == 5 ? 0 : 1000; };
    fill_by(c, [&](int x, int, int) { return pit(x); });
    set_origin(c, 4.5F, 4.0F, 4.0F);
    EXPECT_EQ(pixel(c, run_forms(kTricubic, c), 0, 0), -125);
    fill_by(c, [&](int, int y, int) { return pit(y); });
    set_origin(c, 4.0F, 4.5F, 4.0F);
    EXPECT_EQ(pixel(c, run_forms(kTricubic, c), 0, 0), -125);
    fill_by(c, [&](int, int, int z) { return pit(z); });
    set_origin(c, 4.0F, 4.0F, 4.5F);
    EXPECT_EQ(pixel(c, run_forms(kTricubic, c), 0, 0), -125);  // -250 + 125, each exact
}

TEST(ScanTricubicEdges, overshoot_clamp_is_not_read) {
    auto c = roomy_case();
    fill_by(c, [](int x, int, int) { return x == 4 || x == 5 ? 0 : 1000; });
    set_origin(c, 4.5F, 4.0F, 4.0F);
    rz_obl::OvershootClamp = true;
    const auto o = run_forms(kTricubic, c);
    rz_obl::OvershootClamp = false;
    EXPECT_EQ(pixel(c, o, 0, 0), -125);
}

TEST(ScanTricubicEdges, mean_and_limits_are_the_semicubic_ones) {
    auto c = roomy_case();
    fill_all(c, -32768);
    EXPECT_EQ(pixel(c, run_forms(kTricubic, c), 0, 0), -32767);
    set_slab(c, 1, kSample, 0, 0);
    set_origin(c, 1.0F, 4.0F, 4.0F);
    fill_all(c, -1000);
    EXPECT_EQ(pixel(c, run_forms(kTricubic, c), 0, 0), -666);  // -2000 / 3
}

class ForcedTricubic : public ::testing::Test {
  protected:
    void SetUp() override { rz_obl::ForceTricubic = true; }
    void TearDown() override {
        rz_obl::ForceTricubic = false;
        rz_obl::ForceLinear = false;
    }
    static Outcome16 run_entry(const ScanCase16& c) {
        return run([](const auto& args) { rz_obl::scan_avg_12_2(args, 2); }, c);
    }
};

TEST_F(ForcedTricubic, quality_3_is_shifted) {
    auto c = roomy_case();
    fill_by(c, [](int x, int, int z) { return 100 * x + (z == 4 || z == 5 ? 0 : 1000); });
    set_origin(c, 4.0F, 4.0F, 4.5F);
    c.quality = 3;
    EXPECT_EQ(pixel(c, run_entry(c), 0, 0), 450 - 125);
}

TEST_F(ForcedTricubic, forced_linear_takes_the_shift_away) {
    auto c = roomy_case();
    fill_by(c, [](int x, int, int z) { return 100 * x + (z == 4 || z == 5 ? 0 : 1000); });
    set_origin(c, 4.0F, 4.0F, 4.5F);
    c.quality = 3;
    rz_obl::ForceLinear = true;
    EXPECT_EQ(pixel(c, run_entry(c), 0, 0), 400 - 125);
}

}  // namespace
