#include <gtest/gtest.h>

#include "rz_obl/RZ_OBLplanar/selection/selection.h"
#include "tests/kernels/max_min_cases.h"

// The entries of maximum and minimum: sign of the slab step, nearest path, choice of the loop order.

namespace {

using namespace rz_test;

using Pixels = std::vector<short>;

void scan_max_12(const rz_obl::scan_args_16& args) {
    rz_obl::scan_max_12(args, nullptr);
}

void scan_min_12(const rz_obl::scan_args_16& args) {
    rz_obl::scan_min_12(args, nullptr);
}

// Nearest leaves out the slab, and takes a start as it is; the other qualities walk it.
ScanCase16 entry_case(Seed seed) {
    ScanOptions options;
    options.negativeSlabSteps = false;
    auto c = make_scan_case<ScanCase16>(seed, options);
    Random random(seed ^ 0x5eed);
    c.quality = random.pick({-1, 0, 0, 1, 1, 2, 3, 4, 5});
    const auto& s = c.slabStep;
    const bool isPixelMajor = s[0] >= std::abs(s[1]) && s[0] >= std::abs(s[2]);
    if (c.quality == 0) {
        keep_columns_inside(c, rz_reference::as_point(c.columnStep.data()), 1);
    } else {
        maybe_take_all_planes(c, isPixelMajor, c.quality == 1);
    }
    if (c.slabStep[0] > 0 && random.once_in(2)) {
        for (int& step : c.slabStep) step = -step;
    }
    return c;
}

template <class Scan, class Plain>
void compare(Scan scan, Plain reference, Branches& branches) {
    for (const Seed seed : seeds(4000)) {
        const auto c = entry_case(seed);
        const auto want = run([&](const auto& args) { reference(args, branches); }, c);
        const auto got = run(scan, c);
        ASSERT_EQ(first_difference(c, want, got), "");
    }
    EXPECT_EQ(branches.never_met({"sign turned", "sign of a slab across x stays", "nearest",
                                  "nearest leaves out the slab", "nearest: start clamped", "fast",
                                  "every row and column", "pixel-major", "tie: pixel-major", "plane-major"}),
              "");
}

TEST(ScanMax12Random, every_quality) {
    Branches branches;
    compare(scan_max_12, rz_reference::scan_max_12, branches);
}

TEST(ScanMin12Random, every_quality) {
    Branches branches;
    compare(scan_min_12, rz_reference::scan_min_12, branches);
}

// A minimum tells the orders apart. In row 0 the last plane wins, 497. In row 1 the first plane's sample is
// 997 and the last one's 995, from a raw 998 that is not below 997: only the memory of row 0, which the
// plane-major order keeps, leads to it.
ScanCase16 telling_case(int stepY, int stepZ, int lastX, int lastYOfRow0) {
    auto c = blank_scan_case<ScanCase16>(12, 12, 8, 2, 2);
    fill_all(c, 1000);
    set_origin(c, 2.0F, 2.0F, 2.0F);
    set_column_step(c, 0.0F, 0.0F, 1.0F);
    set_row_step(c, 0.0F, 4.0F, 0.0F);
    set_slab(c, 1, kSample, stepY, stepZ);
    for (int z = 0; z < 8; ++z) {
        sample_at(c, lastX, lastYOfRow0, z) = 500;
        sample_at(c, lastX, lastYOfRow0 + 4, z) = 998;
    }
    return c;
}

TEST(ScanMin12, tie_goes_to_the_pixel_major_order) {
    struct Tie {
        int stepY, stepZ, lastY;
    };
    for (const Tie& tie : {Tie{kSample, 0, 3}, Tie{-kSample, 0, 1}, Tie{0, kSample, 2}, Tie{0, -kSample, 2},
                           Tie{kSample, -kSample, 3}}) {
        SCOPED_TRACE(tie.stepY);
        SCOPED_TRACE(tie.stepZ);
        const auto o = run(scan_min_12, telling_case(tie.stepY, tie.stepZ, 3, tie.lastY));
        EXPECT_EQ(o.output.data()[0], 497);
        EXPECT_EQ(o.output.data()[2], 997);
    }
}

TEST(ScanMin12, one_unit_beside_x_takes_the_plane_major_order) {
    const auto o = run(scan_min_12, telling_case(kSample + 1, 0, 3, 3));
    EXPECT_EQ(o.output.data()[0], 497);
    EXPECT_EQ(o.output.data()[2], 995);
}

TEST(ScanMin12, slab_along_x_takes_the_pixel_major_order) {
    const auto o = run(scan_min_12, telling_case(0, 0, 3, 2));
    EXPECT_EQ(o.output.data()[0], 497);
    EXPECT_EQ(o.output.data()[2], 997);
}

TEST(ScanMin12, zero_slab_step_is_a_tie) {
    auto c = telling_case(0, 0, 3, 2);
    set_slab(c, 1, 0, 0, 0);
    EXPECT_EQ(run(scan_min_12, c).output.data()[0], 997);
}

// The sign is turned before the choice: the planes are the same, walked from the other end.
TEST(ScanMin12, turned_sign_keeps_the_order_of_planes_ascending_in_x) {
    auto c = telling_case(kSample + 1, 0, 3, 3);
    set_slab(c, 1, -kSample, -kSample - 1, 0);
    const auto o = run(scan_min_12, c);
    EXPECT_EQ(o.slabStep, (std::array<int, 3>{kSample, kSample + 1, 0}));
    EXPECT_EQ(o.output.data()[2], 995);
}

TEST(ScanMaxMin12, caller_sees_the_turned_slab_step) {
    for (const auto scan : {scan_max_12, scan_min_12}) {
        auto c = blank_scan_case<ScanCase16>(12, 12, 8, 1, 2);
        set_origin(c, 5.0F, 5.0F, 4.0F);
        set_slab(c, 1, -1, 2, -3);
        EXPECT_EQ(run(scan, c).slabStep, (std::array<int, 3>{1, -2, 3}));
        set_slab(c, 1, 0, -2, 3);
        EXPECT_EQ(run(scan, c).slabStep, (std::array<int, 3>{0, -2, 3}));
        c.quality = 0;
        set_slab(c, 1, -1, 2, -3);
        EXPECT_EQ(run(scan, c).slabStep, (std::array<int, 3>{1, -2, 3}));
    }
}

TEST(ScanMaxMin12, nearest_reads_the_plane_and_overwrites) {
    for (const auto scan : {scan_max_12, scan_min_12}) {
        for (const short content : {short{30000}, short{-30000}}) {
            auto c = blank_scan_case<ScanCase16>(12, 12, 8, 2, 4);
            fill_by(c, [](int x, int y, int z) { return x + 100 * y + 1000 * z; });
            set_origin(c, 1.75F, 2.9F, 3.5F);
            set_span(c, 0, 1, 3);
            set_span(c, 1, 2, 2);
            c.quality = 0;
            set_slab(c, 3, kSample, 0, 0);
            const auto o = run_on(content, c, scan);
            // No rounding and no interpolation: columns 2, 3, 4 of row 2, slice 3. A slab has no effect.
            EXPECT_EQ(pixels(c, o, 0, 0, 4), (Pixels{content, 3202, 3203, 3204}));
            EXPECT_EQ(pixels(c, o, 1, 0, 4), Pixels(4, content));
            EXPECT_EQ(o.bounds, (std::array<int, 4>{0, 0, 1, 3}));
            EXPECT_EQ(o.columnStep[0], kSample);
        }
    }
}

TEST(ScanMaxMin12, nearest_clamps_x_and_y_but_not_z) {
    for (const auto scan : {scan_max_12, scan_min_12}) {
        auto c = blank_scan_case<ScanCase16>(12, 12, 8, 1, 2);
        fill_by(c, [](int x, int y, int z) { return 5 + x + 100 * y + 1000 * z; });
        set_origin(c, -0.25F, -0.25F, -0.25F);
        c.quality = 0;
        // Entry -1 of the table is a copy of slice 0. From x = 0, not -0.25, the next column is 1.
        EXPECT_EQ(pixels(c, run(scan, c), 0, 0, 2), (Pixels{5, 6}));
        c.table[1] = c.rasters[3].data();
        EXPECT_EQ(pixels(c, run(scan, c), 0, 0, 2), (Pixels{3005, 3006}));
    }
}

TEST(ScanMaxMin12, quality_1_alone_is_fast) {
    for (const auto scan : {scan_max_12, scan_min_12}) {
        for (const int quality : {-1, 1, 2, 3, 4, 5}) {
            auto c = blank_scan_case<ScanCase16>(12, 12, 8, 1, 4);
            fill_by(c, [](int x, int, int) { return -100 * x; });
            c.quality = quality;
            const auto o = run_on(-32768, c, scan);
            const bool fast = quality == 1;
            EXPECT_EQ(o.columnStep[0], fast ? 2 * kSample : kSample) << quality;
            EXPECT_EQ(pixel(c, o, 3, 0), fast ? -32768 : -300) << quality;
        }
    }
}

}  // namespace
