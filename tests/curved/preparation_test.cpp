#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/curved/log_lines.h"
#include "tests/curved/simple_curve.h"

// RZ_FlipCurved, RZ_GetWpixels and RZ_PrepareCurveData by hand.

namespace {

using namespace rz_test;

struct Flip {
    RZ_3Coord sweep;
    RZ_3Coord line;
    int transposed;
    int sign;
    const char* why;
};

TEST(FlipCurved, AxesSignsAndTies) {
    const Flip cases[] = {
        {{0, 0, 1}, {1, 0, 0}, 0, -1, "a sweep along z shall be negative"},
        {{0, 0, -1}, {1, 0, 0}, 0, 1, "and stays when it is"},
        {{1, 0, 0}, {0, 1, 0}, 1, 1, "a sweep along x lies along image x"},
        {{-1, 0, 0}, {0, 1, 0}, 1, -1, "and shall be positive"},
        {{0, -1, 0}, {1, 0, 0}, 0, -1, "so shall one along y"},
        {{0, 1, 0}, {1, 0, 0}, 0, 1, "along y across a line along x"},
        {{0, 1, 0}, {0, 1, 0}, 0, 1, "along y and a line along y"},
        {{0, 1, 0}, {0, 0, 1}, 1, 1, "along y across a line along z lies along image x"},
        {{0, 1, 0}, {1, 0, 1}, 1, 1, "a line's tie goes to the later axis"},
        {{0, 1, 0}, {1, 1, 0}, 0, 1, "its tie of x and y is y"},
        {{0, 1, 0}, {0, 1, -1}, 1, 1, "its tie of y and z is z"},
        {{1, 1, 0}, {0, 0, 1}, 1, 1, "a tie of x and y is y, not x"},
        {{1, 1, 0}, {1, 0, 0}, 0, 1, "so that this one is not transposed"},
        {{-1, 1, 0}, {1, 0, 0}, 0, 1, "the sign is that of y"},
        {{1, -1, 0}, {1, 0, 0}, 0, -1, "the sign is that of y"},
        {{1, 0, 1}, {0, 1, 0}, 0, -1, "a tie of x and z is z"},
        {{0, 1, 1}, {0, 0, 1}, 0, -1, "a tie of y and z is z"},
        {{1, 1, 1}, {0, 0, 1}, 0, -1, "a tie of all is z"},
        {{1, 1, -1}, {0, 0, 1}, 0, 1, "and stays when negative"},
        {{0, 0, 0}, {0, 0, 0}, 0, 1, "nothing is z, and not negated"},
    };
    for (const Flip& c : cases) {
        SCOPED_TRACE(c.why);
        RZ_3Coord sweep = c.sweep;
        sweep.w = 0.25F;
        RZ_3Coord line = c.line;
        int sign = 77;
        EXPECT_EQ(RZ_FlipCurved(sweep, line, &sign), c.transposed);
        EXPECT_EQ(sign, c.sign);
        const auto s = static_cast<float>(c.sign);
        EXPECT_EQ(sweep.x, s * c.sweep.x);
        EXPECT_EQ(sweep.y, s * c.sweep.y);
        EXPECT_EQ(sweep.z, s * c.sweep.z);
        EXPECT_EQ(sweep.w, 0.25F);
        EXPECT_TRUE(line.x == c.line.x && line.y == c.line.y && line.z == c.line.z && line.w == 1.0F);
    }
}

TEST(GetWpixels, NeverMoreThanTheBox) {
    CurvedRequest r = simple_request();
    const float len = r.spline.GetLength(0);
    ASSERT_FLOAT_EQ(len, 12.0F);
    // 12 / 12 x 11 + 1
    EXPECT_EQ(RZ_GetWpixels(r.spline, r.imageBox), 12);
    // 12 / 24 x 23 = 11.5
    EXPECT_EQ(RZ_GetWpixels(r.spline, image_box(24, 7, 0, 0, 24, 3)), 12);
    // 12 / 6 x 11 = 22, cut to the box
    EXPECT_EQ(RZ_GetWpixels(r.spline, image_box(12, 7, 0, 0, 6, 3)), 12);
    EXPECT_EQ(RZ_GetWpixels(r.spline, image_box(0, 7, 0, 0, 6, 3)), 0);
    EXPECT_EQ(RZ_GetWpixels(r.spline, image_box(-5, 7, 0, 0, 6, 3)), 0);
    EXPECT_EQ(RZ_GetWpixels(r.spline, image_box(1, 7, 0, 0, 6, 3)), 1);
    // A transposed one counts rows and measures the height: 12 / 24 x 23
    CurvedRequest t = transposed_request();
    EXPECT_EQ(RZ_GetWpixels(t.spline, image_box(100, 24, 0, 0, 3, 24)), 12);
    // It does not refuse any kind of spline.
    r.spline.splineKind = 1;
    EXPECT_EQ(RZ_GetWpixels(r.spline, r.imageBox), 12);
}

TEST(PrepareCurveData, SamplesStandAtPixelCentres) {
    CurvedRequest r = simple_request();
    RZ_CurveProjectData data;
    ASSERT_EQ(prepare(r, data), 1);
    EXPECT_EQ(data.curveColumns, 12);
    EXPECT_EQ(data.viewStart, 0);
    EXPECT_EQ(data.viewEnd, 12);
    EXPECT_EQ(data.firstSample, 0);
    EXPECT_EQ(data.lastSample, 12);
    EXPECT_EQ(data.sampleCount, 13);
    for (int c = 0; c < 12; ++c) {
        EXPECT_NEAR(data.points[c].x, 2.5F + static_cast<float>(c), 1e-5F);
        EXPECT_NEAR(data.points[c].y, 8.5F, 1e-5F);
        EXPECT_NEAR(data.directions[c].y, 1.0F, 1e-6F);
        // y cross x
        EXPECT_NEAR(data.normals[c].z, -1.0F, 1e-6F);
    }
    // Index 12 lies past the last point: the run ends at the curve's end.
    EXPECT_NEAR(data.points[12].x, 14.0F, 1e-5F);
}

TEST(PrepareCurveData, EvenCountOfSamples) {
    CurvedRequest r = simple_request();
    // 12 / 14 x 13 = 11.14: 12; 12 / 13 x 13 = 12: 13, made even.
    r.imageBox = image_box(13, 16, -7.0, -8.0, 14.0, 16.0);
    RZ_CurveProjectData data;
    ASSERT_EQ(prepare(r, data), 1);
    EXPECT_EQ(data.curveColumns, 12);
    r.imageBox = image_box(13, 16, -6.5, -8.0, 13.0, 16.0);
    ASSERT_EQ(prepare(r, data), 1);
    EXPECT_EQ(data.curveColumns, 12);
    // 12 / 6 x 12 = 24 samples on 12 pixels: the view takes the middle 12.
    r.imageBox = image_box(12, 16, -3.0, -8.0, 6.0, 8.0);
    ASSERT_EQ(prepare(r, data), 1);
    EXPECT_EQ(data.curveColumns, 24);
    EXPECT_EQ(data.viewStart, 6);
    EXPECT_EQ(data.viewEnd, 18);
    EXPECT_EQ(data.sampleCount, 13);
    EXPECT_NEAR(data.points[0].x, 2.0F + 6.5F * 0.5F, 1e-5F);
}

TEST(PrepareCurveData, ViewBeforeAndBeyondTheCurve) {
    CurvedRequest r = simple_request();
    RZ_CurveProjectData data;
    r.imageBox = image_box(12, 16, 9.0, -8.0, 12.0, 16.0);
    ASSERT_EQ(prepare(r, data), 1);
    EXPECT_EQ(data.viewStart, 15);
    EXPECT_EQ(data.firstSample, 12);
    EXPECT_EQ(data.lastSample, 12);
    EXPECT_EQ(data.sampleCount, 1);
    // Index 2 x 12 + 1 of 25 points, one past the last: the curve's end.
    EXPECT_NEAR(data.points[0].x, 14.0F, 1e-5F);

    // (6 - 20) x 12 / 12 + 0.5 = -13.5, cut toward zero
    r.imageBox = image_box(12, 16, -20.0, -8.0, 12.0, 16.0);
    ASSERT_EQ(prepare(r, data), 1);
    EXPECT_EQ(data.viewStart, -13);
    EXPECT_EQ(data.viewEnd, -1);
    EXPECT_EQ(data.firstSample, 0);
    EXPECT_EQ(data.lastSample, 0);
    EXPECT_EQ(data.sampleCount, 1);
}

TEST(PrepareCurveData, MarginTakesPixelsAndKeepsThemSquare) {
    CurvedRequest r = simple_request();
    const RZ_Box before = r.imageBox;
    RZ_CurveProjectData data;
    ASSERT_EQ(prepare(r, data), 1);
    EXPECT_TRUE(same_box(before, r.imageBox)) << "margin 0 changes nothing";

    r.margin = 3;
    r.secondBox = image_box(30, 20, 0.0, 0.0, 15.0, 10.0);
    ASSERT_EQ(prepare(r, data), 1);
    EXPECT_EQ(r.imageBox.xDim, 6);
    EXPECT_EQ(r.imageBox.yDim, 16);
    EXPECT_EQ(r.imageBox.rowStride, 12) << "the raster stays as wide as it is";
    EXPECT_FLOAT_EQ(r.imageBox.params.GetWidth(), 12.0F);
    EXPECT_FLOAT_EQ(r.imageBox.params.GetHeight(), 32.0F);
    float middle[3];
    r.imageBox.params.GetMiddle(middle);
    EXPECT_FLOAT_EQ(middle[0], 0.0F);
    EXPECT_FLOAT_EQ(middle[1], 0.0F);
    EXPECT_EQ(r.secondBox->xDim, 24);
    EXPECT_FLOAT_EQ(r.secondBox->params.GetHeight(), 10.0F / 0.8F);
    r.secondBox->params.GetMiddle(middle);
    EXPECT_FLOAT_EQ(middle[1], 5.0F);
    // 12 / 12 x 6 + 1, made even
    EXPECT_EQ(data.curveColumns, 6);
    EXPECT_NEAR(data.directions[0].y, 2.0F, 1e-6F) << "a pixel is 2 mm now";

    // 6 - 2 x 2 of 6: f = 1/3.
    r.margin = 2;
    ASSERT_EQ(prepare(r, data), 1);
    EXPECT_EQ(r.imageBox.xDim, 2);
    EXPECT_FLOAT_EQ(r.imageBox.params.GetHeight(), 96.0F);
    EXPECT_EQ(r.secondBox->xDim, 20);
}

TEST(PrepareCurveData, SameMarginTwiceShrinksTwice) {
    CurvedRequest r = transposed_request();
    RZ_CurveProjectData data;
    r.margin = 1;
    ASSERT_EQ(prepare(r, data), 1);
    EXPECT_EQ(r.imageBox.yDim, 10);
    EXPECT_FLOAT_EQ(r.imageBox.params.GetWidth(), 16.0F * 1.2F);
    EXPECT_FLOAT_EQ(r.imageBox.params.GetHeight(), 12.0F);
    ASSERT_EQ(prepare(r, data), 1);
    EXPECT_EQ(r.imageBox.yDim, 8);
    EXPECT_EQ(r.imageBox.xDim, 16);
    EXPECT_FLOAT_EQ(r.imageBox.params.GetWidth(), 16.0F * 1.2F * 1.25F);
    EXPECT_EQ(data.curveColumns, 8);
}

TEST(PrepareCurveData, RefusalsAndWhatTheyChange) {
    CurvedRequest r = simple_request();
    RZ_CurveProjectData data;
    LogLines log(7);
    const RZ_Box before = r.imageBox;
    r.margin = 2;
    r.spline.splineKind = 1;
    EXPECT_EQ(prepare(r, data), 0);
    EXPECT_TRUE(same_box(before, r.imageBox)) << "nothing was changed";
    r.spline.splineKind = 0;

    // 12 - 2 x 6: no pixel left, and the margin has been applied.
    r.margin = 6;
    EXPECT_EQ(prepare(r, data), 0);
    EXPECT_EQ(r.imageBox.xDim, 0);
    EXPECT_EQ(data.points, nullptr);
    EXPECT_EQ(data.sampleCount, 0);

    // 12 / 200 x 16 = 0.96: one sample, made even: none.
    r.imageBox = image_box(20, 16, 0.0, 0.0, 200.0, 200.0);
    r.margin = 2;
    EXPECT_EQ(prepare(r, data), 0);
    EXPECT_EQ(r.imageBox.xDim, 16);
    EXPECT_EQ(data.points, nullptr);
    for (const auto& line : log.lines()) EXPECT_EQ(line.level, 6);
}

TEST(PrepareCurveData, WarnsOfPixelsThatAreNotSquare) {
    CurvedRequest r = simple_request();
    RZ_CurveProjectData data;
    {
        LogLines log(7);
        ASSERT_EQ(prepare(r, data), 1);
        r.imageBox = image_box(12, 16, -6.0, -8.0, 12.0, 16.0 * 1.0009);
        ASSERT_EQ(prepare(r, data), 1);
        EXPECT_TRUE(log.lines().empty());
    }
    r.imageBox = image_box(12, 16, -6.0, -8.0, 12.0, 24.0);
    {
        LogLines log(6);
        ASSERT_EQ(prepare(r, data), 1);
        ASSERT_EQ(log.lines().size(), 1U);
        EXPECT_EQ(log.lines()[0].text, "Anisotropic mm-per-px in curved MPR: 1.000000, 1.500000\n");
        EXPECT_EQ(log.lines()[0].file, "RZ_OBLcurved");
        EXPECT_EQ(log.lines()[0].function, "RZ_PrepareCurveData");
        EXPECT_EQ(log.lines()[0].level, 6);
        EXPECT_EQ(log.lines()[0].category, 208);
    }
    LogLines log(5);
    ASSERT_EQ(prepare(r, data), 1);
    EXPECT_TRUE(log.lines().empty()) << "a line of level 6 is not wanted";
}

TEST(PrepareCurveData, OrientationGivenKeepsTheSweep) {
    CurvedRequest r = simple_request();
    r.spline.sweepDirection = RZ_3Coord(0.0F, -1.0F, 0.0F);
    RZ_CurveProjectData data;
    ASSERT_EQ(prepare(r, data), 1);
    EXPECT_EQ(data.directions[0].y, 1.0F) << "turned round";
    r.transposedIn = false;
    ASSERT_EQ(prepare(r, data), 1);
    EXPECT_EQ(data.directions[0].y, -1.0F) << "as it stands, with sign 1";
    r.signIn = -1;
    ASSERT_EQ(prepare(r, data), 1);
    EXPECT_EQ(data.directions[0].y, 1.0F) << "negated for the other sign";
    r.transposedIn.reset();
    ASSERT_EQ(prepare(r, data), 1);
    EXPECT_EQ(data.directions[0].y, 1.0F) << "the computed sign is -1 already";
    r.signIn = 1;
    ASSERT_EQ(prepare(r, data), 1);
    EXPECT_EQ(data.directions[0].y, -1.0F) << "turned round and back";
}

TEST(PrepareCurveData, DirectionsTakeTheSweepAsItStands) {
    CurvedRequest r = simple_request();
    r.spline.sweepDirection = RZ_3Coord(0.0F, 3.0F, 0.0F);
    r.imageBox = image_box(24, 32, -6.0, -8.0, 12.0, 16.0);
    RZ_CurveProjectData data;
    ASSERT_EQ(prepare(r, data), 1);
    EXPECT_EQ(data.directions[5].y, 1.5F);
    EXPECT_EQ(data.directions[5].w, 1.0F);
    EXPECT_EQ(data.normals[5].z, -1.0F);
}

// A curve of restless points: its own tangents differ from those of the thinned one.
RZ_Spline restless_spline(int count) {
    std::vector<RZ_3Coord> points;
    for (int i = 0; i < count; ++i) {
        const float t = static_cast<float>(i) / static_cast<float>(count - 1);
        points.emplace_back(2.0F + 12.0F * t, 8.0F + (i % 2 == 0 ? 0.3F : -0.3F), 8.0F + std::sin(9.0F * t));
    }
    return RZ_Spline(points.data(), count, RZ_3Coord(0.0F, 0.6F, 0.8F));
}

TEST(PrepareCurveData, MoreThanAHundredPointsAreThinned) {
    for (const int count : {100, 101}) {
        SCOPED_TRACE(count);
        CurvedRequest r = simple_request();
        r.spline = restless_spline(count);
        r.localFrames = true;
        r.transposedIn = false;
        RZ_CurveProjectData data;
        ASSERT_EQ(prepare(r, data), 1);
        const int n = data.sampleCount;
        ASSERT_GT(n, 3);
        const auto dense = static_cast<std::size_t>(2 * n + 1);
        std::vector<RZ_3Coord> points(dense);
        std::vector<RZ_3Coord> tangents(dense);
        const auto directions_along = [&](const RZ_Spline& spline) {
            std::vector<RZ_3Coord> directions(dense);
            directions[0] = r.spline.sweepDirection;
            spline.InterpolateEDCurveWithTangents(points.data(), tangents.data(), 2 * data.curveColumns + 1,
                                                  10, 5, directions.data(), 2 * data.firstSample + 1,
                                                  2 * n - 1);
            return directions;
        };
        RZ_Spline thin(SPLINE_HELPER, EDGE_OPEN);
        r.spline.ThinSpline(thin, 10);
        const auto own = directions_along(r.spline);
        const auto thinned = directions_along(thin);
        const float pixel = r.imageBox.params.GetWidth() / 12.0F;
        float fromOwn = 0.0F;
        float fromThinned = 0.0F;
        for (int i = 0; i < n; ++i) {
            const auto at = static_cast<std::size_t>(2 * i);
            fromOwn = std::max(fromOwn, std::fabs(data.directions[i].x - pixel * own[at].x));
            fromThinned = std::max(fromThinned, std::fabs(data.directions[i].x - pixel * thinned[at].x));
        }
        EXPECT_EQ(fromOwn == 0.0F, count == 100) << fromOwn;
        EXPECT_EQ(fromThinned == 0.0F, count == 101) << fromThinned;
        // Positions are those of the full curve.
        r.spline.InterpolateEDCurve(points.data(), 2 * data.curveColumns + 1, 10, nullptr,
                                    2 * data.firstSample + 1, 2 * n - 1);
        for (int i = 0; i < n; ++i) EXPECT_EQ(data.points[i].y, points[static_cast<std::size_t>(2 * i)].y);
    }
}

TEST(PrepareCurveData, ReusedFromCallToCall) {
    Branches branches;
    RZ_CurveProjectData reused;
    rz_reference::CurveData want;
    for (const Seed seed : seeds(1500)) {
        CurvedRequest r = make_curved_request(seed, 1, branches);
        SCOPED_TRACE(r.describe());
        Random random(seed);
        if (random.once_in(3)) r.spline.sweepDirection *= random.pick({0.01F, 2.5F, 90.0F});
        const bool transposedIn = r.transposedIn.value_or(false);
        const int signIn = r.signIn.value_or(0);
        RZ_Box box = r.imageBox;
        const int expected = rz_reference::prepare_curve_data(
            r.spline, box, r.localFrames, r.transposedIn ? &transposedIn : nullptr,
            r.signIn ? &signIn : nullptr, r.margin, want, nullptr, branches);
        ASSERT_EQ(prepare(r, reused), expected);
        ASSERT_EQ(difference(want, reused), "");
    }
    EXPECT_EQ(branches.never_met({"arrays kept", "arrays made anew"}), "");
}

}  // namespace
