#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>

#include "toolkit/core/error.h"
#include "toolkit/core/phantom.h"
#include "toolkit/core/plane_request.h"

namespace rz_test {

using namespace rzobl;
using testing::HasSubstr;

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

Volume cube(int side = 20, SampleKind kind = SampleKind::Int16) {
    Grid grid;
    grid.size = {side, side, side};
    return Volume::allocate(grid, kind);
}

/// What reformat says when it refuses; empty if it does not.
std::string refusal(const std::function<void(PlaneRequest&)>& change, const Volume& volume = cube()) {
    PlaneRequest request = preset_request(Preset::Axial);
    change(request);
    try {
        reformat(volume, request);
    } catch (const Error& error) {
        EXPECT_THAT(error.what(), testing::Not(HasSubstr("\n")));
        return error.what();
    }
    return {};
}

}  // namespace

TEST(CoreRefusals, TheUnchangedRequestIsServed) {
    EXPECT_EQ(refusal([](PlaneRequest&) {}), "");
}

TEST(CoreRefusals, Sizes) {
    for (const int bad : {-1, 0, 1, 32768, 40000})
        EXPECT_THAT(refusal([bad](PlaneRequest& r) { r.size = {bad, 10}; }), HasSubstr("columns, not "));
    for (const int bad : {-1, 0, 32768, 40000})
        EXPECT_THAT(refusal([bad](PlaneRequest& r) { r.size = {10, bad}; }), HasSubstr("rows, not "));
}

TEST(CoreRefusals, Spacings) {
    for (const double bad : {0.0, -1.0, kNan, kInfinity})
        EXPECT_THAT(refusal([bad](PlaneRequest& r) { r.spacing = bad; }), HasSubstr("the spacing must be"));
    EXPECT_THAT(refusal([](PlaneRequest& r) { r.spacing = 1e-6; }), HasSubstr("larger spacing"));
    EXPECT_THAT(refusal([](PlaneRequest& r) { r.spacing = 512; }), HasSubstr("512 samples"));
}

TEST(CoreRefusals, Directions) {
    EXPECT_THAT(refusal([](PlaneRequest& r) { r.normal = {0, 0, 0}; }), HasSubstr("zero vector"));
    EXPECT_THAT(refusal([](PlaneRequest& r) { r.normal = {kNan, 0, 1}; }), HasSubstr("finite"));
    EXPECT_THAT(refusal([](PlaneRequest& r) { r.normal = {0, kInfinity, 1}; }), HasSubstr("finite"));
    EXPECT_THAT(refusal([](PlaneRequest& r) { r.up = Vec3{0, 0, 0}; }), HasSubstr("zero vector"));
    EXPECT_THAT(refusal([](PlaneRequest& r) { r.up = Vec3{0, 0, -3}; }), HasSubstr("parallel to the normal"));
}

TEST(CoreRefusals, Thicknesses) {
    for (const double bad : {-1.0, kNan, kInfinity})
        EXPECT_THAT(refusal([bad](PlaneRequest& r) { r.thickness = bad; }),
                    HasSubstr("the thickness must be"));
    EXPECT_THAT(refusal([](PlaneRequest& r) { r.thickness = 1e9; }), HasSubstr("thicker than the volume"));
    EXPECT_THAT(refusal([](PlaneRequest& r) { r.thickness = 30; }), HasSubstr("faces"));
}

TEST(CoreRefusals, Centres) {
    EXPECT_THAT(refusal([](PlaneRequest& r) { r.centre = Vec3{kNan, 0, 0}; }), HasSubstr("finite"));
    EXPECT_THAT(refusal([](PlaneRequest& r) { r.centre = Vec3{1e6, 0, 0}; }), HasSubstr("misses"));
    EXPECT_THAT(refusal([](PlaneRequest& r) { r.centre = Vec3{10, 10, 25}; }), HasSubstr("nothing to draw"));
    EXPECT_THAT(refusal([](PlaneRequest& r) {
                    r.centre = Vec3{-25, 10, 10};
                    r.size = {20, 20};
                    r.spacing = 1;
                }),
                HasSubstr("nothing to draw"));
}

TEST(CoreRefusals, Backgrounds) {
    for (const double bad : {-40000.0, 40000.0, kNan, kInfinity})
        EXPECT_THAT(refusal([bad](PlaneRequest& r) { r.background = bad; }), HasSubstr("does not fit"));
    EXPECT_THAT(refusal([](PlaneRequest& r) { r.background = -1; }, cube(20, SampleKind::UInt8)),
                HasSubstr("0 to 255"));
}

TEST(CoreRefusals, CombinationsThatDrawNothingOrSomethingElse) {
    EXPECT_THAT(
        refusal([](PlaneRequest& r) { r.type = RZ_OBL_RenditionType::Maximum; }, cube(20, SampleKind::Rgb)),
        HasSubstr("colour"));
    EXPECT_THAT(refusal([](PlaneRequest& r) {
                    r.quality = RZ_OBL_RenditionQuality::Nearest;
                    r.thickness = 5;
                }),
                HasSubstr("nearest"));
    EXPECT_THAT(refusal([](PlaneRequest& r) { r.type = static_cast<RZ_OBL_RenditionType>(3); }),
                HasSubstr("rendition type 3"));
    EXPECT_THAT(refusal([](PlaneRequest& r) { r.quality = static_cast<RZ_OBL_RenditionQuality>(5); }),
                HasSubstr("quality 5"));
}

TEST(CoreRefusals, A16BitVolumeTooLongForTheScansNumbers) {
    Grid grid;
    grid.size = {8192, 2, 2};
    EXPECT_THAT(refusal([](PlaneRequest&) {}, Volume::allocate(grid, SampleKind::Int16)), HasSubstr("8191"));
}

TEST(CoreRefusals, Windows) {
    EXPECT_THROW(check(Window{0, 0}), Error);
    EXPECT_THROW(check(Window{0, -5}), Error);
    EXPECT_THROW(check(Window{0, kNan}), Error);
    EXPECT_THROW(check(Window{kNan, 100}), Error);
    EXPECT_NO_THROW(check(Window{40, 400}));
}

TEST(CoreRefusals, Phantoms) {
    for (const double bad : {0.0, -1.0, 0.01, 50.0, kNan}) EXPECT_THROW(phantom_grid(bad), Error);
}

}  // namespace rz_test
