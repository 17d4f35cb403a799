#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>

#include "rz_obl/RZ_OBLplanar/kernels/linear/scan_linear.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "tests/support/scan_case.h"

// scan_linear at its edges, with numbers worked out by hand. One sample is 262144 units of Q18; each stage
// weighs with 32767 - f and f and cuts 15 bits.

namespace {

using namespace rz_test;

using Result = Outcome<short, int>;

/// Both forms, where the processor has the wide one.
Result run_linear(const ScanCase16& c) {
    const Result o = run(rz_obl::scan_linear, c);
    if (rz_obl::g_cpuFeatures.hasAvx2()) {
        EXPECT_EQ(first_difference(c, o, run(rz_obl::scan_linear_avx2, c)), "");
    }
    return o;
}

void fill(ScanCase16& c, int slice, short value) {
    auto& raster = c.rasters[static_cast<std::size_t>(slice)];
    std::fill_n(raster.data(), raster.size(), value);
}

void fill_all(ScanCase16& c, short value) {
    for (int z = 0; z < c.depth; ++z) fill(c, z, value);
}

short& sample(ScanCase16& c, int x, int y, int z) {
    return c.rasters[static_cast<std::size_t>(z)].data()[y * c.sourceWidth + x];
}

void set_span(ScanCase16& c, int row, short first, short last) {
    c.spans[static_cast<std::size_t>(2 * row)] = first;
    c.spans[static_cast<std::size_t>(2 * row + 1)] = last;
}

short pixel(const ScanCase16& c, const Result& o, int column, int row) {
    return o.output.data()[row * c.rowStride + column];
}

bool written(const ScanCase16& c, const Result& o, int column, int row) {
    const auto i = static_cast<std::size_t>(row * c.rowStride + column);
    return o.output.data()[i] != o.output.before(i);
}

using Bounds = std::array<int, 4>;

TEST(ScanLinearEdges, span_of_one_column_is_left_untouched_and_does_not_count) {
    auto c = blank_scan_case<ScanCase16>(12, 4, 2, 2, 9);
    fill_all(c, 1000);
    set_span(c, 0, 5, 5);
    set_span(c, 1, 5, 6);
    const auto o = run_linear(c);
    for (int column = 0; column < 9; ++column) {
        EXPECT_FALSE(written(c, o, column, 0));
        EXPECT_EQ(written(c, o, column, 1), column == 5 || column == 6);
    }
    EXPECT_EQ(pixel(c, o, 5, 1), 997);
    EXPECT_EQ(pixel(c, o, 6, 1), 997);
    EXPECT_EQ(o.bounds, (Bounds{1, 1, 5, 6}));
}

TEST(ScanLinearEdges, all_spans_empty_still_moves_the_bounds) {
    auto c = blank_scan_case<ScanCase16>(12, 4, 2, 2, 9);
    set_span(c, 0, 1, 0);
    set_span(c, 1, 3, 3);
    c.bounds = {7, -4, 30, -6};
    auto o = run_linear(c);
    EXPECT_TRUE(o.output.untouched());
    EXPECT_EQ(o.bounds, (Bounds{0, 0, 9, 0}));
    c.bounds = {-2, 5, 3, 8};
    o = run_linear(c);
    EXPECT_EQ(o.bounds, (Bounds{-2, 5, 3, 8}));
}

TEST(ScanLinearEdges, no_rows_move_the_bounds_like_empty_ones) {
    auto c = blank_scan_case<ScanCase16>(12, 4, 2, 0, 9);
    c.bounds = {7, -4, 30, -6};
    const auto o = run_linear(c);
    EXPECT_TRUE(o.output.untouched());
    EXPECT_EQ(o.bounds, (Bounds{0, 0, 9, 0}));
}

TEST(ScanLinearEdges, spans_are_signed_16_bit) {
    // As unsigned numbers 0xfff0 to 3 would be empty and 2 to 0xfff0 would not.
    auto c = blank_scan_case<ScanCase16>(12, 4, 2, 1, 9);
    set_span(c, 0, 2, -16);
    EXPECT_TRUE(run_linear(c).output.untouched());
    c.rowStride = 9;
    c.rowCount = 1;
    c.planeToIndex[0][0] = 0.0F;
    c.planeToIndex[3][0] = 1.0F;
    c.columnStep = {0, 0, 0};
    set_span(c, 0, -16, 3);
    fill_all(c, 1000);
    const auto o = run_linear(c);
    EXPECT_EQ(o.output.data()[-16], 997);
    EXPECT_EQ(o.output.data()[3], 997);
    EXPECT_EQ(o.bounds, (Bounds{0, 0, -16, 3}));
}

TEST(ScanLinearEdges, skipped_row_still_advances_the_raster) {
    auto c = blank_scan_case<ScanCase16>(6, 6, 2, 3, 4);
    for (int y = 0; y < 6; ++y) {
        for (int x = 0; x < 6; ++x) sample(c, x, y, 0) = static_cast<short>(-100 * y - x);
    }
    set_span(c, 1, 1, 0);
    const auto o = run_linear(c);
    EXPECT_EQ(pixel(c, o, 0, 0), 0);
    EXPECT_EQ(pixel(c, o, 3, 0), -3);
    EXPECT_FALSE(written(c, o, 0, 1));
    EXPECT_EQ(pixel(c, o, 1, 2), -201);
    EXPECT_EQ(o.bounds, (Bounds{0, 2, 0, 3}));
}

TEST(ScanLinearEdges, constant_fields_lose_three_units_or_none) {
    // 1000 x 32767 >> 15 = 999, 999 x 32767 >> 15 = 998, then 997: the weights add up to 32767.
    const struct {
        short field, image;
    } cases[] = {{1000, 997}, {4, 1},   {3, 0},         {2, 0},         {1, 0},
                 {0, 0},      {-1, -1}, {-1000, -1000}, {32767, 32764}, {-32768, -32767}};
    for (const auto& k : cases) {
        for (const float fraction : {0.0F, 0.25F, 0.4F, 0.999F}) {
            auto c = blank_scan_case<ScanCase16>(8, 4, 3, 2, 5);
            fill_all(c, k.field);
            c.planeToIndex[3][0] = fraction;
            c.planeToIndex[3][1] = fraction;
            c.planeToIndex[3][2] = fraction;
            const auto o = run_linear(c);
            EXPECT_EQ(pixel(c, o, 2, 1), k.image) << "field " << k.field << ", fraction " << fraction;
        }
    }
}

TEST(ScanLinearEdges, slab_mean_rounds_halves_away_from_nought) {
    // Fields 4, 5, 5 give samples 1, 2, 2: 5 / 3 + 0.5 = 2.17. Fields -1, -2, -2 stay: -5 / 3 - 0.5 = -2.17.
    auto c = blank_scan_case<ScanCase16>(8, 4, 4, 1, 5);
    c.slabSteps = 1;
    c.slabStep = {0, 0, 262144};
    c.planeToIndex[3][2] = 1.0F;
    fill(c, 0, 4);
    fill(c, 1, 5);
    fill(c, 2, 5);
    EXPECT_EQ(pixel(c, run_linear(c), 2, 0), 2);
    fill(c, 0, -1);
    fill(c, 1, -2);
    fill(c, 2, -2);
    EXPECT_EQ(pixel(c, run_linear(c), 2, 0), -2);
    // -1, -1, -2: -4 / 3 - 0.5 = -1.83.
    fill(c, 1, -1);
    EXPECT_EQ(pixel(c, run_linear(c), 2, 0), -1);
}

TEST(ScanLinearEdges, slab_starts_on_its_negative_side_and_returns_for_each_pixel) {
    // Five planes at z = 0, 1, 2, 3, 4 about z = 2, each pixel the same mean: (0 - 10 - 20 - 30 - 400) / 5 =
    // -92.
    auto c = blank_scan_case<ScanCase16>(8, 4, 6, 2, 5);
    c.slabSteps = 2;
    c.slabStep = {0, 0, 262144};
    c.planeToIndex[3][2] = 2.0F;
    for (int z = 0; z < 4; ++z) fill(c, z, static_cast<short>(-10 * z));
    fill(c, 4, -400);
    fill(c, 5, 30000);
    const auto o = run_linear(c);
    for (int column = 0; column < 5; ++column) EXPECT_EQ(pixel(c, o, column, 1), -92);
}

TEST(ScanLinearEdges, negative_slab_steps_write_nought_without_start_correction) {
    auto c = blank_scan_case<ScanCase16>(8, 4, 3, 2, 5);
    fill_all(c, 1000);
    for (const int steps : {-1, -2, -32768}) {
        c.slabSteps = steps;
        c.slabStep = {262144, 0, 0};
        const auto o = run_linear(c);
        for (int column = 0; column < 5; ++column) EXPECT_EQ(pixel(c, o, column, 1), 0);
        EXPECT_EQ(o.bounds, (Bounds{0, 1, 0, 4}));
    }
}

TEST(ScanLinearEdges, start_below_nought_is_clamped_once_and_shifts_the_whole_run) {
    // Start -3 units, step half a sample: pixel 1 stands at 131072 (fraction 16384 of 32768), not at 131069
    // (16383). 16384 x 32767 >> 15 = 16383, then 16382, 16381; with 16383 the image would hold 16380.
    for (const int axis : {0, 1}) {
        auto c = blank_scan_case<ScanCase16>(4, 4, 2, 1, 3);
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j) {
                sample(c, axis == 0 ? i : j, axis == 0 ? j : i, 0) = i == 0 ? short{0} : short{32767};
            }
        }
        c.planeToIndex[0][0] = 0.0F;
        c.planeToIndex[0][axis] = 0.5F;
        c.columnStep = {0, 0, 0};
        c.columnStep[static_cast<std::size_t>(axis)] = 131072;
        c.planeToIndex[3][axis] = -3.0F / 262144.0F;
        const auto o = run_linear(c);
        EXPECT_EQ(pixel(c, o, 0, 0), 0);
        EXPECT_EQ(pixel(c, o, 1, 0), axis == 0 ? 16381 : 16382) << "axis " << axis;
    }
}

TEST(ScanLinearEdges, clamp_follows_the_slab_start_and_is_not_repeated) {
    // Three planes at x = -1, 0, 1 about column 0, clamped to 0, 1, 2: (0 - 10 - 20) / 3 = -10. The next
    // pixel starts at 1: (-10 - 20 - 30) / 3 = -20.
    auto c = blank_scan_case<ScanCase16>(8, 2, 2, 1, 4);
    for (int x = 0; x < 8; ++x) sample(c, x, 0, 0) = sample(c, x, 1, 0) = static_cast<short>(-10 * x);
    c.slabSteps = 1;
    c.slabStep = {262144, 0, 0};
    const auto o = run_linear(c);
    EXPECT_EQ(pixel(c, o, 0, 0), -10);
    EXPECT_EQ(pixel(c, o, 1, 0), -20);
}

TEST(ScanLinearEdges, z_just_below_nought_reads_the_guard_slice) {
    // Z = -262144 .. -1 is slice -1; the fraction runs from 0 to 32767. At -131072 the two halves meet.
    auto c = blank_scan_case<ScanCase16>(4, 4, 2, 1, 3);
    SourceRaster<short> guard(16);
    std::fill_n(guard.data(), 16, short{-3000});
    c.table[1] = guard.data();
    fill(c, 0, -1000);
    c.planeToIndex[3][2] = -1.0F;
    EXPECT_EQ(pixel(c, run_linear(c), 0, 0), -3000);
    c.planeToIndex[3][2] = -0.5F;
    // -3000 x 16383 - 1000 x 16384 = -65533000, over 32768 = -1999.9: down to -2000.
    EXPECT_EQ(pixel(c, run_linear(c), 0, 0), -2000);
    c.planeToIndex[3][2] = -1.0F / 262144.0F;
    EXPECT_EQ(pixel(c, run_linear(c), 0, 0), -1000);
}

TEST(ScanLinearEdges, last_slice_and_its_guard_meet_beyond_the_volume) {
    auto c = blank_scan_case<ScanCase16>(4, 4, 2, 1, 3);
    SourceRaster<short> guard(16);
    std::fill_n(guard.data(), 16, short{-3000});
    c.table[4] = guard.data();
    fill(c, 1, -1000);
    c.planeToIndex[3][2] = 1.75F;
    // Fraction 24576: -1000 x 8191 - 3000 x 24576 = -81919000, over 32768 = -2499.97.
    EXPECT_EQ(pixel(c, run_linear(c), 0, 0), -2500);
}

TEST(ScanLinearEdges, eight_different_neighbours) {
    // fx = fy = fz = 16384, weights 16383 and 16384. Along x: 100 200 -> 149 (150.0 less 0.003), 300 500 ->
    // 399, -100 -300 -> -200, 700 0 -> 349. Along y: 149 399 -> 273, -200 349 -> 74. Along z: 273 74 -> 173.
    auto c = blank_scan_case<ScanCase16>(2, 2, 2, 1, 2);
    sample(c, 0, 0, 0) = 100;
    sample(c, 1, 0, 0) = 200;
    sample(c, 0, 1, 0) = 300;
    sample(c, 1, 1, 0) = 500;
    sample(c, 0, 0, 1) = -100;
    sample(c, 1, 0, 1) = -300;
    sample(c, 0, 1, 1) = 700;
    sample(c, 1, 1, 1) = 0;
    for (int k = 0; k < 3; ++k) c.planeToIndex[3][k] = 0.5F;
    c.planeToIndex[0][0] = 0.0F;
    c.columnStep = {0, 0, 0};
    EXPECT_EQ(pixel(c, run_linear(c), 1, 0), 173);
}

TEST(ScanLinearEdges, three_lowest_bits_of_a_coordinate_are_dropped) {
    // Steps of one unit from 131064: fraction 16383 for eight pixels, then 16384.
    auto c = blank_scan_case<ScanCase16>(4, 2, 2, 1, 12);
    for (int y = 0; y < 2; ++y) {
        for (int x = 1; x < 4; ++x) sample(c, x, y, 0) = 32767;
    }
    c.planeToIndex[0][0] = 1.0F / 262144.0F;
    c.planeToIndex[3][0] = 131064.0F / 262144.0F;
    c.columnStep = {1, 0, 0};
    const auto o = run_linear(c);
    for (int column = 0; column < 12; ++column) {
        EXPECT_EQ(pixel(c, o, column, 0), column < 8 ? 16380 : 16381) << column;
    }
}

TEST(ScanLinearEdges, start_is_single_precision_row_first_then_column_then_translation) {
    // (3 x 10.3F + 3 x 17.3F) + 175.1F = 257.900024: fraction 29492. The exact sum, every other order and a
    // fused multiply-add of the row's or the sum's part give 257.9 or below, 29491. Then three stages of
    // 32767.
    auto c = blank_scan_case<ScanCase16>(262, 2, 2, 4, 5);
    for (int z = 0; z < 2; ++z) {
        for (int y = 0; y < 2; ++y) {
            for (int x = 258; x < 262; ++x) sample(c, x, y, z) = 32767;
        }
    }
    c.planeToIndex[0][0] = 17.3F;
    c.planeToIndex[1][0] = 10.3F;
    c.planeToIndex[1][1] = 0.0F;
    c.planeToIndex[3][0] = 175.1F;
    c.columnStep = {0, 0, 0};
    for (int row = 0; row < 4; ++row) set_span(c, row, 3, row == 3 ? short{4} : short{3});
    EXPECT_EQ(pixel(c, run_linear(c), 3, 3), 29489);
}

TEST(ScanLinearEdges, offsets_beyond_16_bits) {
    // Row 3 of a raster 32767 wide: offset 98301, a 32-bit sum of 16-bit products.
    auto c = blank_scan_case<ScanCase16>(32767, 5, 2, 1, 2);
    sample(c, 7, 3, 0) = -77;
    sample(c, 8, 3, 0) = -88;
    c.planeToIndex[3][0] = 7.0F;
    c.planeToIndex[3][1] = 3.0F;
    const auto o = run_linear(c);
    EXPECT_EQ(pixel(c, o, 0, 0), -77);
    EXPECT_EQ(pixel(c, o, 1, 0), -88);
}

TEST(ScanLinearEdges, positions_wrap_in_32_bits) {
    // One plane per pixel: P += 0x7fffffff after it wraps, and P += 262144 - 0x7fffffff brings it back.
    auto c = blank_scan_case<ScanCase16>(4, 2, 2, 1, 2);
    for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 4; ++x) sample(c, x, y, 0) = static_cast<short>(-10 - 10 * x);
    }
    c.slabStep = {INT_MAX, 0, 0};
    c.planeToIndex[3][0] = 1.0F;
    const auto o = run_linear(c);
    EXPECT_EQ(pixel(c, o, 0, 0), -20);
    EXPECT_EQ(pixel(c, o, 1, 0), -30);
}

TEST(ScanLinearEdges, bounds_collect_over_rows_and_calls) {
    auto c = blank_scan_case<ScanCase16>(12, 8, 2, 5, 9);
    set_span(c, 0, 4, 4);
    set_span(c, 1, 4, 6);
    set_span(c, 2, 3, 5);
    set_span(c, 3, 5, 8);
    set_span(c, 4, 8, 2);
    EXPECT_EQ(run_linear(c).bounds, (Bounds{1, 3, 3, 8}));
    c.bounds = {2, 2, 5, 5};
    EXPECT_EQ(run_linear(c).bounds, (Bounds{1, 3, 3, 8}));
    c.bounds = {0, 4, 0, 9};
    EXPECT_EQ(run_linear(c).bounds, (Bounds{0, 4, 0, 9}));
}

}  // namespace
