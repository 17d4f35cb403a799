#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "tests/toolkit/core_fields.h"

// The background is the background whatever a kernel does with what the raster held before.

namespace rz_test {

using namespace rzobl;
using Type = RZ_OBL_RenditionType;
using Quality = RZ_OBL_RenditionQuality;

namespace {

Volume constant(const Grid& grid, std::int16_t value) {
    Volume volume = Volume::allocate(grid, SampleKind::Int16);
    for (int k = 0; k < grid.size[2]; ++k) {
        auto* const raster = static_cast<std::int16_t*>(volume.raster(k));
        std::fill(raster, raster + grid.size[0] * grid.size[1], value);
    }
    return volume;
}

std::vector<bool> background_pixels(const Image& image) {
    std::vector<bool> pixels;
    for (int row = 0; row < image.height(); ++row)
        for (int column = 0; column < image.width(); ++column)
            pixels.push_back(image.stored(column, row) == image.background);
    return pixels;
}

}  // namespace

TEST(CoreBackground, EveryTypeDrawsTheSamePixelsWhateverTheBackground) {
    for (const Seed seed : seeds(60)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const Grid grid = random_grid(random, 8, 30);
        const Volume volume = constant(grid, 1000);
        PlaneRequest request = random_plane(random, grid);
        request.thickness = random.once_in(2) ? random.real(0.5F, 6) : 0.0;
        request.background = -2000;
        const std::vector<bool> want = background_pixels(reformat(volume, request));
        for (const Type type : {Type::Average, Type::Maximum, Type::Minimum})
            for (const double background : {-32768.0, -2000.0, 0.0, 500.0, 1500.0, 32767.0}) {
                request.type = type;
                request.background = background;
                const Image image = reformat(volume, request);
                ASSERT_EQ(background_pixels(image), want) << static_cast<int>(type) << ' ' << background;
                for (int row = 0; row < image.height(); ++row)
                    for (int column = 0; column < image.width(); ++column)
                        if (image.stored(column, row) != image.background) {
                            ASSERT_NEAR(image.stored(column, row), 1000, 3);
                        }
            }
    }
}

TEST(CoreBackground, FastPicturesHoldNoMixtureOfVolumeAndBackground) {
    int different = 0;
    for (const Seed seed : seeds(120)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const Grid grid = random_grid(random, 8, 30);
        const Volume volume = constant(grid, 1000);
        PlaneRequest request = random_plane(random, grid);
        request.thickness = random.once_in(2) ? random.real(0.5F, 6) : 0.0;
        request.background = -30000;
        const std::vector<bool> linear = background_pixels(reformat(volume, request));
        request.quality = Quality::LinearFast;
        for (const Type type : {Type::Maximum, Type::Minimum}) {
            request.type = type;
            const Image image = reformat(volume, request);
            const std::vector<bool> fast = background_pixels(image);
            for (std::size_t i = 0; i < fast.size(); ++i) {
                // What the fast picture shows, the full one shows too.
                ASSERT_TRUE(fast[i] || !linear[i]) << i;
                different += fast[i] != linear[i];
            }
            for (int row = 0; row < image.height(); ++row)
                for (int column = 0; column < image.width(); ++column)
                    if (image.stored(column, row) != image.background) {
                        ASSERT_NEAR(image.stored(column, row), 1000, 4) << column << ' ' << row;
                    }
        }
    }
    if (!is_replay()) {
        EXPECT_GT(different, 0);
    }
}

TEST(CoreBackground, AMaximumBelowTheBackgroundIsStillDrawn) {
    Grid grid;
    grid.size = {20, 20, 20};
    const Volume volume = constant(grid, -500);
    PlaneRequest request = preset_request(Preset::Coronal);
    request.type = Type::Maximum;
    request.background = 30000;
    request.size = {40, 40};
    request.spacing = 1;
    const Image image = reformat(volume, request);
    EXPECT_NEAR(image.stored(20, 20), -500, 3);
    EXPECT_EQ(image.stored(2, 2), 30000);
    EXPECT_EQ(image.stored(39, 20), 30000);
}

TEST(CoreBackground, DefaultsToThePaddingAndElseToTheLeastValue) {
    Grid grid;
    grid.size = {20, 20, 20};
    Volume volume = constant(grid, 40);
    static_cast<std::int16_t*>(volume.raster(3))[7] = -1024;
    PlaneRequest request = preset_request(Preset::Oblique);
    EXPECT_EQ(reformat(volume, request).background, -1024);
    volume.padding = -2000;
    EXPECT_EQ(reformat(volume, request).background, -2000);
    EXPECT_EQ(reformat(volume, request).stored(0, 0), -2000);
}

TEST(CoreBackground, IsGivenAsAValueAfterRescale) {
    Grid grid;
    grid.size = {20, 20, 20};
    Volume volume = constant(grid, 40);
    volume.rescale = {0.5, -1024};
    PlaneRequest request = preset_request(Preset::Oblique);
    request.background = -1000;
    const Image image = reformat(volume, request);
    EXPECT_EQ(image.background, 48);
    EXPECT_EQ(image.value(0, 0), -1000);
}

}  // namespace rz_test
