#include <gtest/gtest.h>
#include <itkImage.h>
#include <itkLinearInterpolateImageFunction.h>
#include <itkResampleImageFilter.h>

#include <cmath>

#include "rz_obl/volume_services/volume_services.h"
#include "tests/lower/geometry_cases.h"
#include "tests/services/resample_case.h"

// Resampling against ITK's linear interpolation, at places that lie between samples on all sides. ITK
// computes coordinates and weights in double precision, so values agree within the rounding of single
// precision.

namespace {

using namespace rz_test;
using Image = itk::Image<float, 3>;

constexpr float kOutside = -7777.0F;
constexpr float kRange = 1000.0F;

/// An image on the grid of a box; axes are columns of the direction, the origin is the centre of sample 0.
Image::Pointer image_of(const BoxCase& c) {
    Image::SizeType size;
    Image::SpacingType spacing;
    Image::DirectionType direction;
    Image::PointType origin;
    const Vec3 first = c.physical({0.5, 0.5, 0.5});
    for (unsigned k = 0; k < 3; ++k) {
        size[k] = static_cast<Image::SizeType::SizeValueType>(c.dims[k]);
        spacing[k] = c.spacing[k];
        origin[k] = first[k];
        for (unsigned i = 0; i < 3; ++i) direction[i][k] = c.axes[k][i];
    }
    const auto image = Image::New();
    image->SetRegions(size);
    image->SetSpacing(spacing);
    image->SetDirection(direction);
    image->SetOrigin(origin);
    image->Allocate();
    return image;
}

Image::IndexType index_of(int x, int y, int z) {
    return Image::IndexType{{x, y, z}};
}

TEST(ResamplePeer, itk_agrees_between_the_samples) {
    long compared = 0;
    for (const Seed seed : seeds(40)) {
        Random random(seed);
        BoxCase from = random_box(random, 50.0, 1);
        for (int& dim : from.dims) dim = random.between(5, 16);
        BoxCase to = random_box(random, 0.0, 1);
        Vec3 start = from.physical({from.dims[0] * 0.5, from.dims[1] * 0.5, from.dims[2] * 0.5});
        for (std::size_t k = 0; k < 3; ++k) {
            to.dims[k] = random.between(5, 20);
            to.spacing[k] = from.spacing[k] * static_cast<double>(random.real(0.3F, 1.2F));
            start = along(start, -0.5 * to.spacing[k] * to.dims[k], to.axes[k]);
        }
        to.start = start;

        SourceVolume<float> source(from.box());
        const auto image = image_of(from);
        for (int z = 0; z < from.dims[2]; ++z) {
            for (int y = 0; y < from.dims[1]; ++y) {
                for (int x = 0; x < from.dims[0]; ++x) {
                    const float sample = random.real(-kRange, kRange);
                    source.at(x, y, z) = sample;
                    image->SetPixel(index_of(x, y, z), sample);
                }
            }
        }
        FloatVolume ours(to.box(), seed);
        ASSERT_EQ(RZ_OBLUtils::Resample(source.volume, ours.volume, kOutside, 0), 1);

        const auto filter = itk::ResampleImageFilter<Image, Image>::New();
        const auto like = image_of(to);
        filter->SetInput(image);
        filter->SetReferenceImage(like);
        filter->UseReferenceImageOn();
        filter->SetInterpolator(itk::LinearInterpolateImageFunction<Image, double>::New());
        filter->SetDefaultPixelValue(kOutside);
        filter->SetNumberOfWorkUnits(1);
        filter->Update();
        const Image* theirs = filter->GetOutput();

        for (int z = 0; z < to.dims[2]; ++z) {
            for (int y = 0; y < to.dims[1]; ++y) {
                for (int x = 0; x < to.dims[0]; ++x) {
                    Image::PointType point;
                    like->TransformIndexToPhysicalPoint(index_of(x, y, z), point);
                    const auto at = image->TransformPhysicalPointToContinuousIndex<double>(point);
                    bool interior = true;
                    for (unsigned k = 0; k < 3; ++k) {
                        interior = interior && at[k] > 1e-3 && at[k] < from.dims[k] - 1 - 1e-3;
                    }
                    if (!interior) continue;
                    ++compared;
                    // Coordinates up to 20 samples, 2^-19 of a sample off, on slopes of 2 ranges a sample.
                    ASSERT_NEAR(ours.at(x, y, z), theirs->GetPixel(index_of(x, y, z)),
                                2.0F * kRange * 3.0F * 0x1p-19F)
                        << x << " " << y << " " << z << ", " << replay(seed);
                }
            }
        }
    }
    if (is_replay()) return;
    EXPECT_GT(compared, 5000);
}

}  // namespace
