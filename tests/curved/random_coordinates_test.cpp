#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

#include "rz_obl/rz_oblique/rz_oblique.h"
#include "tests/curved/log_lines.h"
#include "tests/curved/run_curved.h"
#include "tests/reference/curved/coordinates.h"
#include "tests/reference/curved/plane_box.h"

// Seeded curves and boxes through the conversions between image and space, RZ_GetWpixels and RZ_GetPlaneBox,
// against the plain forms: every output bit for bit, and the log.

namespace {

using namespace rz_test;
using rz_reference::Notes;

struct CoordinateRequest {
    RZ_Box box;
    RZ_BoxParams params;
    RZ_Spline spline{SPLINE_CURVE, EDGE_OPEN};
    RZ_Box imageBox;
    int sign;
    int transposed;
    int alongOffset;
    int acrossOffset;
};

CoordinateRequest make_request(Seed seed, Branches& branches) {
    Random random(seed * 2 + 900000);
    CoordinateRequest r;
    r.box = make_volume_box(random, branches);
    r.params = random.once_in(2) ? r.box.params : make_volume_box(random, branches).params;
    r.spline = make_spline(random, random.once_in(12) ? r.params : r.box.params, branches);
    if (random.once_in(25)) r.spline.splineKind = random.pick({1, 2, -1});
    // Only its direction counts.
    if (random.once_in(3)) r.spline.sweepDirection *= random.pick({0.1F, 3.0F, 700.0F});
    r.imageBox = make_image_box(random, r.spline.GetLength(0), branches);
    if (random.once_in(15)) (random.once_in(2) ? r.imageBox.xDim : r.imageBox.yDim) = random.between(-1, 2);
    r.sign = random.pick({1, -1});
    r.transposed = random.pick({0, 0, 1, 7});
    r.alongOffset = random.between(-20, 20);
    r.acrossOffset = random.between(-20, 20);
    return r;
}

void expect_log(const LogLines& log, const Notes& notes, const char* function) {
    EXPECT_EQ(log.texts(), notes.lines);
    for (const auto& line : log.lines()) {
        EXPECT_EQ(line.file, "RZ_OBLcurved");
        EXPECT_EQ(line.function, function);
        EXPECT_EQ(line.level, 3);
        EXPECT_EQ(line.category, 208);
    }
}

template <class T>
bool same_bits(const T& a, const T& b) {
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

RZ_3Coord random_point(Random& random, const CoordinateRequest& r) {
    float middle[3];
    r.box.params.GetMiddle(middle);
    float size[3];
    r.box.params.GetSize(size);
    RZ_3Coord p(middle);
    p.x += random.real(-0.7F, 0.7F) * size[0];
    p.y += random.real(-0.7F, 0.7F) * size[1];
    p.z += random.real(-0.7F, 0.7F) * size[2];
    return p;
}

TEST(RandomCoordinates, RZ_PrepareSplineTrans) {
    Branches branches;
    for (const Seed seed : seeds(3000)) {
        CoordinateRequest r = make_request(seed, branches);
        SCOPED_TRACE(replay(seed));
        const auto room = static_cast<std::size_t>(std::max({r.imageBox.xDim, r.imageBox.yDim, 1}));
        std::vector<RZ_3Coord> want(room, RZ_3Coord(-3.0F, -5.0F, -7.0F));
        std::vector<RZ_3Coord> got = want;
        std::array<int, 3> wantOut{-81, -82, -83};
        std::array<int, 3> gotOut = wantOut;
        Notes notes{branches, {}};
        LogLines log(3);
        const int expected = rz_reference::prepare_spline_trans(r.box, r.spline, r.imageBox, &wantOut[0],
                                                                &wantOut[1], &wantOut[2], want.data(), notes);
        EXPECT_EQ(RZ_PrepareSplineTrans(r.box, r.params, r.spline, r.imageBox, &gotOut[0], &gotOut[1],
                                        &gotOut[2], got.data()),
                  expected);
        EXPECT_EQ(wantOut, gotOut);
        EXPECT_EQ(std::memcmp(want.data(), got.data(), room * sizeof(RZ_3Coord)), 0);
        expect_log(log, notes, "RZ_PrepareSplineTrans");
        EXPECT_EQ(RZ_GetWpixels(r.spline, r.imageBox),
                  rz_reference::get_w_pixels(r.spline, r.imageBox, branches));
        if (!notes.lines.empty()) {
            branches.met(notes.lines[0] == "RZ_CalcCurved: negative image width\n" ? "width refused"
                                                                                   : "size refused");
            EXPECT_EQ(gotOut[0], -81);
            EXPECT_EQ(gotOut[1], -82);
        }
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_EQ(
        branches.never_met({"width refused", "size refused", "curve along image x", "curve along image y",
                            "curve fills the image", "curve shorter than the image", "column outside the box",
                            "column longer than the image", "position across the curve limited",
                            "more points than pixels", "all points have a pixel"}),
        "");
}

TEST(RandomCoordinates, RZ_CurvedRasterToPhysical) {
    Branches branches;
    for (const Seed seed : seeds(3000)) {
        CoordinateRequest r = make_request(seed, branches);
        SCOPED_TRACE(replay(seed));
        Random random(seed + 5);
        std::vector<RZ_3Coord> points(60);
        for (RZ_3Coord& point : points) point = random_point(random, r);
        // Long form: any points, along within them.
        const float along = static_cast<float>(r.alongOffset) + random.real(1.0F, 58.0F);
        const float across = static_cast<float>(r.acrossOffset) + random.real(-30.0F, 30.0F);
        const std::array<float, 2> raster =
            r.transposed ? std::array<float, 2>{across, along} : std::array<float, 2>{along, across};
        std::array<float, 3> want{-1.5F, -2.5F, -3.5F};
        std::array<float, 3> got = want;
        {
            Notes notes{branches, {}};
            LogLines log(3);
            const int expected = rz_reference::raster_to_physical_long(
                want.data(), r.spline, r.imageBox, r.transposed, r.alongOffset, r.acrossOffset, r.sign,
                points.data(), raster.data(), notes);
            EXPECT_EQ(RZ_CurvedRasterToPhysical(got.data(), r.box, r.params, r.spline, r.imageBox,
                                                r.transposed, r.alongOffset, r.acrossOffset, r.sign,
                                                points.data(), raster.data()),
                      expected);
            EXPECT_TRUE(same_bits(want, got));
            expect_log(log, notes, "RZ_CurvedRasterToPhysical");
            branches.met(expected == 1 ? "long form" : "long form refused");
        }
        // Short form: pixels that lie along the curve.
        std::array<int, 3> trans{};
        Notes ignored{branches, {}};
        const int t = rz_reference::prepare_spline_trans(r.box, r.spline, r.imageBox, &trans[0], &trans[1],
                                                         &trans[2], points.data(), ignored);
        const int count = std::max(rz_reference::get_w_pixels(r.spline, r.imageBox, branches), 2);
        const float x = static_cast<float>(trans[0]) + random.real(0.0F, static_cast<float>(count));
        const float y = random.real(0.0F, 40.0F);
        const std::array<float, 2> pixel = t ? std::array<float, 2>{y, x} : std::array<float, 2>{x, y};
        {
            Notes notes{branches, {}};
            LogLines log(3);
            const int expected = rz_reference::raster_to_physical_short(want.data(), r.params, r.spline,
                                                                        r.imageBox, pixel.data(), notes);
            EXPECT_EQ(
                RZ_CurvedRasterToPhysical(got.data(), r.box, r.params, r.spline, r.imageBox, pixel.data()),
                expected);
            EXPECT_TRUE(same_bits(want, got));
            expect_log(log, notes, "RZ_CurvedRasterToPhysical");
            branches.met(expected == 1 ? "short form" : "short form refused");
        }
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_EQ(branches.never_met({"long form", "long form refused", "short form", "short form refused"}), "");
}

TEST(RandomCoordinates, RZ_CurvedPhysicalToRaster) {
    Branches branches;
    for (const Seed seed : seeds(3000)) {
        CoordinateRequest r = make_request(seed, branches);
        SCOPED_TRACE(replay(seed));
        Random random(seed + 6);
        RZ_3Coord point = random_point(random, r);
        if (random.once_in(20)) {
            point.y = random.pick({std::numeric_limits<float>::quiet_NaN(), 1.0e15F, -1.0e30F,
                                   std::numeric_limits<float>::infinity()});
        }
        if (random.once_in(6)) {
            // A point of the curve that the search meets itself.
            const int count = RZ_GetWpixels(r.spline, r.imageBox);
            if (count > 1) {
                std::vector<RZ_3Coord> met(static_cast<std::size_t>(count));
                r.spline.InterpolateEDCurve(met.data(), count, 5, nullptr, 0, 0);
                point = met[static_cast<std::size_t>(random.between(0, count - 1))];
            }
        }
        const std::array<float, 3> physical{point.x, point.y, point.z};
        RZ_3Coord origin = random_point(random, r);
        const float fraction =
            random.once_in(4) ? random.pick({0.0F, 1.0F, -0.5F, 7.0F}) : random.real(0.0F, 1.0F);
        std::array<float, 2> want{-1.5F, -2.5F};
        std::array<float, 2> got = want;
        {
            Notes notes{branches, {}};
            LogLines log(3);
            const int expected = rz_reference::physical_to_raster_long(
                physical.data(), r.spline, r.imageBox, fraction, r.transposed, r.alongOffset, r.acrossOffset,
                r.sign, origin, want.data(), notes);
            EXPECT_EQ(RZ_CurvedPhysicalToRaster(physical.data(), r.box, r.params, r.spline, r.imageBox,
                                                fraction, r.transposed, r.alongOffset, r.acrossOffset, r.sign,
                                                &origin, got.data()),
                      expected);
            EXPECT_TRUE(same_bits(want, got) || std::isnan(point.y));
            expect_log(log, notes, "RZ_CurvedPhysicalToRaster");
            branches.met(expected == 1 ? "long form" : "long form refused");
        }
        want = {-1.5F, -2.5F};
        got = want;
        {
            Notes notes{branches, {}};
            LogLines log(3);
            const int expected = rz_reference::physical_to_raster_short(physical.data(), r.params, r.spline,
                                                                        r.imageBox, want.data(), notes);
            EXPECT_EQ(
                RZ_CurvedPhysicalToRaster(physical.data(), r.box, r.params, r.spline, r.imageBox, got.data()),
                expected);
            EXPECT_TRUE(same_bits(want, got)) << want[0] << ' ' << got[0] << ' ' << want[1] << ' ' << got[1];
            expect_log(log, notes, "RZ_CurvedPhysicalToRaster");
            branches.met(expected == 1 ? "short form" : "short form refused");
        }
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_EQ(branches.never_met(
                  {"long form", "long form refused", "short form", "short form refused", "no nearest line"}),
              "");
}

TEST(RandomCoordinates, RZ_GetPlaneBox) {
    Branches branches;
    for (const Seed seed : seeds(3000)) {
        CoordinateRequest r = make_request(seed, branches);
        SCOPED_TRACE(replay(seed));
        if (seed % 40 == 0) {
            branches.met("box that is nowhere");
            double sides[3][3] = {{4.0, 0.0, 0.0}, {0.0, 4.0, 0.0}, {0.0, 0.0, 4.0}};
            double start[3] = {-2.0, -2.0, -2.0};
            start[seed / 40 % 3] = std::numeric_limits<double>::quiet_NaN();
            r.params = RZ_BoxParams(start, sides[0], sides[1], sides[2]);
        }
        for (const int insideOnly : {0, 1, -4}) {
            RZ_Box want(1, 2, 3, r.imageBox.params);
            RZ_Box got = want;
            const int expected =
                rz_reference::get_plane_box(r.params, r.spline, want.params, insideOnly, branches);
            EXPECT_EQ(RZ_GetPlaneBox(r.params, r.spline, got.params, insideOnly), expected);
            EXPECT_TRUE(same_box(want, got));
            branches.met(expected == 1 ? "a surface" : "none");
        }
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_EQ(
        branches.never_met({"a surface", "none", "box that is nowhere", "no surface in the box",
                            "curve point outside the box", "line beside the box",
                            "stretch ahead of the curve", "stretch behind the curve",
                            "line without a stretch", "width along the curve", "height along the curve"}),
        "");
}

}  // namespace
