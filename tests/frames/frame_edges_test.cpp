#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/frames/answer.h"

// The reslice frame on numbers worked out by hand. In a volume of 1 mm that starts at the origin, sample i
// has its centre at i + 0.5 mm.

namespace {

using namespace rz_test;
using Span = std::array<int, 2>;
using Steps = std::array<int, 3>;
using Bounds = std::array<int, 4>;

constexpr int kOne = 262144;

TEST(PlaneToIndex, takes_pixel_centres_to_sample_centres) {
    // Pixels of 2 x 3 mm from (1, 2) on: the centre of pixel (0, 0) lies at (2, 3.5) mm, index (1.5, 3); z
    // = 2.5 mm is slice 2.
    auto request = simple_request({12, 20, 6});
    set_plane(request, {0, 0, 1}, {0, 0, 2.5}, {1, 0, 0});
    set_output(request, 4, 4, 2.0, 3.0, {1.0, 2.0});
    const Answer a = calc_oblique(request, false);
    EXPECT_EQ(a.matrix(0, 0), 2.0F);
    EXPECT_EQ(a.matrix(0, 1), 0.0F);
    EXPECT_EQ(a.matrix(1, 1), 3.0F);
    EXPECT_EQ(a.matrix(3, 0), 1.5F);
    EXPECT_EQ(a.matrix(3, 1), 3.0F);
    EXPECT_EQ(a.matrix(3, 2), 2.0F);
    EXPECT_EQ(a.scan->columnStepQ18, (Steps{2 * kOne, 0, 0}));
    for (int k = 0; k < 3; ++k) EXPECT_EQ(a.matrix(2, k), 0.0F);
}

TEST(PlaneToIndex, of_quality_0_stands_half_a_sample_higher) {
    auto request = simple_request({12, 20, 6});
    set_plane(request, {0, 0, 1}, {0, 0, 2.5}, {1, 0, 0});
    set_output(request, 4, 4, 2.0, 3.0, {1.0, 2.0});
    request.quality = 0;
    const Answer a = calc_oblique(request, false);
    EXPECT_EQ(a.matrix(3, 0), 2.0F);
    EXPECT_EQ(a.matrix(3, 1), 3.5F);
    EXPECT_EQ(a.matrix(3, 2), 2.5F);
}

TEST(PlaneToIndex, of_a_coronal_plane_in_slices_of_2_mm) {
    // Columns along x, rows along z (units x and -z): the row step is -1 mm, -0.5 slices.
    auto request = simple_request({10, 8, 5}, {1.0, 1.0, 2.0});
    set_plane(request, {0, 1, 0}, {0, 3.5, 6}, {1, 0, 0});
    set_output(request, 10, 4, 1.0, 1.0);
    const Answer a = calc_oblique(request, false);
    EXPECT_EQ(a.matrix(0, 0), 1.0F);
    EXPECT_EQ(a.matrix(1, 2), -0.5F);
    // z of row 0: 5.5 mm, slice 2.25.
    EXPECT_EQ(a.matrix(3, 2), 2.25F);
    EXPECT_EQ(a.matrix(3, 1), 3.0F);
    EXPECT_EQ(a.scan->dominantAxis, 1);
}

TEST(RowSpans, keep_a_hundredth_of_a_sample_and_the_right_neighbour) {
    // Index x = column, y = row: 0.01 <= x <= 10 - 1.01.
    auto request = simple_request({10, 9, 8});
    set_plane(request, {0, 0, 1}, {0, 0, 4.5}, {1, 0, 0});
    const Answer a = calc_oblique(request, false);
    EXPECT_TRUE(a.empty(0));
    for (int row = 1; row <= 7; ++row) EXPECT_EQ(a.span(row), (Span{1, 8}));
    EXPECT_TRUE(a.empty(8));
}

TEST(RowSpans, hold_to_a_few_thousandths_at_both_ends) {
    // x = column + 0.015: from 0, to 8 (8.015 <= 8.99). x = column - 0.015: from 1, to 9 (8.985).
    auto request = simple_request({10, 9, 8});
    set_plane(request, {0, 0, 1}, {0, 0, 4.5}, {1, 0, 0});
    set_output(request, 10, 9, 1.0, 1.0, {0.015, 0.015});
    Answer a = calc_oblique(request, false);
    EXPECT_EQ(a.span(0), (Span{0, 8}));
    EXPECT_EQ(a.span(7), (Span{0, 8}));
    EXPECT_TRUE(a.empty(8));
    set_output(request, 10, 9, 1.0, 1.0, {-0.015, -0.015});
    a = calc_oblique(request, false);
    EXPECT_TRUE(a.empty(0));
    EXPECT_EQ(a.span(1), (Span{1, 9}));
    EXPECT_EQ(a.span(8), (Span{1, 9}));
    // Within the hundredth on the other side: 0.005 is too little, and 8.995 too much.
    set_output(request, 10, 9, 1.0, 1.0, {0.005, 0.005});
    EXPECT_EQ(calc_oblique(request, false).span(4), (Span{1, 8}));
    set_output(request, 10, 9, 1.0, 1.0, {-0.005, -0.005});
    EXPECT_EQ(calc_oblique(request, false).span(4), (Span{1, 8}));
}

TEST(RowSpans, of_quality_0_keep_a_whole_sample) {
    // Index x = column + 0.5: 1.01 <= x <= 10 - 2.01 gives 1 to 7; y the same of 9: rows 1 to 6.
    auto request = simple_request({10, 9, 8});
    set_plane(request, {0, 0, 1}, {0, 0, 4.5}, {1, 0, 0});
    request.quality = 0;
    const Answer a = calc_oblique(request, false);
    EXPECT_TRUE(a.empty(0));
    for (int row = 1; row <= 6; ++row) EXPECT_EQ(a.span(row), (Span{1, 7}));
    EXPECT_TRUE(a.empty(7));
}

TEST(RowSpans, reach_into_the_guard_slices_along_z) {
    // Slice index between -0.99 and 8 - 0.01.
    const struct {
        double z;
        int quality;
        bool kept;
    } cases[] = {{-0.98, 4, true},
                 {-1.0, 4, false},
                 {7.98, 4, true},
                 {8.0, 4, false},
                 // Uncentred, from 0.01 to 8 - 1.01.
                 {-0.47, 0, true},
                 {-0.5, 0, false},
                 {6.48, 0, true},
                 {6.5, 0, false}};
    for (const auto& k : cases) {
        auto request = simple_request({10, 9, 8});
        set_plane(request, {0, 0, 1}, {0, 0, k.z + 0.5}, {1, 0, 0});
        request.quality = k.quality;
        EXPECT_EQ(!calc_oblique(request, false).empty(4), k.kept) << "z " << k.z << ", quality " << k.quality;
    }
}

TEST(RowSpans, of_a_part_of_the_volume) {
    // From x = 2.3 to 7.3 and y = 1.2 to 8.2 mm, index-from-corner alike: columns 3 to 6 (2.31 .. 6.29), rows
    // 2 to 7 (1.21 .. 7.19).
    auto request = simple_request({10, 9, 8});
    set_plane(request, {0, 0, 1}, {0, 0, 4.5}, {1, 0, 0});
    const double start[3] = {2.3, 1.2, 0.0};
    const double x[3] = {5.0, 0, 0};
    const double y[3] = {0, 7.0, 0};
    const double z[3] = {0, 0, 8.0};
    request.volumeParams = RZ_BoxParams(start, x, y, z);
    const Answer a = calc_oblique(request, false);
    EXPECT_TRUE(a.empty(1));
    for (int row = 2; row <= 7; ++row) EXPECT_EQ(a.span(row), (Span{3, 6}));
    EXPECT_TRUE(a.empty(8));
}

TEST(RowSpans, of_a_slanted_edge) {
    // Columns along x, rows along y + z: nothing of x changes with the row, and z = row / 2 + 0.2 bounds the
    // rows.
    auto request = simple_request({10, 40, 6});
    set_plane(request, {0, -1, 2}, {0, 0.5, 0.7}, {1, 0, 0});
    const double root = std::sqrt(5.0) / 2.0;
    set_output(request, 10, 14, 1.0, root, {0.0, -0.5 * root});
    const Answer a = calc_oblique(request, false);
    EXPECT_NEAR(a.matrix(1, 1), 1.0F, 1e-6F);
    EXPECT_NEAR(a.matrix(1, 2), 0.5F, 1e-6F);
    // y = row >= 0.01; z = 0.2 + row / 2 <= 5.99: rows 1 to 11.
    for (int row = 0; row < 14; ++row) EXPECT_EQ(!a.empty(row), row >= 1 && row <= 11) << row;
}

TEST(Clip, leaves_a_hundredth_of_its_size_on_each_side_and_ignores_depth) {
    // 50 of 100 mm from 25.2: 24.7 <= column + 0.5 <= 75.7. Rows: 20 of 40 mm from 10.1: 9.9 <= row + 0.5
    // <= 30.3.
    auto request = simple_request({102, 42, 4});
    set_plane(request, {0, 0, 1}, {1, 1, 2.5}, {1, 0, 0});
    set_output(request, 100, 40, 1.0, 1.0);
    const double start[3] = {25.2, 10.1, 500.0};
    const double x[3] = {50.0, 0, 0};
    const double y[3] = {0, 20.0, 0};
    const double z[3] = {0, 0, 1.0};
    request.hasClip = true;
    request.clip = RZ_BoxParams(start, x, y, z);
    const Answer a = calc_oblique(request, false);
    for (int row = 0; row < 40; ++row) {
        EXPECT_EQ(!a.empty(row), row >= 10 && row <= 29) << row;
        if (!a.empty(row)) {
            EXPECT_EQ(a.span(row), (Span{25, 75}));
        }
    }
}

TEST(Clip, stays_in_force_under_a_slab) {
    auto request = simple_request({102, 42, 10});
    set_plane(request, {0, 0, 1}, {1, 1, 5}, {1, 0, 0});
    set_output(request, 100, 40, 1.0, 1.0);
    request.halfThickness = 2.0F;
    const double start[3] = {25.2, 10.1, 0.0};
    const double x[3] = {50.0, 0, 0};
    const double y[3] = {0, 20.0, 0};
    const double z[3] = {0, 0, 1.0};
    request.hasClip = true;
    request.clip = RZ_BoxParams(start, x, y, z);
    const Answer a = calc_oblique(request, false);
    EXPECT_EQ(a.span(15), (Span{25, 75}));
    EXPECT_TRUE(a.empty(9));
}

TEST(Clip, by_reference_is_the_same_call) {
    auto request = simple_request({20, 20, 4});
    set_plane(request, {0, 0, 1}, {0, 0, 2.5}, {1, 0, 0});
    request.hasClip = true;
    request.clip = RZ_BoxParams(7.0F, 7.0F, 1.0F);
    const Answer a = calc_oblique(request);
    Fenced<short> output(400, 5);
    Bounds b = request.bounds;
    auto slices = request.volume.shortSlices();
    EXPECT_EQ(RZ_CalcOblique(slices.data(), request.volume.box, request.volumeParams, request.plane,
                             request.clip, output.data(), request.outputBox, &b[0], &b[1], &b[2], &b[3], 0, 3,
                             RZ_OBL_RenditionQuality::Linear, 0.0F, RZ_OBL_RenditionType::Average, true, 16),
              1);
    EXPECT_TRUE(output == a.output);
    EXPECT_EQ(b, a.bounds);
}

TEST(Slab, is_cut_where_a_face_at_101_percent_leaves_the_volume) {
    // A sagittal plane at index x = 10 of 20: the far face must stay below 18.99, the near one above 0.01.
    const struct {
        double x, halfThickness;
        bool kept;
    } cases[] = {{10.0, 8.88, true}, {10.0, 8.92, false}, {9.0, 8.88, true},
                 {9.0, 8.92, false}, {10.0, -8.88, true}, {10.0, -8.92, false}};
    for (const auto& k : cases) {
        auto request = simple_request({20, 12, 12});
        set_plane(request, {1, 0, 0}, {k.x + 0.5, 2, 2}, {0, 1, 0});
        set_output(request, 8, 8, 1.0, 1.0);
        request.halfThickness = static_cast<float>(k.halfThickness);
        EXPECT_EQ(!calc_oblique(request, false).empty(4), k.kept) << k.x << ' ' << k.halfThickness;
        request.quality = 0;
        EXPECT_FALSE(calc_oblique(request, false).empty(4));
    }
}

TEST(Slab, of_a_tilted_plane_is_narrower_than_its_plane) {
    // Columns along (1, 0, 1) / root 2, one sample of x and z each; a face at distance d shifts x by d /
    // root 2.
    auto request = simple_request({30, 8, 30});
    const double root = std::sqrt(2.0);
    set_plane(request, {-1, 0, 1}, {0.5, 0.5, 0.5}, {1, 0, 1});
    set_output(request, 30, 6, root, 1.0, {-0.5 * root, 0.5});
    Answer a = calc_oblique(request, false);
    EXPECT_EQ(a.span(2), (Span{1, 28}));
    // 3 x 1.01 / root 2 = 2.1425: x >= 2.1525 on one face, x <= 28.99 - 2.1425 = 26.8475 on the other. z
    // falls by as much, but its range is wider by a sample at the low end and by one at the high
    // end: 1.1525, 27.8475.
    request.halfThickness = 3.0F;
    a = calc_oblique(request, false);
    EXPECT_EQ(a.span(2), (Span{3, 26}));
}

TEST(Slab, counts_whole_steps_of_one_sample_along_the_longest_axis) {
    // Slices of 2.5 mm: a step is 2.5 mm.
    auto request = simple_request({10, 10, 12}, {1.0, 1.0, 2.5});
    set_plane(request, {0, 0, 1}, {0, 0, 15}, {1, 0, 0});
    const struct {
        float halfThickness;
        int steps;
    } cases[] = {{5.0F, 2}, {4.99F, 1}, {2.5F, 1},   {2.49F, 0},
                 {0.1F, 0}, {7.6F, 3},  {-0.1F, -1}, {-5.1F, -3}};
    for (const auto& k : cases) {
        request.halfThickness = k.halfThickness;
        const Answer a = calc_oblique(request, false);
        EXPECT_EQ(a.scan->slabSteps, k.steps) << k.halfThickness;
        EXPECT_EQ(a.scan->slabStepQ18, (Steps{0, 0, kOne}));
    }
}

TEST(Slab, step_of_an_oblique_normal) {
    // Normal (0.6, 0, 0.8) in spacing (1, 1, 2): (0.6, 0, 0.4) per mm in samples. Over the longest: (1, 0, 2
    // / 3), 174762.67 units; one step is 1 / 0.6 = 1.667 mm.
    auto request = simple_request({40, 40, 40}, {1.0, 1.0, 2.0});
    set_plane(request, {0.6, 0, 0.8}, {20, 20, 40}, {0, 1, 0});
    set_output(request, 8, 8, 1.0, 1.0);
    request.halfThickness = 5.1F;
    Answer a = calc_oblique(request, false);
    EXPECT_EQ(a.scan->slabSteps, 3);
    EXPECT_EQ(a.scan->slabStepQ18[0], kOne);
    EXPECT_EQ(a.scan->slabStepQ18[1], 0);
    EXPECT_NEAR(a.scan->slabStepQ18[2], 174762, 1);
    // Turned about: the entry of this frame gets the sign as it came out, the other frame's a settled one.
    set_plane(request, {-0.6, 0, -0.8}, {20, 20, 40}, {0, 1, 0});
    a = calc_oblique(request, false);
    EXPECT_EQ(a.scan->slabStepQ18[0], -kOne);
    EXPECT_NEAR(a.scan->slabStepQ18[2], -174762, 1);
    a = project(request, false);
    EXPECT_EQ(a.scan->slabStepQ18[0], kOne);
    EXPECT_NEAR(a.scan->slabStepQ18[2], 174762, 1);
    EXPECT_EQ(a.scan->slabSteps, 3);
}

TEST(Slab, thinner_than_a_step_still_cuts_spans_and_has_a_step) {
    auto request = simple_request({20, 12, 12});
    set_plane(request, {1, 0, 0}, {18.9, 2, 2}, {0, 1, 0});
    set_output(request, 8, 8, 1.0, 1.0);
    EXPECT_FALSE(calc_oblique(request, false).empty(4));
    request.halfThickness = 0.7F;
    const Answer a = calc_oblique(request, false);
    EXPECT_EQ(a.scan->slabSteps, 0);
    EXPECT_EQ(a.scan->slabStepQ18, (Steps{kOne, 0, 0}));
    EXPECT_TRUE(a.empty(4));
}

TEST(Slab, of_quality_0_is_none) {
    auto request = simple_request({20, 12, 12});
    set_plane(request, {0, 0, 1}, {0, 0, 6.2}, {1, 0, 0});
    request.halfThickness = 4.0F;
    request.quality = 0;
    for (const int type : {0, 1, 2}) {
        request.type = type;
        for (const bool projected : {false, true}) {
            const Answer a = projected ? project(request, false) : calc_oblique(request, false);
            EXPECT_EQ(a.scan->slabSteps, 0);
            EXPECT_EQ(a.scan->slabStepQ18, (Steps{0, 0, 0}));
            EXPECT_EQ(a.span(5), (Span{1, 17}));
        }
    }
}

TEST(Slab, of_thickness_nought_is_none_and_of_nan_an_empty_one) {
    auto request = simple_request({20, 12, 12});
    set_plane(request, {0, 0, 1}, {0, 0, 6.5}, {1, 0, 0});
    for (const float none : {0.0F, -0.0F}) {
        request.halfThickness = none;
        const Answer a = calc_oblique(request, false);
        EXPECT_EQ(a.scan->slabSteps, 0);
        EXPECT_EQ(a.scan->slabStepQ18, (Steps{0, 0, 0}));
        EXPECT_EQ(a.span(5), (Span{1, 18}));
    }
    request.halfThickness = std::numeric_limits<float>::quiet_NaN();
    const Answer a = calc_oblique(request, false);
    EXPECT_EQ(a.scan->slabStepQ18, (Steps{0, 0, kOne}));
    for (int row = 0; row < 12; ++row) EXPECT_TRUE(a.empty(row));
}

TEST(Slab, steps_above_32767_are_cut_to_16_bits) {
    // 100000 slices of one raster: half thicknesses of 40000 and 49000 slices fit; 40000 - 65536 = -25536.
    PlanarRequest request = simple_request({4, 4, 1});
    const double start[3] = {0, 0, 0};
    const double x[3] = {4, 0, 0};
    const double y[3] = {0, 4, 0};
    const double z[3] = {0, 0, 100000.0};
    request.volume.box = RZ_Box(4, 4, 100000, RZ_BoxParams(start, x, y, z));
    request.volumeParams = request.volume.box.params;
    set_plane(request, {0, 0, 1}, {0, 0, 50000}, {1, 0, 0});
    std::vector<short*> table(100004, request.volume.shorts[0].data());
    for (const auto& [half, steps] : {std::pair{40000.5F, -25536}, std::pair{32767.5F, 32767},
                                      std::pair{32768.5F, -32768}, std::pair{49000.5F, -16536}}) {
        Fenced<short> output(16, 3);
        Bounds b = request.bounds;
        recorder() = {};
        recorder().callThrough = steps < 0;
        EXPECT_EQ(RZ_NewCalcOblique(table.data() + 2, nullptr, request.volume.box, request.volumeParams,
                                    request.plane, nullptr, output.data(), request.outputBox, &b[0], &b[1],
                                    &b[2], &b[3], RZ_OBL_RenditionQuality::Linear, half,
                                    RZ_OBL_RenditionType::Average, true, 16),
                  1);
        ASSERT_EQ(recorder().calls.size(), 1U);
        EXPECT_EQ(recorder().calls[0].slabSteps, steps);
        // Pixels (1, 1) to (2, 2) lie inside; no plane at all gives 0.
        if (steps < 0) {
            EXPECT_EQ(b, (Bounds{1, 2, 1, 2}));
            EXPECT_EQ(output.data()[5], 0);
            EXPECT_EQ(output.data()[10], 0);
            EXPECT_EQ(output.data()[4], output.before(4));
        }
    }
}

TEST(DominantAxis, goes_to_the_strictly_longest_and_ties_to_0) {
    const struct {
        Point normal;
        int axis;
    } cases[] = {{{1, 0, 0}, 0},        {{0, 1, 0}, 1},       {{0, 0, 1}, 2},    {{0, 0, -1}, 2},
                 {{0, -1, 0}, 1},       {{0, 1, 1}, 0},       {{0, -1, 1}, 0},   {{1, 1, 0}, 0},
                 {{1, 0, 1}, 0},        {{1, 1, 1}, 0},       {{0.1, 1, -1}, 0}, {{0.5, 0.7, 0.8}, 2},
                 {{0.5, -0.8, 0.7}, 1}, {{0.8, -0.7, 0.1}, 0}};
    for (const auto& k : cases) {
        auto request = simple_request({16, 16, 16});
        set_plane(request, k.normal, {8, 8, 8}, {0.31, 0.37, 0.77});
        EXPECT_EQ(calc_oblique(request, false).scan->dominantAxis, k.axis)
            << k.normal[0] << ' ' << k.normal[1] << ' ' << k.normal[2];
    }
}

TEST(DominantAxis, is_measured_in_samples) {
    // Slices of 4 mm: (0.3, 0, 0.95) mm is (0.3, 0, 0.24) samples.
    auto request = simple_request({16, 16, 8}, {1.0, 1.0, 4.0});
    set_plane(request, {0.3, 0, 0.95}, {8, 8, 16}, {0, 1, 0});
    EXPECT_EQ(calc_oblique(request, false).scan->dominantAxis, 0);
}

TEST(ColumnStep, saturates_at_512_samples) {
    const struct {
        double step;
        int q18;
    } cases[] = {{512.0, 0x8000000},   {511.5, 511 * kOne + kOne / 2},   {600.0, 0x8000000},
                 {-512.0, -0x8000000}, {-511.5, -511 * kOne - kOne / 2}, {-5000.0, -0x8000000}};
    for (const auto& k : cases) {
        auto request = simple_request({1200, 4, 3});
        set_plane(request, {0, 0, k.step < 0 ? -1.0 : 1.0}, {600.5, 2, 1.5}, {k.step < 0 ? -1.0 : 1.0, 0, 0});
        set_output(request, 2, 2, std::fabs(k.step), 1.0, {-0.5 * std::fabs(k.step), -0.5});
        EXPECT_EQ(calc_oblique(request, false).scan->columnStepQ18[0], k.q18) << k.step;
        EXPECT_EQ(project(request, false).scan->columnStepQ18[0], k.q18) << k.step;
    }
}

TEST(ColumnStep, that_is_no_number_saturates_upward) {
    auto request = simple_request({10, 10, 3});
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double start[3] = {0, 0, 0};
    const double x[3] = {nan, nan, nan};
    const double y[3] = {0, 10, 0};
    const double z[3] = {0, 0, 1};
    request.outputBox = RZ_Box(10, 10, 1, RZ_BoxParams(start, x, y, z));
    const Answer a = calc_oblique(request, false);
    EXPECT_EQ(a.scan->columnStepQ18, (Steps{0x8000000, 0x8000000, 0x8000000}));
    for (int row = 0; row < 10; ++row) EXPECT_TRUE(a.empty(row));
}

TEST(Frame, walks_a_column_step_that_saturated_in_steps_of_512) {
    // Pixels stand at x = 1 and 601 by the matrix, which makes the spans; the scan goes on to 513.
    auto request = simple_request({1200, 4, 3});
    for (auto& raster : request.volume.shorts) {
        for (int i = 0; i < 4800; ++i) raster.data()[i] = static_cast<short>(-(i % 1200));
    }
    set_plane(request, {0, 0, 1}, {1.5, 2.0, 1.5}, {1, 0, 0});
    set_output(request, 2, 2, 600.0, 1.0, {-300.0, -0.5});
    const Answer a = calc_oblique(request);
    EXPECT_EQ(a.span(0), (Span{0, 1}));
    EXPECT_EQ(a.output.data()[0], -1);
    EXPECT_EQ(a.output.data()[1], -513);
}

TEST(Frame, of_an_unknown_type_writes_nothing_and_returns_1) {
    for (const int type : {3, 4, -1, 1000}) {
        auto request = simple_request({10, 10, 3});
        request.type = type;
        request.bounds = {3, 4, 5, 6};
        for (const bool projected : {false, true}) {
            const Answer a = projected ? project(request) : calc_oblique(request);
            EXPECT_EQ(a.result, 1);
            EXPECT_FALSE(a.scan.has_value());
            EXPECT_TRUE(a.output.untouched());
            EXPECT_EQ(a.bounds, (Bounds{3, 4, 5, 6}));
        }
    }
}

TEST(Frame, of_a_plane_outside_moves_the_bounds_like_an_empty_scan) {
    auto request = simple_request({10, 9, 3});
    set_plane(request, {0, 0, 1}, {0, 0, 40}, {1, 0, 0});
    for (const int type : {0, 1, 2}) {
        request.type = type;
        const Answer a = calc_oblique(request);
        EXPECT_EQ(a.result, 1);
        EXPECT_TRUE(a.output.untouched());
        // Seeded with first row 9, last row -1, first column 10, last column -1.
        EXPECT_EQ(a.bounds, (Bounds{0, 0, 10, 0}));
    }
}

TEST(Frame, of_quality_0_and_average_reads_between_the_samples) {
    // Through sample centres; the uncentred matrix stands half a sample on in x, y and z. Over columns 3 and
    // 4 of rows 2 and 3 in slices 1 and 2: -(3.5 + 40 x 2.5 + 1000 x 1.5) = -1603.5, rounded down at each
    // stage.
    auto request = simple_request({10, 9, 8});
    set_plane(request, {0, 0, 1}, {0, 0, 1.5}, {1, 0, 0});
    request.quality = 0;
    const Answer a = calc_oblique(request);
    EXPECT_NEAR(a.output.data()[2 * 10 + 3], -1603.5, 2.0);
    request.quality = 4;
    EXPECT_EQ(calc_oblique(request).output.data()[2 * 10 + 3], -(3 + 40 * 2 + 1000 * 1));
}

TEST(Frame, of_a_plane_through_sample_centres_gives_the_samples) {
    auto request = simple_request({10, 9, 8});
    set_plane(request, {0, 0, 1}, {0, 0, 3.5}, {1, 0, 0});
    for (const int quality : {1, 2, 4, 7, -2}) {
        request.quality = quality;
        const Answer a = calc_oblique(request);
        for (int row = 1; row <= 7; ++row) {
            for (int column = 1; column <= 8; ++column) {
                EXPECT_EQ(a.output.data()[row * 10 + column], -(column + 40 * row + 3000));
            }
        }
        EXPECT_EQ(a.bounds, (Bounds{1, 7, 1, 8}));
    }
}

TEST(Frame, hands_fast_index_and_the_callers_table_on) {
    auto request = simple_request({10, 9, 2});
    std::vector<short*> table = {
        nullptr, nullptr, request.volume.shorts[0].data(), request.volume.shorts[1].data(), nullptr, nullptr};
    const short** index = nullptr;
    for (const int type : {0, 1, 2}) {
        Bounds b = request.bounds;
        Fenced<short> output(90, 3);
        recorder() = {};
        recorder().depth = 2;
        recorder().callThrough = false;
        RZ_NewCalcOblique(table.data() + 2, &index, request.volume.box, request.volumeParams, request.plane,
                          nullptr, output.data(), request.outputBox, &b[0], &b[1], &b[2], &b[3],
                          RZ_OBL_RenditionQuality::Cubic, 0.0F, static_cast<RZ_OBL_RenditionType>(type),
                          false, 11);
        ASSERT_EQ(recorder().calls.size(), 1U);
        const Recorded& r = recorder().calls[0];
        EXPECT_EQ(r.fastIndex, &index);
        EXPECT_TRUE(std::equal(table.begin(), table.end(), r.slices.begin(), r.slices.end()));
        EXPECT_EQ(r.bounds, (std::array<int*, 4>{&b[0], &b[1], &b[2], &b[3]}));
        EXPECT_EQ(r.output, output.data());
        EXPECT_EQ(r.sourceWidth, 10);
        EXPECT_EQ(r.sourceHeight, 9);
        if (type == 0) {
            EXPECT_FALSE(r.isSigned);
            EXPECT_EQ(r.bitDepth, 11);
        }
    }
}

}  // namespace
