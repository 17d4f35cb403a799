#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>

#include <itkImage.h>
#include <itkLinearInterpolateImageFunction.h>

#include "tests/toolkit/slabs_fields.h"
#include "toolkit/core/error.h"
#include "toolkit/core/resample.h"

// Resampled volumes against ITK's linear interpolation at the same physical points.

namespace rz_test {

using namespace rzobl;
using testing::HasSubstr;

namespace {

using Picture = itk::Image<double, 3>;

Picture::Pointer itk_image(const Volume& volume) {
    const Grid& grid = volume.grid();
    const auto image = Picture::New();
    Picture::RegionType region;
    Picture::PointType origin;
    Picture::SpacingType spacing;
    Picture::DirectionType direction;
    for (unsigned k = 0; k < 3; ++k) {
        region.SetSize(k, static_cast<itk::SizeValueType>(grid.size[k]));
        origin[k] = grid.origin[k];
        spacing[k] = grid.spacing[k];
        for (unsigned row = 0; row < 3; ++row) direction[row][k] = grid.direction[k][row];
    }
    image->SetRegions(region);
    image->SetOrigin(origin);
    image->SetSpacing(spacing);
    image->SetDirection(direction);
    image->Allocate();
    double* to = image->GetBufferPointer();
    for (int k = 0; k < grid.size[2]; ++k)
        for (int j = 0; j < grid.size[1]; ++j)
            for (int i = 0; i < grid.size[0]; ++i) *to++ = sample_at(volume, i, j, k);
    return image;
}

bool interior(const Grid& grid, const Vec3& at) {
    for (std::size_t k = 0; k < 3; ++k)
        if (at[k] < 0.01 || at[k] > grid.size[k] - 1.01) return false;
    return true;
}

bool outside(const Grid& grid, const Vec3& at) {
    for (std::size_t k = 0; k < 3; ++k)
        if (at[k] < -0.51 || at[k] > grid.size[k] - 0.49) return true;
    return false;
}

/// A grid of another orientation that overlaps.
Grid other_grid(Random& random, const Grid& grid) {
    Grid other = random_grid(random, 10, 24);
    const Vec3 shift = added(grid.centre(), scaled(other.centre(), -1));
    other.origin = added(other.origin, added(shift, scaled(random_direction(random), 4)));
    return other;
}

std::string refusal(const std::function<void()>& work) {
    try {
        work();
    } catch (const Error& error) {
        return error.what();
    }
    return "no refusal";
}

}  // namespace

TEST(SlabsResample, AgreesWithItkInsideTheVolume) {
    int compared = 0, beyond = 0;
    for (const Seed seed : seeds(40)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const Grid grid = random_grid(random, 10, 30);
        const bool bytes = random.once_in(3), isSigned = random.once_in(2);
        Volume volume = noise_volume(random, grid, bytes ? SampleKind::UInt8 : SampleKind::Int16, isSigned,
                                     isSigned ? -120 : 0, bytes ? 120 : 4000);
        volume.rescale = {2, -100};
        const Grid target = other_grid(random, grid);
        const FloatVolume values = resample_float(volume, target, isSigned ? -140.0 : -50.0);
        const Volume stored = resample(volume, target, isSigned ? -140.0 : -50.0);
        ASSERT_EQ(stored.kind(), volume.kind());
        ASSERT_EQ(stored.isSigned, volume.isSigned);
        const auto peer = itk::LinearInterpolateImageFunction<Picture, double>::New();
        const Picture::Pointer image = itk_image(volume);
        peer->SetInputImage(image);
        for (int k = 0; k < target.size[2]; ++k)
            for (int j = 0; j < target.size[1]; ++j)
                for (int i = 0; i < target.size[0]; ++i) {
                    const Vec3 place = target.toPhysical(index(i, j, k));
                    const Vec3 at = grid.toIndex(place);
                    const auto got = static_cast<double>(values.raster(k)[j * target.size[0] + i]);
                    if (outside(grid, at)) {
                        ++beyond;
                        ASSERT_EQ(got, isSigned ? -140 : -50);
                        ASSERT_EQ(sample_at(stored, i, j, k), isSigned ? -20 : 25);
                        continue;
                    }
                    if (!interior(grid, at)) continue;
                    ++compared;
                    const double want = peer->Evaluate(Picture::PointType(place.data()));
                    // Positions of half a metre in single precision: some 1e-4 samples of noise.
                    ASSERT_NEAR((got + 100) / 2, want, bytes ? 0.1 : 2) << i << ' ' << j << ' ' << k;
                    ASSERT_NEAR(sample_at(stored, i, j, k), (got + 100) / 2, 0.501);
                }
    }
    EXPECT_GT(compared, 20000);
    EXPECT_GT(beyond, 5000);
}

TEST(SlabsResample, OnItsOwnGridAVolumeIsItselfButForTheLastRowAndColumn) {
    Random random(2);
    Grid grid;
    grid.size = {7, 6, 5};
    const Volume volume = noise_volume(random, grid, SampleKind::Int16, true, -32768, 32767);
    const Volume same = resample(volume, grid, {});
    for (int k = 0; k < 5; ++k)
        for (int j = 0; j < 6; ++j)
            for (int i = 0; i < 7; ++i) {
                // Along that rim the last slice is taken for the last but one, too.
                const bool rim = i == 6 || j == 5;
                EXPECT_EQ(sample_at(same, i, j, k),
                          sample_at(volume, std::min(i, 5), std::min(j, 4), rim ? std::min(k, 3) : k))
                    << i << ' ' << j << ' ' << k;
            }
}

TEST(SlabsResample, ARespacedGridCoversTheSameExtent) {
    Random random(3);
    for (int round = 0; round < 50; ++round) {
        const Grid grid = random_grid(random, 2, 60);
        const Vec3 spacing{static_cast<double>(random.real(0.3F, 3)),
                           static_cast<double>(random.real(0.3F, 3)),
                           static_cast<double>(random.real(0.3F, 3))};
        const Grid finer = respaced(grid, spacing);
        expect_vector(finer.centre(), grid.centre(), 1e-9);
        expect_vector(finer.spacing, spacing, 0);
        for (std::size_t k = 0; k < 3; ++k) {
            EXPECT_LE(std::abs(finer.size[k] * spacing[k] - grid.size[k] * grid.spacing[k]),
                      std::max(spacing[k], 0.0));
            // No sample outside the volume.
            Vec3 last = index(0, 0, 0);
            last[k] = finer.size[k] - 1;
            EXPECT_GE(grid.toIndex(finer.origin)[k], -0.5);
            EXPECT_LE(grid.toIndex(finer.toPhysical(last))[k], grid.size[k] - 0.5);
        }
    }
    Grid grid;
    grid.size = {10, 10, 10};
    EXPECT_EQ(respaced(grid, {0.5, 1, 2}).size, (std::array<int, 3>{20, 10, 5}));
    expect_vector(respaced(grid, {0.5, 1, 2}).origin, {-0.25, 0, 0.5}, 1e-12);
}

TEST(SlabsResample, NoValueOutsideIsOneInFloats) {
    Grid grid;
    grid.size = {4, 4, 4};
    Grid wider = grid;
    wider.origin = {-3, 0, 0};
    const FloatVolume values = resample_float(Volume::allocate(grid, SampleKind::Int16), wider, std::nan(""));
    EXPECT_TRUE(std::isnan(values.raster(0)[0]));
    EXPECT_EQ(values.raster(0)[3], 0);
}

TEST(SlabsResample, RefusesWhatItCannotDo) {
    Grid grid;
    grid.size = {6, 6, 6};
    const Volume volume = Volume::allocate(grid, SampleKind::Int16);
    for (const double bad : {0.0, -1.0, std::nan(""), 1.0 / 0.0})
        EXPECT_THAT(refusal([&] { respaced(grid, {1, bad, 1}); }), HasSubstr("the spacing must be"));
    EXPECT_THAT(refusal([&] { respaced(grid, {1, 1e-9, 1}); }), HasSubstr("more than 32767"));
    EXPECT_THAT(refusal([&] { respaced(grid, {1, 1, 1e9}); }), HasSubstr("far more"));
    EXPECT_THAT(refusal([&] { resample(volume, grid, 1e9); }), HasSubstr("does not fit"));
    EXPECT_THAT(refusal([&] { resample(volume, grid, std::nan("")); }), HasSubstr("does not fit"));
    EXPECT_THAT(refusal([&] { resample(Volume::allocate(grid, SampleKind::Rgb), grid, {}); }),
                HasSubstr("colours"));
    Grid far = grid;
    far.origin = {0, 100, 0};
    EXPECT_THAT(refusal([&] { resample_float(volume, far, {}); }), HasSubstr("lies beside"));
    Grid thin = grid;
    thin.size = {1, 6, 6};
    EXPECT_THAT(refusal([&] { resample(Volume::allocate(thin, SampleKind::Int16), grid, {}); }),
                HasSubstr("at least 2 x 2"));
    EXPECT_THAT(refusal([&] {
                    resample(volume, respaced(grid, {2e-4, 2e-4, 2e-4}), {});
                }),
                HasSubstr("needs"));
}

}  // namespace rz_test
