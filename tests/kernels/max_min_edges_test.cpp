#include <gtest/gtest.h>

#include "tests/kernels/max_min_cases.h"

// Maximum and minimum at their edges, with numbers worked out by hand. At fraction 0 a sample v of 3 or more
// comes out as v - 3, one below 0 as it is.

namespace {

using namespace rz_test;

using Pixels = std::vector<short>;
using Bounds = std::array<int, 4>;

auto scan(const NamedKernel& k, bool fast = false) {
    return [&k, fast](const rz_obl::scan_args_16& args) { k.kernel(args, fast); };
}

TEST(MaxMinEdges, maximum_keeps_greater_content_and_a_minimum_replaces_it) {
    for (const NamedKernel& k : kernels_here()) {
        SCOPED_TRACE(k.name);
        auto c = blank_scan_case<ScanCase16>(12, 4, 6, 1, 8);
        fill_all(c, 1000);
        set_origin(c, 1.0F, 1.0F, 2.0F);
        set_span(c, 0, 2, 5);
        set_slab(c, 1, 0, 0, kSample);
        const short covered = k.isMaximum ? 30000 : 997;
        EXPECT_EQ(pixels(c, run_on(30000, c, scan(k)), 0, 0, 8),
                  (Pixels{30000, 30000, covered, covered, covered, covered, 30000, 30000}));
        EXPECT_EQ(pixels(c, run_on(-30000, c, scan(k)), 0, 2, 4), Pixels(4, 997));
        // 998 beats every sample, not every raw neighbour.
        EXPECT_EQ(pixel(c, run_on(998, c, scan(k)), 2, 0), k.isMaximum ? 998 : 997);
    }
}

TEST(MaxMinEdges, one_plane_is_sampled_once) {
    for (const NamedKernel& k : kernels_here()) {
        SCOPED_TRACE(k.name);
        auto c = blank_scan_case<ScanCase16>(12, 4, 6, 1, 4);
        fill_by(c, [](int x, int, int) { return 1000 + 100 * x; });
        set_origin(c, 1.0F, 1.0F, 2.0F);
        set_slab(c, 0, kSample, kSample, kSample);
        EXPECT_EQ(pixels(c, run_on(k.isMaximum ? -9 : 9, c, scan(k)), 0, 0, 4),
                  (Pixels{1097, 1197, 1297, 1397}));
    }
}

TEST(MaxMinEdges, extremes_of_the_slab) {
    for (const NamedKernel& k : kernels_here()) {
        SCOPED_TRACE(k.name);
        auto c = blank_scan_case<ScanCase16>(12, 4, 9, 1, 2);
        const int slices[9] = {9, 9, 40, 20, 70, 30, 60, 9, 9};
        fill_by(c, [&](int, int, int z) { return slices[z]; });
        set_origin(c, 1.0F, 1.0F, 4.0F);
        set_slab(c, 2, 0, 0, kSample);
        EXPECT_EQ(pixels(c, run_on(k.isMaximum ? -9 : 9, c, scan(k)), 0, 0, 2),
                  k.isMaximum ? (Pixels{67, 67}) : (Pixels{17, 17}));
    }
}

// A case whose scanned pixels in row r are 1000 (r + 1) - 3.
ScanCase16 rows_case(int rowCount) {
    auto c = blank_scan_case<ScanCase16>(14, 12, 3, rowCount, 10);
    fill_by(c, [](int, int y, int) { return 1000 * (y + 1); });
    for (int row = 0; row < rowCount; ++row) set_span(c, row, 0, 8);
    return c;
}

TEST(MaxMinEdges, six_rows_in_fast_mode) {
    for (const NamedKernel& k : kernels_here()) {
        SCOPED_TRACE(k.name);
        const auto c = rows_case(6);
        const auto o = run_on(5, c, scan(k, true));
        const short want[6] = {997, 498 + 1498, 2997, 1498 + 2498, 4997, 5997};
        for (int row = 0; row < 6; ++row) {
            SCOPED_TRACE(row);
            Pixels line(10, want[row]);
            line[9] = 5;                            // outside the spans
            if (row == 1 || row == 3) line[8] = 5;  // the greatest column is not filled
            EXPECT_EQ(pixels(c, o, row, 0, 10), line);
        }
        EXPECT_EQ(o.bounds, (Bounds{0, 5, 0, 8}));
        EXPECT_EQ(o.columnStep, (std::array<int, 3>{2 * kSample, 0, 0}));
    }
}

TEST(MaxMinEdges, seven_rows_in_fast_mode) {
    for (const NamedKernel& k : kernels_here()) {
        SCOPED_TRACE(k.name);
        const auto c = rows_case(7);
        const auto o = run_on(5, c, scan(k, true));
        const short want[7] = {997, 1996, 2997, 3996, 4997, 5996, 6997};
        for (int row = 0; row < 7; ++row) {
            EXPECT_EQ(pixels(c, o, row, 0, 8), Pixels(8, want[row])) << "row " << row;
            EXPECT_EQ(pixel(c, o, 8, row), row % 2 == 0 ? want[row] : 5) << "row " << row;
        }
        EXPECT_EQ(o.bounds, (Bounds{0, 6, 0, 8}));
    }
}

TEST(MaxMinEdges, two_rows_in_fast_mode_are_both_scanned) {
    for (const NamedKernel& k : kernels_here()) {
        SCOPED_TRACE(k.name);
        const auto c = rows_case(2);
        const auto o = run_on(5, c, scan(k, true));
        EXPECT_EQ(pixel(c, o, 8, 0), 997);
        EXPECT_EQ(pixel(c, o, 8, 1), 1997);
    }
}

TEST(MaxMinEdges, row_fill_takes_the_background_as_it_is) {
    for (const NamedKernel& k : kernels_here()) {
        SCOPED_TRACE(k.name);
        auto c = rows_case(3);
        set_span(c, 2, 4, 8);
        const auto o = run_on(100, c, scan(k, true));
        // Columns 0 to 3 of row 2 hold 100: 498 + 50 and 498 + 1498.
        EXPECT_EQ(pixels(c, o, 1, 0, 10), (Pixels{548, 548, 548, 548, 1996, 1996, 1996, 1996, 100, 100}));
    }
}

TEST(MaxMinEdges, odd_and_even_runs_in_fast_mode) {
    for (const NamedKernel& k : kernels_here()) {
        for (const int last : {14, 15}) {
            SCOPED_TRACE(k.name);
            auto c = blank_scan_case<ScanCase16>(30, 4, 3, 1, 20);
            fill_by(c, [](int x, int, int) { return -100 * x; });
            set_span(c, 0, 10, last);
            const auto o = run_on(-30000, c, scan(k, true));
            // 10, 12 and 14 are sampled, 11 and 13 filled; a column 15 stays.
            EXPECT_EQ(pixels(c, o, 0, 8, 9),
                      (Pixels{-30000, -30000, -1000, -1100, -1200, -1300, -1400, -30000, -30000}));
            EXPECT_EQ(o.bounds, (Bounds{0, 0, 10, last}));
        }
    }
}

TEST(MaxMinEdges, columns_between_are_not_sampled_in_fast_mode) {
    for (const NamedKernel& k : kernels_here()) {
        SCOPED_TRACE(k.name);
        auto c = blank_scan_case<ScanCase16>(30, 4, 3, 1, 20);
        fill_by(c, [](int x, int, int) { return x % 2 == 0 ? -100 : (x == 11 ? 5000 : -5000); });
        set_span(c, 0, 10, 14);
        EXPECT_EQ(pixels(c, run_on(-30000, c, scan(k, true)), 0, 10, 5), Pixels(5, -100));
    }
}

TEST(MaxMinEdges, average_of_columns_truncates_toward_zero) {
    for (const NamedKernel& k : kernels_here()) {
        SCOPED_TRACE(k.name);
        auto c = blank_scan_case<ScanCase16>(12, 4, 3, 1, 3);
        fill_by(c, [](int x, int, int) { return x == 0 ? -3 : 0; });
        EXPECT_EQ(pixels(c, run_on(-100, c, scan(k, true)), 0, 0, 3), (Pixels{-3, -1, 0}));
    }
}

TEST(MaxMinEdges, maximum_fills_a_column_only_upward) {
    for (const NamedKernel& k : kernels_here()) {
        SCOPED_TRACE(k.name);
        auto c = blank_scan_case<ScanCase16>(12, 4, 3, 1, 5);
        fill_all(c, -10);
        const auto o = run_on(-4, c, scan(k, true));
        EXPECT_EQ(pixels(c, o, 0, 0, 5), Pixels(5, k.isMaximum ? -4 : -10));
    }
}

TEST(MaxMinEdges, column_step_is_doubled_where_no_row_is_visited) {
    for (const NamedKernel& k : kernels_here()) {
        SCOPED_TRACE(k.name);
        auto c = blank_scan_case<ScanCase16>(12, 4, 3, 0, 5);
        c.columnStep = {5, -7, 1 << 30};
        auto o = run(scan(k, true), c);
        EXPECT_EQ(o.columnStep, (std::array<int, 3>{10, -14, INT32_MIN}));
        EXPECT_EQ(o.bounds, (Bounds{0, 0, 5, 0}));
        o = run(scan(k, false), c);
        EXPECT_EQ(o.columnStep, c.columnStep);
        c = blank_scan_case<ScanCase16>(12, 4, 3, 3, 5);
        for (int row = 0; row < 3; ++row) set_span(c, row, 2, 2);
        o = run(scan(k, true), c);
        EXPECT_EQ(o.columnStep[0], 2 * kSample);
        EXPECT_TRUE(o.output.untouched());
    }
}

TEST(MaxMinEdges, row_between_does_not_count_for_the_bounds_in_fast_mode) {
    for (const NamedKernel& k : kernels_here()) {
        SCOPED_TRACE(k.name);
        auto c = rows_case(5);
        set_span(c, 0, 1, 0);
        set_span(c, 1, 0, 9);
        set_span(c, 2, 3, 5);
        set_span(c, 4, 1, 0);
        EXPECT_EQ(run(scan(k, true), c).bounds, (Bounds{2, 2, 3, 5}));
    }
}

// Both planes are flat: 1000 comes out as 997, 998 as 995. From 997 the raw 998 is not seen to be smaller.
TEST(MaxMinEdges, minimum_depends_on_the_test_and_on_the_order_of_planes) {
    for (const NamedKernel& k : {kMinPlaneMajor, kMinPixelMajor}) {
        SCOPED_TRACE(k.name);
        auto c = blank_scan_case<ScanCase16>(12, 4, 9, 1, 2);
        set_origin(c, 1.0F, 1.0F, 4.0F);
        set_slab(c, 1, 0, 0, kSample);
        fill_by(c, [](int, int, int z) { return z < 5 ? 1000 : 998; });
        EXPECT_EQ(pixel(c, run(scan(k), c), 0, 0), 997);
        fill_by(c, [](int, int, int z) { return z < 4 ? 998 : 1000; });
        EXPECT_EQ(pixel(c, run(scan(k), c), 0, 0), 995);
        // One raw sample below 997 is enough, wherever it lies: the next slice of the last plane.
        fill_by(c, [](int, int, int z) { return z < 5 ? 1000 : 998; });
        sample_at(c, 2, 2, 6) = 996;
        EXPECT_EQ(pixel(c, run(scan(k), c), 0, 0), 995);
    }
}

// Pixel 0 is won by its last plane. Pixel 1 has 997 in its first plane and an unseen 995 in its last.
ScanCase16 two_pixels_case() {
    auto c = blank_scan_case<ScanCase16>(12, 12, 6, 2, 2);
    fill_all(c, 1000);
    set_origin(c, 2.0F, 2.0F, 2.0F);
    set_slab(c, 1, kSample, 0, 0);
    return c;
}

void set_planes(ScanCase16& c, int y, short first, short last) {
    for (int z = 0; z < c.depth; ++z) {
        sample_at(c, 1, y, z) = first;
        sample_at(c, 3, y, z) = last;
    }
}

TEST(MaxMinEdges, memory_goes_from_pixel_to_pixel_in_the_pixel_major_order) {
    auto c = two_pixels_case();
    set_column_step(c, 0.0F, 4.0F, 0.0F);
    set_row_step(c, 0.0F, 0.0F, 1.0F);
    set_planes(c, 2, 1000, 500);
    set_planes(c, 6, 1000, 998);
    for (int row = 0; row < 2; ++row) {
        EXPECT_EQ(pixels(c, run(scan(kMinPixelMajor), c), row, 0, 2), (Pixels{497, 995}));
    }
    // Its own memory per column: pixel 1 has won nothing yet, neither in row 0 nor in row 1.
    for (int row = 0; row < 2; ++row) {
        EXPECT_EQ(pixels(c, run(scan(kMinPlaneMajor), c), row, 0, 2), (Pixels{497, 997}));
    }
}

TEST(MaxMinEdges, memory_goes_from_row_to_row_in_the_plane_major_order) {
    auto c = two_pixels_case();
    set_column_step(c, 0.0F, 0.0F, 1.0F);
    set_row_step(c, 0.0F, 4.0F, 0.0F);
    set_planes(c, 2, 1000, 500);
    set_planes(c, 6, 1000, 998);
    EXPECT_EQ(pixels(c, run(scan(kMinPlaneMajor), c), 0, 0, 2), (Pixels{497, 497}));
    EXPECT_EQ(pixels(c, run(scan(kMinPlaneMajor), c), 1, 0, 2), (Pixels{995, 995}));
    // It starts anew with each run.
    EXPECT_EQ(pixels(c, run(scan(kMinPixelMajor), c), 1, 0, 2), (Pixels{997, 997}));
}

// The last plane of pixel 0 passes the test by a neighbour of weight 0, and its sample equals the first
// one's.
TEST(MaxMinEdges, equal_sample_does_not_enter_the_memory) {
    auto c = two_pixels_case();
    set_planes(c, 2, 1000, 1000);
    set_planes(c, 6, 1000, 998);
    for (int z = 0; z < c.depth; ++z) sample_at(c, 4, 2, z) = 0;
    set_column_step(c, 0.0F, 4.0F, 0.0F);
    set_row_step(c, 0.0F, 0.0F, 1.0F);
    EXPECT_EQ(pixels(c, run(scan(kMinPixelMajor), c), 0, 0, 2), (Pixels{997, 997}));
    set_column_step(c, 0.0F, 0.0F, 1.0F);
    set_row_step(c, 0.0F, 4.0F, 0.0F);
    EXPECT_EQ(pixels(c, run(scan(kMinPlaneMajor), c), 0, 0, 2), (Pixels{997, 997}));
    EXPECT_EQ(pixels(c, run(scan(kMinPlaneMajor), c), 1, 0, 2), (Pixels{997, 997}));
}

TEST(MaxMinEdges, no_plane_at_all_still_writes_the_seed) {
    for (const NamedKernel& k : kernels_here()) {
        SCOPED_TRACE(k.name);
        auto c = blank_scan_case<ScanCase16>(12, 4, 6, 1, 3);
        fill_by(c, [](int x, int, int) { return 1000 + 100 * x; });
        set_origin(c, 1.0F, 1.0F, 2.0F);
        set_slab(c, -1, kSample, 0, 0);
        // n = -1: the pixel-major walk moves on by columnStep + slabStep.
        EXPECT_EQ(pixels(c, run_on(k.isMaximum ? -9 : 9, c, scan(k)), 0, 0, 3),
                  k.isPixelMajor ? (Pixels{1097, 1297, 1497}) : (Pixels{1097, 1197, 1297}));
        EXPECT_EQ(pixel(c, run_on(30000, c, scan(k)), 0, 0), k.isMaximum ? 30000 : 1097);
    }
}

// 40001 planes do not fit the 16 bits of the memory, which then holds -25535.
TEST(MaxMinEdges, thickest_slabs_wrap_the_memory) {
    for (const NamedKernel& k : kernels_here()) {
        SCOPED_TRACE(k.name);
        auto c = blank_scan_case<ScanCase16>(12, 4, 6, 1, 2);
        fill_all(c, 1000);
        set_origin(c, 1.0F, 1.0F, 2.0F);
        set_slab(c, 20000, 0, 0, 0);
        EXPECT_EQ(pixels(c, run_on(k.isMaximum ? -9 : 9, c, scan(k)), 0, 0, 2), (Pixels{997, 997}));
    }
}

TEST(FillRows, shift_before_the_sum_loses_one) {
    for (const bool isMaximum : {true, false}) {
        short raster[6] = {3, 3, 0, 0, 3, 3};
        const auto fill = isMaximum ? rz_obl::fill_rows_max : rz_obl::fill_rows_min;
        fill(0, 2, 0, 1, 2, raster);
        EXPECT_EQ(raster[2], 2);
        EXPECT_EQ(raster[3], 0);  // the right column is not filled
    }
}

TEST(FillRows, negative_values_shift_downward) {
    for (const bool isMaximum : {true, false}) {
        short raster[6] = {-3, 0, -100, 0, -3, 0};
        const auto fill = isMaximum ? rz_obl::fill_rows_max : rz_obl::fill_rows_min;
        fill(0, 2, 0, 1, 2, raster);
        EXPECT_EQ(raster[2], -4);  // -2 + -2
    }
}

TEST(FillRows, maximum_keeps_what_is_greater_in_lanes_and_beside_them) {
    for (const bool isMaximum : {true, false}) {
        short raster[3 * 12];
        for (int i = 0; i < 36; ++i)
            raster[i] = static_cast<short>(i / 12 == 1 ? (i % 2 == 0 ? 50 : 30) : 40);
        const auto fill = isMaximum ? rz_obl::fill_rows_max : rz_obl::fill_rows_min;
        fill(0, 2, 0, 11, 12, raster);
        for (int c = 0; c < 11; ++c) EXPECT_EQ(raster[12 + c], isMaximum && c % 2 == 0 ? 50 : 40) << c;
        EXPECT_EQ(raster[12 + 11], 30);
    }
}

TEST(FillRows, rows_stop_below_the_last_even_row) {
    for (const bool isMaximum : {true, false}) {
        short raster[7] = {10, 0, 10, 0, 10, 0, 10};
        const auto fill = isMaximum ? rz_obl::fill_rows_max : rz_obl::fill_rows_min;
        fill(2, 5, 0, 1, 1, raster);  // B = 4: row 3 alone
        EXPECT_EQ(Pixels(raster, raster + 7), (Pixels{10, 0, 10, 10, 10, 0, 10}));
        fill(0, 6, 1, 0, 1, raster);  // no column at all
        EXPECT_EQ(Pixels(raster, raster + 7), (Pixels{10, 0, 10, 10, 10, 0, 10}));
    }
}

}  // namespace
