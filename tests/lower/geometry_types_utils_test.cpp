#include "lower/volume/types_utils.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "lower/definitions/matrix.h"
#include "tests/lower/geometry_cases.h"

using namespace rz_test;

namespace {

RZ_PlaneParams plane_of(const std::array<Vec3, 3>& axes, const Vec3& origin) {
    float n[3];
    float o[3];
    float u[3];
    for (std::size_t i = 0; i < 3; ++i) {
        n[i] = static_cast<float>(axes[2][i]);
        o[i] = static_cast<float>(origin[i]);
        u[i] = static_cast<float>(axes[0][i]);
    }
    return RZ_PlaneParams(n, o, u);
}

Vec3 vertex(const RZ_BoxParams& params, int i) {
    float out[3];
    params.GetVertex(i, out);
    return wide(out);
}

Vec3 middle(const RZ_Box& box) {
    float out[3];
    box.params.GetMiddle(out);
    return wide(out);
}

double finest(const BoxCase& c) {
    return std::min({c.spacing[0], c.spacing[1], c.spacing[2]});
}

// The box in the frame of the plane: sides along x, y and z there, as a reslice wants its output box.
void expect_axis_aligned(RZ_Box box, const RZ_PlaneParams& plane, Seed seed) {
    float m[4][4];
    plane.Get2Projection(m);
    box.params.ApplyTransform(m);
    for (const RZ_Axis axis : {RZ_AxisX, RZ_AxisY, RZ_AxisZ}) {
        float side[3];
        box.params.GetSideVec(side, axis);
        for (int i = 0; i < 3; ++i) {
            if (i == axis) {
                ASSERT_GT(side[i], 0.0F) << replay(seed);
            } else {
                ASSERT_NEAR(side[i], 0.0F, 1e-3F) << replay(seed);
            }
        }
    }
}

}  // namespace

TEST(geometry_types_utils, swivelled_box_bounds_the_volume) {
    for (const Seed seed : seeds(1000)) {
        Random random(seed);
        const BoxCase c = random_box(random, 800.0, 200);
        RZ_Box box = c.box();
        const RZ_VolData volume(&box, 0);
        const auto axes = random_axes(random, false);
        RZ_PlaneParams plane = plane_of(axes, random_box(random, 300.0, 1).start);
        RZ_Box out;
        RZ_TypesUtils::CalcSwiveledBoundingBox(volume, plane, out);

        // Every corner lies inside, and each face is met by one to within a sample.
        float to_index[4][4];
        out.GetPhysicalToIndexFromCorner(to_index);
        Vec3 least = {1e9, 1e9, 1e9};
        Vec3 most = {-1e9, -1e9, -1e9};
        for (int i = 0; i < 8; ++i) {
            Vec3 corner{};
            for (std::size_t k = 0; k < 3; ++k) corner[k] = (i >> k & 1) != 0 ? c.dims[k] : 0;
            const Vec3 at = map_point(c.physical(corner), to_index);
            for (std::size_t k = 0; k < 3; ++k) {
                least[k] = std::min(least[k], at[k]);
                most[k] = std::max(most[k], at[k]);
            }
        }
        int dims[3];
        out.GetDims(dims);
        for (std::size_t k = 0; k < 3; ++k) {
            ASSERT_GE(least[k], -2e-3) << replay(seed);
            ASSERT_LE(most[k], dims[k] + 2e-3) << replay(seed);
            ASSERT_GT(most[k] - least[k], dims[k] - 1.0 - 2e-3) << replay(seed);  // no sample to spare
        }
        Vec3 centre = c.physical({0.5 * c.dims[0], 0.5 * c.dims[1], 0.5 * c.dims[2]});
        ASSERT_LT(length(along(middle(out), -1.0, centre)), 1e-3) << replay(seed);

        const double spacing = finest(c);
        ASSERT_NEAR(static_cast<double>(out.GetXMmPerPixel()), spacing, 2e-3 * spacing) << replay(seed);
        ASSERT_NEAR(out.GetXMmPerPixel(), out.GetYMmPerPixel(), 1e-6F * out.GetXMmPerPixel()) << replay(seed);
        ASSERT_EQ(out.rowStride, out.xDim) << replay(seed);
        expect_axis_aligned(out, plane, seed);
    }
}

TEST(geometry_types_utils, swivelled_box_of_the_volumes_own_axes_is_its_grid) {
    // Single-precision axes must not cost a row or a column.
    for (const Seed seed : seeds(300)) {
        Random random(seed);
        BoxCase c = random_box(random, 800.0, 1024);
        c.axes = random_axes(random, false);
        c.spacing = {0.7, 0.7, 0.7};
        RZ_Box box = c.box();
        const RZ_VolData volume(&box, 0);
        RZ_PlaneParams plane = plane_of(c.axes, c.start);
        RZ_Box out;
        RZ_TypesUtils::CalcSwiveledBoundingBox(volume, plane, out);
        ASSERT_EQ(out.xDim, c.dims[0]) << replay(seed);
        ASSERT_EQ(out.yDim, c.dims[1]) << replay(seed);
        ASSERT_EQ(out.zDim, c.dims[2]) << replay(seed);
        ASSERT_LT(length(along(vertex(out.params, 0), -1.0, c.start)), 2e-3) << replay(seed);
    }
}

TEST(geometry_types_utils, swivelled_box_never_outgrows_a_raster) {
    BoxCase c{};
    c.axes = {Vec3{1, 0, 0}, Vec3{0, 1, 0}, Vec3{0, 0, 1}};
    c.spacing = {0.01, 5.0, 1.0};
    c.dims = {4096, 8192, 2};
    RZ_Box box = c.box();
    const RZ_VolData volume(&box, 0);
    RZ_PlaneParams plane;
    RZ_Box out;
    RZ_TypesUtils::CalcSwiveledBoundingBox(volume, plane, out);
    EXPECT_EQ(out.yDim, 32767);
    EXPECT_NEAR(out.GetXMmPerPixel(), out.GetYMmPerPixel(), 1e-6F);
    EXPECT_GE(out.params.GetHeight(), 40959.9F);
    EXPECT_GE(out.params.GetWidth(), 40.95F);
    RZ_Box cut;
    RZ_TypesUtils::CalcPlanarCutBox(out, plane, cut);
    EXPECT_EQ(cut.yDim, 32767);
    EXPECT_EQ(cut.zDim, 1);
}

TEST(geometry_types_utils, swivelled_box_of_a_flat_volume_has_a_sample) {
    // One image seen edge-on is still one sample wide.
    const double start[3] = {0, 0, 0};
    const double a[3] = {100, 0, 0};
    const double b[3] = {0, 50, 0};
    const double none[3] = {0, 0, 0};
    RZ_Box box(100, 50, 1, RZ_BoxParams(start, a, b, none));
    const RZ_VolData volume(&box, 0);
    RZ_PlaneParams plane = plane_of({Vec3{1, 0, 0}, Vec3{0, 0, 1}, Vec3{0, -1, 0}}, {0, 25, 0});
    RZ_Box out;
    RZ_TypesUtils::CalcSwiveledBoundingBox(volume, plane, out);
    EXPECT_EQ(out.xDim, 100);
    EXPECT_EQ(out.yDim, 1);
    EXPECT_EQ(out.zDim, 50);
    EXPECT_FLOAT_EQ(out.GetYMmPerPixel(), 1.0F);
}

TEST(geometry_types_utils, planar_cut_is_one_sample_about_the_plane) {
    for (const Seed seed : seeds(1000)) {
        Random random(seed);
        const BoxCase c = random_box(random, 500.0, 200);
        RZ_Box box = c.box();
        const RZ_VolData volume(&box, 0);
        const auto axes = random_axes(random, false);
        RZ_PlaneParams plane =
            plane_of(axes, c.physical({0.4 * c.dims[0], 0.3 * c.dims[1], 0.9 * c.dims[2]}));
        RZ_Box turned;
        RZ_Box cut;
        RZ_TypesUtils::CalcSwiveledBoundingBox(volume, plane, turned);
        RZ_TypesUtils::CalcPlanarCutBox(turned, plane, cut);

        ASSERT_EQ(cut.xDim, turned.xDim) << replay(seed);
        ASSERT_EQ(cut.yDim, turned.yDim) << replay(seed);
        ASSERT_EQ(cut.zDim, 1) << replay(seed);
        ASSERT_EQ(cut.rowStride, cut.xDim) << replay(seed);
        ASSERT_EQ(cut.GetXMmPerPixel(), turned.GetXMmPerPixel()) << replay(seed);
        ASSERT_EQ(cut.GetYMmPerPixel(), turned.GetYMmPerPixel()) << replay(seed);
        ASSERT_FLOAT_EQ(cut.GetZMmPerPixel(), cut.GetXMmPerPixel()) << replay(seed);
        float centre[3];
        cut.params.GetMiddle(centre);
        ASSERT_NEAR(plane.Distance(centre), 0.0F, 1e-3F) << replay(seed);
        // Straight along the normal: the in-plane place stays.
        const Vec3 moved = along(middle(cut), -1.0, middle(turned));
        ASSERT_NEAR(dot(moved, axes[0]), 0.0, 1e-3) << replay(seed);
        ASSERT_NEAR(dot(moved, axes[1]), 0.0, 1e-3) << replay(seed);
        expect_axis_aligned(cut, plane, seed);
    }
}

TEST(geometry_types_utils, planar_cut_of_a_box_that_leans_bounds_it) {
    for (const Seed seed : seeds(300)) {
        Random random(seed);
        const BoxCase c = random_box(random, 500.0, 100);
        const RZ_Box box = c.box();
        const auto axes = random_axes(random, false);
        RZ_PlaneParams plane =
            plane_of(axes, c.physical({0.5 * c.dims[0], 0.5 * c.dims[1], 0.5 * c.dims[2]}));
        RZ_Box cut;
        RZ_TypesUtils::CalcPlanarCutBox(box, plane, cut);
        ASSERT_EQ(cut.zDim, 1) << replay(seed);
        float centre[3];
        cut.params.GetMiddle(centre);
        ASSERT_NEAR(plane.Distance(centre), 0.0F, 1e-3F) << replay(seed);
        expect_axis_aligned(cut, plane, seed);
        float norm[4][4];
        cut.params.GetNormTrans(norm);
        for (int i = 0; i < 8; ++i) {
            const Vec3 n = map_point(vertex(box.params, i), norm);
            ASSERT_TRUE(n[0] > -1e-4 && n[0] < 1.0001 && n[1] > -1e-4 && n[1] < 1.0001) << replay(seed);
        }
    }
}

TEST(geometry_types_utils, planar_cut_of_a_box_turned_within_the_plane_keeps_its_sides) {
    // In-plane rows need not run along the plane's units.
    const double start[3] = {0, 0, -20};
    const double a[3] = {60, 80, 0};
    const double b[3] = {-40, 30, 0};
    const double d[3] = {0, 0, 40};
    const RZ_Box box(200, 100, 40, RZ_BoxParams(start, a, b, d));
    RZ_PlaneParams plane = plane_of({Vec3{1, 0, 0}, Vec3{0, 1, 0}, Vec3{0, 0, 1}}, {0, 0, 7});
    RZ_Box out = box;
    RZ_TypesUtils::CalcPlanarCutBox(out, plane, out);  // the result may replace its source
    float side[3];
    out.params.GetSideVec(side, RZ_AxisX);
    EXPECT_EQ(wide(side), (Vec3{60, 80, 0}));
    out.params.GetSideVec(side, RZ_AxisY);
    EXPECT_EQ(wide(side), (Vec3{-40, 30, 0}));
    out.params.GetStart(side);
    EXPECT_EQ(wide(side), (Vec3{0, 0, 6.75}));  // 0.5 mm samples, so half of one below the plane
    EXPECT_EQ(out.params.GetDepth(), 0.5F);
}

TEST(geometry_types_utils, planar_cut_follows_a_sheared_stack) {
    // Gantry tilt: the slices slide in y as z rises.
    const double start[3] = {0, 0, 0};
    const double a[3] = {10, 0, 0};
    const double b[3] = {0, 10, 0};
    const double d[3] = {0, 20, 40};
    const RZ_Box box(10, 10, 20, RZ_BoxParams(start, a, b, d));
    RZ_PlaneParams plane = plane_of({Vec3{1, 0, 0}, Vec3{0, 1, 0}, Vec3{0, 0, 1}}, {3, 3, 10});
    RZ_Box cut;
    RZ_TypesUtils::CalcPlanarCutBox(box, plane, cut);
    const Vec3 m = middle(cut);
    EXPECT_NEAR(m[0], 5.0, 1e-5);
    EXPECT_NEAR(m[1], 10.0, 1e-5);
    EXPECT_NEAR(m[2], 10.0, 1e-5);
}

TEST(geometry_types_utils, planar_cut_always_has_a_size) {
    const RZ_Box none;
    RZ_PlaneParams plane;
    RZ_Box cut;
    RZ_TypesUtils::CalcPlanarCutBox(none, plane, cut);
    EXPECT_EQ(cut.xDim, 1);
    EXPECT_EQ(cut.yDim, 1);
    EXPECT_EQ(cut.zDim, 1);

    const RZ_Box wide_box(40000, 20000, 3, RZ_BoxParams(40000.0F, 20000.0F, 3.0F));
    RZ_TypesUtils::CalcPlanarCutBox(wide_box, plane, cut);
    EXPECT_EQ(cut.xDim, 32767);
    EXPECT_EQ(cut.yDim, 16383);
    EXPECT_EQ(cut.params.GetWidth(), 40000.0F);
}

TEST(geometry_types_utils, cut_box_keeps_spacing_and_place_of_its_slices) {
    for (const Seed seed : seeds(500)) {
        Random random(seed);
        BoxCase c = random_box(random, 500.0, 200);
        c.dims[2] = random.between(2, 300);
        RZ_Box box = c.box();
        box.rowStride = c.dims[0] + 3;
        const int first = random.between(0, c.dims[2] - 1);
        const int count = random.between(1, c.dims[2] - first);
        RZ_Box cut;
        RZ_TypesUtils::CalcCutBox(box, first, count, cut);
        ASSERT_EQ(cut.xDim, box.xDim) << replay(seed);
        ASSERT_EQ(cut.yDim, box.yDim) << replay(seed);
        ASSERT_EQ(cut.zDim, count) << replay(seed);
        ASSERT_EQ(cut.rowStride, box.rowStride) << replay(seed);
        ASSERT_NEAR(cut.GetZMmPerPixel(), box.GetZMmPerPixel(), 1e-6F * box.GetZMmPerPixel()) << replay(seed);
        float m[4][4];
        cut.GetIndexToPhysicalTrans(m);
        for (const int slice : {0, count - 1}) {
            const Vec3 at = map_point({3.0, 2.0, static_cast<double>(slice)}, m);
            const Vec3 expected = c.physical({3.5, 2.5, first + slice + 0.5});
            ASSERT_LT(length(along(at, -1.0, expected)), 1e-3) << replay(seed);
        }
    }
}

TEST(geometry_types_utils, cut_box_may_replace_its_source) {
    RZ_Box box(4, 4, 10, RZ_BoxParams(4.0F, 4.0F, 20.0F));
    RZ_TypesUtils::CalcCutBox(box, 3, 2, box);
    float start[3];
    box.params.GetStart(start);
    EXPECT_EQ(start[2], 6.0F);
    EXPECT_EQ(box.params.GetDepth(), 4.0F);
    EXPECT_EQ(box.zDim, 2);
}

TEST(geometry_types_utils, cut_slice_of_a_restacked_box) {
    // The z dimension may have been overwritten: the depth is then divided anew.
    RZ_Box box(4, 4, 10, RZ_BoxParams(4.0F, 4.0F, 20.0F));
    RZ_Box range;
    RZ_TypesUtils::CalcCutBox(box, 2, 6, range);
    range.zDim = 8;
    RZ_Box slice;
    RZ_TypesUtils::CalcCutBox(range, 5, 1, slice);
    float start[3];
    slice.params.GetStart(start);
    EXPECT_EQ(start[2], 4.0F + 5 * 1.5F);
    EXPECT_EQ(slice.params.GetDepth(), 1.5F);
}
