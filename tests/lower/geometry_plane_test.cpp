#include "lower/geometry/plane.h"

#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>

#include "lower/definitions/matrix.h"
#include "lower/geometry/box_params.h"
#include "tests/lower/geometry_cases.h"

using namespace rz_test;

namespace {

struct PlaneCase {
    std::array<Vec3, 3> axes;  // first unit, second unit, normal
    Vec3 origin;

    RZ_PlaneParams plane(double normal_scale = 1.0, double lean = 0.0) const {
        float n[3];
        float o[3];
        float u[3];
        for (std::size_t i = 0; i < 3; ++i) {
            n[i] = static_cast<float>(normal_scale * axes[2][i]);
            o[i] = static_cast<float>(origin[i]);
            u[i] = static_cast<float>(axes[0][i] + lean * axes[2][i]);
        }
        return RZ_PlaneParams(n, o, u);
    }
};

PlaneCase random_plane(Random& random) {
    PlaneCase c{random_axes(random, false), {}};
    for (double& part : c.origin) part = static_cast<double>(random.real(-800.0F, 800.0F));
    return c;
}

struct Parts {
    Vec3 origin, u, v, normal;
    double d;
};

Parts parts(const RZ_PlaneParams& plane) {
    float o[3];
    float u[3];
    float v[3];
    float e[4];
    plane.GetOrigin(o);
    plane.GetUnits(u, v);
    plane.GetPlaneEq(e);
    return {wide(o), wide(u), wide(v), wide(e), static_cast<double>(e[3])};
}

void expect_same(const Vec3& a, const Vec3& b, double tolerance, Seed seed) {
    for (std::size_t i = 0; i < 3; ++i) ASSERT_NEAR(a[i], b[i], tolerance) << replay(seed);
}

void expect_orthonormal(const Parts& p, Seed seed) {
    ASSERT_NEAR(length(p.u), 1.0, 1e-6) << replay(seed);
    ASSERT_NEAR(length(p.v), 1.0, 1e-6) << replay(seed);
    ASSERT_NEAR(length(p.normal), 1.0, 1e-6) << replay(seed);
    ASSERT_NEAR(dot(p.u, p.v), 0.0, 1e-6) << replay(seed);
    ASSERT_NEAR(dot(p.u, p.normal), 0.0, 1e-6) << replay(seed);
    ASSERT_NEAR(dot(p.v, p.normal), 0.0, 1e-6) << replay(seed);
    // normal x u = v
    const Vec3 v = {p.normal[1] * p.u[2] - p.normal[2] * p.u[1], p.normal[2] * p.u[0] - p.normal[0] * p.u[2],
                    p.normal[0] * p.u[1] - p.normal[1] * p.u[0]};
    expect_same(p.v, v, 1e-6, seed);
}

}  // namespace

TEST(geometry_plane, default_lies_in_x_y) {
    const Parts p = parts(RZ_PlaneParams());
    EXPECT_EQ(p.origin, (Vec3{0, 0, 0}));
    EXPECT_EQ(p.u, (Vec3{1, 0, 0}));
    EXPECT_EQ(p.v, (Vec3{0, 1, 0}));
    EXPECT_EQ(p.normal, (Vec3{0, 0, 1}));
    EXPECT_EQ(p.d, 0.0);
}

TEST(geometry_plane, made_from_normal_origin_and_unit) {
    for (const Seed seed : seeds(1000)) {
        Random random(seed);
        const PlaneCase c = random_plane(random);
        const Parts p = parts(c.plane(random.pick({1.0, 0.01, 250.0}), random.pick({0.0, 0.5, -2.0})));
        expect_orthonormal(p, seed);
        expect_same(p.u, c.axes[0], 1e-6, seed);
        expect_same(p.v, c.axes[1], 1e-6, seed);
        expect_same(p.normal, c.axes[2], 1e-6, seed);
        expect_same(p.origin, c.origin, 0.0, seed);
        ASSERT_NEAR(p.d, -dot(c.axes[2], c.origin), 1e-3) << replay(seed);
    }
}

TEST(geometry_plane, degenerate_directions_still_give_a_plane) {
    const float zero[3] = {0.0F, 0.0F, 0.0F};
    const float z[3] = {0.0F, 0.0F, 2.0F};
    const float nan[3] = {std::nanf(""), 0.0F, 1.0F};
    const float oblique[3] = {1.0F, 2.0F, -2.0F};
    const float* const normals[] = {zero, z, nan, oblique};
    const float* const units[] = {zero, z, nan, oblique};
    for (const float* normal : normals) {
        for (const float* unit : units) expect_orthonormal(parts(RZ_PlaneParams(normal, zero, unit)), 0);
    }
    EXPECT_EQ(parts(RZ_PlaneParams(zero, zero, zero)).normal, (Vec3{0, 0, 1}));
}

TEST(geometry_plane, getters_write_three_floats) {
    const RZ_PlaneParams plane;
    float m[4][4];
    for (auto& row : m) {
        for (float& value : row) value = 77.0F;
    }
    plane.GetUnits(m[0], m[1]);
    plane.GetOrigin(m[3]);
    EXPECT_EQ(m[0][3], 77.0F);
    EXPECT_EQ(m[1][3], 77.0F);
    EXPECT_EQ(m[3][3], 77.0F);
    EXPECT_EQ(m[2][0], 77.0F);
}

TEST(geometry_plane, translate_and_distance) {
    for (const Seed seed : seeds(1000)) {
        Random random(seed);
        const PlaneCase c = random_plane(random);
        RZ_PlaneParams plane = c.plane();
        const Parts before = parts(plane);
        const float by = random.real(-300.0F, 300.0F);
        plane.ParallelTranslate(by);
        const Parts moved = parts(plane);
        expect_same(moved.origin, along(c.origin, static_cast<double>(by), c.axes[2]), 1e-3, seed);
        expect_same(moved.u, before.u, 0.0, seed);
        expect_same(moved.v, before.v, 0.0, seed);
        expect_same(moved.normal, before.normal, 0.0, seed);

        float point[3];
        for (float& part : point) part = random.real(-500.0F, 500.0F);
        const float distance = plane.Distance(point);
        const Vec3 offset = along(wide(point), -1.0, moved.origin);
        ASSERT_NEAR(static_cast<double>(distance), dot(offset, c.axes[2]), 1e-3) << replay(seed);
        plane.ParallelTranslate(distance);
        ASSERT_NEAR(plane.Distance(point), 0.0F, 1e-4F) << replay(seed);
        const Parts through = parts(plane);
        ASSERT_NEAR(dot(through.normal, wide(point)) + through.d, 0.0, 1e-3) << replay(seed);
    }
}

TEST(geometry_plane, repeated_translation_does_not_drift) {
    const float normal[3] = {0.36F, 0.48F, 0.8F};
    const float origin[3] = {900.0F, -700.0F, 400.0F};
    const float unit[3] = {0.8F, -0.6F, 0.0F};
    RZ_PlaneParams plane(normal, origin, unit);
    for (int i = 0; i < 10000; ++i) plane.ParallelTranslate(0.25F);
    for (int i = 0; i < 10000; ++i) plane.ParallelTranslate(-0.25F);
    EXPECT_NEAR(plane.Distance(origin), 0.0F, 1e-6F);
}

TEST(geometry_plane, projection_to_the_plane_frame) {
    for (const Seed seed : seeds(1000)) {
        Random random(seed);
        const PlaneCase c = random_plane(random);
        float m[4][4];
        c.plane().Get2Projection(m);
        const double a = static_cast<double>(random.real(-300.0F, 300.0F));
        const double b = static_cast<double>(random.real(-300.0F, 300.0F));
        const double d = static_cast<double>(random.real(-300.0F, 300.0F));
        const Vec3 p = along(along(along(c.origin, a, c.axes[0]), b, c.axes[1]), d, c.axes[2]);
        expect_same(map_point(p, m), {a, b, d}, 1e-3, seed);

        float inverse[4][4];
        RZ_Minv(m, inverse);
        expect_same(map_point({a, b, d}, inverse), p, 1e-3, seed);
        expect_same(map_point({0, 0, 0}, inverse), c.origin, 1e-3, seed);
    }
}

TEST(geometry_plane, wide_frame_agrees_with_the_floats) {
    Random random(11);
    const RZ_PlaneParams plane = random_plane(random).plane();
    double frame[4][4];
    plane.GetPhysicalFromPlane(frame);
    const Parts p = parts(plane);
    const Vec3* const rows[4] = {&p.u, &p.v, &p.normal, &p.origin};
    for (std::size_t k = 0; k < 4; ++k) {
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_EQ(static_cast<float>(frame[k][i]), static_cast<float>((*rows[k])[i]));
        EXPECT_EQ(frame[k][3], k == 3 ? 1.0 : 0.0);
    }
}

TEST(geometry_plane, box_goes_to_the_frame_and_back) {
    for (const Seed seed : seeds(300)) {
        Random random(seed);
        const PlaneCase c = random_plane(random);
        const BoxCase boxed = random_box(random, 500.0, 300);
        float m[4][4];
        float back[4][4];
        c.plane().Get2Projection(m);
        RZ_Minv(m, back);
        RZ_BoxParams params = boxed.params();
        params.ApplyTransform(m);
        params.ApplyTransform(back);
        for (int i = 0; i < 8; ++i) {
            float before[3];
            float after[3];
            boxed.params().GetVertex(i, before);
            params.GetVertex(i, after);
            expect_same(wide(after), wide(before), 2e-3, seed);
        }
    }
}

TEST(geometry_plane, copies_are_independent) {
    RZ_PlaneParams a;
    const RZ_PlaneParams b(a);
    a.ParallelTranslate(5.0F);
    EXPECT_EQ(parts(b).origin, (Vec3{0, 0, 0}));
    EXPECT_EQ(parts(a).origin, (Vec3{0, 0, 5}));
    EXPECT_TRUE(std::is_trivially_copyable<RZ_PlaneParams>::value);
}

TEST(geometry_plane, calc_plane_has_the_normal_and_the_point) {
    for (const Seed seed : seeds(1000)) {
        Random random(seed);
        const PlaneCase c = random_plane(random);
        const float scale = random.pick({1.0F, 0.001F, 40.0F});
        const RZ_3Coord normal(static_cast<float>(c.axes[2][0]) * scale,
                               static_cast<float>(c.axes[2][1]) * scale,
                               static_cast<float>(c.axes[2][2]) * scale);
        const RZ_3Coord point(static_cast<float>(c.origin[0]), static_cast<float>(c.origin[1]),
                              static_cast<float>(c.origin[2]));
        const bool keepUp = random.once_in(2);
        RZ_PlaneParams plane;
        RZ_CalcPlane(normal, point, plane, keepUp);
        const Parts p = parts(plane);
        expect_orthonormal(p, seed);
        expect_same(p.normal, c.axes[2], 1e-6, seed);
        ASSERT_EQ(plane.Distance(point), 0.0F) << replay(seed);
        if (keepUp) {
            ASSERT_NEAR(p.u[2], 0.0, 1e-6) << replay(seed);  // level
            ASSERT_GE(p.v[2], 0.0) << replay(seed);          // rising
        }
    }
}

TEST(geometry_plane, calc_plane_along_the_axes) {
    for (const bool keepUp : {true, false}) {
        for (int axis = 0; axis < 3; ++axis) {
            for (const float sign : {1.0F, -1.0F}) {
                RZ_3Coord normal;
                normal[axis] = sign;
                RZ_PlaneParams plane;
                RZ_CalcPlane(normal, RZ_3Coord(), plane, keepUp);
                const Parts p = parts(plane);
                expect_orthonormal(p, 0);
                EXPECT_EQ(p.normal[static_cast<std::size_t>(axis)], static_cast<double>(sign));
            }
        }
    }
}
