#include <gtest/gtest.h>

#include <cstdint>
#include <utility>

#include "tests/curved/simple_curve.h"

// The curve workers by hand, on the simple scene: curve index c at sample x = 2 + c, cross index j at
// y = 8 + j on row j + 7, z = 8; the normal is -z.

namespace {

using namespace rz_test;
using Image16 = Drawing<short>;
using Image8 = Drawing<std::uint8_t>;

constexpr int kMean = 0;
constexpr int kMaximum = 1;
constexpr int kMinimum = 2;

TEST(Worker, OneSampleMakesAllTypesAgree) {
    for (const float thickness : {0.0F, 0.4F, 0.99F}) {
        for (const int type : {kMean, kMaximum, kMinimum}) {
            CurvedRequest r = simple_request();
            r.thickness = thickness;
            r.type = type;
            const Image16 image(r);
            CurvedRequest bytes = simple_request(1);
            bytes.thickness = thickness;
            bytes.type = type;
            const Image8 image8(bytes);
            for (int c = 0; c < 12; ++c) {
                for (int row = 0; row < 14; ++row) {
                    EXPECT_EQ(image.raster.at(c, row), telling(2 + c, row + 1, 8));
                    EXPECT_EQ(image8.raster.at(c, row), telling_byte(2 + c, row + 1, 8));
                }
            }
        }
    }
}

// z 6 to 10 of 400 a slice: half thickness 2 mm, 5 samples.
TEST(Worker, SlabsReduceSymmetricSamples) {
    const int expected[3] = {0, 2 * 400, -2 * 400};
    for (const int type : {kMean, kMaximum, kMinimum}) {
        CurvedRequest r = simple_request();
        r.thickness = 2.5F;
        r.type = type;
        const Image16 image(r);
        for (int row = 0; row < 14; ++row)
            EXPECT_EQ(image.raster.at(3, row), telling(5, row + 1, 8) + expected[type]);
    }
}

TEST(Worker, MeanRoundsByAddingAHalfAndCutting) {
    // Three samples of which one is -11: -3.67 gives -3; -12 - 1 of three: -4.33 gives -3 as well.
    for (const int extra : {0, -2}) {
        CurvedRequest r = simple_request();
        fill_volume(r.volume, [&](int, int, int z) { return z == 8 ? -11 + extra : 0; });
        r.thickness = 1.5F;
        EXPECT_EQ(Image16(r).raster.at(4, 7), -3) << extra;
    }
    // -14 of three: -4.67, and 0.5: -4.
    CurvedRequest r = simple_request();
    fill_volume(r.volume, [](int, int, int z) { return z == 8 ? -14 : 0; });
    r.thickness = 1.5F;
    EXPECT_EQ(Image16(r).raster.at(4, 7), -4);
    fill_volume(r.volume, [](int, int, int z) { return z == 8 ? 11 : 0; });
    EXPECT_EQ(Image16(r).raster.at(4, 7), 4);
}

TEST(Worker, LimitsOfTheSampleType) {
    CurvedRequest bytes = simple_request(1);
    fill_volume(bytes.volume, [](int, int, int) { return 255; });
    CurvedRequest high = simple_request();
    fill_volume(high.volume, [](int, int, int) { return 32767; });
    CurvedRequest low = simple_request();
    fill_volume(low.volume, [](int, int, int) { return -32768; });
    for (const int type : {kMean, kMaximum, kMinimum}) {
        bytes.type = high.type = low.type = type;
        const Image8 white(bytes);
        const Image16 most(high);
        const Image16 least(low);
        for (int c = 0; c < 12; ++c) {
            EXPECT_EQ(white.raster.at(c, 7), 255);
            EXPECT_EQ(most.raster.at(c, 7), 32767);
            // -32768 and a half, cut toward zero
            EXPECT_EQ(least.raster.at(c, 7), -32767);
        }
        bytes.imageBox = simple_request().imageBox;
    }
}

// An 8-bit raster is unsigned: 200 stays above 100.
TEST(Worker, BytesAreUnsigned) {
    CurvedRequest r = simple_request(1);
    fill_volume(r.volume, [](int, int, int z) { return z == 8 ? 200 : 100; });
    r.thickness = 1.0F;
    r.type = kMaximum;
    EXPECT_EQ(Image8(r).raster.at(4, 7), 200);
    r.type = kMinimum;
    EXPECT_EQ(Image8(r).raster.at(4, 7), 100);
    r.type = kMean;
    // 400 / 3
    EXPECT_EQ(Image8(r).raster.at(4, 7), 133);
}

// Spacing 1 mm along x, 3 mm along z. The curve runs along x, where a step of its normal is a slice, and then
// along z, where it is a sample.
TEST(Worker, SamplesAlongTheThicknessFollowTheNormal) {
    CurvedRequest r = simple_request();
    r.volume = blank_curved_volume(RZ_Box(40, 16, 16, RZ_BoxParams(40.0F, 16.0F, 48.0F)), 0);
    std::vector<RZ_3Coord> points;
    for (int i = 0; i <= 6; ++i) points.emplace_back(4.0F + 4.0F * static_cast<float>(i), 8.5F, 7.5F);
    for (int i = 1; i <= 6; ++i) points.emplace_back(28.5F, 8.5F, 11.5F + 4.0F * static_cast<float>(i));
    r.spline = RZ_Spline(points.data(), static_cast<int>(points.size()), RZ_3Coord(0.0F, 1.0F, 0.0F));
    r.transposedIn = false;
    // Bright where the surface lies: slice 2 (z = 7.5 mm) in front, column x = 28 (28.5 mm) behind.
    fill_volume(r.volume, [](int x, int, int z) {
        const bool front = z == 2 && x < 24;
        const bool behind = x == 28 && z > 4;
        return front || behind ? 900 : 0;
    });
    const float len = r.spline.GetLength(0);
    const double start = static_cast<double>(len) / -2.0;
    r.imageBox = image_box(50, 16, start, -8.0, static_cast<double>(len), static_cast<double>(len) * 0.32);
    r.frame = r.volume.box.params;
    r.crop = r.frame;
    r.lastSlice = 15;
    r.thickness = 3.5F;
    const Image16 image(r);
    // 3.5 mm are one step of 3 mm, 3 samples, or three of 1 mm, 7 samples.
    for (const int column : {4, 8, 12}) EXPECT_EQ(image.raster.at(column, 7), 300) << column;
    for (const int column : {38, 42, 45}) EXPECT_EQ(image.raster.at(column, 7), 129) << column;
}

// A start before the first sample moves to it, and the line with it.
TEST(Worker, StartBelowZeroMovesTheWholeLine) {
    CurvedRequest r = transposed_request();
    fill_volume(r.volume, [](int x, int, int) { return 100 + 10 * x; });
    // 0.2 mm is sample -0.3: the line begins at 8.2 - 8 mm.
    r.spline = straight_spline({8.2F, 2.0F, 8.5F}, {8.2F, 14.0F, 8.5F}, {1.0F, 0.0F, 0.0F});
    r.imageBox = image_box(20, 12, -10.0, -6.0, 20.0, 12.0);
    const Image16 image(r);
    // -8.2 to 7.8: -8 to 7. crossStart = -9, half = 8, k = -1: crossLo = -8, row of j = 9 - 8 + 8 + j.
    EXPECT_EQ(image.out.crossFirst, -8);
    for (int k = 0; k < 15; ++k) EXPECT_EQ(image.raster.at(k + 1, 5), 100 + 10 * k) << k;

    // Along y the same: a sweep along y, the curve along x.
    CurvedRequest along = simple_request();
    fill_volume(along.volume, [](int, int y, int) { return 100 + 10 * y; });
    along.spline = straight_spline({2.0F, 8.2F, 8.5F}, {14.0F, 8.2F, 8.5F}, {0.0F, 1.0F, 0.0F});
    along.imageBox = image_box(12, 20, -6.0, -10.0, 12.0, 20.0);
    const Image16 column(along);
    for (int k = 0; k < 15; ++k) EXPECT_EQ(column.raster.at(5, k + 1), 100 + 10 * k) << k;

    // Along z nothing is limited: -0.3 extrapolates.
    CurvedRequest deep = simple_request();
    fill_volume(deep.volume, [](int, int, int z) { return 100 + 10 * z; });
    deep.spline = straight_spline({2.0F, 8.5F, 8.2F}, {14.0F, 8.5F, 8.2F}, {0.0F, 0.0F, -1.0F});
    deep.transposedIn = false;
    deep.signIn = -1;
    deep.imageBox = image_box(12, 20, -6.0, -10.0, 12.0, 20.0);
    const Image16 slices(deep);
    for (int k = 0; k < 15; ++k) EXPECT_EQ(slices.raster.at(5, k + 1), 97 + 10 * k) << k;
}

// A line that runs below 0 later is not limited: sample -0.2 lies 0.2 before sample 0, on the line through
// samples 0 and 1.
TEST(Worker, LineThatDriftsBelowZeroExtrapolates) {
    CurvedRequest r = transposed_request();
    fill_volume(r.volume, [](int x, int, int) { return 100 + 10 * x; });
    r.transposedIn = true;
    r.spline = straight_spline({8.1F, 2.0F, 8.5F}, {8.1F, 14.0F, 8.5F}, {-1.0F, 0.0F, 0.0F});
    // Pixels of 0.2 mm.
    r.imageBox = image_box(80, 60, -8.0, -6.0, 16.0, 12.0);
    const Image16 image(r);
    ASSERT_EQ(image.out.result, 1);
    // To 8.1 mm before the curve: 40.5, and 40 is the exclusive end. The last pixel lies at 8.1 - 7.8 mm.
    const int last = image.out.columnBounds[1];
    int column = last + 1;
    while (column > 0 && image.kept(column, 30)) --column;
    EXPECT_EQ(image.raster.at(column, 30), 98);
    EXPECT_EQ(image.raster.at(column - 1, 30), 100);
    EXPECT_EQ(image.raster.at(column - 5, 30), 108);
}

// The extreme's depth is kept from pixel to pixel, and a tie keeps the earlier sample: only the values show.
TEST(Worker, ExtremesSearchTheWholeSlabAtEveryPixel) {
    CurvedRequest r = simple_request();
    // The brightest slice moves with y.
    fill_volume(r.volume, [](int, int y, int z) {
        return z == 6 + y % 5 ? 1000 + y : z == 6 + (y + 2) % 5 ? -y : 5;
    });
    r.thickness = 2.0F;
    r.type = kMaximum;
    const Image16 most(r);
    r.type = kMinimum;
    r.imageBox = simple_request().imageBox;
    const Image16 least(r);
    for (int row = 0; row < 14; ++row) {
        EXPECT_EQ(most.raster.at(6, row), 1000 + row + 1) << row;
        // The half that is added cuts toward zero: -y + 0.5 gives -y + 1.
        EXPECT_EQ(least.raster.at(6, row), row == -1 ? 0 : -row) << row;
    }
}

TEST(Worker, NegativeThicknessIsAMeanOfNothing) {
    CurvedRequest r = simple_request();
    r.thickness = -0.5F;
    const Image16 image(r);
    for (int row = 0; row < 14; ++row) EXPECT_EQ(image.raster.at(6, row), 0);
}

// The mean counts its samples in 16 bits, downwards: 32767 are all of them, 32769 are none.
TEST(Worker, MeanCountsInSixteenBits) {
    for (const float thickness : {16383.5F, 16384.5F}) {
        CurvedRequest r = simple_request(1);
        const RZ_Box box(33000, 4, 4, RZ_BoxParams(33000.0F, 4.0F, 4.0F));
        r.volume = blank_curved_volume(box, 1);
        fill_volume(r.volume, [](int, int, int) { return 100; });
        r.frame = box.params;
        r.crop = box.params;
        r.lastSlice = 3;
        // Curve along y, sweep along z: the normal runs along x.
        r.spline = straight_spline({16500.5F, 0.5F, 2.5F}, {16500.5F, 3.5F, 2.5F}, {0.0F, 0.0F, -1.0F});
        r.imageBox = image_box(4, 6, -1.5, -2.25, 3.0, 4.5);
        r.thickness = thickness;
        const Image8 image(r);
        EXPECT_EQ(image.raster.at(1, 2), thickness < 16384.0F ? 100 : 0);
    }
}

// Pixels of 600 samples: a column of its own steps the whole way, the frame's step is limited to 512.
TEST(Worker, StepsBeyondFiveHundredSamples) {
    CurvedRequest r = transposed_request(1);
    const RZ_Box box(2000, 1300, 2, RZ_BoxParams(2000.0F, 1300.0F, 2.0F));
    r.volume = blank_curved_volume(box, 1);
    fill_volume(r.volume, [](int x, int, int) { return x / 8; });
    r.frame = box.params;
    r.crop = box.params;
    r.lastSlice = 1;
    r.spline = straight_spline({1000.5F, 40.5F, 0.75F}, {1000.5F, 1240.5F, 0.75F}, {1.0F, 0.0F, 0.0F});
    r.imageBox = image_box(4, 2, -1200.0, -600.0, 2400.0, 1200.0);
    RZ_CurveProjectData data;
    ASSERT_EQ(prepare(r, data), 1);
    Branches unused;
    const auto row = [&] {
        ImageRaster<std::uint8_t> raster(r);
        EXPECT_EQ(draw(r, data, raster.data(), 0.0F, 1.0F, draw_by_entry, unused).result, 1);
        // -1.67 to 1.67: -1 to 1, the end exclusive; the box starts at -2 pixels, cut to -1: k = 0.
        return std::pair<int, int>(raster.at(0, 0), raster.at(1, 0));
    };
    // 400 / 8 and 1000 / 8; 912 / 8
    EXPECT_EQ(row(), std::make_pair(50, 125));
    delete[] data.directions;
    data.directions = nullptr;
    EXPECT_EQ(row(), std::make_pair(50, 114));
}

// A caller's table without directions: the frame's own step and thickness serve all columns.
TEST(Worker, WithoutDirectionsTheFrameSetsUpTheColumns) {
    for (const float thickness : {0.0F, 2.5F}) {
        CurvedRequest r = simple_request();
        // A view that begins behind the curve's start.
        r.imageBox = image_box(12, 16, -3.0, -8.0, 12.0, 16.0);
        RZ_CurveProjectData data;
        ASSERT_EQ(prepare(r, data), 1);
        ASSERT_EQ(data.firstSample, 3);
        delete[] data.directions;
        data.directions = nullptr;
        r.thickness = thickness;
        r.type = kMaximum;
        Branches unused;
        ImageRaster<short> raster(r);
        EXPECT_EQ(draw(r, data, raster.data(), 0.0F, 1.0F, draw_by_entry, unused).result, 1);
        const int deepest = thickness > 0.0F ? 10 : 8;
        for (int row = 0; row < 14; ++row) EXPECT_EQ(raster.at(2, row), telling(7, row + 1, deepest));
    }
}

}  // namespace
