#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/seeded.h"
#include "tests/toolkit/core_fields.h"
#include "toolkit/core/curved_request.h"
#include "toolkit/core/error.h"
#include "toolkit/core/mark_curve.h"
#include "toolkit/core/phantom.h"

// Curved pictures against what lies where in space.

namespace rz_test {

using namespace rzobl;

namespace {

constexpr int kBackground = -30000;

/// How far an index lies inside the part of the volume where every sample has neighbours; negative outside.
double depth(const Grid& grid, const Vec3& point) {
    const Vec3 index = grid.toIndex(point);
    double least = 1e9;
    for (std::size_t k = 0; k < 3; ++k)
        least = std::min({least, index[k] - 0.125, grid.size[k] - 1.125 - index[k]});
    return least;
}

CurvedRequest random_curve(Random& random, const Grid& grid) {
    CurvedRequest request;
    const int count = random.between(2, 8);
    for (int i = 0; i < count; ++i) {
        const auto inner = [&](std::size_t k) {
            return (grid.size[k] - 1) * static_cast<double>(random.real(0.25F, 0.75F));
        };
        request.points.push_back(grid.toPhysical({inner(0), inner(1), inner(2)}));
    }
    if (random.once_in(2)) request.sweep = random_direction(random);
    request.localFrames = random.once_in(2);
    if (random.once_in(2)) request.spacing = random.real(0.3F, 1.5F);
    if (random.once_in(2)) request.size = {random.between(1, 120), random.between(1, 120)};
    request.background = kBackground;
    return request;
}

/// Every pixel of a picture of a ramp shows the value at its position, and every position well inside the
/// volume is shown. Returns how many pixels were drawn.
int expect_ramp(const CurvedImage& picture, const Grid& grid, const Ramp& ramp, double slack) {
    const Image& image = picture.image;
    int drawn = 0, wrong = 0;
    for (int row = 0; row < image.height() && wrong == 0; ++row)
        for (int column = 0; column < image.width() && wrong == 0; ++column) {
            const auto at = picture.position(column, row);
            const int got = image.stored(column, row);
            if (got != kBackground) {
                ++drawn;
                wrong += !at || std::abs(got - ramp(*at)) > slack || depth(grid, *at) < -0.02;
            } else if (at) {
                // The last whole step on either side is left out.
                const Vec3 step = picture.lines[0].step;
                const double reach = 2 * length(step);
                const double finest = *std::min_element(grid.spacing.begin(), grid.spacing.end());
                wrong += depth(grid, *at) > reach / finest + 0.02;
            }
            EXPECT_EQ(wrong, 0) << column << ',' << row << " shows " << got;
        }
    return drawn;
}

}  // namespace

TEST(CurvedTruth, EveryPixelShowsTheValueAtItsPosition) {
    int served = 0, down = 0, across = 0;
    long drawn = 0;
    for (const Seed seed : seeds(300)) {
        Random random(seed);
        const Grid grid = random_grid(random);
        // Exactly as much memory as there are samples: a sanitizer sees one too far.
        const auto count = static_cast<std::size_t>(grid.size[0]) * static_cast<std::size_t>(grid.size[1]) *
                           static_cast<std::size_t>(grid.size[2]);
        const auto samples = std::make_shared<std::vector<std::int16_t>>(count);
        Volume volume = Volume::borrow(grid, SampleKind::Int16, samples->data(), samples);
        const Ramp ramp = random_ramp(random, grid, 20, 9000);
        paint<std::int16_t>(volume, ramp);
        const CurvedRequest request = random_curve(random, grid);
        try {
            const CurvedImage picture = draw_curved(volume, request);
            drawn += expect_ramp(picture, grid, ramp, 1.5);
            ++served;
            ++(picture.curveRunsDown ? down : across);
        } catch (const Error& error) {
            EXPECT_NE(std::string(error.what()).find("runs along the curve"), std::string::npos)
                << error.what();
        }
        if (HasFailure()) FAIL() << replay(seed);
    }
    if (is_replay()) return;
    EXPECT_GT(served, 200);
    EXPECT_GT(down, 50);
    EXPECT_GT(across, 50);
    EXPECT_GT(drawn, 200000);
}

TEST(CurvedTruth, LongLinesThroughThickSlabsStayInPlace) {
    // Far along x a position has few bits left for its fraction; tens of thousands of steps added up one
    // after the other would end some samples away.
    Grid grid;
    grid.size = {3000, 60, 20};
    Volume volume = Volume::allocate(grid, SampleKind::Int16);
    const Ramp ramp{grid.centre(), {16, 0, 0}, 0};
    paint<std::int16_t>(volume, ramp);
    CurvedRequest request;
    request.points = {{2950, 30, 5}, {2950, 30, 15}};
    request.sweep = Vec3{std::cos(0.5), -std::sin(0.5), 0};
    request.background = kBackground;
    request.spacing = 0.02;
    request.thickness = 20;
    request.size = {1600, 40};
    const CurvedImage picture = draw_curved(volume, request);
    ASSERT_TRUE(picture.curveRunsDown);
    EXPECT_EQ(expect_ramp(picture, grid, ramp, 1.5), 1600 * 40);
}

TEST(CurvedTruth, PixelsOnSamplesAreTheSamples) {
    Grid grid;
    grid.size = {50, 20, 30};
    Volume volume = Volume::allocate(grid, SampleKind::Int16);
    Random random(1);
    for (int k = 0; k < 30; ++k)
        for (int i = 0; i < 1000; ++i)
            static_cast<std::int16_t*>(volume.raster(k))[i] =
                static_cast<std::int16_t>(random.between(-2000, 2000));
    CurvedRequest request;
    // Lines stand at the middles of 30 equal parts: at x = 10 to 39.
    request.points = {{9.5, 7, 15}, {39.5, 7, 15}};
    request.sweep = Vec3{0, 0, 1};
    request.background = kBackground;
    const CurvedImage picture = draw_curved(volume, request);
    ASSERT_EQ(picture.image.width(), 30);
    int compared = 0;
    for (int column = 0; column < 30; ++column)
        for (int row = 0; row < picture.image.height(); ++row) {
            const int z = 15 - (row - picture.curvePixel);
            if (z < 2 || z > 27) continue;
            const int want = static_cast<std::int16_t*>(volume.raster(z))[7 * 50 + 10 + column];
            // Negative halves are rounded up; nothing else is between.
            EXPECT_NEAR(picture.image.stored(column, row), want, want < 0 ? 1 : 0);
            ++compared;
        }
    EXPECT_EQ(compared, 30 * 26);
}

TEST(CurvedTruth, NoPlaceIsTooFarFromTheOrigin) {
    Random random(3);
    Grid grid = random_grid(random);
    Volume near = Volume::allocate(grid, SampleKind::Int16);
    paint<std::int16_t>(near, random_ramp(random, grid, 20, 9000));
    CurvedRequest request = random_curve(random, grid);
    request.sweep.reset();
    request.localFrames = true;
    const CurvedImage want = draw_curved(near, request);

    const Vec3 away{1 << 20, -(1 << 20), 1 << 21};
    grid.origin = added(grid.origin, away);
    Volume far = Volume::allocate(grid, SampleKind::Int16);
    for (int k = 0; k < grid.size[2]; ++k)
        std::memcpy(far.raster(k), near.raster(k),
                    2 * static_cast<std::size_t>(grid.size[0]) * static_cast<std::size_t>(grid.size[1]));
    for (Vec3& point : request.points) point = added(point, away);
    const CurvedImage got = draw_curved(far, request);
    ASSERT_EQ(got.image.samples.size(), want.image.samples.size());
    for (int row = 0; row < want.image.height(); ++row)
        for (int column = 0; column < want.image.width(); ++column)
            ASSERT_NEAR(got.image.stored(column, row), want.image.stored(column, row), 1);
    for (std::size_t k = 0; k < 3; ++k)
        EXPECT_NEAR(got.lines[3].point[k], want.lines[3].point[k] + away[k], 1e-4);
}

TEST(CurvedTruth, MarksAlongAHelixStandAtTheirArcLengths) {
    const double radius = 30, rise = 60, turns = 1.75;
    const double whole = std::hypot(2 * M_PI * turns * radius, rise);
    const auto helix = [&](double t) {
        const double angle = 2 * M_PI * turns * t;
        return Vec3{50 + radius * std::cos(angle), -20 + radius * std::sin(angle), 10 + rise * t};
    };
    Grid grid;
    grid.size = {160, 150, 90};
    grid.spacing = {0.6, 0.6, 1};
    grid.origin = {2, -65, -5};
    Volume volume = Volume::allocate(grid, SampleKind::Int16);
    const std::vector<double> marks{0.05, 0.21, 0.34, 0.5, 0.73, 0.97};
    for (const double mark : marks) {
        const Vec3 at = helix(mark);
        for (int k = 0; k < grid.size[2]; ++k)
            for (int j = 0; j < grid.size[1]; ++j)
                for (int i = 0; i < grid.size[0]; ++i) {
                    const Vec3 p = grid.toPhysical(
                        {static_cast<double>(i), static_cast<double>(j), static_cast<double>(k)});
                    const Vec3 d = added(p, scaled(at, -1));
                    const double bright = 1000 * std::exp(-dot(d, d) / (2 * 1.2 * 1.2));
                    auto& sample = static_cast<std::int16_t*>(volume.raster(k))[j * grid.size[0] + i];
                    sample = std::max(sample, static_cast<std::int16_t>(bright));
                }
    }
    CurvedRequest request;
    for (int i = 0; i <= 80; ++i) request.points.push_back(helix(i / 80.0));
    request.spacing = 0.5;
    for (const bool localFrames : {false, true}) {
        request.localFrames = localFrames;
        request.sweep = localFrames ? std::nullopt : std::optional<Vec3>(Vec3{0, 0, 1});
        const CurvedImage picture = draw_curved(volume, request);
        EXPECT_NEAR(picture.curveLength, whole, 0.05);
        for (const double mark : marks) {
            // The centre of gravity of what is bright about the curve near there.
            double weight = 0, along = 0, across = 0;
            for (std::size_t i = 0; i < picture.lines.size(); ++i) {
                const double arc = picture.lines[i].arcLength;
                if (std::abs(arc - mark * whole) > 6) continue;
                for (int offset = -10; offset <= 10; ++offset) {
                    const int line = picture.firstLine + static_cast<int>(i);
                    const int pixel = picture.curvePixel + offset;
                    const double bright =
                        std::max(0, picture.curveRunsDown ? picture.image.stored(pixel, line)
                                                          : picture.image.stored(line, pixel));
                    weight += bright;
                    along += bright * arc;
                    across += bright * offset;
                }
            }
            ASSERT_GT(weight, 1000);
            EXPECT_NEAR(along / weight, mark * whole, 0.15) << mark;
            EXPECT_NEAR(across / weight, 0, 0.2) << mark;
        }
    }
}

TEST(CurvedTruth, AVesselComesOutStraightAndAsWideAsItIs) {
    const Volume volume = make_phantom(phantom_grid(1), SampleKind::Int16);
    CurvedRequest request;
    for (int i = 0; i <= 60; ++i) request.points.push_back(phantom_helix(0.02 + 0.96 * i / 60.0));
    request.spacing = 0.5;
    request.localFrames = true;
    request.band = 24;
    const CurvedImage picture = draw_curved(volume, request);
    ASSERT_FALSE(picture.curveRunsDown && picture.image.height() < picture.image.width());
    // Half way between brain and vessel is the wall.
    for (std::size_t i = 4; i + 4 < picture.lines.size(); ++i) {
        const int line = picture.firstLine + static_cast<int>(i);
        const auto bright = [&](int pixel) {
            return (picture.curveRunsDown ? picture.image.stored(pixel, line)
                                          : picture.image.stored(line, pixel)) > 0.5 * (320 + 38);
        };
        int first = picture.curvePixel, last = picture.curvePixel;
        ASSERT_TRUE(bright(first)) << line;
        while (bright(first - 1)) --first;
        while (bright(last + 1)) ++last;
        EXPECT_NEAR(0.5 * (last - first + 1), 2 * kPhantomHelixRadius, 1) << line;
        EXPECT_NEAR(0.5 * (first + last), picture.curvePixel, 1) << line;
    }
}

TEST(CurvedTruth, SlabsReachHalfTheirThicknessToEitherSide) {
    Grid grid;
    grid.size = {40, 40, 40};
    CurvedRequest request;
    request.points = {{10, 20, 20}, {30, 20, 20}};
    request.sweep = Vec3{0, 0, 1};
    request.background = -1000;
    for (const int off : {0, 3, -3, 4, -4}) {
        Volume volume = Volume::allocate(grid, SampleKind::Int16);
        static_cast<std::int16_t*>(volume.raster(20))[(20 + off) * 40 + 20] = 1000;
        const auto brightest = [&](RZ_OBL_RenditionType type, double thickness) {
            request.type = type;
            request.thickness = thickness;
            const CurvedImage picture = draw_curved(volume, request);
            int most = -2000;
            for (int row = 0; row < picture.image.height(); ++row)
                for (int column = 0; column < picture.image.width(); ++column)
                    most = std::max(most, picture.image.stored(column, row));
            return most;
        };
        using Type = RZ_OBL_RenditionType;
        const bool inSix = std::abs(off) <= 3;
        EXPECT_EQ(brightest(Type::Maximum, 6) > 400, inSix) << off;
        EXPECT_EQ(brightest(Type::Maximum, 8) > 400, true) << off;
        EXPECT_EQ(brightest(Type::Maximum, 0) > 400, off == 0) << off;
        EXPECT_EQ(brightest(Type::Average, 6) > 60, inSix) << off;
        EXPECT_LT(brightest(Type::Average, 6), 150) << off;
        EXPECT_LE(brightest(Type::Minimum, 6), 0) << off;
    }
}

TEST(CurvedMarks, ThePlaneOfACurveShowsIt) {
    const Volume volume = make_phantom(phantom_grid(2), SampleKind::Int16);
    std::vector<Vec3> points;
    for (int i = 0; i <= 60; ++i) points.push_back({-30.0 + i, 10 - 0.02 * (i - 30) * (i - 30), 15});
    const PlaneRequest request = plane_of_curve(volume, points);
    EXPECT_NEAR(request.normal[2], 1, 1e-6);
    const Image plane = reformat(volume, request);
    const Image marked = mark_curve(plane, {40, 400}, points);
    ASSERT_EQ(marked.kind, SampleKind::Rgb);
    for (const Vec3& point : points) {
        const Vec3 at = plane.grid.toIndex(point);
        EXPECT_NEAR(at[2], 0, 1e-3);
        const int column = static_cast<int>(std::lround(at[0])), row = static_cast<int>(std::lround(at[1]));
        EXPECT_GT(marked.channel(column, row, 0), marked.channel(column, row, 2) + 60);
    }
    // Far from the curve the greys are those of the picture.
    const auto greys = apply_window(plane, {40, 400});
    for (int c = 0; c < 3; ++c)
        EXPECT_EQ(marked.channel(3, 3, c), greys[static_cast<std::size_t>(3 * plane.width() + 3)]);
    const Vec3 first = plane.grid.toIndex(points.front()), last = plane.grid.toIndex(points.back());
    const auto green = [&](const Vec3& at) {
        return marked.channel(static_cast<int>(std::lround(at[0])), static_cast<int>(std::lround(at[1])), 1);
    };
    EXPECT_GT(green(first), green(last) + 100) << "yellow at the start, red at the end";
}

TEST(CurvedMarks, PlanesAreSeenAsRadiologistsExpect) {
    const Volume volume = make_phantom(phantom_grid(8), SampleKind::Int16);
    const auto normal = [&](const Vec3& a, const Vec3& b, const Vec3& c) {
        return plane_of_curve(volume, {a, b, c}).normal;
    };
    EXPECT_NEAR(normal({0, 0, 0}, {9, 5, 0}, {20, 0, 0})[2], 1, 1e-9);
    EXPECT_NEAR(normal({0, 0, 0}, {9, 0, 5}, {20, 0, 0})[1], 1, 1e-9);
    EXPECT_NEAR(normal({0, 0, 0}, {0, 5, 9}, {0, 0, 20})[0], -1, 1e-9);
    EXPECT_NEAR(normal({0, 0, 0}, {0, 0, 9}, {0, 0, 20})[1], 1, 1e-9);
    EXPECT_NEAR(normal({0, 0, 0}, {0, 9, 0}, {0, 20, 0})[0], -1, 1e-9);
    EXPECT_NEAR(normal({0, 0, 0}, {9, 0, 0}, {20, 0, 0})[1], 1, 1e-9);
}

}  // namespace rz_test
