#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>

#include "tests/toolkit/core_fields.h"
#include "toolkit/core/error.h"

// Where pixels lie: values that were put into a volume at a physical position come out at the pixel whose
// grid gives that position.

namespace rz_test {

using namespace rzobl;
using Type = RZ_OBL_RenditionType;
using Quality = RZ_OBL_RenditionQuality;

namespace {

/// Compares every pixel with the ramp at its position, but for those beyond the end slices, which are
/// repeated there. Returns the number of pixels compared.
int compare_with_ramp(const Image& image, const Volume& volume, double thickness, const Ramp& ramp,
                      double tolerance, int channel = -1) {
    const Grid& grid = volume.grid();
    const double reach =
        1 + 0.5 * thickness * std::abs(dot(image.grid.direction[2], grid.direction[2])) / grid.spacing[2];
    int compared = 0;
    for (int row = image.firstRow; row <= image.lastRow; ++row)
        for (int column = image.firstColumn; column <= image.lastColumn; ++column) {
            const int got = channel < 0 ? image.stored(column, row) : image.channel(column, row, channel);
            if (channel < 0 ? got == image.background : got == 0) continue;
            const double slice = grid.toIndex(pixel_position(image, column, row))[2];
            if (slice - reach < 0 || slice + reach > grid.size[2] - 1) continue;
            ++compared;
            const double want = ramp(pixel_position(image, column, row));
            EXPECT_NEAR(got, want, tolerance) << "column " << column << ", row " << row;
            if (testing::Test::HasFailure()) return compared;
        }
    return compared;
}

}  // namespace

TEST(CoreGeometry, PixelsOf16BitVolumesHaveTheValueOfTheirPosition) {
    for (const Seed seed : seeds(60)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const Grid grid = random_grid(random);
        Volume volume = Volume::allocate(grid, SampleKind::Int16);
        // Some 100 units per sample: half a sample off would show as 50.
        const Ramp ramp = random_ramp(random, grid, 100, 0);
        paint<std::int16_t>(volume, ramp);
        PlaneRequest request = random_plane(random, grid);
        request.background = -32768;
        request.quality =
            random.pick({Quality::Linear, Quality::Linear, Quality::LinearFast, Quality::SemiCubic});
        request.thickness = random.once_in(2) ? random.real(1, 8) : 0.0;
        SCOPED_TRACE("quality " + std::to_string(static_cast<int>(request.quality)) + ", thickness " +
                     std::to_string(request.thickness));
        // Rounded samples, a bias of up to 3, and the row's start in single precision.
        EXPECT_GT(compare_with_ramp(reformat(volume, request), volume, request.thickness, ramp, 5), 20);
        if (HasFailure()) return;
    }
}

TEST(CoreGeometry, SemiCubicPicturesHaveNoDarkRim) {
    for (const Seed seed : seeds(60)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const Grid grid = random_grid(random, 6, 20);
        Volume volume = Volume::allocate(grid, SampleKind::Int16);
        paint<std::int16_t>(volume, {grid.centre(), {0, 0, 0}, 1000});
        PlaneRequest request = random_plane(random, grid);
        request.quality = Quality::SemiCubic;
        request.background = -1000;
        request.thickness = random.once_in(2) ? random.real(0.5F, 3) : 0.0;
        // Small volumes may have no place for the slab.
        try {
            const Image image = reformat(volume, request);
            for (int row = 0; row < image.height(); ++row)
                for (int column = 0; column < image.width(); ++column)
                    if (image.stored(column, row) != -1000) {
                        ASSERT_NEAR(image.stored(column, row), 1000, 4) << column << ' ' << row;
                    }
        } catch (const Error&) {
            EXPECT_GT(request.thickness, 0);
        }
    }
}

TEST(CoreGeometry, CubicPicturesOf16BitVolumesLieWhereLinearOnesDo) {
    for (const Seed seed : seeds(20)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        Grid grid = random_grid(random);
        // Slices no more than four pixels apart, so that cubic stays cubic.
        grid.spacing[2] = std::min(grid.spacing[2], 3 * grid.spacing[0]);
        Volume volume = Volume::allocate(grid, SampleKind::Int16);
        const Ramp ramp = random_ramp(random, grid, 100, 0);
        paint<std::int16_t>(volume, ramp);
        PlaneRequest request = random_plane(random, grid);
        request.background = -32768;
        request.quality = Quality::Cubic;
        // Weights stand at 64ths of a sample: 2.5 mm x 100 units / 64 along each of three axes, and across
        // the outermost slices the repeated slice bends the ramp; keep to the inner pixels.
        request.size = {9, 9};
        request.spacing = 0.25;
        EXPECT_EQ(compare_with_ramp(reformat(volume, request), volume, request.thickness, ramp, 14), 81);
        if (HasFailure()) return;
    }
}

TEST(CoreGeometry, NearestMaximumTakesTheNearestSample) {
    for (const Seed seed : seeds(20)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const Grid grid = random_grid(random);
        Volume volume = Volume::allocate(grid, SampleKind::Int16);
        for (int k = 0; k < grid.size[2]; ++k)
            for (int i = 0; i < grid.size[0] * grid.size[1]; ++i)
                static_cast<std::int16_t*>(volume.raster(k))[i] =
                    static_cast<std::int16_t>(random.between(0, 30000));
        PlaneRequest request = random_plane(random, grid);
        request.quality = Quality::Nearest;
        request.type = random.pick({Type::Maximum, Type::Minimum});
        request.background = -1;
        const Image image = reformat(volume, request);
        int compared = 0;
        for (int row = 0; row < image.height(); ++row)
            for (int column = 0; column < image.width(); ++column) {
                if (image.stored(column, row) == -1) continue;
                const Vec3 index = grid.toIndex(pixel_position(image, column, row));
                // Close to the border between two samples single precision may take the other one.
                if (std::any_of(index.begin(), index.end(),
                                [](double x) { return std::abs(x - std::floor(x) - 0.5) < 0.01; }))
                    continue;
                const auto k = static_cast<int>(std::lround(index[2]));
                const auto at = std::lround(index[1]) * grid.size[0] + std::lround(index[0]);
                ASSERT_EQ(image.stored(column, row), static_cast<std::int16_t*>(volume.raster(k))[at])
                    << column << ' ' << row;
                ++compared;
            }
        EXPECT_GT(compared, 20);
    }
}

TEST(CoreGeometry, PixelsOf8BitVolumesHaveTheValueOfTheirPosition) {
    for (const Seed seed : seeds(40)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const Grid grid = random_grid(random, 12, 20);
        Volume volume = Volume::allocate(grid, SampleKind::UInt8);
        volume.isSigned = random.once_in(2);
        const double diagonal = length(
            {grid.spacing[0] * grid.size[0], grid.spacing[1] * grid.size[1], grid.spacing[2] * grid.size[2]});
        const Ramp ramp = random_ramp(random, grid, 230 / diagonal, volume.isSigned ? 0 : 130);
        paint<std::uint8_t>(volume, ramp);
        PlaneRequest request = random_plane(random, grid);
        request.background = volume.isSigned ? -128 : 0;
        EXPECT_GT(compare_with_ramp(reformat(volume, request), volume, request.thickness, ramp, 2), 20);
        if (HasFailure()) return;
    }
}

TEST(CoreGeometry, ColoursLieAtTheirPositionAndInTheirChannel) {
    for (const Seed seed : seeds(40)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const Grid grid = random_grid(random, 14, 20);
        Volume volume = Volume::allocate(grid, SampleKind::Rgb);
        const double diagonal = length(
            {grid.spacing[0] * grid.size[0], grid.spacing[1] * grid.size[1], grid.spacing[2] * grid.size[2]});
        Ramp ramps[3];
        for (int c = 0; c < 3; ++c) {
            ramps[c] = random_ramp(random, grid, 200 / diagonal, 110 + 20 * c);
            paint<std::uint32_t>(volume, ramps[c], c);
        }
        const Image image = reformat(volume, random_plane(random, grid));
        for (int c = 0; c < 3; ++c) EXPECT_GT(compare_with_ramp(image, volume, 0, ramps[c], 2, c), 20);
        if (HasFailure()) return;
    }
}

TEST(CoreGeometry, AMarkerAppearsAtThePixelOfItsPosition) {
    for (const Seed seed : seeds(60)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const Grid grid = random_grid(random);
        Volume volume = Volume::allocate(grid, SampleKind::Int16);
        std::array<int, 3> marker;
        for (std::size_t k = 0; k < 3; ++k) marker[k] = random.between(6, grid.size[k] - 7);
        static_cast<std::int16_t*>(volume.raster(marker[2]))[marker[1] * grid.size[0] + marker[0]] = 20000;

        // A plane through the marker, which is to lie at a pixel that the test chooses.
        PlaneRequest request = random_plane(random, grid);
        const PlaneRequest whole = resolve(volume, request);
        const int column = random.between(2, (*request.size)[0] - 3),
                  row = random.between(2, (*request.size)[1] - 3);
        const Vec3 down = scaled(*whole.up, -1), right = cross(down, whole.normal);
        const double a = (0.5 * ((*request.size)[0] - 1) - column) * *request.spacing;
        const double b = (0.5 * ((*request.size)[1] - 1) - row) * *request.spacing;
        request.centre =
            added(grid.toPhysical({static_cast<double>(marker[0]), static_cast<double>(marker[1]),
                                   static_cast<double>(marker[2])}),
                  added(scaled(right, a), scaled(down, b)));
        const Image image = reformat(volume, request);
        EXPECT_GT(image.stored(column, row), 19900) << column << ' ' << row;
        const Vec3 index = grid.toIndex(pixel_position(image, column, row));
        for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(index[k], marker[k], 1e-9);
    }
}

TEST(CoreGeometry, AMaximumSlabShowsAMarkerFromBesideThePlane) {
    Grid grid;
    grid.size = {40, 40, 40};
    Volume volume = Volume::allocate(grid, SampleKind::Int16);
    static_cast<std::int16_t*>(volume.raster(25))[10 * 40 + 12] = 5000;
    PlaneRequest request = preset_request(Preset::Axial);
    request.type = Type::Maximum;
    // The plane lies at 19.5: half of 8 mm reaches 23.5, between two dark slices, half of 12 mm reaches 25.5.
    request.thickness = 8;
    EXPECT_EQ(reformat(volume, request).stored(12, 10), 0);
    request.thickness = 12;
    EXPECT_GT(reformat(volume, request).stored(12, 10), 2400);
}

}  // namespace rz_test
