#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "tests/toolkit/core_fields.h"

namespace rz_test {

using namespace rzobl;

namespace {

/// A head of 60 x 80 x 50 samples, 1 x 1 x 2 mm, with one bright ball: x to the left, y to the back, z to the
/// head.
Volume head_with_ball(const Vec3& ball) {
    Grid grid;
    grid.size = {60, 80, 50};
    grid.spacing = {1, 1, 2};
    grid.origin = {-29.5, -39.5, -49};
    Volume volume = Volume::allocate(grid, SampleKind::Int16);
    for (int k = 0; k < 50; ++k)
        for (int j = 0; j < 80; ++j)
            for (int i = 0; i < 60; ++i) {
                const Vec3 p =
                    grid.toPhysical({static_cast<double>(i), static_cast<double>(j), static_cast<double>(k)});
                if (length(added(p, scaled(ball, -1))) < 5)
                    static_cast<std::int16_t*>(volume.raster(k))[j * 60 + i] = 1000;
            }
    return volume;
}

/// Middle of the bright pixels, as a share of the picture from its middle: right and down are positive.
std::array<double, 2> bright_spot(const Image& image) {
    double sum = 0, x = 0, y = 0;
    for (int row = 0; row < image.height(); ++row)
        for (int column = 0; column < image.width(); ++column)
            if (image.stored(column, row) > 100) {
                sum += 1;
                x += column;
                y += row;
            }
    return {x / sum - 0.5 * (image.width() - 1), y / sum - 0.5 * (image.height() - 1)};
}

}  // namespace

TEST(CoreRequest, AxialHasTheLeftOnTheRightAndTheFrontUp) {
    const std::array<double, 2> spot =
        bright_spot(reformat(head_with_ball({15, -22, 0}), preset_request(Preset::Axial)));
    EXPECT_NEAR(spot[0], 15, 1);
    EXPECT_NEAR(spot[1], -22, 1);
}

TEST(CoreRequest, CoronalHasTheLeftOnTheRightAndTheHeadUp) {
    const std::array<double, 2> spot =
        bright_spot(reformat(head_with_ball({15, 0, 22}), preset_request(Preset::Coronal)));
    EXPECT_NEAR(spot[0], 15, 1);
    EXPECT_NEAR(spot[1], -22, 1);
}

TEST(CoreRequest, SagittalHasTheFrontOnTheLeftAndTheHeadUp) {
    const std::array<double, 2> spot =
        bright_spot(reformat(head_with_ball({0, -15, 22}), preset_request(Preset::Sagittal)));
    EXPECT_NEAR(spot[0], -15, 1);
    EXPECT_NEAR(spot[1], -22, 1);
}

TEST(CoreRequest, ObliqueKeepsTheHeadUpAndTheLeftOnTheRight) {
    const PlaneRequest request = resolve(head_with_ball({0, 0, 0}), preset_request(Preset::Oblique));
    const Vec3 right = cross(scaled(*request.up, -1), request.normal);
    EXPECT_GT((*request.up)[2], 0.8);
    EXPECT_GT(right[0], 0.7);
    EXPECT_NEAR(right[2], 0, 1e-12);
}

TEST(CoreRequest, AxialOfAnAxialVolumeHasItsPixels) {
    const Volume volume = head_with_ball({0, 0, 0});
    const Image image = reformat(volume, preset_request(Preset::Axial));
    EXPECT_EQ(image.grid.size, (std::array<int, 3>{60, 80, 1}));
    for (std::size_t k = 0; k < 2; ++k) {
        EXPECT_NEAR(image.grid.origin[k], volume.grid().origin[k], 1e-9);
        EXPECT_EQ(image.grid.spacing[k], 1);
    }
}

TEST(CoreRequest, DefaultsShowTheWholeVolume) {
    for (const Seed seed : seeds(100)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const Grid grid = random_grid(random, 4, 30);
        const Volume volume = Volume::allocate(grid, SampleKind::UInt8);
        PlaneRequest request;
        request.normal = random_direction(random);
        if (random.once_in(2)) request.size = {random.between(2, 300), random.between(2, 300)};
        const PlaneRequest done = resolve(volume, request);
        if (!request.size) {
            EXPECT_EQ(*done.spacing, *std::min_element(grid.spacing.begin(), grid.spacing.end()));
        }
        const Vec3 right = cross(scaled(*done.up, -1), done.normal);
        for (int corner = 0; corner < 8; ++corner) {
            Vec3 index;
            for (std::size_t k = 0; k < 3; ++k) index[k] = corner >> k & 1 ? grid.size[k] - 0.5 : -0.5;
            const Vec3 offset = added(grid.toPhysical(index), scaled(*done.centre, -1));
            EXPECT_LE(std::abs(dot(offset, right)), *done.spacing * (0.5 * (*done.size)[0] + 1e-3));
            EXPECT_LE(std::abs(dot(offset, *done.up)), *done.spacing * (0.5 * (*done.size)[1] + 1e-3));
        }
    }
}

TEST(CoreRequest, UpDefaultsToTheFrontAlongTheBodyAndToTheHeadAcrossIt) {
    const Volume volume = head_with_ball({0, 0, 0});
    PlaneRequest request;
    request.normal = {0.3, 0.2, 1};
    EXPECT_LT((*resolve(volume, request).up)[1], -0.8);
    request.normal = {0.3, 1, 0.2};
    EXPECT_GT((*resolve(volume, request).up)[2], 0.8);
}

TEST(CoreRequest, NormalAndUpOfAnyLengthGiveTheSamePicture) {
    const Volume volume = head_with_ball({5, 5, 5});
    PlaneRequest request;
    request.normal = {1, 2, 3};
    request.up = Vec3{0, -1, 1};
    const Image image = reformat(volume, request);
    request.normal = {1e-200, 2e-200, 3e-200};
    request.up = Vec3{0, -1e200, 1e200};
    EXPECT_EQ(reformat(volume, request).samples, image.samples);
}

TEST(CoreRequest, TheThirdSpacingOfAPictureIsItsThickness) {
    const Volume volume = head_with_ball({0, 0, 0});
    PlaneRequest request = preset_request(Preset::Coronal);
    request.thickness = 12.5;
    EXPECT_EQ(reformat(volume, request).grid.spacing[2], 12.5);
}

TEST(CoreRequest, WindowsRunFromBlackToWhite) {
    Image image;
    image.grid.size = {5, 1, 1};
    image.samples.resize(10);
    const std::int16_t samples[5] = {-1000, -160, 40, 240, 3000};
    std::memcpy(image.samples.data(), samples, sizeof samples);
    EXPECT_EQ(apply_window(image, {40, 400}), (std::vector<unsigned char>{0, 0, 128, 255, 255}));
}

TEST(CoreRequest, TheAutomaticWindowIsNotMovedByAFewExtremeSamplesOrTheBackground) {
    Image image;
    image.grid.size = {100, 100, 1};
    image.samples.resize(20000);
    image.lastRow = image.lastColumn = 99;
    image.background = -2000;
    auto* const samples = reinterpret_cast<std::int16_t*>(image.samples.data());
    for (int i = 0; i < 10000; ++i)
        samples[i] = static_cast<std::int16_t>(i < 5000 ? -2000 : i < 5010 ? 30000 : i % 101);
    const Window window = auto_window(image);
    EXPECT_NEAR(window.centre, 50, 2);
    EXPECT_NEAR(window.width, 99, 3);
}

TEST(CoreRequest, AConstantPictureHasAWindow) {
    Image image;
    image.grid.size = {4, 4, 1};
    image.samples.resize(32);
    image.lastRow = image.lastColumn = 3;
    const Window window = auto_window(image);
    EXPECT_GT(window.width, 0);
    EXPECT_NO_THROW(check(window));
}

}  // namespace rz_test
