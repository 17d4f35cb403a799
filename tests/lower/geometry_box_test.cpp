#include "lower/geometry/box.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "lower/definitions/matrix.h"
#include "tests/lower/geometry_cases.h"

using namespace rz_test;

namespace {

struct Transforms {
    float to_physical[4][4];
    float to_index[4][4];
};

Transforms from_corner(const RZ_Box& box) {
    Transforms t{};
    box.GetIndexToPhysicalFromCorner(t.to_physical);
    box.GetPhysicalToIndexFromCorner(t.to_index);
    return t;
}

Transforms from_centre(const RZ_Box& box) {
    Transforms t{};
    box.GetIndexToPhysicalTrans(t.to_physical);
    box.GetPhysicalToIndexTrans(t.to_index);
    return t;
}

bool all_finite(const float m[4][4]) {
    return std::all_of(&m[0][0], &m[0][0] + 16, [](float v) { return std::isfinite(v); });
}

// The farthest that any index comes back from physical space. Corners and random places inside.
double worst_return(const Transforms& t, const BoxCase& c, Random& random, bool in_floats) {
    double worst = 0.0;
    for (int i = 0; i < 40; ++i) {
        float index[3];
        for (std::size_t k = 0; k < 3; ++k) {
            const auto n = static_cast<float>(c.dims[k]);
            index[k] = i < 8 ? ((i >> k & 1) != 0 ? n : 0.0F) : random.real(0.0F, n);
        }
        Vec3 back{};
        if (in_floats) {
            float physical[3];
            float returned[3];
            RZ_vec3mlt(index, t.to_physical, physical);
            RZ_vec3mlt(physical, t.to_index, returned);
            back = wide(returned);
        } else {
            back = map_point(map_point(wide(index), t.to_physical), t.to_index);
        }
        for (std::size_t k = 0; k < 3; ++k)
            worst = std::max(worst, std::abs(back[k] - static_cast<double>(index[k])));
    }
    return worst;
}

BoxCase large_box(Random& random) {
    BoxCase c = random_box(random, 1000.0, 1);
    c.dims = {2048, 2048, 2048};
    return c;
}

}  // namespace

TEST(geometry_box, index_spaces_of_a_plain_box) {
    // 10 x 4 x 2 samples of 0.5 x 2 x 3 mm: every element is exact.
    RZ_BoxParams extent(5.0F, 8.0F, 6.0F);
    extent.SetStart(100.0F, -50.0F, 25.0F);
    const RZ_Box box(10, 4, 2, extent);
    const float corner[4][4] = {{0.5F, 0, 0, 0}, {0, 2, 0, 0}, {0, 0, 3, 0}, {100, -50, 25, 1}};
    const float centre[4][4] = {{0.5F, 0, 0, 0}, {0, 2, 0, 0}, {0, 0, 3, 0}, {100.25F, -49, 26.5F, 1}};
    const Transforms a = from_corner(box);
    const Transforms b = from_centre(box);
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            EXPECT_EQ(a.to_physical[i][j], corner[i][j]);
            EXPECT_EQ(b.to_physical[i][j], centre[i][j]);
        }
    }
    EXPECT_EQ(map_point({100.0, -50.0, 25.0}, a.to_index)[0], 0.0);
    EXPECT_NEAR(map_point({105.0, -42.0, 31.0}, a.to_index)[0], 10.0, 1e-5);
    EXPECT_NEAR(map_point({105.0, -42.0, 31.0}, a.to_index)[1], 4.0, 1e-5);
    EXPECT_NEAR(map_point({105.0, -42.0, 31.0}, a.to_index)[2], 2.0, 1e-5);
    EXPECT_NEAR(map_point({105.0, -42.0, 31.0}, b.to_index)[0], 9.5, 1e-5);
    EXPECT_EQ(box.GetXMmPerPixel(), 0.5F);
    EXPECT_EQ(box.GetYMmPerPixel(), 2.0F);
    EXPECT_EQ(box.GetZMmPerPixel(), 3.0F);
    EXPECT_EQ(box.GetSliceZf(), 6.0F);
}

TEST(geometry_box, index_spaces_of_any_box) {
    for (const Seed seed : seeds(1000)) {
        Random random(seed);
        const BoxCase c = random_box(random, 1000.0, 512);
        const RZ_Box box = c.box();
        const Transforms corner = from_corner(box);
        const Transforms centre = from_centre(box);
        for (int i = 0; i < 20; ++i) {
            Vec3 index{};
            for (std::size_t k = 0; k < 3; ++k)
                index[k] = static_cast<double>(random.real(0.0F, 1.0F)) * c.dims[k];
            const Vec3 exact = c.physical(index);
            const Vec3 shifted = {index[0] - 0.5, index[1] - 0.5, index[2] - 0.5};
            const Vec3 p = map_point(index, corner.to_physical);
            const Vec3 q = map_point(shifted, centre.to_physical);
            const Vec3 r = map_point(exact, corner.to_index);
            const Vec3 s = map_point(exact, centre.to_index);
            for (std::size_t k = 0; k < 3; ++k) {
                ASSERT_NEAR(p[k], exact[k], 5e-4) << replay(seed);
                ASSERT_NEAR(q[k], exact[k], 5e-4) << replay(seed);
                ASSERT_NEAR(r[k], index[k], 1e-3) << replay(seed);
                ASSERT_NEAR(s[k], shifted[k], 1e-3) << replay(seed);
            }
        }
        ASSERT_NEAR(static_cast<double>(box.GetXMmPerPixel()), c.spacing[0], 1e-6 * c.spacing[0])
            << replay(seed);
        ASSERT_NEAR(static_cast<double>(box.GetYMmPerPixel()), c.spacing[1], 1e-6 * c.spacing[1])
            << replay(seed);
        ASSERT_NEAR(static_cast<double>(box.GetZMmPerPixel()), c.spacing[2], 1e-6 * c.spacing[2])
            << replay(seed);
        const double factor = c.spacing[2] / c.spacing[0];
        ASSERT_NEAR(static_cast<double>(box.GetSliceZf()), factor, 1e-6 * factor) << replay(seed);
    }
}

TEST(geometry_box, index_returns_through_the_matrices) {
    // What the matrices themselves lose: any mix of spacings.
    double worst = 0.0;
    for (const Seed seed : seeds(1500)) {
        Random random(seed);
        const BoxCase c = large_box(random);
        const RZ_Box box = c.box();
        const double corner = worst_return(from_corner(box), c, random, false);
        const double centre = worst_return(from_centre(box), c, random, false);
        ASSERT_LT(std::max(corner, centre), 1e-3) << replay(seed);
        worst = std::max({worst, corner, centre});
    }
    RecordProperty("worst_samples", std::to_string(worst));
}

TEST(geometry_box, index_returns_through_single_precision_points) {
    // With the physical point and every sum rounded to float as well, for even spacings. At 0.25 mm the float
    // of a point 1900 mm out alone is worth 2.4e-4 samples, and each partial sum on the way back 5e-4.
    for (const double spacing : {0.25, 0.5, 1.0, 2.5, 5.0}) {
        double total = 0.0;
        for (const Seed seed : seeds(300)) {
            Random random(seed);
            BoxCase c = large_box(random);
            c.spacing = {spacing, spacing, spacing};
            const double worst = worst_return(from_centre(c.box()), c, random, true);
            ASSERT_LT(worst, spacing < 0.5 ? 1.5e-3 : 1e-3) << spacing << " mm, " << replay(seed);
            total += worst;
        }
        EXPECT_LT(total / 300.0, 1e-3) << spacing << " mm";
    }
}

TEST(geometry_box, start_corner_returns_as_zero) {
    for (const Seed seed : seeds(500)) {
        Random random(seed);
        const BoxCase c = large_box(random);
        const RZ_Box box = c.box();
        const Transforms t = from_corner(box);
        float start[3];
        box.params.GetStart(start);
        const Vec3 zero = map_point(wide(start), t.to_index);
        // One rounding of the translation: 1000 mm at up to 4 samples per mm.
        for (const double part : zero) ASSERT_NEAR(part, 0.0, 5e-4) << replay(seed);
    }
}

TEST(geometry_box, box_to_box) {
    for (const Seed seed : seeds(500)) {
        Random random(seed);
        const BoxCase a = random_box(random, 1000.0, 512);
        const BoxCase b = random_box(random, 1000.0, 512);
        const RZ_Box from = a.box();
        const RZ_Box to = b.box();
        float m[4][4];
        from.GetBoxToBoxTrans(&to, m);
        for (int i = 0; i < 10; ++i) {
            Vec3 index{};
            for (std::size_t k = 0; k < 3; ++k) index[k] = random.between(0, a.dims[k] - 1);
            const Vec3 physical = a.physical({index[0] + 0.5, index[1] + 0.5, index[2] + 0.5});
            const Vec3 offset = along(physical, -1.0, b.start);
            const Vec3 mapped = map_point(index, m);
            for (std::size_t k = 0; k < 3; ++k) {
                const double expected = dot(offset, b.axes[k]) / b.spacing[k] - 0.5;
                ASSERT_NEAR(mapped[k], expected, 1e-6 * (std::abs(expected) + 20000.0)) << replay(seed);
            }
        }
        from.GetBoxToBoxTrans(&from, m);
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j) ASSERT_NEAR(m[i][j], i == j ? 1.0F : 0.0F, 1e-6F) << replay(seed);
        }
    }
}

TEST(geometry_box, flat_box_in_a_plane_frame) {
    // The output box of a reslice may have no depth at all.
    const double start[3] = {-64.0, -32.0, 0.0};
    const double a[3] = {128.0, 0.0, 0.0};
    const double b[3] = {0.0, 64.0, 0.0};
    const double none[3] = {0.0, 0.0, 0.0};
    for (const int depth : {1, 0}) {
        const RZ_Box box(256, 64, depth, RZ_BoxParams(start, a, b, none));
        const Transforms corner = from_corner(box);
        const Transforms centre = from_centre(box);
        for (const Transforms& t : {corner, centre}) {
            EXPECT_TRUE(all_finite(t.to_physical));
            EXPECT_TRUE(all_finite(t.to_index));
            for (int j = 0; j < 3; ++j) EXPECT_EQ(t.to_physical[2][j], 0.0F);
        }
        EXPECT_EQ(map_point({256.0, 64.0, 0.0}, corner.to_physical), (Vec3{64.0, 32.0, 0.0}));
        EXPECT_EQ(map_point({0.0, 0.0, 0.0}, centre.to_physical), (Vec3{-63.75, -31.5, 0.0}));
        EXPECT_EQ(map_point({64.0, 32.0, 0.0}, corner.to_index), (Vec3{256.0, 64.0, 0.0}));
    }
}

TEST(geometry_box, box_without_samples_stays_finite) {
    const RZ_Box none;
    int dims[3] = {7, 7, 7};
    none.GetDims(dims);
    for (const int n : dims) EXPECT_EQ(n, 0);
    const Transforms t = from_centre(none);
    EXPECT_TRUE(all_finite(t.to_physical));
    EXPECT_TRUE(all_finite(t.to_index));
    EXPECT_TRUE(std::isfinite(none.GetXMmPerPixel()));
    EXPECT_TRUE(std::isfinite(none.GetSliceZf()));
}

TEST(geometry_box, value_semantics) {
    const RZ_Box source(3, 4, 5, RZ_BoxParams(30.0F, 40.0F, 50.0F));
    RZ_Box assigned;
    assigned = source;
    RZ_Box copy(source);
    copy.xDim = 99;
    copy.params.SetStart(1.0F, 1.0F, 1.0F);
    EXPECT_EQ(source.xDim, 3);
    EXPECT_EQ(assigned.xDim, 3);
    EXPECT_EQ(assigned.yDim, 4);
    EXPECT_EQ(assigned.zDim, 5);
    EXPECT_EQ(assigned.params.GetHeight(), 40.0F);
    float start[3];
    assigned.params.GetStart(start);
    EXPECT_EQ(start[0], 0.0F);
    copy.params.GetStart(start);
    EXPECT_EQ(start[0], 1.0F);

    const std::unique_ptr<RZ_Box> owned = std::make_unique<RZ_Box>(source);
    EXPECT_TRUE(std::has_virtual_destructor<RZ_Box>::value);
    EXPECT_EQ(owned->GetXMmPerPixel(), 10.0F);
}

TEST(geometry_box, row_stride_starts_as_x_and_is_left_alone) {
    RZ_Box box(30, 4, 5, RZ_BoxParams(30.0F, 40.0F, 50.0F));
    EXPECT_EQ(box.rowStride, 30);
    box.rowStride = 32;
    const RZ_Box copy(box);
    EXPECT_EQ(copy.rowStride, 32);
    box.xDim = 16;
    from_corner(box);
    from_centre(box);
    EXPECT_EQ(box.rowStride, 32);
    EXPECT_EQ(RZ_Box().rowStride, 0);

    // x, y, z dimension and the row step lie side by side, in this order.
    const RZ_Dims dims(1, 2, 3);
    EXPECT_EQ(sizeof dims, 4 * sizeof(int));
    EXPECT_EQ(&dims.yDim - &dims.xDim, 1);
    EXPECT_EQ(&dims.zDim - &dims.xDim, 2);
    EXPECT_EQ(&dims.rowStride - &dims.xDim, 3);
}
