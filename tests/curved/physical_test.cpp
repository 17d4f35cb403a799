#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "tests/curved/phantoms.h"
#include "tests/curved/simple_curve.h"

// Curved images of tubes and marks whose place in space is known.

namespace {

using namespace rz_test;
using Image = Drawing<short>;

constexpr double kTubeRadius = 3.0;

const Helix kHelix{{24.0, 24.0, 6.0}, 14.0, 22.0, 1.6};

CurvedVolume helix_tube() {
    CurvedVolume volume = blank_curved_volume(RZ_Box(64, 64, 64, RZ_BoxParams(48.0F, 48.0F, 48.0F)), 0);
    fill_by_distance(volume, 0.75, [](const Place& p) { return kHelix.distance_to(p) - kTubeRadius; });
    return volume;
}

RZ_Spline helix_spline(const RZ_3Coord& sweep) {
    std::vector<RZ_3Coord> points;
    constexpr int kPoints = 60;
    for (int i = 0; i < kPoints; ++i) {
        const Place p = kHelix.at(kHelix.end_angle() * i / (kPoints - 1));
        points.emplace_back(static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z));
    }
    return RZ_Spline(points.data(), kPoints, sweep);
}

// Where a column crosses the level 500 going outwards from a row: sub-pixel rows above and below it.
struct Edges {
    double low;
    double high;
};

Edges edges_of(const Image& image, int column, int row) {
    const auto at = [&](int r) { return static_cast<double>(image.raster.at(column, r)); };
    int r = row;
    while (at(r) >= 500.0) --r;
    const double low = r + (500.0 - at(r)) / (at(r + 1) - at(r));
    r = row;
    while (at(r) >= 500.0) ++r;
    const double high = r - (500.0 - at(r)) / (at(r - 1) - at(r));
    return {low, high};
}

// The tube's surface along a line from a point of the curve, in millimetres.
double reach(const Place& from, const Place& direction) {
    double inside = 0.0;
    double outside = 3.0 * kTubeRadius;
    while (outside - inside > 1e-5) {
        const double t = 0.5 * (inside + outside);
        const Place p{from.x + t * direction.x, from.y + t * direction.y, from.z + t * direction.z};
        (kHelix.distance_to(p) < kTubeRadius ? inside : outside) = t;
    }
    return inside;
}

// A carried direction stays across the curve: the section of the tube is its disc.
TEST(PhysicalTruth, StraightenedHelixTubeWithLocalFrames) {
    constexpr double kPixel = 0.5;
    // The helix starts along y and up: x is across it.
    CurvedRequest r = whole_curve_request(helix_tube(), helix_spline({1.0F, 0.0F, 0.0F}), kPixel, 40);
    r.localFrames = true;
    r.signIn = 1;
    const Image image(r);
    ASSERT_EQ(image.prepared, 1);
    ASSERT_EQ(image.out.result, 1);
    const int columns = r.imageBox.xDim;
    ASSERT_GT(columns, 250);
    // The box's start, -20 pixels, is cut to -19: the curve's row.
    const int rowOfCurve = 19;
    // The tube's round ends begin one radius from the curve's own.
    for (int c = 8; c < columns - 8; ++c) {
        const Edges e = edges_of(image, c, rowOfCurve);
        EXPECT_NEAR((e.high - e.low) * kPixel, 2.0 * kTubeRadius, 0.5 * kPixel) << "column " << c;
        EXPECT_NEAR((e.high + e.low) * 0.5, rowOfCurve, 0.5) << "column " << c;
    }
}

// A fixed sweep along the helix's axis cuts the tube at one angle all along: edges by the distance itself.
TEST(PhysicalTruth, StraightenedHelixTubeWithFixedSweep) {
    constexpr double kPixel = 0.5;
    // Along -z, as a computed orientation has it.
    CurvedRequest r = whole_curve_request(helix_tube(), helix_spline({0.0F, 0.0F, 1.0F}), kPixel, 200);
    r.transposedIn.reset();
    const Image image(r);
    ASSERT_EQ(image.out.result, 1);
    ASSERT_EQ(image.out.transposedOut, 0);
    ASSERT_EQ(image.out.signOut, -1);
    // From the corner, the physical place of the least cross index, to the curve's first sample.
    const double climb = static_cast<double>(image.out.corner[2] - image.data.points[0].z);
    const int rowOfCurve = image.out.firstRow + static_cast<int>(std::lround(climb / kPixel));
    const double length = static_cast<double>(r.spline.GetLength(0));
    const Place down{0.0, 0.0, -1.0};
    const Place up{0.0, 0.0, 1.0};
    int measured = 0;
    for (int c = 8; c < r.imageBox.xDim - 8; c += 3) {
        const double arc = (c + image.data.viewStart + 0.5) * length / image.data.curveColumns;
        const Place on = kHelix.at(arc / kHelix.speed());
        const Edges e = edges_of(image, c, rowOfCurve);
        EXPECT_NEAR((rowOfCurve - e.low) * kPixel, reach(on, up), 0.5 * kPixel) << "column " << c;
        EXPECT_NEAR((e.high - rowOfCurve) * kPixel, reach(on, down), 0.5 * kPixel) << "column " << c;
        ++measured;
    }
    EXPECT_GT(measured, 80);
}

// A quarter circle of 20 mm in a slab that is flat along z, with dark sheets at known angles: lines in the
// image at their arc lengths, straight from top to bottom.
TEST(PhysicalTruth, MarksOfASlabLieAtTheirArcLengths) {
    constexpr double kRadius = 20.0;
    constexpr double kPixel = 0.25;
    const double marks[] = {0.2, 0.45, 0.8, 1.1, 1.37};
    CurvedVolume volume = blank_curved_volume(RZ_Box(112, 112, 20, RZ_BoxParams(28.0F, 28.0F, 10.0F)), 0);
    fill_volume(volume, [&](int x, int y, int z) {
        const Place p = sample_place(volume.box, x, y, z);
        const double angle = std::atan2(p.y, p.x);
        double nearest = 1e9;
        for (const double mark : marks)
            nearest = std::min(nearest, std::fabs(angle - mark) * std::hypot(p.x, p.y));
        return std::lround(1000.0 - 900.0 * std::max(0.0, 1.0 - nearest / 0.8));
    });
    std::vector<RZ_3Coord> points;
    for (int i = 0; i <= 24; ++i) {
        const double angle = 0.5 * M_PI * i / 24.0;
        points.emplace_back(static_cast<float>(kRadius * std::cos(angle)),
                            static_cast<float>(kRadius * std::sin(angle)), 5.0F);
    }
    for (const bool localFrames : {false, true}) {
        CurvedRequest r = whole_curve_request(
            std::move(volume), RZ_Spline(points.data(), 25, RZ_3Coord(0.0F, 0.0F, -1.0F)), kPixel, 60);
        r.localFrames = localFrames;
        const Image image(r);
        ASSERT_EQ(image.out.result, 1);
        ASSERT_FALSE(image.kept(3, 30));
        const auto length = static_cast<double>(r.spline.GetLength(0));
        EXPECT_NEAR(length, 0.5 * M_PI * kRadius, 0.005);
        const int rows[] = {image.out.firstRow + 3, 30, image.out.lastRow - 3};
        for (const double mark : marks) {
            const double expected =
                mark * kRadius * image.data.curveColumns / length - 0.5 - image.data.viewStart;
            for (const int row : rows) {
                // Centre of the dark line.
                double sum = 0.0;
                double weight = 0.0;
                for (int c = static_cast<int>(expected) - 6; c <= static_cast<int>(expected) + 7; ++c) {
                    const double dark = 1000.0 - static_cast<double>(image.raster.at(c, row));
                    sum += dark * c;
                    weight += dark;
                }
                EXPECT_NEAR(sum / weight, expected, 0.3) << "mark " << mark << ", row " << row;
            }
        }
        volume = std::move(r.volume);
    }
}

// A rod of constant brightness across a slab keeps it in the mean only where the whole slab lies in it.
TEST(PhysicalTruth, SlabsMeasureMillimetres) {
    for (const float thickness : {2.0F, 4.0F}) {
        CurvedRequest r = simple_request();
        // Bright from z = 8 - 2 to 8 + 2 samples: 5 of the slab's 5 or 9.
        fill_volume(r.volume, [](int, int, int z) { return z >= 6 && z <= 10 ? 900 : 0; });
        r.thickness = thickness;
        EXPECT_EQ(Image(r).raster.at(6, 7), thickness < 3.0F ? 900 : 500);
    }
}

}  // namespace
