#include "lower/geometry/box_params.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <set>

#include "lower/definitions/matrix.h"
#include "tests/lower/geometry_cases.h"

using namespace rz_test;

namespace {

Vec3 vertex(const RZ_BoxParams& params, int i) {
    float out[3];
    params.GetVertex(i, out);
    return wide(out);
}

// Half a unit in the last place of a coordinate this far out, with slack for the test's own sums.
double rounding(double magnitude) {
    return magnitude * 0x1p-24 + 1e-9;
}

void expect_near(const Vec3& a, const Vec3& b, double tolerance, Seed seed) {
    for (std::size_t i = 0; i < 3; ++i)
        ASSERT_NEAR(a[i], b[i], tolerance) << "axis " << i << ", " << replay(seed);
}

}  // namespace

TEST(geometry_box_params, side_lengths_along_the_axes) {
    const RZ_BoxParams params(3.0F, 4.5F, 0.1F);
    float size[3];
    float start[3];
    float middle[3];
    params.GetSize(size);
    params.GetStart(start);
    params.GetMiddle(middle);
    EXPECT_EQ(size[0], 3.0F);
    EXPECT_EQ(size[1], 4.5F);
    EXPECT_EQ(size[2], 0.1F);
    EXPECT_EQ(params.GetWidth(), 3.0F);
    EXPECT_EQ(params.GetHeight(), 4.5F);
    EXPECT_EQ(params.GetDepth(), 0.1F);
    for (const float part : start) EXPECT_EQ(part, 0.0F);
    EXPECT_EQ(middle[0], 1.5F);
    EXPECT_EQ(middle[1], 2.25F);
    EXPECT_EQ(middle[2], 0.05F);
}

TEST(geometry_box_params, any_orientation_and_handedness) {
    for (const Seed seed : seeds(1000)) {
        Random random(seed);
        const BoxCase c = random_box(random, 1000.0, 2048);
        const RZ_BoxParams params = c.params();
        const double far = 1000.0 + length(c.side(0)) + length(c.side(1)) + length(c.side(2));

        float out[3];
        params.GetStart(out);
        expect_near(wide(out), c.start, rounding(1000.0), seed);
        params.GetSize(out);
        for (std::size_t k = 0; k < 3; ++k) {
            ASSERT_NEAR(static_cast<double>(out[k]), length(c.side(k)), rounding(length(c.side(k))))
                << replay(seed);
        }
        ASSERT_EQ(params.GetWidth(), out[0]);
        ASSERT_EQ(params.GetHeight(), out[1]);
        Vec3 middle = c.start;
        for (std::size_t k = 0; k < 3; ++k) middle = along(middle, 0.5, c.side(k));
        params.GetMiddle(out);
        expect_near(wide(out), middle, rounding(far), seed);
        for (const RZ_Axis axis : {RZ_AxisX, RZ_AxisY}) {
            params.GetSideVec(out, axis);
            expect_near(wide(out), c.side(static_cast<std::size_t>(axis)), rounding(far), seed);
        }
    }
}

TEST(geometry_box_params, edges_join_neighbouring_vertices) {
    Random random(5);
    const BoxCase c = random_box(random, 100.0, 64);
    const RZ_BoxParams params = c.params();
    std::set<std::pair<int, int>> met;
    int per_side[3] = {};
    for (const auto& edge : RZ_BoxParams::c_edges) {
        ASSERT_TRUE(edge[0] >= 0 && edge[0] < 8 && edge[1] >= 0 && edge[1] < 8);
        met.insert(std::minmax(edge[0], edge[1]));
        // The vector between the two ends is one side of the box, forward or backward.
        const Vec3 step = along(vertex(params, edge[1]), -1.0, vertex(params, edge[0]));
        int matches = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            const double off =
                std::min(length(along(step, -1.0, c.side(k))), length(along(step, 1.0, c.side(k))));
            if (off < 1e-3) {
                ++matches;
                ++per_side[k];
            }
        }
        EXPECT_EQ(matches, 1);
    }
    EXPECT_EQ(met.size(), 12U);
    for (const int count : per_side) EXPECT_EQ(count, 4);
}

TEST(geometry_box_params, vertices_are_the_corners_of_the_unit_cube) {
    for (const Seed seed : seeds(500)) {
        Random random(seed);
        const BoxCase c = random_box(random, 1000.0, 512);
        const RZ_BoxParams params = c.params();
        float norm[4][4];
        params.GetNormTrans(norm);
        std::set<int> corners;
        for (int i = 0; i < 8; ++i) {
            const Vec3 n = map_point(vertex(params, i), norm);
            int corner = 0;
            for (std::size_t k = 0; k < 3; ++k) {
                const double tolerance = 4e-4 / length(c.side(k)) + 1e-6;  // a corner is rounded to 2^-12 mm
                const double nearest = std::round(n[k]);
                ASSERT_NEAR(n[k], nearest, tolerance) << replay(seed);
                ASSERT_TRUE(nearest == 0.0 || nearest == 1.0) << replay(seed);
                corner |= static_cast<int>(nearest) << k;
            }
            corners.insert(corner);
            if (i == 0) {
                ASSERT_EQ(corner, 0);
            }
        }
        ASSERT_EQ(corners.size(), 8U);
    }
}

TEST(geometry_box_params, sheared_box_has_a_normalised_space) {
    const double start[3] = {10.0, -20.0, 30.0};
    const double a[3] = {8.0, 0.0, 0.0};
    const double b[3] = {4.0, 2.0, 0.0};
    const double d[3] = {1.0, 1.0, 0.5};
    const RZ_BoxParams params(start, a, b, d);
    float norm[4][4];
    params.GetNormTrans(norm);
    const Vec3 p = {10.0 + 0.25 * 8.0 + 0.5 * 4.0 + 0.75, -20.0 + 0.5 * 2.0 + 0.75, 30.0 + 0.75 * 0.5};
    const Vec3 n = map_point(p, norm);
    EXPECT_NEAR(n[0], 0.25, 1e-5);
    EXPECT_NEAR(n[1], 0.5, 1e-5);
    EXPECT_NEAR(n[2], 0.75, 1e-5);
}

TEST(geometry_box_params, normalised_space_of_a_flat_box_is_finite) {
    for (const Seed seed : seeds(300)) {
        Random random(seed);
        BoxCase c = random_box(random, 1000.0, 512);
        const int flat = random.between(1, 7);  // any set of sides without length
        for (std::size_t k = 0; k < 3; ++k) {
            if ((flat >> k & 1) != 0) c.dims[k] = 0;
        }
        float norm[4][4];
        c.params().GetNormTrans(norm);
        for (const auto& row : norm) {
            for (const float value : row) ASSERT_TRUE(std::isfinite(value)) << replay(seed);
        }
        Vec3 p = c.start;
        for (std::size_t k = 0; k < 3; ++k) p = along(p, 0.25, c.side(k));
        const Vec3 n = map_point(p, norm);
        for (std::size_t k = 0; k < 3; ++k) {
            const bool has_side = (flat >> k & 1) == 0;
            ASSERT_NEAR(n[k], has_side ? 0.25 : 0.0, has_side ? 1e-3 / length(c.side(k)) + 1e-6 : 0.0)
                << replay(seed);
        }
    }
}

TEST(geometry_box_params, normalised_space_survives_parallel_sides_and_nan) {
    const double start[3] = {1.0, 2.0, 3.0};
    const double a[3] = {8.0, 0.0, 0.0};
    const double b[3] = {-3.0, 0.0, 0.0};
    const double d[3] = {0.0, std::nan(""), 0.0};
    float norm[4][4];
    RZ_BoxParams(start, a, b, d).GetNormTrans(norm);
    for (const auto& row : norm) {
        for (const float value : row) EXPECT_TRUE(std::isfinite(value));
    }
    EXPECT_NEAR(map_point({5.0, 2.0, 3.0}, norm)[0], 0.5, 1e-6);
}

TEST(geometry_box_params, transform_moves_every_vertex) {
    for (const Seed seed : seeds(500)) {
        Random random(seed);
        const BoxCase c = random_box(random, 300.0, 256);
        const BoxCase by = random_box(random, 300.0, 2);
        float m[4][4] = {};
        for (std::size_t k = 0; k < 3; ++k) {
            for (std::size_t i = 0; i < 3; ++i) m[k][i] = static_cast<float>(by.axes[k][i]);
            m[3][k] = static_cast<float>(by.start[k]);
        }
        m[3][3] = 1.0F;
        const RZ_BoxParams before = c.params();
        RZ_BoxParams after = before;
        ASSERT_EQ(after.ApplyTransform(m), 1);
        for (int i = 0; i < 8; ++i) {
            expect_near(vertex(after, i), map_point(vertex(before, i), m), 1e-3, seed);
        }
        float inverse[4][4];
        RZ_Minv(m, inverse);
        after.ApplyTransform(inverse);
        for (int i = 0; i < 8; ++i) expect_near(vertex(after, i), vertex(before, i), 1e-3, seed);
    }
}

TEST(geometry_box_params, scale_about_a_point_along_own_axes) {
    for (const Seed seed : seeds(500)) {
        Random random(seed);
        const BoxCase c = random_box(random, 200.0, 100);
        const float factors[3] = {random.real(0.1F, 3.0F), random.real(0.1F, 3.0F),
                                  random.pick({1.0F, 0.5F})};
        const float centre[3] = {random.real(-300.0F, 300.0F), random.real(-300.0F, 300.0F),
                                 random.real(-300.0F, 300.0F)};
        RZ_BoxParams params = c.params();
        params.TScale(factors[0], factors[1], factors[2], centre);
        for (int i = 0; i < 8; ++i) {
            Vec3 corner = c.start;
            for (std::size_t k = 0; k < 3; ++k) {
                if ((i >> k & 1) != 0) corner = along(corner, 1.0, c.side(k));
            }
            const Vec3 offset = along(corner, -1.0, wide(centre));
            Vec3 expected = wide(centre);
            for (std::size_t k = 0; k < 3; ++k) {
                expected =
                    along(expected, dot(offset, c.axes[k]) * static_cast<double>(factors[k]), c.axes[k]);
            }
            expect_near(vertex(params, i), expected, 1e-3, seed);
        }
    }
}

TEST(geometry_box_params, scale_about_the_middle_keeps_the_middle) {
    RZ_BoxParams params(8.0F, 4.0F, 2.0F);
    float middle[3];
    params.GetMiddle(middle);
    params.TScale(1.0F, 1.25F, 1.0F, middle);
    float out[3];
    params.GetSize(out);
    EXPECT_EQ(out[0], 8.0F);
    EXPECT_EQ(out[1], 5.0F);
    EXPECT_EQ(out[2], 2.0F);
    params.GetStart(out);
    EXPECT_EQ(out[0], 0.0F);
    EXPECT_EQ(out[1], -0.5F);
    EXPECT_EQ(out[2], 0.0F);
    params.GetMiddle(out);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(out[i], middle[i]);
}

TEST(geometry_box_params, scale_of_a_flat_box_about_a_point_off_it) {
    const double start[3] = {0.0, 0.0, 5.0};
    const double a[3] = {2.0, 0.0, 0.0};
    const double b[3] = {0.0, 2.0, 0.0};
    const double none[3] = {0.0, 0.0, 0.0};
    RZ_BoxParams params(start, a, b, none);
    const float origin[3] = {0.0F, 0.0F, 1.0F};
    params.TScale(1.0F, 1.0F, 3.0F, origin);
    float out[3];
    params.GetStart(out);
    EXPECT_FLOAT_EQ(out[2], 13.0F);  // 4 above the point becomes 12 above it
    params.GetSize(out);
    EXPECT_EQ(out[2], 0.0F);
}

TEST(geometry_box_params, start_can_be_set) {
    Random random(8);
    const BoxCase c = random_box(random, 50.0, 10);
    RZ_BoxParams params = c.params();
    params.SetStart(1.0F, -2.0F, 3.0F);
    for (int i = 0; i < 8; ++i) {
        Vec3 expected = {1.0, -2.0, 3.0};
        for (std::size_t k = 0; k < 3; ++k) {
            if ((i >> k & 1) != 0) expected = along(expected, 1.0, c.side(k));
        }
        expect_near(vertex(params, i), expected, 1e-4, 8);
    }
}

TEST(geometry_box_params, copies_are_independent) {
    RZ_BoxParams a(1.0F, 2.0F, 3.0F);
    const RZ_BoxParams b(a);
    RZ_BoxParams c;
    c = a;
    a.SetStart(9.0F, 9.0F, 9.0F);
    EXPECT_EQ(vertex(b, 0), (Vec3{0.0, 0.0, 0.0}));
    EXPECT_EQ(vertex(c, 7), (Vec3{1.0, 2.0, 3.0}));
    EXPECT_EQ(vertex(a, 7), (Vec3{10.0, 11.0, 12.0}));
}

namespace {
struct Watched : RZ_BoxParams {
    explicit Watched(int& calls) : calls_(calls) {}
    ~Watched() override { calls_ += 1; }
    int ApplyTransform(const float[4][4]) override { return calls_ += 10; }
    void SetStart(float, float, float) override { calls_ += 100; }
    int& calls_;
};
}  // namespace

TEST(geometry_box_params, destructor_transform_and_start_are_virtual) {
    int calls = 0;
    {
        const std::unique_ptr<RZ_BoxParams> params = std::make_unique<Watched>(calls);
        float m[4][4];
        RZ_Midnt(m);
        params->ApplyTransform(m);
        EXPECT_EQ(calls, 10);
        params->SetStart(0.0F, 0.0F, 0.0F);
        EXPECT_EQ(calls, 110);
    }
    EXPECT_EQ(calls, 111);
}

TEST(geometry_box_params, virtual_operations_keep_their_order) {
    // Slots of the table: the two forms of the destructor, the transform, the start corner.
    RZ_BoxParams params(1.0F, 1.0F, 1.0F);
    using SetStart = void (*)(RZ_BoxParams*, float, float, float);
    SetStart* const* const table = reinterpret_cast<SetStart* const*>(&params);
    (*table)[3](&params, 4.0F, 5.0F, 6.0F);
    EXPECT_EQ(vertex(params, 0), (Vec3{4.0, 5.0, 6.0}));
}
