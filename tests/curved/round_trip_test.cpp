#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "tests/curved/phantoms.h"
#include "tests/curved/simple_curve.h"

// From the image to space and back, for every pixel; and a marker, put where a conversion says, in the image
// that RZ_CalcCurved draws.

namespace {

using namespace rz_test;

struct Sweep {
    RZ_3Coord direction;
    /// Whether the sweep lies along image x; the curve then runs along y, else along x.
    bool transposed;
    int sign;
};

const Sweep kSweeps[] = {
    {{0.0F, 1.0F, 0.0F}, false, 1},  {{0.0F, -0.8F, 0.6F}, false, -1}, {{0.0F, 0.0F, 1.0F}, false, -1},
    {{0.0F, 0.6F, -0.8F}, false, 1}, {{0.8F, 0.0F, 0.6F}, true, 1},    {{-1.0F, 0.0F, 0.0F}, true, -1},
};

struct Trans {
    int transposed;
    int along = 0;
    int across = 0;
    int sign = 0;
    int count;
    std::vector<RZ_3Coord> points;
};

struct Pixel {
    float xy[2] = {-1.0F, -1.0F};

    Pixel() = default;
    Pixel(const Sweep& sweep, int along, int across) {
        xy[sweep.transposed ? 1 : 0] = static_cast<float>(along);
        xy[sweep.transposed ? 0 : 1] = static_cast<float>(across);
    }
};

Trans prepare_trans(CurvedRequest& r) {
    Trans t;
    t.points.resize(static_cast<std::size_t>(std::max(r.imageBox.xDim, r.imageBox.yDim)));
    t.transposed = RZ_PrepareSplineTrans(r.volume.box, r.volume.box.params, r.spline, r.imageBox, &t.along,
                                         &t.across, &t.sign, t.points.data());
    t.count = RZ_GetWpixels(r.spline, r.imageBox);
    return t;
}

// Samples of 0.75 mm in a box turned about z, a smooth curve through its middle, square pixels.
CurvedRequest bent_request(const Sweep& sweep, double pixel, int across) {
    const double centre[3] = {30.0, -20.0, 11.0};
    const double a = 0.3;
    const double x[3] = {48.0 * std::cos(a), 48.0 * std::sin(a), 0.0};
    const double y[3] = {-48.0 * std::sin(a), 48.0 * std::cos(a), 0.0};
    const double z[3] = {0.0, 0.0, 48.0};
    const RZ_Box box(64, 64, 64, box_about(centre, x, y, z));
    std::vector<RZ_3Coord> points;
    for (int i = 0; i <= 12; ++i) {
        const double t = i / 12.0 - 0.5;
        const double along = 30.0 * t;
        const double swing = 4.0 * std::sin(5.0 * t);
        points.emplace_back(static_cast<float>(centre[0] + (sweep.transposed ? swing : along)),
                            static_cast<float>(centre[1] + (sweep.transposed ? along : swing)),
                            static_cast<float>(centre[2] + 3.0 * std::cos(4.0 * t) + 4.0 * t));
    }
    CurvedRequest r = whole_curve_request(blank_curved_volume(box, 0),
                                          RZ_Spline(points.data(), 13, sweep.direction), pixel, across);
    r.transposedIn.reset();
    if (sweep.transposed) {
        const auto w = static_cast<double>(r.imageBox.params.GetWidth());
        const auto h = static_cast<double>(r.imageBox.params.GetHeight());
        r.imageBox = image_box(r.imageBox.yDim, r.imageBox.xDim, -h / 2, -w / 2, h, w);
    }
    return r;
}

TEST(RoundTrip, EveryPixelInsideLongForms) {
    for (const Sweep& sweep : kSweeps) {
        CurvedRequest r = bent_request(sweep, 0.5, 60);
        const RZ_Box& box = r.volume.box;
        Trans t = prepare_trans(r);
        ASSERT_EQ(t.transposed, sweep.transposed ? 1 : 0);
        ASSERT_EQ(t.sign, sweep.sign);
        for (int i = 0; i < t.count; ++i) {
            const float fraction = static_cast<float>(i) / static_cast<float>(t.count - 1);
            for (int j = 0; j < 60; ++j) {
                SCOPED_TRACE(testing::Message() << i << ' ' << j);
                const Pixel pixel(sweep, t.along + i, j);
                float p[3];
                ASSERT_EQ(RZ_CurvedRasterToPhysical(p, box, box.params, r.spline, r.imageBox, t.transposed,
                                                    t.along, t.across, t.sign, t.points.data(), pixel.xy),
                          1);
                Pixel back;
                ASSERT_EQ(RZ_CurvedPhysicalToRaster(p, box, box.params, r.spline, r.imageBox, fraction,
                                                    t.transposed, t.along, t.across, t.sign,
                                                    &t.points[static_cast<std::size_t>(i)], back.xy),
                          1);
                ASSERT_NEAR(back.xy[0], pixel.xy[0], 2e-3F);
                ASSERT_NEAR(back.xy[1], pixel.xy[1], 2e-3F);
            }
        }
    }
}

// The search takes every pixel back to its own line. Only one on the curve itself settles on a neighbour.
TEST(RoundTrip, EveryPixelInsideShortForms) {
    for (const Sweep& sweep : kSweeps) {
        CurvedRequest r = bent_request(sweep, 1.0, 30);
        const RZ_Box& box = r.volume.box;
        const Trans t = prepare_trans(r);
        float toNorm[4][4];
        box.params.GetNormTrans(toNorm);
        int checked = 0;
        for (int i = 0; i < t.count; ++i) {
            for (int j = 0; j < 30; ++j) {
                if (j == t.across) continue;
                SCOPED_TRACE(testing::Message() << i << ' ' << j);
                const Pixel pixel(sweep, t.along + i, j);
                float p[3];
                ASSERT_EQ(RZ_CurvedRasterToPhysical(p, box, box.params, r.spline, r.imageBox, pixel.xy), 1);
                // Nearer to a face than a step, or outside, a ray's range is shifted.
                float q[3];
                RZ_vec3mlt(p, toNorm, q);
                if (*std::min_element(q, q + 3) < 0.05F || *std::max_element(q, q + 3) > 0.95F) continue;
                Pixel back;
                ASSERT_EQ(RZ_CurvedPhysicalToRaster(p, box, box.params, r.spline, r.imageBox, back.xy), 1);
                ASSERT_NEAR(back.xy[0], pixel.xy[0], sweep.transposed ? 2e-3F : 0.0F);
                ASSERT_NEAR(back.xy[1], pixel.xy[1], sweep.transposed ? 0.0F : 2e-3F);
                ++checked;
            }
        }
        EXPECT_GT(checked, t.count * 8);
    }
}

// A bright marker at the place of a pixel. The two grids differ in what they state: the conversions hold n
// points from end to end, the image's columns stand at pixel centres; across, both centre the extent that
// they meet, each with its own rounding. The image's outputs tell by how much.
TEST(RoundTrip, MarkerAppearsAtItsPixel) {
    for (const Sweep& sweep : kSweeps) {
        for (const double pixel : {0.5, 0.8}) {
            // Room for all of the box across: where it does not fit, one begins at its edge and one is
            // centred.
            const int rows = static_cast<int>(80.0 / pixel);
            CurvedRequest r = bent_request(sweep, pixel, rows);
            const Trans trans = prepare_trans(r);
            for (const int along : {6, 29}) {
                for (const int across : {rows / 2 - 9, rows / 2, rows / 2 + 8}) {
                    const Pixel at(sweep, along, across);
                    float p[3];
                    ASSERT_EQ(RZ_CurvedRasterToPhysical(p, r.volume.box, r.volume.box.params, r.spline,
                                                        r.imageBox, at.xy),
                              1);
                    const Place marker{static_cast<double>(p[0]), static_cast<double>(p[1]),
                                       static_cast<double>(p[2])};
                    fill_volume(r.volume, [&](int x, int y, int z) {
                        const double d = distance(sample_place(r.volume.box, x, y, z), marker);
                        return d < 4.0 ? std::lround(10000.0 * std::exp(-d * d / 1.2)) : 0L;
                    });
                    const RZ_Box before = r.imageBox;
                    const Drawing<short> image(r);
                    r.imageBox = before;
                    ASSERT_EQ(image.out.result, 1);
                    ASSERT_EQ(image.out.transposedOut != 0, sweep.transposed);
                    int brightest = 0;
                    int column = -1;
                    int row = -1;
                    for (int y = 0; y < r.imageBox.yDim; ++y) {
                        for (int x = 0; x < r.imageBox.xDim; ++x) {
                            if (image.kept(x, y) || image.raster.at(x, y) <= brightest) continue;
                            brightest = image.raster.at(x, y);
                            column = x;
                            row = y;
                        }
                    }
                    SCOPED_TRACE(testing::Message() << "marker at " << p[0] << ' ' << p[1] << ' ' << p[2]
                                                    << ", " << image.out.describe());
                    EXPECT_GT(brightest, 5000);
                    const double length = static_cast<double>(r.spline.GetLength(0));
                    const double arc = (along - trans.along) * length / (trans.count - 1);
                    const double alongHere =
                        arc * image.data.curveColumns / length - 0.5 - image.data.viewStart;
                    const int firstAcross = sweep.transposed ? image.out.columnBounds[0] : image.out.firstRow;
                    const int acrossHere = across - trans.across + firstAcross - image.out.crossFirst;
                    EXPECT_NEAR(alongHere, along, 1.0);
                    EXPECT_NEAR(acrossHere, across, 2);
                    EXPECT_NEAR(sweep.transposed ? row : column, alongHere, 1.0);
                    EXPECT_NEAR(sweep.transposed ? column : row, acrossHere, 1);
                }
            }
        }
    }
}

}  // namespace
