#include <gtest/gtest.h>

#include "tests/kernels/serpentine_forms.h"

// The semi-cubic kernels at their edges, with numbers worked out by hand. On a ramp the polynomial is the
// line itself: second and third differences are 0.

namespace {

using namespace rz_test;

using Pixels = std::vector<short>;

constexpr SerpentineKernel kAll[] = {kSemicubicX, kSemicubicY, kSemicubicZ};

// 20 x 12 x 9 samples, two rows of six columns that start at (4, 4, 4).
ScanCase16 roomy_case() {
    auto c = blank_scan_case<ScanCase16>(20, 12, 9, 2, 6);
    set_origin(c, 4.0F, 4.0F, 4.0F);
    c.quality = 2;
    return c;
}

TEST(ScanSemicubicEdges, quality_3_lies_half_a_sample_further_in_x_and_y) {
    for (const SerpentineKernel& kernel : kAll) {
        SCOPED_TRACE(kernel.name);
        auto c = roomy_case();
        fill_by(c, [](int x, int y, int z) { return 100 * x + 1000 * y + 10 * z; });
        EXPECT_EQ(pixels(c, run_forms(kernel, c), 0, 0, 3), (Pixels{4440, 4540, 4640}));
        c.quality = 3;
        EXPECT_EQ(pixels(c, run_forms(kernel, c), 0, 0, 3), (Pixels{4990, 5090, 5190}));
        EXPECT_EQ(pixels(c, run_forms(kernel, c), 1, 0, 3), (Pixels{5990, 6090, 6190}));
    }
}

TEST(ScanSemicubicEdges, shift_comes_before_the_clamp) {
    for (const SerpentineKernel& kernel : kAll) {
        SCOPED_TRACE(kernel.name);
        auto c = roomy_case();
        fill_by(c, [](int x, int, int) { return 100 * x; });
        set_origin(c, -0.25F, 4.0F, 4.0F);
        // From 0: column 0 has no neighbour on its left, then 1.0 and 2.0.
        EXPECT_EQ(pixels(c, run_forms(kernel, c), 0, 0, 3), (Pixels{0, 100, 200}));
        // From -0.25 + 0.5: 0.25 is dropped, then 1.25 and 2.25.
        c.quality = 3;
        EXPECT_EQ(pixels(c, run_forms(kernel, c), 0, 0, 3), (Pixels{0, 125, 225}));
    }
}

TEST(ScanSemicubicEdges, single_plane_at_a_face_is_written_as_0) {
    for (const SerpentineKernel& kernel : kAll) {
        SCOPED_TRACE(kernel.name);
        auto c = blank_scan_case<ScanCase16>(20, 12, 9, 1, 20);
        fill_all(c, 1000);
        set_origin(c, 0.0F, 4.0F, 4.0F);
        const auto o = run_forms(kernel, c);
        EXPECT_EQ(pixels(c, o, 0, 0, 3), (Pixels{0, 1000, 1000}));
        EXPECT_EQ(pixels(c, o, 0, 16, 4), (Pixels{1000, 1000, 0, 0}));
        EXPECT_EQ(o.bounds, (std::array<int, 4>{0, 0, 0, 19}));
    }
}

TEST(ScanSemicubicEdges, rows_at_a_face_are_written_as_0) {
    for (const SerpentineKernel& kernel : kAll) {
        SCOPED_TRACE(kernel.name);
        auto c = blank_scan_case<ScanCase16>(20, 12, 9, 12, 3);
        fill_all(c, 1000);
        set_origin(c, 2.0F, 0.0F, 4.0F);
        const auto o = run_forms(kernel, c);
        const short want[12] = {0, 1000, 1000, 1000, 1000, 1000, 1000, 1000, 1000, 1000, 0, 0};
        for (int row = 0; row < 12; ++row) EXPECT_EQ(pixel(c, o, 0, row), want[row]) << "row " << row;
    }
}

TEST(ScanSemicubicEdges, mean_divides_by_all_planes_also_dropped_ones) {
    for (const SerpentineKernel& kernel : kAll) {
        SCOPED_TRACE(kernel.name);
        auto c = roomy_case();
        fill_all(c, 1000);
        set_origin(c, 1.0F, 4.0F, 4.0F);
        set_slab(c, 1, kSample, 0, 0);  // planes at columns 0, 1, 2: the first is dropped
        EXPECT_EQ(pixels(c, run_forms(kernel, c), 0, 0, 2), (Pixels{666, 1000}));
    }
}

TEST(ScanSemicubicEdges, least_signed_value_does_not_occur) {
    for (const SerpentineKernel& kernel : kAll) {
        SCOPED_TRACE(kernel.name);
        auto c = roomy_case();
        fill_all(c, -32768);
        EXPECT_EQ(pixel(c, run_forms(kernel, c), 0, 0), -32767);
        fill_all(c, 32767);
        EXPECT_EQ(pixel(c, run_forms(kernel, c), 0, 0), 32767);
    }
}

TEST(ScanSemicubicEdges, signed_12_bits_end_at_2047_on_both_sides) {
    for (const SerpentineKernel& kernel : kAll) {
        SCOPED_TRACE(kernel.name);
        auto c = roomy_case();
        c.bitDepth = 12;
        fill_all(c, -2048);
        EXPECT_EQ(pixel(c, run_forms(kernel, c), 0, 0), -2047);
        fill_all(c, 2048);
        EXPECT_EQ(pixel(c, run_forms(kernel, c), 0, 0), 2047);
        fill_all(c, -2047);
        EXPECT_EQ(pixel(c, run_forms(kernel, c), 0, 0), -2047);
    }
}

TEST(ScanSemicubicEdges, unsigned_12_bits_end_at_0_and_4095) {
    for (const SerpentineKernel& kernel : kAll) {
        SCOPED_TRACE(kernel.name);
        auto c = roomy_case();
        c.isSigned = false;
        c.bitDepth = 12;
        fill_all(c, 4096);
        EXPECT_EQ(pixel(c, run_forms(kernel, c), 0, 0), 4095);
        fill_all(c, -5);
        EXPECT_EQ(pixel(c, run_forms(kernel, c), 0, 0), 0);
    }
}

TEST(ScanSemicubicEdges, negative_mean_truncates_toward_zero) {
    for (const SerpentineKernel& kernel : kAll) {
        SCOPED_TRACE(kernel.name);
        auto c = roomy_case();
        set_origin(c, 4.0F, 4.0F, 4.0F);
        set_slab(c, 1, 0, 2 * kSample, 0);  // rows 2, 4, 6
        fill_by(c, [](int, int y, int) { return y == 6 ? -1 : 0; });
        EXPECT_EQ(pixel(c, run_forms(kernel, c), 0, 0), 0);  // -1 / 3
        fill_by(c, [](int, int y, int) { return y == 6 ? -3 : -2; });
        EXPECT_EQ(pixel(c, run_forms(kernel, c), 0, 0), -2);  // -7 / 3
    }
}

TEST(ScanSemicubicEdges, constant_field_keeps_its_value_at_any_fraction) {
    for (const SerpentineKernel& kernel : kAll) {
        SCOPED_TRACE(kernel.name);
        auto c = roomy_case();
        fill_all(c, 1000);
        set_origin(c, 4.3F, 4.7F, 4.9F);
        c.columnStep = {262143, 77777, -54321};
        EXPECT_EQ(pixels(c, run_forms(kernel, c), 0, 0, 6), Pixels(6, 1000));
    }
}

TEST(ScanSemicubicEdges, slab_is_walked_to_and_fro_with_the_same_sum) {
    for (const SerpentineKernel& kernel : kAll) {
        SCOPED_TRACE(kernel.name);
        auto c = roomy_case();
        const int slices[9] = {7, 10, 20, 60, 110, 30, 90, 3, 5};
        fill_by(c, [&](int, int, int z) { return slices[z]; });
        set_origin(c, 4.0F, 4.0F, 2.0F);
        set_column_step(c, 0.0F, 0.0F, 1.0F);
        set_span(c, 0, 0, 3);
        set_slab(c, 1, 0, 0, kSample);
        // (10 + 20 + 60) / 3, (20 + 60 + 110) / 3, (60 + 110 + 30) / 3, (110 + 30 + 90) / 3
        EXPECT_EQ(pixels(c, run_forms(kernel, c), 0, 0, 4), (Pixels{30, 63, 66, 76}));
        // Each run starts with the step as given.
        set_span(c, 1, 0, 3);
        set_row_step(c, 0.0F, 0.0F, 0.0F);
        EXPECT_EQ(pixels(c, run_forms(kernel, c), 1, 0, 4), (Pixels{30, 63, 66, 76}));
    }
}

TEST(ScanSemicubicEdges, no_plane_at_all_writes_0) {
    for (const SerpentineKernel& kernel : kAll) {
        SCOPED_TRACE(kernel.name);
        auto c = roomy_case();
        fill_all(c, 1000);
        set_slab(c, -1, kSample, 0, 0);
        EXPECT_EQ(pixels(c, run_forms(kernel, c), 0, 0, 6), Pixels(6, 0));
    }
}

TEST(ScanSemicubicEdges, end_of_the_raster_drops_planes_of_the_z_kernel_only) {
    auto c = blank_scan_case<ScanCase16>(12, 8, 4, 1, 8);
    fill_all(c, 1000);
    set_origin(c, 1.0F, 5.0F, 1.0F);
    // Row 5: 7 x 12 - 1 + x < 12 x 8 - 8 holds up to x = 4. Columns 5 to 8 are dropped.
    EXPECT_EQ(pixels(c, run_forms(kSemicubicZ, c), 0, 0, 8), (Pixels{1000, 1000, 1000, 1000, 0, 0, 0, 0}));
    EXPECT_EQ(pixels(c, run_forms(kSemicubicY, c), 0, 0, 8), Pixels(8, 1000));
    EXPECT_EQ(pixels(c, run_forms(kSemicubicX, c), 0, 0, 8), Pixels(8, 1000));
    set_origin(c, 1.0F, 4.0F, 1.0F);
    EXPECT_EQ(pixels(c, run_forms(kSemicubicZ, c), 0, 0, 8), Pixels(8, 1000));
}

// From 0 to 32001 at 131079 / 262144: 16001.35. With 15 bits of the fraction: 16000.5.
TEST(ScanSemicubicEdges, linear_fraction_has_18_bits_along_z) {
    auto c = roomy_case();
    fill_by(c, [](int, int, int z) { return z < 5 ? 0 : 32001; });
    set_origin(c, 4.0F, 4.0F, 4.0F + 131079.0F / 262144.0F);
    EXPECT_EQ(pixel(c, run_forms(kSemicubicZ, c), 0, 0), 16001);
}

TEST(ScanSemicubicEdges, linear_fraction_has_15_bits_along_y_and_x) {
    auto c = roomy_case();
    fill_by(c, [](int, int y, int) { return y < 5 ? 0 : 32001; });
    set_origin(c, 4.0F, 4.0F + 131079.0F / 262144.0F, 4.0F);
    EXPECT_EQ(pixel(c, run_forms(kSemicubicY, c), 0, 0), 16000);
    fill_by(c, [](int x, int, int) { return x < 5 ? 0 : 32001; });
    set_origin(c, 4.0F + 131079.0F / 262144.0F, 4.0F, 4.0F);
    EXPECT_EQ(pixel(c, run_forms(kSemicubicX, c), 0, 0), 16000);
}

// In a pit (1000, 0, 0, 1000) the coefficients are 0, -1000, 1000, 0. At a half, t1 = 0x2000 and t2 = 0x1000:
// -1000 x 0x1000 >> 15 is -125.
TEST(ScanSemicubicEdges, axes_that_are_cubic_overshoot_and_the_linear_one_does_not) {
    struct Row {
        SerpentineKernel kernel;
        short alongX, alongY, alongZ;
    };
    const Row rows[] = {
        {kSemicubicX, 0, -125, -125}, {kSemicubicY, -125, 0, -125}, {kSemicubicZ, -125, -125, 0}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.kernel.name);
        auto c = roomy_case();
        const auto pit = [](int at) { return at == 4 || at == 5 ? 0 : 1000; };
        fill_by(c, [&](int x, int, int) { return pit(x); });
        set_origin(c, 4.5F, 4.0F, 4.0F);
        EXPECT_EQ(pixel(c, run_forms(row.kernel, c), 0, 0), row.alongX);
        fill_by(c, [&](int, int y, int) { return pit(y); });
        set_origin(c, 4.0F, 4.5F, 4.0F);
        EXPECT_EQ(pixel(c, run_forms(row.kernel, c), 0, 0), row.alongY);
        fill_by(c, [&](int, int, int z) { return pit(z); });
        set_origin(c, 4.0F, 4.0F, 4.5F);
        EXPECT_EQ(pixel(c, run_forms(row.kernel, c), 0, 0), row.alongZ);
    }
}

// 32 columns of 512 samples are 2^32 units: the coordinate comes round to where it began.
TEST(ScanSemicubicEdges, coordinates_wrap) {
    for (const SerpentineKernel& kernel : kAll) {
        SCOPED_TRACE(kernel.name);
        auto c = blank_scan_case<ScanCase16>(20, 12, 9, 1, 34);
        fill_all(c, 1000);
        set_origin(c, 4.0F, 4.0F, 4.0F);
        set_column_step(c, 512.0F, 0.0F, 0.0F);
        c.quality = 2;
        Pixels want(34, 0);
        want[0] = 1000;
        want[32] = 1000;
        EXPECT_EQ(pixels(c, run_forms(kernel, c), 0, 0, 34), want);
    }
}

}  // namespace
