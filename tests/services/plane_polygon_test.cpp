#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <set>
#include <vector>

#include "lower/definitions/coord.h"
#include "rz_obl/rz_oblique/rz_oblique.h"
#include "tests/lower/geometry_cases.h"
#include "tests/reference/services/plane_polygon.h"

// The polygon that a plane cuts from a box: against its plain form, against an independent cut in double
// precision, and its edges by hand.

namespace {

using namespace rz_test;

constexpr int kRoom = 20;

struct Cut {
    float points[kRoom][3];
    RZ_BoxParams result{-1.0F, -2.0F, -3.0F};
    int count = 0;

    Cut() {
        for (auto& point : points) std::fill_n(point, 3, -7777.0F);
    }
    Vec3 point(int i) const { return wide(points[i]); }
};

bool same_box(const RZ_BoxParams& a, const RZ_BoxParams& b) {
    double from[2][4][4];
    a.GetPhysicalFromNorm(from[0]);
    b.GetPhysicalFromNorm(from[1]);
    return std::memcmp(from[0], from[1], sizeof from[0]) == 0;
}

const RZ_BoxParams kUntouched(-1.0F, -2.0F, -3.0F);

Cut cut(const RZ_BoxParams& box, const RZ_PlaneParams& plane, bool ordered) {
    Cut c;
    c.count = RZ_GetPlaneBoxPolygon(box, plane, c.points, c.result, ordered ? 1 : 0);
    return c;
}

/// Through a point with any normal; units chosen by the plane.
RZ_PlaneParams plane_at(double nx, double ny, double nz, double x, double y, double z) {
    return {RZ_3Coord(static_cast<float>(nx), static_cast<float>(ny), static_cast<float>(nz)),
            RZ_3Coord(static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)),
            RZ_3Coord(0.0F, 0.0F, 0.0F)};
}

/// Level at height z, units along x and y.
RZ_PlaneParams level_plane(float z) {
    return {RZ_3Coord(0.0F, 0.0F, 1.0F), RZ_3Coord(0.0F, 0.0F, z), RZ_3Coord(1.0F, 0.0F, 0.0F)};
}

std::vector<Vec3> points_of(const Cut& c, int count) {
    std::vector<Vec3> points;
    for (int i = 0; i < count; ++i) points.push_back(c.point(i));
    return points;
}

struct PolygonCase {
    explicit PolygonCase(Seed seed) {
        Random random(seed);
        const BoxCase c = random_box(random, random.pick({0.0, 10.0, 200.0}), 12);
        box = c.params();
        const auto part = [&random] { return static_cast<double>(random.real(-0.2F, 1.2F)); };
        const Vec3 through = c.physical({part() * c.dims[0], part() * c.dims[1], part() * c.dims[2]});
        const Vec3 normal = random_axes(random, false)[0];
        plane = plane_at(normal[0], normal[1], normal[2], through[0], through[1], through[2]);
        ordered = random.once_in(2);
        if (random.once_in(3)) {
            // Whole numbers: vertices that lie on the plane exactly.
            const auto side = [&random] { return static_cast<float>(random.between(1, 3)); };
            box = RZ_BoxParams(side(), side(), side());
            const auto part_of_normal = [&random] { return static_cast<double>(random.between(-1, 1)); };
            plane = plane_at(part_of_normal(), part_of_normal(), part_of_normal(), random.between(0, 3),
                             random.between(0, 3), random.between(0, 3));
            if (random.once_in(3)) {
                const auto z = static_cast<float>(random.between(-1, 3));
                const RZ_3Coord unit(random.pick({-1.0F, 0.0F, 1.0F}), random.pick({-1.0F, 1.0F}), 0.0F);
                plane = RZ_PlaneParams(RZ_3Coord(0.0F, 0.0F, random.pick({-1.0F, 1.0F})),
                                       RZ_3Coord(0.0F, 0.0F, z), unit);
                if (random.once_in(2)) plane = level_plane(z);
                if (random.once_in(2)) {
                    plane = RZ_PlaneParams(RZ_3Coord(0.0F, 0.0F, 1.0F), RZ_3Coord(0.0F, 0.0F, z),
                                           RZ_3Coord(-1.0F, 0.0F, 0.0F));
                }
            }
        } else if (random.once_in(30)) {
            box = RZ_BoxParams(1e-25F, 1e-25F, 1e-25F);  // products of distances vanish
            plane = level_plane(5e-26F);
        }
    }
    RZ_BoxParams box;
    RZ_PlaneParams plane;
    bool ordered = false;
};

TEST(PlanePolygonRandom, equals_its_plain_form) {
    Branches branches;
    std::set<int> counts;
    for (const Seed seed : seeds(20000)) {
        const PolygonCase c(seed);
        Cut want;
        want.count = rz_reference::get_plane_box_polygon(c.box, c.plane, want.points, want.result,
                                                         c.ordered ? -3 : 0, branches);
        Cut got;
        got.count = RZ_GetPlaneBoxPolygon(c.box, c.plane, got.points, got.result, c.ordered ? -3 : 0);
        ASSERT_EQ(got.count, want.count) << replay(seed);
        ASSERT_EQ(std::memcmp(got.points, want.points, sizeof got.points), 0) << replay(seed);
        ASSERT_TRUE(same_box(got.result, want.result)) << replay(seed);
        counts.insert(got.count);
    }
    EXPECT_EQ(
        branches.never_met({"vertex on the plane", "edge crosses", "crossing too small to see", "missed",
                            "one point", "pivot exchanged", "level on the right", "level on the left"}),
        "");
    if (is_replay()) return;
    EXPECT_EQ(counts, (std::set<int>{0, 2, 3, 4, 5, 6}));
}

TEST(PlanePolygonRandom, points_are_the_exact_cut_and_their_order_walks_its_rim) {
    int polygons = 0;
    for (const Seed seed : seeds(4000)) {
        Random random(seed);
        const BoxCase c = random_box(random, 20.0, 12);
        const auto part = [&random] { return static_cast<double>(random.real(0.1F, 0.9F)); };
        const Vec3 through = c.physical({part() * c.dims[0], part() * c.dims[1], part() * c.dims[2]});
        const Vec3 normal = random_axes(random, false)[0];
        const RZ_PlaneParams plane =
            plane_at(normal[0], normal[1], normal[2], through[0], through[1], through[2]);

        // The cut from nothing but corners: along each of the 12 edges, in double precision.
        std::vector<Vec3> want;
        double nearest = 1e9;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            for (int corner = 0; corner < 4; ++corner) {
                Vec3 at = {0, 0, 0};
                at[(axis + 1) % 3] = (corner & 1) * c.dims[(axis + 1) % 3];
                at[(axis + 2) % 3] = (corner >> 1) * c.dims[(axis + 2) % 3];
                const Vec3 a = c.physical(at);
                const double da = dot(along(a, -1.0, through), normal);
                const double rise = dot(c.side(axis), normal);
                nearest = std::min({nearest, std::abs(da), std::abs(da + rise)});
                const double t = -da / rise;
                if (t > 0.0 && t < 1.0) want.push_back(along(a, t, c.side(axis)));
            }
        }
        if (nearest < 1e-3) continue;  // too close to a corner to tell
        ++polygons;
        const Cut plain = cut(c.params(), plane, false);
        const Cut walked = cut(c.params(), plane, true);
        ASSERT_EQ(plain.count, static_cast<int>(want.size())) << replay(seed);
        ASSERT_EQ(walked.count, plain.count) << replay(seed);

        for (const Vec3& w : want) {
            double best = 1e9;
            for (int i = 0; i < plain.count; ++i) {
                best = std::min(best, length(along(plain.point(i), -1.0, w)));
            }
            // A crossing moves by the rounding of the distances over the sine of the angle at the edge.
            EXPECT_LT(best, 5e-3) << replay(seed);
        }
        auto a = points_of(plain, plain.count);
        auto b = points_of(walked, plain.count);
        std::sort(a.begin(), a.end());
        std::sort(b.begin(), b.end());
        EXPECT_EQ(a, b) << "ordering moves points and changes none, " << replay(seed);

        // In the plane's frame: from the lowest point on, always turning the same way, clockwise.
        float u[3];
        float v[3];
        plane.GetUnits(u, v);
        const auto at = [&](int i) {
            const Vec3 p = along(walked.point(i % walked.count), -1.0, through);
            return std::pair<double, double>(dot(p, wide(u)), dot(p, wide(v)));
        };
        for (int i = 0; i < walked.count; ++i) {
            EXPECT_GE(at(i).second, at(0).second - 1e-3) << replay(seed);
            const double x1 = at(i + 1).first - at(i).first;
            const double y1 = at(i + 1).second - at(i).second;
            const double x2 = at(i + 2).first - at(i + 1).first;
            const double y2 = at(i + 2).second - at(i + 1).second;
            EXPECT_LT(x1 * y2 - y1 * x2, 1e-2) << replay(seed);
        }

        // The flat box bounds the polygon in that frame.
        float start[3];
        plain.result.GetStart(start);
        float size[3];
        plain.result.GetSize(size);
        EXPECT_EQ(start[2], 0.0F);
        EXPECT_EQ(size[2], 1.0F);
        double low[2] = {1e9, 1e9};
        double high[2] = {-1e9, -1e9};
        for (int i = 0; i < walked.count; ++i) {
            low[0] = std::min(low[0], at(i).first);
            low[1] = std::min(low[1], at(i).second);
            high[0] = std::max(high[0], at(i).first);
            high[1] = std::max(high[1], at(i).second);
        }
        for (int k = 0; k < 2; ++k) {
            EXPECT_NEAR(static_cast<double>(start[k]), low[k], 1e-3) << replay(seed);
            EXPECT_NEAR(static_cast<double>(size[k]), high[k] - low[k], 1e-3) << replay(seed);
        }
        EXPECT_TRUE(same_box(plain.result, walked.result));
    }
    if (is_replay()) return;
    EXPECT_GT(polygons, 3500);
}

TEST(PlanePolygon, diagonal_through_four_vertices_gives_them_in_vertex_order) {
    // x = y through a cube: vertices 0, 3, 4, 7; edges with an end on the plane add nothing.
    const RZ_BoxParams cube(2.0F, 2.0F, 2.0F);
    const Cut c = cut(cube, plane_at(1, -1, 0, 0, 0, 0), false);
    ASSERT_EQ(c.count, 4);
    EXPECT_EQ(points_of(c, 4), (std::vector<Vec3>{{0, 0, 0}, {2, 2, 0}, {0, 0, 2}, {2, 2, 2}}));
    EXPECT_EQ(c.points[4][0], -7777.0F);
}

TEST(PlanePolygon, diagonal_in_order_walks_the_rectangle) {
    // Units x' = (1, 1, 0) / sqrt 2 and y' = normal x x' = -z. Lowest y' are z = 2: vertices 4 and 7, of
    // which 4 comes first and is the pivot; 0 lies above it, 3 to its right and above, 7 level on the right.
    const RZ_BoxParams cube(2.0F, 2.0F, 2.0F);
    const RZ_PlaneParams plane(RZ_3Coord(1.0F, -1.0F, 0.0F), RZ_3Coord(0.0F, 0.0F, 0.0F),
                               RZ_3Coord(1.0F, 1.0F, 0.0F));
    float u[3];
    float v[3];
    plane.GetUnits(u, v);
    const bool down = v[2] < 0.0F;
    const Cut c = cut(cube, plane, true);
    ASSERT_EQ(c.count, 4);
    const std::vector<Vec3> want = down ? std::vector<Vec3>{{0, 0, 2}, {0, 0, 0}, {2, 2, 0}, {2, 2, 2}}
                                        : std::vector<Vec3>{{0, 0, 0}, {0, 0, 2}, {2, 2, 2}, {2, 2, 0}};
    EXPECT_EQ(points_of(c, 4), want);
}

TEST(PlanePolygon, face_gives_its_four_vertices) {
    const RZ_BoxParams box(4.0F, 3.0F, 2.0F);
    for (const float z : {0.0F, 2.0F}) {
        const double d = static_cast<double>(z);
        const Cut c = cut(box, level_plane(z), false);
        ASSERT_EQ(c.count, 4);
        EXPECT_EQ(points_of(c, 4), (std::vector<Vec3>{{0, 0, d}, {4, 0, d}, {0, 3, d}, {4, 3, d}}));
        float size[3];
        c.result.GetSize(size);
        EXPECT_EQ(size[0], 4.0F);
        EXPECT_EQ(size[1], 3.0F);
        EXPECT_EQ(size[2], 1.0F);
        // Pivot (0, 0): (0, 3) straight above, (4, 3) to the right, (4, 0) level with it.
        const Cut walked = cut(box, level_plane(z), true);
        EXPECT_EQ(points_of(walked, 4), (std::vector<Vec3>{{0, 0, d}, {0, 3, d}, {4, 3, d}, {4, 0, d}}));
    }
}

TEST(PlanePolygon, level_cut_gives_crossings_in_the_order_of_the_edges) {
    const double start[3] = {10, 20, 30};
    const double sides[3][3] = {{4, 0, 0}, {0, 3, 0}, {0, 0, 2}};
    const RZ_BoxParams box(start, sides[0], sides[1], sides[2]);
    const Cut c = cut(box, level_plane(30.5F), false);
    ASSERT_EQ(c.count, 4);
    EXPECT_EQ(points_of(c, 4),
              (std::vector<Vec3>{{10, 20, 30.5}, {14, 20, 30.5}, {10, 23, 30.5}, {14, 23, 30.5}}));
    float corner[3];
    c.result.GetStart(corner);
    EXPECT_EQ(corner[0], 10.0F);
    EXPECT_EQ(corner[1], 20.0F);
    EXPECT_EQ(corner[2], 0.0F);
}

TEST(PlanePolygon, touched_vertex_counts_for_nothing_but_stays) {
    const RZ_BoxParams cube(2.0F, 2.0F, 2.0F);
    for (const bool ordered : {false, true}) {
        const Cut c = cut(cube, plane_at(1, 1, 1, 0, 0, 0), ordered);
        EXPECT_EQ(c.count, 0);
        EXPECT_EQ(c.point(0), (Vec3{0, 0, 0}));
        EXPECT_EQ(c.points[1][0], -7777.0F);
        EXPECT_TRUE(same_box(c.result, kUntouched));
    }
}

TEST(PlanePolygon, missed_box_touches_nothing) {
    const Cut c = cut(RZ_BoxParams(2.0F, 2.0F, 2.0F), level_plane(2.5F), true);
    EXPECT_EQ(c.count, 0);
    EXPECT_EQ(c.points[0][0], -7777.0F);
    EXPECT_TRUE(same_box(c.result, kUntouched));
}

TEST(PlanePolygon, touched_edge_gives_its_two_vertices) {
    // x + y = 0 touches the edge at the origin along z.
    const RZ_BoxParams box(2.0F, 3.0F, 5.0F);
    const Cut c = cut(box, plane_at(1, 1, 0, 0, 0, 0), false);
    ASSERT_EQ(c.count, 2);
    EXPECT_EQ(points_of(c, 2), (std::vector<Vec3>{{0, 0, 0}, {0, 0, 5}}));
    EXPECT_FALSE(same_box(c.result, kUntouched));
}

TEST(PlanePolygon, two_points_in_order_begin_with_the_lower) {
    // The second unit runs along -z or z; either way the lower one comes first.
    const RZ_BoxParams box(2.0F, 3.0F, 5.0F);
    for (const float sign : {1.0F, -1.0F}) {
        const RZ_PlaneParams plane(RZ_3Coord(sign, sign, 0.0F), RZ_3Coord(0.0F, 0.0F, 0.0F),
                                   RZ_3Coord(1.0F, -1.0F, 0.0F));
        float u[3];
        float v[3];
        plane.GetUnits(u, v);
        const Cut c = cut(box, plane, true);
        ASSERT_EQ(c.count, 2);
        EXPECT_EQ(c.points[0][2], v[2] > 0.0F ? 0.0F : 5.0F);
        EXPECT_EQ(c.points[1][2], v[2] > 0.0F ? 5.0F : 0.0F);
    }
}

TEST(PlanePolygon, points_level_with_the_pivot_sort_by_their_side) {
    // First unit along -x: the pivot is the earliest of the lowest, (0, 0), and (4, 0) lies level on its
    // left, so it comes first of the others. Second unit: z x -x = -y, so the lowest are those with y = 3.
    const RZ_BoxParams box(4.0F, 3.0F, 2.0F);
    const RZ_PlaneParams plane(RZ_3Coord(0.0F, 0.0F, 1.0F), RZ_3Coord(0.0F, 0.0F, 0.0F),
                               RZ_3Coord(-1.0F, 0.0F, 0.0F));
    const Cut c = cut(box, plane, true);
    ASSERT_EQ(c.count, 4);
    EXPECT_EQ(points_of(c, 4), (std::vector<Vec3>{{0, 3, 0}, {4, 3, 0}, {4, 0, 0}, {0, 0, 0}}));
}

TEST(PlanePolygon, crossings_whose_product_vanishes_are_not_seen) {
    // Distances of 1e-25 and -1e-25: their product is -0 in single precision, and 0 > -0 is false.
    const double start[3] = {0, 0, -1e-25};
    const double sides[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 2e-25}};
    const Cut c = cut(RZ_BoxParams(start, sides[0], sides[1], sides[2]), level_plane(0.0F), false);
    EXPECT_EQ(c.count, 0);
    EXPECT_TRUE(same_box(c.result, kUntouched));
}

TEST(PlanePolygon, crossing_is_weighted_from_the_edges_ends) {
    // An edge from z = 0 to z = 3 cut at 1: t = -1 / (-1 - 2), s = 1 - t, point = t b + s a, all single.
    const float t = -1.0F / (-1.0F - 2.0F);
    const float s = 1.0F - t;
    const double start[3] = {0.1, 0, 0};
    const double sides[3][3] = {{1, 0, 0}, {0, 1, 0}, {0.7, 0, 3}};
    const Cut c = cut(RZ_BoxParams(start, sides[0], sides[1], sides[2]), level_plane(1.0F), false);
    ASSERT_EQ(c.count, 4);
    const auto a = static_cast<float>(0.1);
    const auto b = static_cast<float>(0.1 + 0.7);
    EXPECT_EQ(c.points[0][0], t * b + s * a);
    EXPECT_EQ(c.points[0][2], t * 3.0F + s * 0.0F);
}

TEST(PlanePolygon, six_points_of_a_cube) {
    const RZ_BoxParams cube(2.0F, 2.0F, 2.0F);
    const Cut c = cut(cube, plane_at(1, 1, 1, 1, 1, 1), true);
    ASSERT_EQ(c.count, 6);
    // The rim of a regular hexagon: neighbours are sqrt 2 apart.
    for (int i = 0; i < 6; ++i) {
        EXPECT_NEAR(length(along(c.point(i), -1.0, c.point((i + 1) % 6))), std::sqrt(2.0), 1e-5) << i;
    }
}

}  // namespace
