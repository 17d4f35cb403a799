#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "toolkit/core/curve_fit.h"
#include "toolkit/core/curved_request.h"
#include "toolkit/core/error.h"
#include "toolkit/core/vector.h"

// What a request for a curved picture may be, and what its defaults are.

namespace rz_test {

using namespace rzobl;
using testing::AllOf;
using testing::HasSubstr;

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// Samples at 0 to 39 mm along each axis, 100 throughout.
Volume cube(SampleKind kind = SampleKind::Int16, std::array<int, 3> size = {40, 40, 40}) {
    Grid grid;
    grid.size = size;
    Volume volume = Volume::allocate(grid, kind);
    const auto count = static_cast<std::size_t>(size[0]) * static_cast<std::size_t>(size[1]);
    for (int k = 0; k < size[2]; ++k) {
        if (kind == SampleKind::Int16)
            std::fill_n(static_cast<std::int16_t*>(volume.raster(k)), count, std::int16_t{100});
        else
            std::fill_n(static_cast<std::uint8_t*>(volume.raster(k)), count * bytesPerSample(kind),
                        std::uint8_t{100});
    }
    volume.padding = 0;
    return volume;
}

CurvedRequest arch() {
    CurvedRequest request;
    request.points = {{5, 10, 20}, {12, 30, 20}, {27, 30, 20}, {34, 10, 20}};
    return request;
}

/// What draw_curved says when it refuses; empty if it does not.
std::string refusal(const std::function<void(CurvedRequest&)>& change, const Volume& volume = cube()) {
    CurvedRequest request = arch();
    change(request);
    try {
        draw_curved(volume, request);
    } catch (const Error& error) {
        EXPECT_THAT(error.what(), testing::Not(HasSubstr("\n")));
        return error.what();
    }
    return {};
}

}  // namespace

TEST(CurvedRefusals, TheUnchangedRequestIsServed) {
    EXPECT_EQ(refusal([](CurvedRequest&) {}), "");
}

TEST(CurvedRefusals, Points) {
    const auto with = [](std::vector<Vec3> points) {
        return refusal([&points](CurvedRequest& r) { r.points = points; });
    };
    EXPECT_THAT(with({}), HasSubstr("at least two points, and none was"));
    EXPECT_THAT(with({{5, 5, 5}}), HasSubstr("at least two points, and one was"));
    EXPECT_THAT(with({{5, 5, 5}, {5, 5, 5}, {5, 5, 5}}), HasSubstr("two that differ"));
    EXPECT_THAT(with({{5, 5, 5}, {5, 5, 5.0000001}}), HasSubstr("two that differ"));
    EXPECT_THAT(with({{5, 5, 5}, {5, 5, 5.01}}), HasSubstr("too short for pixels of 1 mm"));
    EXPECT_THAT(with({{5, 5, 5}, {5, kNan, 8}}), AllOf(HasSubstr("point 2"), HasSubstr("finite")));
    EXPECT_THAT(with({{kInfinity, 5, 5}, {5, 5, 8}}), AllOf(HasSubstr("point 1"), HasSubstr("finite")));
    EXPECT_THAT(with({{5, 5, 5}, {5, 5, 1e30}}), AllOf(HasSubstr("point 2"), HasSubstr("LPS")));
    EXPECT_THAT(with({{5, 5, 5}, {5, 500, 5}}), AllOf(HasSubstr("point 2"), HasSubstr("480.937")));
    EXPECT_THAT(with({{-5, 5, 5}, {-5, 30, 5}}), HasSubstr("outside the volume"));
    EXPECT_THAT(with(std::vector<Vec3>(kMostCurvePoints + 1, Vec3{5, 5, 5})), HasSubstr("at most 100000"));
}

TEST(CurvedRefusals, OnePointInsideIsEnough) {
    EXPECT_EQ(refusal([](CurvedRequest& r) { r.points = {{-10, 20, 20}, {20, 20, 20}}; }), "");
}

TEST(CurvedRefusals, Sweeps) {
    const auto with = [](Vec3 sweep, bool localFrames = false) {
        return refusal([sweep, localFrames](CurvedRequest& r) {
            r.sweep = sweep;
            r.localFrames = localFrames;
        });
    };
    EXPECT_THAT(with({0, 0, 0}), HasSubstr("zero vector"));
    EXPECT_THAT(with({0, kNan, 1}), HasSubstr("finite"));
    EXPECT_EQ(with({0, 0, 1e-300}), "");
    EXPECT_EQ(with({0, 0, -1e300}), "");
    // The arch runs to the left at its top.
    EXPECT_THAT(with({1, 0, 0}), HasSubstr("runs along the curve"));
    // From its start on along the curve, or never.
    CurvedRequest straight;
    for (const double t : {5.0, 20.0, 35.0}) straight.points.push_back({t, t, t});
    const auto along_line = [&straight](double x, double y, double z) {
        straight.sweep = Vec3{x, y, z};
        return refusal([&straight](CurvedRequest& r) { r = straight; });
    };
    for (const bool localFrames : {false, true}) {
        straight.localFrames = localFrames;
        EXPECT_THAT(along_line(1, 1, 1), HasSubstr("runs along the curve"));
        EXPECT_THAT(along_line(-2, -2, -2.01), HasSubstr("runs along the curve"));
        EXPECT_EQ(along_line(1, 1, 0), "");
    }
}

TEST(CurvedRefusals, Numbers) {
    for (const int bad : {-1, 0, 32768, 40000}) {
        EXPECT_THAT(refusal([bad](CurvedRequest& r) { r.size = {bad, 10}; }), HasSubstr("columns, not "));
        EXPECT_THAT(refusal([bad](CurvedRequest& r) { r.size = {10, bad}; }), HasSubstr("rows, not "));
    }
    for (const double bad : {0.0, -1.0, kNan, kInfinity})
        EXPECT_THAT(refusal([bad](CurvedRequest& r) { r.spacing = bad; }), HasSubstr("the spacing must be"));
    EXPECT_THAT(refusal([](CurvedRequest& r) { r.spacing = 0.001; }), HasSubstr("larger spacing"));
    EXPECT_THAT(refusal([](CurvedRequest& r) { r.spacing = 1e-7; }), HasSubstr("too small"));
    EXPECT_THAT(refusal([](CurvedRequest& r) { r.spacing = 1000; }), HasSubstr("too large"));
    EXPECT_THAT(refusal([](CurvedRequest& r) { r.spacing = 60; }), HasSubstr("too short"));
    for (const double bad : {-1.0, kNan, kInfinity})
        EXPECT_THAT(refusal([bad](CurvedRequest& r) { r.thickness = bad; }),
                    HasSubstr("the thickness must be"));
    EXPECT_THAT(refusal([](CurvedRequest& r) { r.thickness = 1e9; }), HasSubstr("thicker than the volume"));
    EXPECT_THAT(refusal([](CurvedRequest& r) { r.thickness = 65; }), HasSubstr("two faces inside"));
    EXPECT_THAT(refusal([](CurvedRequest& r) { r.band = 10; }), HasSubstr("local frames"));
    for (const double bad : {-1.0, 0.0, 0.1, kNan, kInfinity})
        EXPECT_THAT(refusal([bad](CurvedRequest& r) {
                        r.localFrames = true;
                        r.band = bad;
                    }),
                    HasSubstr("the band must be"));
    EXPECT_THAT(refusal([](CurvedRequest& r) { r.background = 1e9; }), HasSubstr("does not fit"));
    EXPECT_THAT(refusal([](CurvedRequest& r) { r.type = static_cast<RZ_OBL_RenditionType>(3); }),
                HasSubstr("rendition type 3"));
}

TEST(CurvedRefusals, Volumes) {
    const auto nothing = [](CurvedRequest&) {};
    EXPECT_EQ(refusal(nothing, cube(SampleKind::UInt8)), "");
    EXPECT_THAT(refusal(nothing, cube(SampleKind::Rgb)), HasSubstr("not from colours"));
    EXPECT_THAT(refusal(nothing, cube(SampleKind::Int16, {1, 40, 40})), HasSubstr("at least 2 x 2"));
    EXPECT_THAT(refusal(nothing, cube(SampleKind::Int16, {40, 1, 40})), HasSubstr("at least 2 x 2"));
}

TEST(CurvedDefaults, TheWholeCurveByTheWholeVolume) {
    const CurvedImage picture = draw_curved(cube(), arch());
    // The plane of the arch is axial: swept to the head, which is up, from left to right.
    EXPECT_FALSE(picture.curveRunsDown);
    EXPECT_NEAR(picture.sweep[2], -1, 1e-6);
    const int columns = static_cast<int>((std::floor(picture.curveLength) + 1) / 2) * 2;
    EXPECT_EQ(picture.image.width(), columns);
    EXPECT_EQ(picture.lines.size(), static_cast<std::size_t>(columns));
    EXPECT_EQ(picture.firstLine, 0);
    EXPECT_NEAR(picture.image.height(), 40, 1);
    EXPECT_NEAR(picture.image.grid.spacing[0], picture.curveLength / columns, 1e-9);
    EXPECT_EQ(picture.image.grid.spacing[1], 1);
    EXPECT_EQ(picture.image.background, 0);
    // Sample centres from 0 to 39 less the margins; the head, z = 39, at the top.
    for (const int column : {0, columns / 2, columns - 1}) {
        EXPECT_EQ(picture.image.stored(column, picture.curvePixel), 100);
        EXPECT_GT((*picture.position(column, 0))[2], 37);
        EXPECT_LT((*picture.position(column, picture.image.height() - 1))[2], 2);
    }
}

TEST(CurvedDefaults, ASweepToTheLeftRunsAlongRows) {
    CurvedRequest request;
    request.points = {{20, 22, 35}, {20, 25, 20}, {20, 22, 5}};
    const CurvedImage picture = draw_curved(cube(), request);
    EXPECT_TRUE(picture.curveRunsDown);
    EXPECT_NEAR(picture.sweep[0], 1, 1e-6);
    EXPECT_GT((*picture.position(20, 0))[2], (*picture.position(20, 10))[2]);
    EXPECT_GT((*picture.position(30, 5))[0], (*picture.position(20, 5))[0]);
    EXPECT_EQ(picture.position(0, picture.image.height()), std::nullopt);
    EXPECT_EQ(picture.position(0, -1), std::nullopt);
}

TEST(CurvedDefaults, StraightCurvesAreSweptAcross) {
    const auto sweep = [](const Vec3& to) {
        return default_sweep(fit_curve({{0, 0, 0}, scaled(to, 0.5), to}));
    };
    EXPECT_NEAR(std::abs(sweep({0, 0, 9})[0]), 1, 1e-9);
    EXPECT_NEAR(std::abs(sweep({0, 9, 0})[2]), 1, 1e-9);
    EXPECT_NEAR(std::abs(sweep({9, 0, 0})[2]), 1, 1e-9);
    EXPECT_NEAR(dot(sweep({3, 4, 5}), {3, 4, 5}), 0, 1e-9);
    EXPECT_NEAR(length(sweep({3, 4, 5})), 1, 1e-9);
}

TEST(CurvedDefaults, TheSweepIsTheNormalOfTheBestPlane) {
    // A flat arch in a tilted plane.
    const Vec3 a{0.6, 0.8, 0}, b{0, 0, 1};
    std::vector<Vec3> points;
    for (int i = 0; i <= 20; ++i) {
        const double t = 3.0 * i / 20;
        points.push_back(added(scaled(a, 30 * std::cos(t)), scaled(b, 20 * std::sin(t))));
    }
    const CurveFit fit = fit_curve(points);
    EXPECT_FALSE(fit.straight());
    EXPECT_NEAR(std::abs(dot(fit.axis[2], {0.8, -0.6, 0})), 1, 1e-9);
    EXPECT_GE(fit.spread[0], fit.spread[1]);
    EXPECT_NEAR(fit.spread[2], 0, 1e-9);
    EXPECT_EQ(default_sweep(fit), fit.axis[2]);
}

TEST(CurvedSizes, AGivenSizeShowsTheWholeCurveInTheMiddle) {
    CurvedRequest request = arch();
    request.size = {200, 60};
    const CurvedImage picture = draw_curved(cube(), request);
    EXPECT_EQ(picture.image.width(), 200);
    EXPECT_EQ(picture.image.height(), 60);
    EXPECT_EQ(picture.curvePixel, 30);
    EXPECT_NEAR(picture.image.grid.spacing[1], picture.curveLength / 200, 1e-9);
    EXPECT_EQ(picture.lines.size(), 200U);
}

TEST(CurvedSizes, SpacingAndSizeTogetherShowTheMiddleOfTheCurve) {
    CurvedRequest request = arch();
    request.spacing = 0.5;
    const double length = draw_curved(cube(), request).curveLength;
    request.size = {40, 20};
    const CurvedImage middle = draw_curved(cube(), request);
    EXPECT_EQ(middle.lines.size(), 40U);
    EXPECT_NEAR(middle.lines[20].arcLength, length / 2, 0.6);
    request.size = {400, 20};
    const CurvedImage wide = draw_curved(cube(), request);
    EXPECT_NEAR(wide.firstLine + 0.5 * static_cast<double>(wide.lines.size()), 200, 1);
    // Beyond the ends of the curve there is background.
    EXPECT_EQ(wide.image.stored(wide.firstLine - 1, 10), 0);
    EXPECT_EQ(wide.image.stored(wide.firstLine, 10), 100);
    EXPECT_EQ(wide.position(wide.firstLine - 1, 10), std::nullopt);
    EXPECT_EQ(wide.image.firstColumn, wide.firstLine);
}

TEST(CurvedSizes, ABandIsDrawnAboutTheCurve) {
    CurvedRequest request = arch();
    request.localFrames = true;
    request.spacing = 0.5;
    request.size = {100, 60};
    request.band = 8;
    const Image image = draw_curved(cube(), request).image;
    for (int row = 0; row < 60; ++row)
        EXPECT_EQ(image.stored(50, row), row >= 22 && row < 38 ? 100 : 0) << row;
    request.size.reset();
    const CurvedImage fitted = draw_curved(cube(), request);
    EXPECT_EQ(fitted.image.height(), 16);
    EXPECT_EQ(fitted.curvePixel, 8);
}

TEST(CurvedSizes, OnePixel) {
    CurvedRequest request = arch();
    request.size = {1, 1};
    request.spacing = 1;
    const CurvedImage picture = draw_curved(cube(), request);
    EXPECT_EQ(picture.image.stored(0, 0), 100);
}

TEST(CurvedRequests, ASingleSliceIsDrawnFromItsFrontToItsBack) {
    CurvedRequest request;
    request.points = {{5, 10, 0}, {20, 30, 0}, {35, 10, 0}};
    request.sweep = Vec3{0, 0, 1};
    request.spacing = 0.1;
    const Image image = draw_curved(cube(SampleKind::Int16, {40, 40, 1}), request).image;
    EXPECT_EQ(image.height(), 8);  // the ends of the sweep and its last step are left out
    EXPECT_EQ(image.stored(image.width() / 2, 5), 100);
}

TEST(CurvedRequests, SignedBytes) {
    Volume volume = cube(SampleKind::UInt8);
    volume.isSigned = true;
    volume.padding = -128;
    for (int k = 0; k < 40; ++k)
        std::fill_n(static_cast<std::int8_t*>(volume.raster(k)), 1600, std::int8_t(k - 60));
    const CurvedImage picture = draw_curved(volume, arch());
    EXPECT_TRUE(picture.image.isSigned);
    int drawn = 0;
    for (int row = 0; row < picture.image.height(); ++row) {
        const double want = (*picture.position(10, row))[2] - 60;
        const int got = picture.image.stored(10, row);
        if (got == -128) continue;
        EXPECT_NEAR(got, want, 0.51);
        ++drawn;
    }
    EXPECT_GE(drawn, 36);
    EXPECT_EQ(static_cast<std::int8_t*>(volume.raster(3))[7], -57) << "the volume was changed";
}

TEST(CurvedRequests, SamplesThatEqualTheBackgroundAreAPicture) {
    CurvedRequest request = arch();
    request.background = 100;
    const Image image = draw_curved(cube(), request).image;
    EXPECT_EQ(image.stored(3, 3), 100);
    EXPECT_EQ(image.stored(image.width() - 1, image.height() - 1), 100);
}

TEST(CurvedRequests, AHundredThousandPoints) {
    CurvedRequest request;
    for (std::size_t i = 0; i < kMostCurvePoints; ++i) {
        const double t = 12.5 * static_cast<double>(i) / static_cast<double>(kMostCurvePoints - 1);
        request.points.push_back({20 + 12 * std::cos(t), 20 + 12 * std::sin(t), 5 + 2 * t});
    }
    for (const bool localFrames : {false, true}) {
        request.localFrames = localFrames;
        const CurvedImage picture = draw_curved(cube(), request);
        EXPECT_NEAR(picture.curveLength, 12.5 * std::hypot(12.0, 2.0), 0.01);
        EXPECT_EQ(picture.image.stored(picture.image.width() / 2, picture.curvePixel), 100);
    }
}

TEST(CurvedCancellation, ATaskThatWasCancelledDrawsNothing) {
    WKR_Task task;
    task.Cancel();
    EXPECT_THROW(draw_curved(cube(), arch(), {&task, {}}), WKR_CANCEL_EXCEPTION);
}

TEST(CurvedCancellation, EndsInTheMiddle) {
    CurvedRequest request = arch();
    request.spacing = 0.01;
    request.size = {5000, 1000};
    WKR_Task task;
    double last = 0;
    const auto stop = [&](double share) {
        last = share;
        if (share > 0.3) task.Cancel();
    };
    EXPECT_THROW(draw_curved(cube(), request, {&task, stop}), WKR_CANCEL_EXCEPTION);
    EXPECT_GT(last, 0.3);
    EXPECT_LT(last, 0.6);
}

TEST(CurvedProgress, RisesToOne) {
    CurvedRequest request = arch();
    request.spacing = 0.02;
    request.size = {3000, 1500};
    std::vector<double> shares;
    draw_curved(cube(), request, {nullptr, [&](double share) { shares.push_back(share); }});
    ASSERT_GE(shares.size(), 3U);
    EXPECT_TRUE(std::is_sorted(shares.begin(), shares.end()));
    EXPECT_GT(shares.front(), 0);
    EXPECT_EQ(shares.back(), 1);
}

}  // namespace rz_test
