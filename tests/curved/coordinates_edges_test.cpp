#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "rz_obl/RZ_OBLplanar/rz_obl_planar.h"
#include "rz_obl/rz_oblique/rz_oblique.h"
#include "tests/curved/log_lines.h"
#include "tests/curved/simple_curve.h"

// Conversions and plane boxes by hand: a straight curve along x from 2 to 14 mm, sweep along y, a box of
// 16 mm.

namespace {

using namespace rz_test;

struct Trans {
    int transposed = -9;
    int along = -9001;
    int across = -9002;
    int sign = -9003;
    std::vector<RZ_3Coord> points;
};

Trans prepare_trans(CurvedRequest& r) {
    Trans t;
    t.points.resize(static_cast<std::size_t>(std::max({r.imageBox.xDim, r.imageBox.yDim, 1})));
    // Not read: the volume's own params count.
    const RZ_BoxParams ignored(0.1F, 0.1F, 0.1F);
    t.transposed = RZ_PrepareSplineTrans(r.volume.box, ignored, r.spline, r.imageBox, &t.along, &t.across,
                                         &t.sign, t.points.data());
    return t;
}

bool to_physical(CurvedRequest& r, const float raster[2], float physical[3]) {
    const RZ_Box ignored;
    return RZ_CurvedRasterToPhysical(physical, ignored, r.volume.box.params, r.spline, r.imageBox, raster) ==
           1;
}

bool to_raster(CurvedRequest& r, const float physical[3], float raster[2]) {
    const RZ_Box ignored;
    return RZ_CurvedPhysicalToRaster(physical, ignored, r.volume.box.params, r.spline, r.imageBox, raster) ==
           1;
}

TEST(SplineTrans, CurveAsLongAsTheImage) {
    CurvedRequest r = simple_request();
    const auto w = static_cast<double>(r.spline.GetLength(0));
    r.imageBox = image_box(512, 512, -w / 2, -w / 2, w, w);
    const Trans t = prepare_trans(r);
    EXPECT_EQ(RZ_GetWpixels(r.spline, r.imageBox), 512);
    EXPECT_EQ(t.transposed, 0);
    EXPECT_EQ(t.sign, 1);
    EXPECT_EQ(t.along, 0);
    // 12 / 512 mm a pixel: -8.5 mm are -362.67 pixels, 7.5 mm are 320; 0.01 less, cut: -362 and 319.
    // -362.656 + 512 lies below 319.99: a column counts for 149.
    // b = (511 - 362 - 149) / 2
    EXPECT_EQ(t.across, 362);
    EXPECT_NEAR(t.points[0].x, 2.0F, 1e-5F);
    EXPECT_NEAR(t.points[511].x, 14.0F, 1e-5F);
}

TEST(SplineTrans, CurveHalfAsLongStandsCentred) {
    CurvedRequest r = simple_request();
    const auto w = 2.0 * static_cast<double>(r.spline.GetLength(0));
    r.imageBox = image_box(512, 512, -w / 2, -w / 2, w, w);
    const Trans t = prepare_trans(r);
    // 0.5 x 511 = 255.5, and 1; (511 - 255) / 2
    EXPECT_EQ(RZ_GetWpixels(r.spline, r.imageBox), 256);
    EXPECT_EQ(t.along, 128);
    // 24 / 512 mm a pixel: -181.33 and 160, cut to -181 and 159; b = (511 - 181 - 159) / 2 = 85
    EXPECT_EQ(t.across, 85 + 181);
    EXPECT_NEAR(t.points[255].x, 14.0F, 1e-5F);
}

TEST(SplineTrans, CurveLongerThanTheImageStillFits) {
    CurvedRequest r = simple_request();
    r.imageBox = image_box(10, 8, -2.0, -2.0, 4.0, 4.0);
    const Trans t = prepare_trans(r);
    EXPECT_EQ(RZ_GetWpixels(r.spline, r.imageBox), 10);
    EXPECT_EQ(t.along, 0);
    for (int i = 0; i < 10; ++i) {
        EXPECT_NEAR(t.points[static_cast<std::size_t>(i)].x, 2.0F + 12.0F * static_cast<float>(i) / 9.0F,
                    1e-5F);
    }
}

TEST(SplineTrans, EmptyIntersection) {
    CurvedRequest r = simple_request();
    r.spline = straight_spline({2.0F, 8.5F, 90.0F}, {14.0F, 8.5F, 90.0F}, {0.0F, 1.0F, 0.0F});
    // lowest = 16, highest = 0: b = 31 / 2
    EXPECT_EQ(prepare_trans(r).across, 15 - 16);
    r.imageBox.yDim = 21;
    // 41 / 2 - 21
    EXPECT_EQ(prepare_trans(r).across, 20 - 21);
}

TEST(SplineTrans, OffsetsAreLimitedBySixteenBits) {
    CurvedRequest r = simple_request();
    // 12 / 24e3 x 69999 = 34.99 and 1; (69999 - 34) / 2 = 34982 reads as negative in 16 bits.
    r.imageBox = image_box(70000, 16, -12000.0, -8.0, 24000.0, 16.0);
    EXPECT_EQ(RZ_GetWpixels(r.spline, r.imageBox), 35);
    EXPECT_EQ(prepare_trans(r).along, 0);
    // (65535 - 0) / 2 is the largest that is not.
    r.imageBox = image_box(65537, 16, -12000.0, -8.0, 24000.0, 16.0);
    // 12 / 24e3 x 65536 = 32.77 and 1; (65536 - 32) / 2
    EXPECT_EQ(prepare_trans(r).along, 32752);
    // A wide box: highest - lowest above M. 16 pixels of 0.25 mm: -8.5 mm are -34, 7.5 mm are 30.
    r.imageBox = image_box(48, 16, -6.0, -2.0, 12.0, 4.0);
    // -33.99: lowest -33; -33.99 + 16: highest 0. b = (15 - 33 - 0) / 2 is negative: 0.
    EXPECT_EQ(prepare_trans(r).across, 33);
}

TEST(SplineTrans, StretchedMethodHasNoEffect) {
    CurvedRequest r = simple_request();
    r.imageBox = image_box(24, 24, -12.0, -12.0, 24.0, 24.0);
    const Trans before = prepare_trans(r);
    for (const int method : {1, 2, -3}) {
        RZ_SetStretchedMethod(method);
        const Trans after = prepare_trans(r);
        EXPECT_EQ(after.along, before.along);
        EXPECT_EQ(after.across, before.across);
        EXPECT_EQ(after.points[7].x, before.points[7].x);
    }
    RZ_SetStretchedMethod(0);
}

// A column counts for at most M pixels from where it enters: its far end shows in 16 bits only.
TEST(SplineTrans, ColumnsCountForTheImagesHeight) {
    CurvedRequest r = simple_request();
    r.spline = straight_spline({2.0F, 0.5F, 8.5F}, {14.0F, 0.5F, 8.5F}, {0.0F, 1.0F, 0.0F});
    // 0.0004 mm a pixel: -1250 to 38750. lowest = -1249, highest = 0: b is negative.
    r.imageBox = image_box(12, 16, -6.0, -0.0032, 12.0, 0.0064);
    EXPECT_EQ(prepare_trans(r).across, 1249);
}

TEST(SplineTrans, RefusalsLeaveTheOffsets) {
    CurvedRequest r = simple_request();
    const auto expect_refused = [&](const char* text, int sign) {
        LogLines log(3);
        const Trans t = prepare_trans(r);
        EXPECT_EQ(t.transposed, 0);
        EXPECT_EQ(t.along, -9001);
        EXPECT_EQ(t.across, -9002);
        EXPECT_EQ(t.sign, sign);
        const float pixel[2] = {3.0F, 4.0F};
        float physical[3] = {-1.0F, -2.0F, -3.0F};
        EXPECT_FALSE(to_physical(r, pixel, physical));
        EXPECT_EQ(physical[0], -1.0F);
        EXPECT_EQ(physical[2], -3.0F);
        float raster[2] = {-4.0F, -5.0F};
        EXPECT_FALSE(to_raster(r, physical, raster));
        RZ_3Coord origin;
        EXPECT_EQ(RZ_CurvedPhysicalToRaster(physical, r.volume.box, r.crop, r.spline, r.imageBox, 0.5F, 0, 1,
                                            2, 1, &origin, raster),
                  0);
        EXPECT_EQ(raster[0], -4.0F);
        EXPECT_EQ(raster[1], -5.0F);
        EXPECT_EQ(RZ_CurvedRasterToPhysical(physical, r.volume.box, r.crop, r.spline, r.imageBox, 0, 1, 2, 1,
                                            &origin, raster),
                  0);
        EXPECT_EQ(physical[1], -2.0F);
        if (text == nullptr) {
            EXPECT_TRUE(log.lines().empty());
            return;
        }
        const char* functions[] = {"RZ_PrepareSplineTrans", "RZ_CurvedRasterToPhysical",
                                   "RZ_CurvedPhysicalToRaster", "RZ_CurvedPhysicalToRaster",
                                   "RZ_CurvedRasterToPhysical"};
        ASSERT_EQ(log.lines().size(), 5U);
        for (std::size_t i = 0; i < 5; ++i) {
            EXPECT_EQ(log.lines()[i].function, functions[i]);
            EXPECT_EQ(log.lines()[i].text, text);
            EXPECT_EQ(log.lines()[i].level, 3);
            EXPECT_EQ(log.lines()[i].file, "RZ_OBLcurved");
            EXPECT_EQ(log.lines()[i].category, 208);
        }
    };
    r.imageBox.xDim = 0;
    expect_refused("RZ_CalcCurved: negative image width\n", 1);
    r.imageBox.xDim = -7;
    expect_refused("RZ_CalcCurved: negative image width\n", 1);
    r.imageBox = image_box(1, 16, 0.0, 0.0, 12.0, 16.0);
    expect_refused("RZ_CalcCurved: negative image size\n", 1);
    // 12 / 400 x 15 = 0.45: one point only
    r.imageBox = image_box(16, 16, 0.0, 0.0, 400.0, 16.0);
    r.spline.sweepDirection = RZ_3Coord(0.0F, -1.0F, 0.0F);
    expect_refused("RZ_CalcCurved: negative image size\n", -1);
    r.spline.splineKind = 1;
    expect_refused(nullptr, -9003);
}

TEST(SplineTrans, LogIsNotAskedWhereNoErrorIsWanted) {
    CurvedRequest r = simple_request();
    r.imageBox.xDim = 0;
    LogLines log(2);
    prepare_trans(r);
    EXPECT_TRUE(log.lines().empty());
}

// The image of 12 x 16 pixels of 1 mm: points 12 / 11 mm apart from 2 mm on; lowest = -8, highest = 7;
// b = (15 - 8 - 7) / 2: cross index j on row 8 + j.
TEST(RasterToPhysical, FractionsAreDropped) {
    CurvedRequest r = simple_request();
    const float fraction[2] = {10.9F, 3.2F};
    const float whole[2] = {10.0F, 3.0F};
    float a[3];
    float b[3];
    ASSERT_TRUE(to_physical(r, fraction, a));
    ASSERT_TRUE(to_physical(r, whole, b));
    for (int k = 0; k < 3; ++k) EXPECT_EQ(a[k], b[k]);
    EXPECT_NEAR(a[0], 2.0F + 12.0F * 10.0F / 11.0F, 1e-5F);
    EXPECT_NEAR(a[1], 8.5F + (3.0F - 8.0F), 1e-5F);
    EXPECT_NEAR(a[2], 8.5F, 1e-5F);
    // Toward zero: -0.9 is pixel 0.
    const float before[2] = {0.0F, -0.9F};
    const float zero[2] = {0.0F, 0.0F};
    ASSERT_TRUE(to_physical(r, before, a));
    ASSERT_TRUE(to_physical(r, zero, b));
    EXPECT_EQ(a[1], b[1]);
}

TEST(RasterToPhysical, TransposedImageHasTheCurveAlongY) {
    CurvedRequest r = transposed_request();
    const float pixel[2] = {3.0F, 10.0F};
    float p[3];
    ASSERT_TRUE(to_physical(r, pixel, p));
    EXPECT_NEAR(p[0], 8.5F + (3.0F - 8.0F), 1e-5F);
    EXPECT_NEAR(p[1], 2.0F + 12.0F * 10.0F / 11.0F, 1e-5F);
    // Back, the short way and the long one.
    float back[2];
    ASSERT_TRUE(to_raster(r, p, back));
    EXPECT_NEAR(back[0], 3.0F, 1e-4F);
    EXPECT_EQ(back[1], 10.0F);
    Trans t = prepare_trans(r);
    EXPECT_EQ(t.transposed, 1);
    float longForm[3];
    ASSERT_EQ(RZ_CurvedRasterToPhysical(longForm, r.volume.box, r.crop, r.spline, r.imageBox, t.transposed,
                                        t.along, t.across, t.sign, t.points.data(), pixel),
              1);
    for (int k = 0; k < 3; ++k) EXPECT_EQ(longForm[k], p[k]);
    ASSERT_EQ(RZ_CurvedPhysicalToRaster(p, r.volume.box, r.crop, r.spline, r.imageBox, 10.0F / 11.0F,
                                        t.transposed, t.along, t.across, t.sign, &t.points[10], back),
              1);
    EXPECT_NEAR(back[0], 3.0F, 1e-4F);
    EXPECT_NEAR(back[1], 10.0F, 1e-4F);
}

TEST(PhysicalToRaster, CurveFractionFromEndToEnd) {
    CurvedRequest r = simple_request();
    r.imageBox = image_box(24, 16, -12.0, -8.0, 24.0, 16.0);
    Trans t = prepare_trans(r);
    // 12 / 24 x 23 = 11.5: 12 points, a = (23 - 11) / 2
    EXPECT_EQ(t.along, 6);
    const float p[3] = {5.0F, 9.5F, 8.5F};
    float raster[2];
    const auto convert = [&](float fraction) {
        EXPECT_EQ(RZ_CurvedPhysicalToRaster(p, r.volume.box, r.crop, r.spline, r.imageBox, fraction, 0,
                                            t.along, t.across, t.sign, t.points.data(), raster),
                  1);
        return raster[0];
    };
    EXPECT_EQ(convert(0.0F), 6.0F);
    EXPECT_EQ(convert(1.0F), 17.0F);
    EXPECT_EQ(convert(0.25F), 6.0F + 11.0F * 0.25F);
    // 9.5 - 8.5 mm at 1 mm a pixel
    EXPECT_NEAR(raster[1], static_cast<float>(t.across) + 1.0F, 1e-5F);
}

TEST(PhysicalToRaster, SignTurnsTheLongFormsRound) {
    CurvedRequest r = simple_request();
    Trans t = prepare_trans(r);
    const float pixel[2] = {4.0F, static_cast<float>(t.across) + 3.0F};
    float forward[3];
    float backward[3];
    ASSERT_EQ(RZ_CurvedRasterToPhysical(forward, r.volume.box, r.crop, r.spline, r.imageBox, 0, t.along,
                                        t.across, 1, t.points.data(), pixel),
              1);
    ASSERT_EQ(RZ_CurvedRasterToPhysical(backward, r.volume.box, r.crop, r.spline, r.imageBox, 0, t.along,
                                        t.across, -1, t.points.data(), pixel),
              1);
    EXPECT_NEAR(forward[1], 11.5F, 1e-5F);
    EXPECT_NEAR(backward[1], 5.5F, 1e-5F);
    float raster[2];
    ASSERT_EQ(RZ_CurvedPhysicalToRaster(backward, r.volume.box, r.crop, r.spline, r.imageBox, 4.0F / 11.0F, 0,
                                        t.along, t.across, -1, &t.points[4], raster),
              1);
    EXPECT_NEAR(raster[1], pixel[1], 1e-4F);
}

TEST(PhysicalToRaster, PointOnTheCurveSettlesOnItsNeighbour) {
    CurvedRequest r = simple_request();
    const Trans t = prepare_trans(r);
    float raster[2];
    // Points 4 and 6 are as near: the lower one wins, within the rounding of their distance.
    const RZ_3Coord& p = t.points[5];
    ASSERT_TRUE(to_raster(r, p, raster));
    EXPECT_TRUE(raster[0] == 4.0F || raster[0] == 6.0F);
    EXPECT_NE(raster[0], 5.0F) << "not a number never wins";
    // The first one has only one neighbour.
    ASSERT_TRUE(to_raster(r, t.points[0], raster));
    EXPECT_EQ(raster[0], 1.0F);
    // Off the curve the search finds the line itself.
    const float beside[3] = {p.x, p.y + 2.0F, p.z};
    ASSERT_TRUE(to_raster(r, beside, raster));
    EXPECT_EQ(raster[0], 5.0F);
    EXPECT_NEAR(raster[1], 8.0F + 2.0F, 1e-4F);
}

TEST(PhysicalToRaster, TieGoesToTheLowestLine) {
    CurvedRequest r = simple_request();
    // 3 points at 2, 8 and 14 mm: 5 mm lies between the first two.
    r.imageBox = image_box(3, 16, -6.0, -8.0, 12.0, 16.0);
    const float p[3] = {5.0F, 10.5F, 8.5F};
    float raster[2];
    ASSERT_TRUE(to_raster(r, p, raster));
    EXPECT_EQ(raster[0], 0.0F);
}

// The point lies 4 mm beside the box: its ray gives 1.11 and -2.01. The curve's gives -8.49 and 7.49.
TEST(PhysicalToRaster, PointBesideTheBox) {
    CurvedRequest r = simple_request();
    const float p[3] = {8.0F, 9.5F, 20.0F};
    float raster[2];
    ASSERT_TRUE(to_raster(r, p, raster));
    // 8 + ((-8.49 - 1.11) + (7.49 + 2.01)) / 2
    EXPECT_NEAR(raster[1], 8.0F - 0.05F, 1e-4F);
}

// A point outside the box, on the sweep line: its entry at -9.5 + 0.01 stays, its exit at -3.5 is pushed 1
// on.
TEST(PhysicalToRaster, PointOutsideIsOffByUpToAPixel) {
    CurvedRequest r = simple_request();
    const float p[3] = {8.0F, 19.5F, 8.6F};
    float raster[2];
    ASSERT_TRUE(to_raster(r, p, raster));
    // 11 mm from the curve: lo -8.49 against -19.49, hi 7.49 against -3.5 - 0.01 - 1.
    EXPECT_NEAR(raster[1], 8.0F + (11.0F + 12.0F) * 0.5F, 1e-4F);
}

TEST(PhysicalToRaster, NoNearestLine) {
    CurvedRequest r = simple_request();
    const float p[3] = {std::numeric_limits<float>::quiet_NaN(), 8.0F, 8.0F};
    float raster[2] = {-7.0F, -7.0F};
    EXPECT_TRUE(to_raster(r, p, raster)) << "no failure";
    EXPECT_EQ(raster[0], -1.0F);
    EXPECT_EQ(raster[1], 8.0F);
}

// Of 300 points at 12 / 299 mm.
TEST(PlaneBox, CurveInsideTheBox) {
    CurvedRequest r = simple_request();
    RZ_BoxParams result(3.0F, 4.0F, 5.0F);
    ASSERT_EQ(RZ_GetPlaneBox(r.frame, r.spline, result, 1), 1);
    EXPECT_NEAR(result.GetWidth(), 12.0F, 1e-4F);
    // -8.49 to 7.49
    EXPECT_NEAR(result.GetHeight(), 15.98F, 1e-4F);
    EXPECT_EQ(result.GetDepth(), 1.0F);

    CurvedRequest t = transposed_request();
    ASSERT_EQ(RZ_GetPlaneBox(t.frame, t.spline, result, 0), 1);
    EXPECT_NEAR(result.GetWidth(), 15.98F, 1e-4F);
    EXPECT_NEAR(result.GetHeight(), 12.0F, 1e-4F);
}

TEST(PlaneBox, OnePointInsideIsNoSurface) {
    CurvedRequest r = simple_request();
    const double y[3] = {0.0, 16.0, 0.0};
    const double z[3] = {0.0, 0.0, 16.0};
    RZ_BoxParams result(3.0F, 4.0F, 5.0F);
    // Point 100 lies at 2 + 1200 / 299 = 6.01338 mm, its neighbours 0.0401 mm off.
    const double one[3] = {6.0, 0.0, 0.0};
    const double narrow[3] = {0.03, 0.0, 0.0};
    EXPECT_EQ(RZ_GetPlaneBox(RZ_BoxParams(one, narrow, y, z), r.spline, result, 1), 0);
    EXPECT_EQ(RZ_GetPlaneBox(RZ_BoxParams(one, narrow, y, z), r.spline, result, 0), 0);
    EXPECT_EQ(result.GetWidth(), 3.0F) << "not written";
    EXPECT_EQ(result.GetHeight(), 4.0F);
    // Two points: one interval.
    const double two[3] = {0.06, 0.0, 0.0};
    ASSERT_EQ(RZ_GetPlaneBox(RZ_BoxParams(one, two, y, z), r.spline, result, 1), 1);
    EXPECT_NEAR(result.GetWidth(), 12.0F / 299.0F, 1e-5F);
}

TEST(PlaneBox, CurvePointsOutside) {
    CurvedRequest r = simple_request();
    // 5 mm in front of the box: 5 to 21, pushed to 6.01 and 20.99.
    r.spline = straight_spline({2.0F, -5.0F, 8.5F}, {14.0F, -5.0F, 8.5F}, {0.0F, 1.0F, 0.0F});
    RZ_BoxParams result(3.0F, 4.0F, 5.0F);
    EXPECT_EQ(RZ_GetPlaneBox(r.frame, r.spline, result, 1), 0);
    EXPECT_EQ(result.GetWidth(), 3.0F);
    ASSERT_EQ(RZ_GetPlaneBox(r.frame, r.spline, result, 0), 1);
    EXPECT_NEAR(result.GetWidth(), 12.0F, 1e-4F);
    EXPECT_NEAR(result.GetHeight(), 14.98F, 1e-4F);
    // A stretch of less than the push and the margins counts for nothing: the box is 1.01 mm deep.
    const double start[3] = {0.0, 0.0, 0.0};
    const double x[3] = {16.0, 0.0, 0.0};
    const double shallow[3] = {0.0, 1.01, 0.0};
    const double z[3] = {0.0, 0.0, 16.0};
    EXPECT_EQ(RZ_GetPlaneBox(RZ_BoxParams(start, x, shallow, z), r.spline, result, 0), 0);
    const double deep[3] = {0.0, 1.1, 0.0};
    ASSERT_EQ(RZ_GetPlaneBox(RZ_BoxParams(start, x, deep, z), r.spline, result, 0), 1);
    EXPECT_NEAR(result.GetHeight(), 0.08F, 1e-4F);
}

TEST(PlaneBox, OnlyOrdinarySplines) {
    for (const int kind : {1, 2, -1}) {
        CurvedRequest r = simple_request();
        r.spline.splineKind = kind;
        RZ_BoxParams result(3.0F, 4.0F, 5.0F);
        EXPECT_EQ(RZ_GetPlaneBox(r.frame, r.spline, result, 0), 0);
        EXPECT_EQ(result.GetWidth(), 3.0F);
    }
}

}  // namespace
