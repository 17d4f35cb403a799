#include "lower/geometry/spline.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/lower/geometry_cases.h"
#include "tests/lower/spline_reference.h"

using namespace rz_test;

namespace {

constexpr double kPi = 3.14159265358979323846;

std::vector<RZ_3Coord> coords(const std::vector<Vec3>& points) {
    std::vector<RZ_3Coord> r;
    for (const Vec3& p : points) {
        r.emplace_back(static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2]));
    }
    return r;
}

RZ_Spline spline_through(const std::vector<Vec3>& points, EDGE_TYPE edge = EDGE_OPEN) {
    const std::vector<RZ_3Coord> given = coords(points);
    return RZ_Spline(given.data(), static_cast<int>(given.size()), RZ_3Coord(0.0F, 0.0F, 1.0F), SPLINE_CURVE,
                     edge);
}

Vec3 to_vec(const RZ_3Coord& c) {
    return {static_cast<double>(c.x), static_cast<double>(c.y), static_cast<double>(c.z)};
}

// Rounded to single precision, as the spline gets them.
std::vector<Vec3> rounded(const std::vector<Vec3>& points) {
    std::vector<Vec3> r;
    for (const RZ_3Coord& c : coords(points)) r.push_back(to_vec(c));
    return r;
}

std::vector<Vec3> helix(int count, double radius, double pitch, double turns) {
    std::vector<Vec3> r;
    for (int i = 0; i < count; ++i) {
        const double a = 2.0 * kPi * turns * i / (count - 1);
        r.push_back({radius * std::cos(a) + 300.0, radius * std::sin(a) - 200.0, pitch * a / (2.0 * kPi)});
    }
    return r;
}

std::vector<Vec3> s_bend(int count) {
    std::vector<Vec3> r;
    for (int i = 0; i < count; ++i) {
        const double t = 4.0 * kPi * i / (count - 1);
        r.push_back({30.0 * std::sin(t), 12.0 * t, 10.0 * std::cos(0.5 * t)});
    }
    return r;
}

std::vector<Vec3> walk(Random& random, int count) {
    std::vector<Vec3> r = {{0.0, 0.0, 0.0}};
    for (int i = 1; i < count; ++i) {
        const double reach = static_cast<double>(random.real(0.2F, 40.0F));
        r.push_back(along(r.back(), reach, random_axes(random, false)[0]));
    }
    return r;
}

std::vector<Vec3> circle(int count, double radius) {
    std::vector<Vec3> r;
    for (int i = 0; i < count; ++i) {
        const double a = 2.0 * kPi * i / count;
        r.push_back({radius * std::cos(a), radius * std::sin(a), 5.0});
    }
    return r;
}

struct Sampled {
    std::vector<RZ_3Coord> points, tangents, directions;
};

Sampled sample(const RZ_Spline& spline, int count, int first, int length,
               const RZ_3Coord* direction = nullptr) {
    const auto n = static_cast<std::size_t>(first == 0 && length == 0 ? count : length);
    Sampled s{std::vector<RZ_3Coord>(n), std::vector<RZ_3Coord>(n), std::vector<RZ_3Coord>(n)};
    if (direction != nullptr) s.directions[0] = *direction;
    spline.InterpolateEDCurveWithTangents(s.points.data(), s.tangents.data(), count, 10, 5,
                                          direction != nullptr ? s.directions.data() : nullptr, first,
                                          length);
    return s;
}

bool same_bits(const RZ_3Coord& a, const RZ_3Coord& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

double distance(const Vec3& a, const Vec3& b) {
    return length(along(a, -1.0, b));
}

struct Named {
    std::string name;
    std::vector<Vec3> points;
    bool closed;
};

std::vector<Named> shapes() {
    std::vector<Named> r = {
        {"helix of 200", helix(200, 25.0, 30.0, 5.0), false},
        {"helix of 12", helix(12, 25.0, 30.0, 1.0), false},
        {"S bend of 40", s_bend(40), false},
        {"two points", {{0, 0, 0}, {30, -40, 120}}, false},
        {"three points", {{0, 0, 0}, {30, 0, 0}, {30, 1, 0}}, false},
        {"500 points", helix(500, 60.0, 3.0, 7.0), false},
        {"closed circle", circle(24, 40.0), true},
        {"closed triangle", {{0, 0, 0}, {90, 0, 10}, {20, 50, 0}}, true},
        {"right angles", {{0, 0, 0}, {50, 0, 0}, {50, 50, 0}, {50, 50, 50}, {0, 50, 50}}, false},
        {"uneven steps",
         {{0, 0, 0}, {0.01, 0, 0}, {100, 3, 0}, {100, 3.02, 0}, {0, 80, 40}, {0.5, 80, 40}},
         false},
    };
    for (const Seed seed : seeds(20)) {
        Random random(seed);
        r.push_back({"walk " + replay(seed), walk(random, random.between(3, 60)), random.once_in(3)});
    }
    return r;
}

}  // namespace

TEST(spline, stands_at_equal_arc_lengths) {
    for (const Named& shape : shapes()) {
        const FineCurve fine(rounded(shape.points), shape.closed, 1000);
        RZ_Spline spline = spline_through(shape.points, shape.closed ? EDGE_CLOSED : EDGE_OPEN);
        const double whole = fine.length();
        const double tolerance = std::max(1e-5 * whole, 1e-3);
        ASSERT_NEAR(static_cast<double>(spline.GetLength(0)), whole, tolerance) << shape.name;
        for (const int count : {2, 3, 300, 1025}) {
            std::vector<RZ_3Coord> points(static_cast<std::size_t>(count));
            spline.InterpolateEDCurve(points.data(), count, 10, nullptr, 0, 0);
            for (int k = 0; k < count; ++k) {
                const Vec3 expected = fine.at(k * whole / (count - 1));
                ASSERT_LT(distance(to_vec(points[static_cast<std::size_t>(k)]), expected), tolerance)
                    << shape.name << ", point " << k << " of " << count;
            }
        }
    }
}

TEST(spline, passes_through_its_points) {
    for (const Named& shape : shapes()) {
        const std::vector<Vec3> given = rounded(shape.points);
        // Arc length of each given point from the fine polygon, then asked of the spline by a run of one.
        const int per_segment = 1000;
        const FineCurve fine(given, shape.closed, per_segment);
        const RZ_Spline spline = spline_through(shape.points, shape.closed ? EDGE_CLOSED : EDGE_OPEN);
        const int count = 1 << 30;
        for (std::size_t i = 0; i < given.size(); ++i) {
            const double arc = fine.arc(i * static_cast<std::size_t>(per_segment));
            RZ_3Coord at;
            spline.InterpolateEDCurve(&at, count, 10, nullptr,
                                      static_cast<int>(arc / fine.length() * (count - 1)), 1);
            ASSERT_LT(distance(to_vec(at), given[i]), std::max(1e-5 * fine.length(), 1e-3))
                << shape.name << ' ' << i;
        }
    }
}

TEST(spline, straight_line) {
    RZ_Spline spline = spline_through({{10, 20, 30}, {13, 24, 42}});
    EXPECT_EQ(spline.GetLength(0), 13.0F);
    const Sampled s = sample(spline, 14, 0, 0);
    for (int k = 0; k < 14; ++k) {
        const auto i = static_cast<std::size_t>(k);
        EXPECT_NEAR(s.points[i].x, 10.0F + 3.0F * static_cast<float>(k) / 13.0F, 1e-5F);
        EXPECT_NEAR(s.points[i].z, 30.0F + 12.0F * static_cast<float>(k) / 13.0F, 1e-5F);
        EXPECT_FLOAT_EQ(s.tangents[i].x, 3.0F / 13.0F);
        EXPECT_FLOAT_EQ(s.tangents[i].y, 4.0F / 13.0F);
        EXPECT_EQ(s.points[i].w, 1.0F);
    }
}

TEST(spline, long_helix_is_the_helix) {
    // Against the analytic curve: length, positions at equal arc length, tangents.
    const double radius = 25.0;
    const double pitch = 30.0;
    RZ_Spline spline = spline_through(helix(400, radius, pitch, 5.0));
    const double per_turn = std::hypot(2.0 * kPi * radius, pitch);
    EXPECT_NEAR(static_cast<double>(spline.GetLength(0)), 5.0 * per_turn, 1e-4 * 5.0 * per_turn);
    const int count = 1025;
    const Sampled s = sample(spline, count, 0, 0);
    for (int k = 0; k < count; ++k) {
        const auto i = static_cast<std::size_t>(k);
        const double a = 2.0 * kPi * 5.0 * k / (count - 1);
        const Vec3 p = {radius * std::cos(a) + 300.0, radius * std::sin(a) - 200.0, pitch * a / (2.0 * kPi)};
        const Vec3 t = {-2.0 * kPi * radius * std::sin(a) / per_turn,
                        2.0 * kPi * radius * std::cos(a) / per_turn, pitch / per_turn};
        ASSERT_LT(distance(to_vec(s.points[i]), p), 2e-2) << k;
        ASSERT_LT(distance(to_vec(s.tangents[i]), t), 1e-2) << k;
    }
}

TEST(spline, tangents_follow_the_curve) {
    for (const Named& shape : shapes()) {
        const FineCurve fine(rounded(shape.points), shape.closed, 1000);
        const RZ_Spline spline = spline_through(shape.points, shape.closed ? EDGE_CLOSED : EDGE_OPEN);
        const int count = 401;
        const Sampled s = sample(spline, count, 0, 0);
        const double whole = fine.length();
        const double reach = 1e-4 * whole;
        for (int k = 1; k < count - 1; ++k) {
            const double arc = k * whole / (count - 1);
            Vec3 chord = along(fine.at(arc + reach), -1.0, fine.at(arc - reach));
            const double size = length(chord);
            const Vec3 tangent = to_vec(s.tangents[static_cast<std::size_t>(k)]);
            ASSERT_NEAR(length(tangent), 1.0, 1e-6) << shape.name;
            if (size < 1.998 * reach) continue;  // a bend sharper than the chord can measure
            ASSERT_GT(dot(tangent, chord) / size, 0.998) << shape.name << ", point " << k;
        }
    }
}

TEST(spline, runs_are_parts_of_the_whole) {
    const RZ_Spline spline = spline_through(s_bend(40));
    const int count = 257;
    const Sampled whole = sample(spline, count, 0, 0);
    for (const int first : {0, 1, 17, 256}) {
        for (const int length : {1, 2, 40, 300}) {
            const Sampled run = sample(spline, count, first, length);
            std::vector<RZ_3Coord> points(static_cast<std::size_t>(length));
            spline.InterpolateEDCurve(points.data(), count, 10, nullptr, first, length);
            for (int k = 0; k < length; ++k) {
                const auto from = static_cast<std::size_t>(std::min(first + k, count - 1));
                const auto to = static_cast<std::size_t>(k);
                ASSERT_TRUE(same_bits(run.points[to], whole.points[from])) << first << ' ' << k;
                ASSERT_TRUE(same_bits(run.tangents[to], whole.tangents[from])) << first << ' ' << k;
                ASSERT_TRUE(same_bits(points[to], whole.points[from])) << first << ' ' << k;
            }
        }
    }
}

TEST(spline, run_beyond_the_end_is_the_end_point) {
    const std::vector<Vec3> given = rounded(s_bend(30));
    const RZ_Spline spline = spline_through(given);
    const RZ_3Coord across(1.0F, 0.0F, 0.0F);
    for (const int first : {100, 101, 1000000, std::numeric_limits<int>::max()}) {
        const Sampled run = sample(spline, 101, first, 3, &across);
        for (const RZ_3Coord& p : run.points) EXPECT_LT(distance(to_vec(p), given.back()), 1e-5);
        for (const RZ_3Coord& d : run.directions) EXPECT_TRUE(same_bits(d, across));
    }
    const Sampled before = sample(spline, 101, -4, 2);
    EXPECT_LT(distance(to_vec(before.points[0]), given.front()), 1e-5);
}

TEST(spline, ends_are_the_given_ends) {
    const std::vector<Vec3> given = rounded(s_bend(30));
    const Sampled s = sample(spline_through(given), 64, 0, 0);
    EXPECT_LT(distance(to_vec(s.points.front()), given.front()), 1e-5);
    EXPECT_LT(distance(to_vec(s.points.back()), given.back()), 1e-5);
}

TEST(spline, nothing_is_stored_outside_the_run) {
    const RZ_Spline spline = spline_through(s_bend(30));
    std::vector<RZ_3Coord> points(8, RZ_3Coord(7.0F, 7.0F, 7.0F));
    spline.InterpolateEDCurve(points.data() + 2, 100, 10, nullptr, 5, 3);
    for (const std::size_t i : {0U, 1U, 5U, 6U, 7U}) EXPECT_EQ(points[i].x, 7.0F);
    spline.InterpolateEDCurve(points.data(), 0, 10, nullptr, 0, 0);
    spline.InterpolateEDCurve(points.data(), -3, 10, nullptr, 0, 5);
    spline.InterpolateEDCurve(points.data(), 10, 10, nullptr, 4, 0);
    spline.InterpolateEDCurve(points.data(), 10, 10, nullptr, 4, -2);
    EXPECT_EQ(points[0].x, 7.0F);
    spline.InterpolateEDCurve(points.data(), 1, 10, nullptr, 0, 0);
    EXPECT_EQ(points[0].x, 0.0F);  // one point: the start
}

TEST(spline, doubled_points_change_nothing) {
    std::vector<Vec3> doubled;
    const std::vector<Vec3> plain = s_bend(25);
    for (std::size_t i = 0; i < plain.size(); ++i) doubled.insert(doubled.end(), 1 + i % 3, plain[i]);
    doubled.push_back({std::nan(""), 0.0, 0.0});
    const RZ_Spline a = spline_through(plain);
    const RZ_Spline b = spline_through(doubled);
    EXPECT_EQ(b.NumOfPoints(1), static_cast<int>(doubled.size()));
    const Sampled p = sample(a, 200, 0, 0);
    const Sampled q = sample(b, 200, 0, 0);
    for (std::size_t i = 0; i < 200; ++i) {
        EXPECT_TRUE(same_bits(p.points[i], q.points[i]));
        EXPECT_TRUE(same_bits(p.tangents[i], q.tangents[i]));
    }
}

TEST(spline, closed_loop_joins_smoothly) {
    const std::vector<Vec3> points = circle(24, 40.0);
    RZ_Spline closed = spline_through(points, EDGE_CLOSED);
    EXPECT_NEAR(closed.GetLength(0), 2.0F * 40.0F * static_cast<float>(kPi), 0.05F);
    const Sampled s = sample(closed, 97, 0, 0);
    EXPECT_LT(distance(to_vec(s.points.front()), to_vec(s.points.back())), 1e-4);
    EXPECT_LT(distance(to_vec(s.tangents.front()), to_vec(s.tangents.back())), 1e-5);
    for (std::size_t i = 1; i < 97; ++i) {
        EXPECT_NEAR(distance(to_vec(s.points[i]), {0.0, 0.0, 5.0}), 40.0, 0.02);
    }

    // The first point given again at the end is the same loop.
    std::vector<Vec3> again = points;
    again.push_back(points.front());
    const Sampled t = sample(spline_through(again, EDGE_CLOSED), 97, 0, 0);
    for (std::size_t i = 0; i < 97; ++i) EXPECT_TRUE(same_bits(s.points[i], t.points[i]));

    // An open curve that ends where it began keeps equal steps as well.
    RZ_Spline open = spline_through(again, EDGE_OPEN);
    EXPECT_NEAR(open.GetLength(0), 2.0F * 40.0F * static_cast<float>(kPi), 0.2F);
    const RZ_3Coord line = open.GetLineDirection();
    EXPECT_NEAR(line.x, -80.0F, 1.0F);  // to the far side of the circle
}

TEST(spline, curves_without_extent_stay_finite) {
    const RZ_3Coord across(0.0F, 0.0F, 1.0F);
    const std::vector<std::vector<Vec3>> shapes_without_extent = {
        {}, {{3, 4, 5}}, {{3, 4, 5}, {3, 4, 5}, {3, 4, 5}}, {{std::nan(""), 0, 0}}};
    for (const std::vector<Vec3>& points : shapes_without_extent) {
        for (const EDGE_TYPE edge : {EDGE_OPEN, EDGE_CLOSED}) {
            RZ_Spline spline = spline_through(points, edge);
            EXPECT_EQ(spline.GetLength(0), 0.0F);
            EXPECT_EQ(spline.GetLineDirection().x, 0.0F);
            const Sampled s = sample(spline, 5, 0, 0, &across);
            for (std::size_t i = 0; i < 5; ++i) {
                EXPECT_EQ(s.points[i].x, points.size() == 1 && std::isnan(points[0][0]) ? 0.0F
                                         : points.empty()                               ? 0.0F
                                                                                        : 3.0F);
                EXPECT_NEAR(length(to_vec(s.tangents[i])), 1.0, 1e-6);
                EXPECT_TRUE(same_bits(s.directions[i], across));
            }
        }
    }
}

TEST(spline, there_and_back_stays_finite) {
    RZ_Spline spline = spline_through({{0, 0, 0}, {100, 0, 0}, {0, 0, 0}});
    EXPECT_NEAR(spline.GetLength(0), 200.0F, 0.01F);
    const RZ_3Coord across(0.0F, 1.0F, 0.0F);
    const Sampled s = sample(spline, 101, 0, 0, &across);
    for (std::size_t i = 0; i < 101; ++i) {
        const float x = i <= 50 ? 2.0F * static_cast<float>(i) : 200.0F - 2.0F * static_cast<float>(i);
        EXPECT_NEAR(s.points[i].x, x, 0.02F);
        EXPECT_NEAR(std::abs(s.tangents[i].x), 1.0F, 1e-5F);
        EXPECT_NEAR(s.directions[i].y, 1.0F, 1e-5F);
    }
}

TEST(spline, hundred_thousand_points) {
    const std::vector<Vec3> points = helix(100000, 100.0, 2.0, 60.0);
    RZ_Spline spline = spline_through(points);
    EXPECT_EQ(spline.NumOfPoints(1), 100000);
    const double whole = 60.0 * std::hypot(2.0 * kPi * 100.0, 2.0);
    EXPECT_NEAR(static_cast<double>(spline.GetLength(0)), whole, 1e-4 * whole);
}

TEST(spline, line_direction_is_from_first_to_last) {
    const RZ_Spline spline = spline_through({{1, 2, 3}, {50, -60, 9}, {11, 2, -4}});
    const RZ_3Coord line = spline.GetLineDirection();
    EXPECT_FLOAT_EQ(line.x, 10.0F);
    EXPECT_NEAR(line.y, 0.0F, 1e-5F);
    EXPECT_FLOAT_EQ(line.z, -7.0F);
}

TEST(spline, sweep_direction_has_length_one) {
    const std::vector<RZ_3Coord> points = coords({{0, 0, 0}, {0, 0, 50}});
    const RZ_Spline scaled(points.data(), 2, RZ_3Coord(0.0F, 30.0F, 40.0F));
    EXPECT_FLOAT_EQ(scaled.sweepDirection.y, 0.6F);
    EXPECT_FLOAT_EQ(scaled.sweepDirection.z, 0.8F);
    EXPECT_EQ(scaled.sweepDirection.w, 1.0F);
    for (const RZ_3Coord& bad : {RZ_3Coord(0, 0, 0), RZ_3Coord(std::nanf(""), 0, 0)}) {
        const RZ_Spline chosen(points.data(), 2, bad);
        EXPECT_NEAR(length(to_vec(chosen.sweepDirection)), 1.0, 1e-6);
        EXPECT_NEAR(chosen.sweepDirection.z, 0.0F, 1e-6F);  // across the curve
    }
}

TEST(spline, kind_follows_the_type) {
    const RZ_Spline helper(static_cast<SPLINE_TYPE>(1), static_cast<EDGE_TYPE>(0));
    EXPECT_EQ(helper.splineKind, 1);
    EXPECT_EQ(helper.NumOfPoints(1), 0);
    EXPECT_EQ(spline_through(s_bend(5)).splineKind, 0);
    EXPECT_TRUE(std::has_virtual_destructor<RZ_Spline>::value);
    // The first data field, straight behind the table of virtual operations.
    EXPECT_EQ(reinterpret_cast<const char*>(&helper.splineKind) - reinterpret_cast<const char*>(&helper),
              static_cast<std::ptrdiff_t>(sizeof(void*)));
}

TEST(spline, thinned_curve_takes_every_factorth_point_and_the_last) {
    const std::vector<Vec3> points = s_bend(105);
    RZ_Spline spline = spline_through(points);
    spline.sweepDirection = RZ_3Coord(0.0F, 1.0F, 0.0F);
    for (const int factor : {10, 8, 104, 200, 1, 0}) {
        RZ_Spline thin(static_cast<SPLINE_TYPE>(1), static_cast<EDGE_TYPE>(0));
        spline.ThinSpline(thin, factor);
        std::vector<Vec3> expected;
        const int step = std::max(factor, 1);
        for (int i = 0; i < 105; i += step) expected.push_back(points[static_cast<std::size_t>(i)]);
        if (104 % step != 0) expected.push_back(points.back());
        EXPECT_EQ(thin.splineKind, 1);
        EXPECT_EQ(thin.sweepDirection.y, 1.0F);
        EXPECT_EQ(thin.NumOfPoints(1), static_cast<int>(expected.size())) << factor;
        const Sampled a = sample(thin, 50, 0, 0);
        const Sampled b = sample(spline_through(expected), 50, 0, 0);
        for (std::size_t i = 0; i < 50; ++i) ASSERT_TRUE(same_bits(a.points[i], b.points[i])) << factor;
    }
}

TEST(spline, copies_are_values) {
    RZ_Spline a = spline_through(s_bend(20));
    RZ_Spline b = a;
    RZ_Spline c(SPLINE_HELPER, EDGE_OPEN);
    c = a;
    a = RZ_Spline(SPLINE_CURVE, EDGE_OPEN);
    EXPECT_EQ(a.GetLength(0), 0.0F);
    EXPECT_GT(b.GetLength(0), 100.0F);
    EXPECT_EQ(b.GetLength(0), c.GetLength(0));
    EXPECT_EQ(c.splineKind, 0);
}
