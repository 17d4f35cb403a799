// The whole road (reader, request, reslice) against ITK's linear interpolation at the same physical points.
// Half a sample or a swapped direction cosine anywhere shows here.
#include <gtest/gtest.h>
#include <itkImage.h>
#include <itkImageFileReader.h>
#include <itkImageFileWriter.h>
#include <itkLinearInterpolateImageFunction.h>
#include <itkMetaImageIO.h>
#include <itkNiftiImageIO.h>
#include <itkNrrdImageIO.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>

#include "readers_support.h"
#include "tests/support/seeded.h"
#include "tests/toolkit/core_fields.h"
#include "toolkit/core/error.h"
#include "toolkit/core/phantom.h"
#include "toolkit/core/plane_request.h"

namespace {

using namespace rz_test;
namespace fs = std::filesystem;
using rzobl::Vec3;
using rzobl::Volume;
using ItkVolume = itk::Image<short, 3>;
using Interpolator = itk::LinearInterpolateImageFunction<ItkVolume, double>;

// Interpolation weights have 15 bits and sum to 32767, which is 1 unit low at most per blend.
constexpr double kTolerance = 4;
constexpr int kPlanes = 20;
constexpr int kUndrawn = -32768;

ItkVolume::Pointer make_itk(const std::array<int, 3>& size, const Vec3& spacing, const Vec3& origin,
                            const std::array<Vec3, 3>& along) {
    const auto image = ItkVolume::New();
    ItkVolume::SizeType itkSize;
    ItkVolume::DirectionType direction;
    ItkVolume::SpacingType itkSpacing;
    ItkVolume::PointType itkOrigin;
    for (unsigned axis = 0; axis < 3; ++axis) {
        itkSize[axis] = static_cast<itk::SizeValueType>(size[axis]);
        itkSpacing[axis] = spacing[axis];
        itkOrigin[axis] = origin[axis];
        for (unsigned i = 0; i < 3; ++i) direction(i, axis) = along[axis][i];
    }
    image->SetRegions(itkSize);
    image->SetSpacing(itkSpacing);
    image->SetOrigin(itkOrigin);
    image->SetDirection(direction);
    image->Allocate();
    return image;
}

struct Tally {
    int compared = 0, undrawn = 0, outside = 0;
};

/// One random oblique plane. What lies between the outermost samples must be drawn; a scan reaches up to a
/// sample beyond the last ones, where ITK has values for the first half.
void compare_plane(const Volume& volume, const Interpolator& peer, Random& random, Tally& tally) {
    const auto& size = volume.grid().size;
    Vec3 middle{};
    for (std::size_t axis = 0; axis < 3; ++axis)
        middle[axis] = (size[axis] - 1) * static_cast<double>(random.real(0.3F, 0.7F));
    rzobl::PlaneRequest request;
    request.centre = volume.grid().toPhysical(middle);
    request.normal = random_direction(random);
    request.up = random_direction(random);
    request.size = {random.between(150, 260), random.between(150, 260)};
    const double finest = *std::min_element(volume.grid().spacing.begin(), volume.grid().spacing.end());
    request.spacing = finest * static_cast<double>(random.real(0.4F, 1.6F));
    request.background = kUndrawn * volume.rescale.slope + volume.rescale.intercept;
    const rzobl::Image image = rzobl::reformat(volume, request);

    for (int row = 0; row < image.height(); ++row) {
        for (int column = 0; column < image.width(); ++column) {
            const Vec3 p = image.grid.toPhysical({double(column), double(row), 0});
            Interpolator::PointType point;
            for (unsigned i = 0; i < 3; ++i) point[i] = p[i];
            const auto index = peer.GetInputImage()->TransformPhysicalPointToContinuousIndex<double>(point);
            double margin = 1e9;
            for (unsigned axis = 0; axis < 3; ++axis)
                margin = std::min({margin, index[axis], size[axis] - 1 - index[axis]});
            const int found = image.stored(column, row);
            if (margin > -0.49) {
                if (found == kUndrawn) {
                    tally.undrawn += margin > 0.01;
                    continue;
                }
                ASSERT_NEAR(found, peer.EvaluateAtContinuousIndex(index), kTolerance)
                    << "pixel " << column << ", " << row << " at index " << index[0] << ", " << index[1]
                    << ", " << index[2];
                ++tally.compared;
            } else if (margin < -1.01) {
                ASSERT_EQ(found, kUndrawn) << "pixel " << column << ", " << row << " lies outside";
                ++tally.outside;
            }
        }
    }
}

void compare(const Volume& volume, const ItkVolume* image, Seed first) {
    const auto peer = Interpolator::New();
    peer->SetInputImage(image);
    Tally tally;
    for (int n = 0; n < kPlanes; ++n) {
        Random random(first + static_cast<Seed>(n));
        compare_plane(volume, *peer, random, tally);
        if (testing::Test::HasFatalFailure()) FAIL() << "plane " << n << " of seed " << first;
    }
    EXPECT_GT(tally.compared, 200000);
    EXPECT_GT(tally.outside, 1000);
    // Rows of which a single column lies inside are not drawn.
    EXPECT_LT(tally.undrawn, 40);
}

/// The same samples in ITK's hands, at the place that the caller knows.
ItkVolume::Pointer copy_to_itk(const Volume& volume, const Vec3& spacing, const Vec3& origin,
                               const std::array<Vec3, 3>& along) {
    const auto& size = volume.grid().size;
    const ItkVolume::Pointer image = make_itk(size, spacing, origin, along);
    const auto samples = static_cast<std::size_t>(size[0]) * static_cast<std::size_t>(size[1]);
    short* to = image->GetBufferPointer();
    for (int k = 0; k < size[2]; ++k)
        to = std::copy_n(static_cast<const short*>(volume.raster(k)), samples, to);
    return image;
}

/// Under the header that the demo gives it, which ITK reads by itself.
TEST(PeerItk, CtHead) {
    const char* const archive = "/usr/share/doc/invesalius-examples/examples/Cranium.inv3";
    if (!fs::exists(archive))
        GTEST_SKIP() << "package invesalius-examples is not installed: CtHead did not run";
    const TemporaryFolder folder;
    const std::string command = std::string("tar -xzf ") + archive + " -C '" + folder.path().string() +
                                "' --wildcards '*/matrix.dat' --strip-components=1";
    ASSERT_EQ(std::system(command.c_str()), 0);
    fs::copy_file(fs::path(RZ_SOURCE_DIR) / "scripts" / "demo-data" / "ct-head.mhd", folder / "head.mhd");
    const auto reader = itk::ImageFileReader<ItkVolume>::New();
    reader->SetImageIO(itk::MetaImageIO::New());
    reader->SetFileName((folder / "head.mhd").string());
    reader->Update();
    const Volume volume = rzobl::read_volume(folder / "head.mhd").volume;
    EXPECT_EQ(volume.grid().size, (std::array<int, 3>{256, 256, 108}));
    compare(volume, reader->GetOutput(), 100);
}

TEST(PeerItk, DicomPhantom) {
    const fs::path ct = real_ct();
    if (ct.empty()) GTEST_SKIP() << "the real CT is not here: DicomPhantom did not run";
    const Volume volume = rzobl::read_volume(ct / "phantom").volume;
    ASSERT_EQ(volume.grid().size, (std::array<int, 3>{512, 512, 140}));
    // Where the tags of the lowest slice place it.
    compare(volume,
            copy_to_itk(volume, {0.451171875, 0.451171875, 1}, {-115.5, -1.85, 694.21},
                        {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}}),
            200);
}

/// The head about the middle of a grid of any orientation and handedness, without a file between.
TEST(PeerItk, RandomlyOrientedHead) {
    for (const Seed seed : {Seed{11}, Seed{12}}) {
        Random random(seed);
        rzobl::Grid grid = random_grid(random);
        grid.size = {110, 120, 90};
        grid.spacing = {1.3, 1.3, 1.9};
        grid.origin = rzobl::added(grid.origin, rzobl::scaled(grid.centre(), -1));
        const Volume volume = rzobl::make_phantom(grid, rzobl::SampleKind::Int16);
        compare(volume, copy_to_itk(volume, grid.spacing, grid.origin, grid.direction), 400);
    }
}

/// A smooth field and noise in a box of any orientation.
ItkVolume::Pointer random_phantom(Random& random) {
    const rzobl::Grid grid = random_grid(random, 80, 140);
    const auto& size = grid.size;
    const auto image = make_itk(size, grid.spacing, grid.origin, grid.direction);
    short* to = image->GetBufferPointer();
    for (int k = 0; k < size[2]; ++k) {
        for (int j = 0; j < size[1]; ++j) {
            for (int i = 0; i < size[0]; ++i)
                *to++ = static_cast<short>(900 * std::sin(0.11 * i) + 700 * std::cos(0.07 * j + 0.09 * k) +
                                           random.between(-200, 200));
        }
    }
    return image;
}

class PeerItkRandom : public testing::TestWithParam<const char*> {};

/// ITK writes the file, so that our readers and ITK's writers must agree on its geometry, too.
TEST_P(PeerItkRandom, Phantom) {
    const std::string name = GetParam();
    Random random(name.size());
    const ItkVolume::Pointer image = random_phantom(random);
    const TemporaryFolder folder;
    const auto writer = itk::ImageFileWriter<ItkVolume>::New();
    if (name == "a.mha")
        writer->SetImageIO(itk::MetaImageIO::New());
    else if (name == "ab.nrrd")
        writer->SetImageIO(itk::NrrdImageIO::New());
    else
        writer->SetImageIO(itk::NiftiImageIO::New());
    writer->SetFileName((folder / name).string());
    writer->SetInput(image);
    writer->SetUseCompression(name == "a.mha");
    writer->Update();
    const rzobl::ReadResult result = rzobl::read_volume(folder / name);
    EXPECT_TRUE(result.warnings.empty());
    compare(result.volume, image, 300);
}

INSTANTIATE_TEST_SUITE_P(Formats, PeerItkRandom,
                         testing::Values("a.mha", "ab.nrrd", "abc.nii", "abcd.nii.gz"));

}  // namespace
