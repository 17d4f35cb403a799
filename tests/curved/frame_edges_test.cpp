#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <thread>
#include <vector>

#include "tests/curved/simple_curve.h"

// RZ_CalcCurved by hand, on the simple scene: curve index c at sample x = 2 + c, cross index j at y = 8 + j,
// z = 8.

namespace {

using namespace rz_test;
using Image = Drawing<short>;

/// The rows of a column that were drawn, and whether each shows its sample of the scene.
struct Drawn {
    int first = -1;
    int last = -1;
    bool right = true;
};

// row of cross index 0: the row that the curve lies on.
Drawn drawn_rows(const Image& image, int column, int rows, int rowOfCurve, int c) {
    Drawn d;
    for (int row = 0; row < rows; ++row) {
        if (image.kept(column, row)) continue;
        if (d.first < 0) d.first = row;
        d.last = row;
        d.right = d.right && image.raster.at(column, row) == telling(2 + c, 8 + row - rowOfCurve, 8);
    }
    return d;
}

void expect_rows(const Image& image, int column, int rows, int rowOfCurve, int c, int first, int last) {
    const Drawn d = drawn_rows(image, column, rows, rowOfCurve, c);
    EXPECT_EQ(d.first, first) << "column " << column;
    EXPECT_EQ(d.last, last) << "column " << column;
    EXPECT_TRUE(d.right) << "column " << column;
}

// y from 0 to 16 about 8.5: -8.5 to 7.5, less 0.01 at each end: -8 to 7. The box starts at -8 mm, -8 pixels
// and 0.0001: cut to -7.
TEST(FramePlacement, WithoutLocalFramesTheFrameBoxIsCentred) {
    CurvedRequest r = simple_request();
    const Image image(r);
    ASSERT_EQ(image.prepared, 1);
    const CurvedOutputs& o = image.out;
    EXPECT_EQ(o.result, 1);
    // extent 16, half 8, k = 8 - 7 = 1: row of index j = j + 7 - 8 + 8
    EXPECT_EQ(o.crossFirst, -7);
    EXPECT_EQ(o.firstRow, 0);
    // crossHi = min(16 + 1, 16) - 8 = 8
    EXPECT_EQ(o.lastRow, 14);
    EXPECT_EQ(o.columnBounds[0], 0);
    EXPECT_EQ(o.columnBounds[1], 11);
    EXPECT_EQ(o.alongRemainder, 0.0F);
    EXPECT_EQ(o.crossRemainder, -1.0F);
    EXPECT_EQ(o.startFraction, 0.0F);
    EXPECT_EQ(o.endFraction, 1.0F);
    EXPECT_EQ(o.transposedOut, 0);
    EXPECT_EQ(o.signOut, 1);
    EXPECT_NEAR(o.corner[0], 2.5F, 1e-5F);
    EXPECT_NEAR(o.corner[1], 1.5F, 1e-5F);
    EXPECT_NEAR(o.corner[2], 8.5F, 1e-5F);
    EXPECT_EQ(o.corner[3], 1.0F);
    for (int c = 0; c < 12; ++c) expect_rows(image, c, 16, 7, c, 0, 13);
}

TEST(FramePlacement, MiddleOfTheFrameBoxLiesOnTheMiddleRow) {
    CurvedRequest r = simple_request();
    // The curve lies 4 mm below the middle of the box: -4.5 to 11.5, -4 to 11, middle 4.
    r.spline = straight_spline({2.0F, 4.5F, 8.5F}, {14.0F, 4.5F, 8.5F}, {0.0F, 1.0F, 0.0F});
    const Image image(r);
    // rowShift = 7 - 8 + 4: the curve on row 3, index 4 on row 7 of 16
    EXPECT_EQ(image.out.crossFirst, -3);
    const auto at = [&](int row) { return image.raster.at(0, row); };
    EXPECT_EQ(at(3), telling(2, 4, 8));
    EXPECT_EQ(at(7), telling(2, 8, 8));
}

TEST(FramePlacement, WithLocalFramesTheCurveLiesOnTheMiddleRow) {
    for (const float y : {8.5F, 4.5F, 11.5F}) {
        CurvedRequest r = simple_request();
        r.localFrames = true;
        r.spline = straight_spline({2.0F, y, 8.5F}, {14.0F, y, 8.5F}, {0.0F, 1.0F, 0.0F});
        const Image image(r);
        EXPECT_EQ(image.out.result, 1);
        EXPECT_EQ(image.raster.at(5, 7), telling(7, static_cast<int>(y), 8)) << y;
    }
    // crossLo = max(-7, -8), crossHi = min(16 - 7, 7)
    CurvedRequest r = simple_request();
    r.localFrames = true;
    const Image image(r);
    EXPECT_EQ(image.out.crossFirst, -7);
    EXPECT_EQ(image.out.firstRow, 0);
    EXPECT_EQ(image.out.lastRow, 13);
    for (int c = 0; c < 12; ++c) expect_rows(image, c, 16, 7, c, 0, 13);
}

TEST(FramePlacement, ImageShorterThanTheFrameBoxCutsBothEnds) {
    CurvedRequest r = simple_request();
    r.imageBox = image_box(12, 6, -6.0, -3.0, 12.0, 6.0);
    const Image image(r);
    // crossStart = -3 and 0.0001, cut to -2; k = 6: crossLo = 6 - 8, crossHi = min(6 + 6, 16) - 8
    EXPECT_EQ(image.out.crossFirst, -2);
    EXPECT_EQ(image.out.firstRow, 0);
    EXPECT_EQ(image.out.lastRow, 5);
    EXPECT_EQ(image.out.crossRemainder, -1.0F);
    for (int c = 0; c < 12; ++c) expect_rows(image, c, 6, 2, c, 0, 5);
}

TEST(FramePlacement, TransposedSwapsWhatRowsAndColumnsHold) {
    CurvedRequest r = transposed_request();
    r.imageBox.rowStride = 19;
    const Image image(r);
    const CurvedOutputs& o = image.out;
    EXPECT_EQ(o.result, 1);
    EXPECT_EQ(o.transposedOut, 1);
    EXPECT_EQ(o.firstRow, 0);
    EXPECT_EQ(o.lastRow, 11);
    EXPECT_EQ(o.columnBounds[0], 0);
    EXPECT_EQ(o.columnBounds[1], 14);
    EXPECT_EQ(o.crossFirst, -7);
    for (int row = 0; row < 12; ++row) {
        for (int column = 0; column < 19; ++column) {
            if (column < 14) {
                EXPECT_EQ(image.raster.at(column, row), telling(8 + column - 7, 2 + row, 8));
            } else {
                EXPECT_TRUE(image.kept(column, row));
            }
        }
    }
}

TEST(FramePlacement, TransposedCurveBeginsBelowTheFirstRow) {
    CurvedRequest r = transposed_request();
    // 3 pixels before the curve, cut to 2.
    r.imageBox = image_box(16, 12, -8.0, -9.0, 16.0, 12.0);
    const Image image(r);
    EXPECT_EQ(image.out.firstRow, 2);
    EXPECT_EQ(image.out.lastRow, 11);
    EXPECT_EQ(image.out.columnBounds[0], 0);
    EXPECT_EQ(image.out.columnBounds[1], 14);
    EXPECT_TRUE(image.kept(7, 1));
    EXPECT_EQ(image.raster.at(7, 2), telling(8, 2, 8));
}

TEST(FramePlacement, ViewAndOffsetMoveTheColumns) {
    CurvedRequest r = simple_request();
    // Starts 3 pixels before the curve: index 0 at column 3.
    r.imageBox = image_box(12, 16, -9.0, -8.0, 12.0, 16.0);
    r.columnOffset = 2;
    r.imageBox.rowStride = 20;
    const Image image(r);
    EXPECT_EQ(image.data.viewStart, -2) << "(6 - 9) + 0.5, cut toward zero";
    EXPECT_EQ(image.out.columnBounds[0], 4);
    EXPECT_EQ(image.out.columnBounds[1], 13);
    EXPECT_NEAR(image.out.endFraction, 10.0F / 12.0F, 1e-7F);
    EXPECT_TRUE(image.kept(3, 7));
    EXPECT_TRUE(image.kept(14, 7));
    for (int c = 0; c < 10; ++c) EXPECT_EQ(image.raster.at(c + 4, 7), telling(2 + c, 8, 8));

    // Starts 4 pixels behind the curve's start.
    CurvedRequest late = simple_request();
    late.imageBox = image_box(12, 16, -2.0, -8.0, 12.0, 16.0);
    const Image lateImage(late);
    EXPECT_EQ(lateImage.data.viewStart, 4);
    EXPECT_EQ(lateImage.out.columnBounds[0], 0);
    EXPECT_EQ(lateImage.out.columnBounds[1], 7);
    EXPECT_NEAR(lateImage.out.startFraction, 4.0F / 12.0F, 1e-7F);
    EXPECT_EQ(lateImage.raster.at(0, 7), telling(6, 8, 8));
    EXPECT_EQ(lateImage.raster.at(7, 7), telling(13, 8, 8));
    EXPECT_TRUE(lateImage.kept(8, 7));
}

TEST(FramePlacement, GivenSignTurnsTheImageRound) {
    CurvedRequest r = simple_request();
    r.signIn = -1;
    const Image image(r);
    EXPECT_EQ(image.out.signOut, -1);
    // -7.5 to 8.5: -7 to 8, middle 0: k = 1, row of j = 7 - 8 + 7 + j
    EXPECT_EQ(image.out.crossFirst, -6);
    EXPECT_EQ(image.raster.at(0, 0), telling(2, 14, 8));
    EXPECT_EQ(image.raster.at(0, 6), telling(2, 8, 8));

    CurvedRequest negative = simple_request();
    negative.spline.sweepDirection = RZ_3Coord(0.0F, -1.0F, 0.0F);
    const Image computed(negative);
    EXPECT_EQ(computed.out.signOut, -1) << "the computed orientation reports its sign";
    EXPECT_EQ(computed.raster.at(0, 7), telling(2, 8, 8));
    negative.transposedIn = false;
    negative.imageBox = simple_request().imageBox;
    const Image given(negative);
    EXPECT_EQ(given.out.signOut, 1) << "a given one keeps the sweep and sign 1";
    EXPECT_EQ(given.raster.at(0, 0), telling(2, 14, 8));
}

// A ray of range 0.3 to 5.7 draws 1 to 4: the end is exclusive.
TEST(FrameSpans, EndIsExclusive) {
    CurvedRequest r = simple_request();
    const double start[3] = {0.0, 8.8, 0.0};
    const double x[3] = {16.0, 0.0, 0.0};
    const double y[3] = {0.0, 5.4, 0.0};
    const double z[3] = {0.0, 0.0, 16.0};
    r.crop = RZ_BoxParams(start, x, y, z);
    const Image image(r);
    // The frame box places as before: the curve on row 7.
    EXPECT_EQ(image.out.firstRow, 0);
    EXPECT_EQ(image.out.lastRow, 14);
    for (int c = 0; c < 12; ++c) expect_rows(image, c, 16, 7, c, 8, 11);
}

TEST(FrameSpans, RayBesideTheBoxHasNoRange) {
    CurvedRequest r = simple_request();
    const double x[3] = {16.0, 0.0, 0.0};
    const double y[3] = {0.0, 16.0, 0.0};
    const double z[3] = {0.0, 0.0, 6.0};
    const double above[3] = {0.0, 0.0, 10.0};
    r.crop = RZ_BoxParams(above, x, y, z);
    const Image beside(r);
    EXPECT_EQ(beside.out.result, 1);
    EXPECT_EQ(beside.out.lastRow, 14);
    EXPECT_TRUE(beside.raster.block().untouched());
    // As the frame box it ends the call early.
    std::swap(r.crop, r.frame);
    const Image early(r);
    EXPECT_EQ(early.out.result, 1);
    EXPECT_TRUE(early.out.boundsUntouched());
    EXPECT_TRUE(early.raster.block().untouched());
    // On the face itself: 0 is outside, as 1 is.
    const double onFace[3] = {0.0, 0.0, 8.5};
    r.frame = r.crop;
    r.crop = RZ_BoxParams(onFace, x, y, z);
    EXPECT_TRUE(Image(r).raster.block().untouched());
}

TEST(FrameSpans, AxesAcrossTheRayLimitNothingInside) {
    CurvedRequest r = simple_request();
    // x from 5 to 9: curve indices 3 (at 5.5) to 6 (at 8.5).
    const double start[3] = {5.0, 0.0, 8.0};
    const double x[3] = {4.0, 0.0, 0.0};
    const double y[3] = {0.0, 16.0, 0.0};
    const double z[3] = {0.0, 0.0, 1.0};
    r.crop = RZ_BoxParams(start, x, y, z);
    const Image image(r);
    EXPECT_EQ(image.out.columnBounds[0], 0);
    EXPECT_EQ(image.out.columnBounds[1], 11) << "the prepared columns, not those with pixels";
    for (int c = 0; c < 12; ++c) {
        const bool inside = c >= 3 && c <= 6;
        expect_rows(image, c, 16, 7, c, inside ? 0 : -1, inside ? 13 : -1);
    }
}

TEST(FrameSpans, RequireInsideDropsWholeColumns) {
    CurvedRequest r = simple_request();
    // y from 9 on: the curve, at 8.5, lies outside.
    const double start[3] = {0.0, 9.0, 0.0};
    const double x[3] = {16.0, 0.0, 0.0};
    const double y[3] = {0.0, 7.0, 0.0};
    const double z[3] = {0.0, 0.0, 16.0};
    r.crop = RZ_BoxParams(start, x, y, z);
    // 0.5 to 7.5: 0.51 + 1 and 7.49
    expect_rows(Image(r), 4, 16, 7, 4, 8, 13);
    r.requireInside = 1;
    const Image dropped(r);
    EXPECT_TRUE(dropped.raster.block().untouched());
    // A dropped column has no part in the frame's range, either.
    EXPECT_TRUE(dropped.out.boundsUntouched());
    r.requireInside = -1;
    EXPECT_TRUE(Image(r).raster.block().untouched()) << "any value but 0 requires it";
}

// One pass for thickness 0; two for any other, and both faces must lie inside.
TEST(FrameSpans, BothFacesOfASlabMustLieInside) {
    CurvedRequest r = simple_request();
    const double x[3] = {16.0, 0.0, 0.0};
    const double y[3] = {0.0, 16.0, 0.0};
    const double z[3] = {0.0, 0.0, 6.0};
    // The surface lies 0.00005 mm inside; the normal is -z, so that the first face lies outside.
    const double low[3] = {0.0, 0.0, 8.49995};
    r.crop = RZ_BoxParams(low, x, y, z);
    expect_rows(Image(r), 4, 16, 7, 4, 0, 13);
    r.thickness = -0.0F;
    expect_rows(Image(r), 4, 16, 7, 4, 0, 13);
    r.thickness = 0.0001F;
    EXPECT_TRUE(Image(r).raster.block().untouched());
    // The second face outside.
    const double high[3] = {0.0, 0.0, 2.50005};
    r.crop = RZ_BoxParams(high, x, y, z);
    EXPECT_TRUE(Image(r).raster.block().untouched());
    r.thickness = 0.0F;
    expect_rows(Image(r), 4, 16, 7, 4, 0, 13);
    // Room on both sides.
    r.crop = r.frame;
    r.thickness = 0.0001F;
    expect_rows(Image(r), 4, 16, 7, 4, 0, 13);
}

TEST(FrameSpans, ThicknessThatIsNoNumberDrawsNothing) {
    for (const int requireInside : {0, 1}) {
        CurvedRequest r = simple_request();
        r.thickness = std::numeric_limits<float>::quiet_NaN();
        r.requireInside = requireInside;
        const Image image(r);
        EXPECT_EQ(image.out.result, 1);
        EXPECT_EQ(image.out.lastRow, 14) << "the frame is that of the surface";
        EXPECT_TRUE(image.raster.block().untouched());
    }
}

TEST(FrameBand, LimitsAboveATenthOfAMillimetre) {
    const auto rows_of_band = [](float maxWidth, bool localFrames) {
        CurvedRequest r = simple_request();
        r.localFrames = localFrames;
        r.maxWidth = maxWidth;
        const Image image(r);
        EXPECT_EQ(image.out.lastRow, localFrames ? 13 : 14) << "the bounds ignore the band";
        const Drawn d = drawn_rows(image, 5, 16, 7, 5);
        EXPECT_TRUE(d.right);
        return std::pair<int, int>(d.first, d.last);
    };
    const std::pair<int, int> all(0, 13);
    EXPECT_EQ(rows_of_band(0.0F, true), all);
    EXPECT_EQ(rows_of_band(0.1F, true), all);
    EXPECT_EQ(rows_of_band(-5.0F, true), all);
    // -2 to 2, the end exclusive
    EXPECT_EQ(rows_of_band(4.0F, true), std::make_pair(5, 8));
    // -2.5 and 2.5, cut
    EXPECT_EQ(rows_of_band(5.0F, true), std::make_pair(5, 8));
    EXPECT_EQ(rows_of_band(1000.0F, true), all);
    // No pixel fits.
    EXPECT_EQ(rows_of_band(std::nextafter(0.1F, 1.0F), true), std::make_pair(-1, -1));
    EXPECT_EQ(rows_of_band(4.0F, false), all) << "ignored without local frames";
}

TEST(FrameBand, NarrowBandJustAboveTheLimit) {
    CurvedRequest r = simple_request();
    r.localFrames = true;
    // Pixels of 0.025 mm: 0.11 / 2 / 0.025 = 2.2
    r.imageBox = image_box(480, 16, -6.0, -0.2, 12.0, 0.4);
    r.maxWidth = 0.11F;
    const Image image(r);
    // crossStart = -8 and 0.0001: -7
    int first = -1;
    int last = -1;
    for (int row = 0; row < 16; ++row) {
        if (image.kept(100, row)) continue;
        first = first < 0 ? row : first;
        last = row;
    }
    EXPECT_EQ(first, 5);
    EXPECT_EQ(last, 8);
}

TEST(FrameRange, WholeRangeAndParts) {
    CurvedRequest r = simple_request();
    const auto columns_of = [&](float from, float to) {
        CurvedRequest part = simple_request();
        part.rangeStart = from;
        part.rangeEnd = to;
        const Image image(part);
        EXPECT_EQ(image.out.result, 1);
        int first = -1;
        int last = -1;
        for (int c = 0; c < 12; ++c) {
            if (image.kept(c, 7)) continue;
            first = first < 0 ? c : first;
            last = c;
        }
        if (first >= 0) {
            EXPECT_EQ(image.out.columnBounds[0], 0) << "bounds are those of the whole";
            EXPECT_EQ(image.out.columnBounds[1], 11);
        }
        return std::pair<int, int>(first, last);
    };
    EXPECT_EQ(columns_of(0.0F, 1.0F), std::make_pair(0, 11));
    EXPECT_EQ(columns_of(0.0F, 0.5F), std::make_pair(0, 5));
    EXPECT_EQ(columns_of(0.5F, 1.0F), std::make_pair(6, 11));
    // 12 x 0.3 = 3.6 and 12 x 0.7 - 1 = 7.4
    EXPECT_EQ(columns_of(0.3F, 0.7F), std::make_pair(3, 7));
    EXPECT_EQ(columns_of(0.5F, 0.5F), std::make_pair(-1, -1));
    // 12 x 0.05 - 1 = -0.4, cut to 0: the first column belongs to the least part
    EXPECT_EQ(columns_of(0.0F, 0.05F), std::make_pair(0, 0));
}

// Calls on one raster through disjoint ranges may run at once.
TEST(FrameRange, PartsAtOnceFromSeveralThreads) {
    CurvedRequest r = simple_request();
    r.localFrames = true;
    r.thickness = 1.7F;
    r.imageBox = image_box(480, 64, -6.0, -0.8, 12.0, 1.6);
    RZ_CurveProjectData data;
    ASSERT_EQ(prepare(r, data), 1);
    Branches unused;
    ImageRaster<short> whole(r);
    draw(r, data, whole.data(), 0.0F, 1.0F, draw_by_entry, unused);
    ImageRaster<short> together(r);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            Branches none;
            const float from = static_cast<float>(i) / 4.0F;
            EXPECT_EQ(draw(r, data, together.data(), from, from + 0.25F, draw_by_entry, none).result, 1);
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_FALSE(whole.block().untouched());
    EXPECT_TRUE(whole == together);
}

TEST(FrameRange, EmptyRangeWritesNoBounds) {
    CurvedRequest r = simple_request();
    r.rangeStart = 0.5F;
    r.rangeEnd = 0.5F;
    const Image image(r);
    EXPECT_EQ(image.out.result, 1);
    EXPECT_TRUE(image.out.boundsUntouched());
    EXPECT_EQ(image.out.alongRemainder, 0.0F);
    EXPECT_EQ(image.out.crossRemainder, -1.0F);
    EXPECT_EQ(image.out.crossFirst, -7);
    EXPECT_EQ(image.out.startFraction, 0.0F);
    EXPECT_EQ(image.out.endFraction, 1.0F);
    EXPECT_NEAR(image.out.corner[1], 1.5F, 1e-5F);
    EXPECT_TRUE(image.raster.block().untouched());
}

TEST(FrameRange, ViewBeyondTheCurveDrawsNothing) {
    for (const double start : {9.0, -20.0}) {
        CurvedRequest r = simple_request();
        r.imageBox = image_box(12, 16, start, -8.0, 12.0, 16.0);
        const Image image(r);
        ASSERT_EQ(image.prepared, 1);
        EXPECT_EQ(image.out.result, 1);
        EXPECT_TRUE(image.out.boundsUntouched());
        EXPECT_TRUE(image.raster.block().untouched());
        EXPECT_EQ(image.out.startFraction, start > 0 ? 1.0F : 0.0F);
        EXPECT_EQ(image.out.endFraction, start > 0 ? 1.0F : 0.0F);
    }
}

TEST(FrameRefusals, WriteTheRemaindersOnly) {
    CurvedRequest r = simple_request();
    RZ_CurveProjectData data;
    ASSERT_EQ(prepare(r, data), 1);
    Branches unused;
    ImageRaster<short> raster(r);
    const auto expect_refused = [&](CurvedRequest& request) {
        const CurvedOutputs o = draw(request, data, raster.data(), 0.0F, 1.0F, draw_by_entry, unused);
        EXPECT_EQ(o.result, 0);
        EXPECT_EQ(o.alongRemainder, 0.0F);
        EXPECT_EQ(o.crossRemainder, 0.0F);
        EXPECT_TRUE(o.untouchedButRemainders());
        EXPECT_TRUE(raster.block().untouched());
    };
    r.spline.splineKind = 1;
    expect_refused(r);
    r.spline.splineKind = 0;
    r.imageBox.xDim = 0;
    expect_refused(r);
    // 12 / 200 x 16 = 0.96: one sample, made even: none
    r.imageBox = image_box(16, 16, 0.0, 0.0, 200.0, 200.0);
    expect_refused(r);
    // Other kinds than 1 are drawn.
    r = simple_request();
    r.spline.splineKind = 2;
    EXPECT_EQ(draw(r, data, raster.data(), 0.0F, 1.0F, draw_by_entry, unused).result, 1);
    EXPECT_FALSE(raster.block().untouched());
}

TEST(FrameRefusals, UnknownTypeAndNullRasterStillTellTheFrame) {
    CurvedRequest r = simple_request();
    const Image drawn(r);
    Branches unused;
    RZ_CurveProjectData data;
    ASSERT_EQ(prepare(r, data), 1);
    EXPECT_TRUE(draw(r, data, nullptr, 0.0F, 1.0F, draw_by_entry, unused) == drawn.out);
    for (const int type : {3, -1, 255}) {
        CurvedRequest other = simple_request();
        other.type = type;
        const Image image(other);
        EXPECT_TRUE(image.out == drawn.out);
        EXPECT_TRUE(image.raster.block().untouched());
    }
}

TEST(FrameSlices, SlicesBeyondTheMappedOnesRepeatThem) {
    CurvedRequest r = simple_request();
    r.firstSlice = 3;
    r.lastSlice = 9;
    // Sweep along -z through slices 1 to 13.
    r.spline = straight_spline({2.0F, 8.5F, 8.5F}, {14.0F, 8.5F, 8.5F}, {0.0F, 0.0F, -1.0F});
    const double start[3] = {0.0, 0.0, 1.5};
    const double x[3] = {16.0, 0.0, 0.0};
    const double y[3] = {0.0, 16.0, 0.0};
    const double z[3] = {0.0, 0.0, 12.5};
    r.crop = RZ_BoxParams(start, x, y, z);
    const Image image(r);
    // Cross index j at slice 8 - j: the frame, z 0 to 16 about 8.5, gives -7 to 8; k = 8 - 7; row of j = j
    // + 6.
    for (int j = -5; j <= 5; ++j) {
        const int slice = std::clamp(8 - j, 3, 9);
        EXPECT_EQ(image.raster.at(4, j + 6), telling(6, 8, slice)) << j;
    }
}

// Nobody reads the box that stands second, and the raster is used with its own row stride.
TEST(FrameRaster, StrideIsTheBoxesOwn) {
    CurvedRequest r = simple_request();
    r.imageBox.rowStride = 31;
    const Image image(r);
    for (int row = 0; row < 16; ++row) {
        for (int column = 0; column < 31; ++column) {
            const bool drawn = column < 12 && row < 14;
            EXPECT_EQ(!image.kept(column, row), drawn) << column << ' ' << row;
            if (drawn) {
                EXPECT_EQ(image.raster.at(column, row), telling(2 + column, row + 1, 8));
            }
        }
    }
    EXPECT_TRUE(image.raster.block().fencesIntact());
}

}  // namespace
