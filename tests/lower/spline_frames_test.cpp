#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <thread>
#include <vector>

#include "lower/geometry/spline.h"
#include "tests/lower/geometry_cases.h"
#include "tests/lower/spline_reference.h"

// The sweep direction carried along a curve.

using namespace rz_test;

namespace {

constexpr double kPi = 3.14159265358979323846;

struct Frames {
    std::vector<RZ_3Coord> points, tangents, directions;
};

Frames frames(const RZ_Spline& spline, int count, int first, int length, const Vec3& start) {
    const auto n = static_cast<std::size_t>(length);
    Frames f{std::vector<RZ_3Coord>(n), std::vector<RZ_3Coord>(n), std::vector<RZ_3Coord>(n)};
    f.directions[0] =
        RZ_3Coord(static_cast<float>(start[0]), static_cast<float>(start[1]), static_cast<float>(start[2]));
    spline.InterpolateEDCurveWithTangents(f.points.data(), f.tangents.data(), count, 10, 5,
                                          f.directions.data(), first, length);
    return f;
}

RZ_Spline through(const std::vector<Vec3>& points) {
    std::vector<RZ_3Coord> given;
    for (const Vec3& p : points) {
        given.emplace_back(static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2]));
    }
    return RZ_Spline(given.data(), static_cast<int>(given.size()), RZ_3Coord(0.0F, 0.0F, 1.0F));
}

Vec3 to_vec(const RZ_3Coord& c) {
    return {static_cast<double>(c.x), static_cast<double>(c.y), static_cast<double>(c.z)};
}

std::vector<Vec3> bent_walk(Random& random) {
    std::vector<Vec3> r = {{0.0, 0.0, 0.0}};
    Vec3 heading = random_axes(random, false)[0];
    const int count = random.between(4, 40);
    for (int i = 1; i < count; ++i) {
        heading = along(heading, static_cast<double>(random.real(0.0F, 0.9F)), random_axes(random, false)[0]);
        heading = along({0, 0, 0}, 1.0 / length(heading), heading);
        r.push_back(along(r.back(), static_cast<double>(random.real(3.0F, 20.0F)), heading));
    }
    return r;
}

Vec3 across(Random& random, const Vec3& tangent) {
    const Vec3 any = random_axes(random, false)[0];
    const Vec3 off = along(any, -dot(any, tangent), tangent);
    return along({0, 0, 0}, 1.0 / length(off), off);
}

}  // namespace

TEST(spline_frames, plane_curve_keeps_its_normal_and_its_angle) {
    // In a plane curve a carried direction turns with the tangent and not at all about it.
    std::vector<Vec3> points;
    for (int i = 0; i < 40; ++i) points.push_back({10.0 * i, 60.0 * std::sin(0.35 * i), 0.0});
    const RZ_Spline spline = through(points);
    const Frames up = frames(spline, 200, 0, 200, {0, 0, 1});
    for (const RZ_3Coord& d : up.directions) {
        ASSERT_NEAR(d.x, 0.0F, 1e-6F);
        ASSERT_NEAR(d.y, 0.0F, 1e-6F);
        ASSERT_NEAR(d.z, 1.0F, 1e-6F);
    }
    const Vec3 t0 = to_vec(up.tangents[0]);
    const Frames side = frames(spline, 200, 0, 200, {-t0[1], t0[0], 0});
    for (std::size_t i = 0; i < 200; ++i) {
        ASSERT_NEAR(side.directions[i].x, -side.tangents[i].y, 2e-6F) << i;
        ASSERT_NEAR(side.directions[i].y, side.tangents[i].x, 2e-6F) << i;
    }
}

TEST(spline_frames, helix_turns_against_its_torsion) {
    // Along a helix the rotation-minimising frame turns by -torsion x arc length against principal normal and
    // binormal.
    const double radius = 20.0;
    const double rise = 8.0;  // per radian
    const double turns = 3.0;
    const int count = 600;
    std::vector<Vec3> points;
    for (int i = 0; i < count; ++i) {
        const double a = 2.0 * kPi * turns * i / (count - 1);
        points.push_back({radius * std::cos(a), radius * std::sin(a), rise * a});
    }
    const RZ_Spline spline = through(points);
    const double speed = std::hypot(radius, rise);
    const double torsion = rise / (speed * speed);
    const Frames f = frames(spline, 301, 0, 301, {-1, 0, 0});  // the principal normal at the start
    for (std::size_t i = 0; i < 301; ++i) {
        const double a = 2.0 * kPi * turns * static_cast<double>(i) / 300.0;
        const Vec3 normal = {-std::cos(a), -std::sin(a), 0.0};
        const Vec3 binormal = {rise * std::sin(a) / speed, -rise * std::cos(a) / speed, radius / speed};
        const double turn = -torsion * speed * a;
        const Vec3 expected = along(along({0, 0, 0}, std::cos(turn), normal), std::sin(turn), binormal);
        ASSERT_LT(length(along(to_vec(f.directions[i]), -1.0, expected)), 5e-3) << i;
    }
}

TEST(spline_frames, any_curve_against_fine_transport) {
    for (const Seed seed : seeds(40)) {
        Random random(seed);
        const std::vector<Vec3> points = bent_walk(random);
        const RZ_Spline spline = through(points);
        const FineCurve fine(points, false, 4000);
        const int count = 101;
        const Vec3 t0 = to_vec(frames(spline, count, 0, 1, {0, 0, 0}).tangents[0]);
        const Vec3 start = across(random, t0);
        const Frames f = frames(spline, count, 0, count, start);

        // Parallel transport along the fine polygon: at each chord drop the part along it, restore the
        // length.
        Vec3 d = start;
        std::size_t next = 0;
        const auto& polygon = fine.polygon();
        for (std::size_t i = 1; i < polygon.size(); ++i) {
            const Vec3 chord = along(polygon[i], -1.0, polygon[i - 1]);
            d = along(d, -dot(d, chord) / dot(chord, chord), chord);
            d = along({0, 0, 0}, 1.0 / length(d), d);
            while (next < 101 && fine.arc(i) >= static_cast<double>(next) * fine.length() / 100.0) {
                ASSERT_LT(length(along(to_vec(f.directions[next]), -1.0, d)), 5e-3)
                    << next << ", " << replay(seed);
                ++next;
            }
        }
        ASSERT_GE(next, 100U);
    }
}

TEST(spline_frames, length_one_and_same_angle_to_the_tangent) {
    for (const Seed seed : seeds(200)) {
        Random random(seed);
        const RZ_Spline spline = through(bent_walk(random));
        const int count = random.between(2, 400);
        const Vec3 start =
            along({0, 0, 0}, static_cast<double>(random.real(0.1F, 9.0F)), random_axes(random, false)[0]);
        const Frames f = frames(spline, count, 0, count, start);
        const double angle = dot(start, to_vec(f.tangents[0])) / length(start);
        for (std::size_t i = 0; i < f.directions.size(); ++i) {
            ASSERT_NEAR(length(to_vec(f.directions[i])), 1.0, 1e-6) << replay(seed);
            ASSERT_NEAR(dot(to_vec(f.directions[i]), to_vec(f.tangents[i])), angle, 1e-5) << replay(seed);
            ASSERT_EQ(f.directions[i].w, 1.0F);
        }
    }
}

TEST(spline_frames, density_does_not_matter) {
    for (const Seed seed : seeds(100)) {
        Random random(seed);
        const RZ_Spline spline = through(bent_walk(random));
        const Vec3 start = random_axes(random, false)[0];
        const Frames coarse = frames(spline, 5, 0, 5, start);
        const Frames dense = frames(spline, 4001, 0, 4001, start);
        for (std::size_t i = 0; i < 5; ++i) {
            ASSERT_LT(length(along(to_vec(coarse.directions[i]), -1.0, to_vec(dense.directions[1000 * i]))),
                      2e-4)
                << replay(seed);
        }
    }
}

TEST(spline_frames, run_begins_with_the_direction_it_is_given) {
    for (const Seed seed : seeds(50)) {
        Random random(seed);
        const RZ_Spline spline = through(bent_walk(random));
        const Frames whole = frames(spline, 201, 0, 201, random_axes(random, false)[0]);
        const int first = random.between(1, 150);
        const Frames run =
            frames(spline, 201, first, 50, to_vec(whole.directions[static_cast<std::size_t>(first)]));
        for (std::size_t i = 0; i < 50; ++i) {
            const RZ_3Coord& other = whole.directions[static_cast<std::size_t>(first) + i];
            ASSERT_LT(length(along(to_vec(run.directions[i]), -1.0, to_vec(other))), 2e-4) << replay(seed);
        }
    }
}

TEST(spline_frames, straight_line_carries_nothing_away) {
    const RZ_Spline spline = through({{5, 5, 5}, {35, 45, 125}});
    const Frames f = frames(spline, 100, 0, 100, {0.8, -0.6, 0.0});
    for (const RZ_3Coord& d : f.directions) {
        EXPECT_EQ(d.x, 0.8F);
        EXPECT_EQ(d.y, -0.6F);
        EXPECT_NEAR(d.z, 0.0F, 1e-12F);
    }
}

TEST(spline_frames, direction_without_direction_becomes_one_across) {
    Random random(3);
    const RZ_Spline spline = through(bent_walk(random));
    const Frames f = frames(spline, 20, 0, 20, {0, 0, 0});
    for (std::size_t i = 0; i < 20; ++i) {
        EXPECT_NEAR(length(to_vec(f.directions[i])), 1.0, 1e-6);
        EXPECT_NEAR(dot(to_vec(f.directions[i]), to_vec(f.tangents[i])), 0.0, 1e-6);
    }
}

TEST(spline_frames, threads_share_a_spline) {
    Random random(9);
    RZ_Spline spline = through(bent_walk(random));
    const Frames expected = frames(spline, 500, 0, 500, {0, 0, 1});
    const float expected_length = spline.GetLength(0);
    std::vector<int> differences(4, 0);
    std::vector<std::thread> threads;
    for (int& difference : differences) {
        threads.emplace_back([&] {
            for (int round = 0; round < 20; ++round) {
                const Frames f = frames(spline, 500, 0, 500, {0, 0, 1});
                difference += spline.GetLength(0) != expected_length;
                for (std::size_t i = 0; i < 500; ++i) {
                    difference += std::memcmp(&f.points[i], &expected.points[i], sizeof(RZ_3Coord)) != 0;
                    difference +=
                        std::memcmp(&f.directions[i], &expected.directions[i], sizeof(RZ_3Coord)) != 0;
                }
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (const int difference : differences) EXPECT_EQ(difference, 0);
}
