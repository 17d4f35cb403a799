#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include <itkImage.h>
#include <itkLinearInterpolateImageFunction.h>

#include "tests/toolkit/core_fields.h"
#include "tests/toolkit/readers_support.h"
#include "toolkit/core/phantom.h"
#include "toolkit/io/read_volume.h"

// Pictures against ITK's linear interpolation at the same points in space: pins down every half sample and
// every direction cosine on real scans. The fixed-point weights leave a bias of at most 3.

namespace rz_test {

namespace fs = std::filesystem;
using namespace rzobl;

namespace {

using PeerImage = itk::Image<std::int16_t, 3>;
using PeerLinear = itk::LinearInterpolateImageFunction<PeerImage, double>;

PeerImage::Pointer peer_image(const Volume& volume) {
    const Grid& grid = volume.grid();
    const auto image = PeerImage::New();
    PeerImage::SizeType size;
    PeerImage::DirectionType direction;
    for (unsigned axis = 0; axis < 3; ++axis) {
        size[axis] = static_cast<itk::SizeValueType>(grid.size[axis]);
        for (unsigned k = 0; k < 3; ++k) direction[k][axis] = grid.direction[axis][k];
    }
    image->SetRegions(PeerImage::RegionType(size));
    image->SetSpacing(grid.spacing.data());
    image->SetOrigin(grid.origin.data());
    image->SetDirection(direction);
    image->Allocate();
    const auto count = static_cast<std::size_t>(grid.size[0]) * static_cast<std::size_t>(grid.size[1]);
    for (int k = 0; k < grid.size[2]; ++k)
        std::memcpy(image->GetBufferPointer() + static_cast<std::size_t>(k) * count, volume.raster(k),
                    2 * count);
    return image;
}

/// Twenty planes through the inner half, each pixel compared.
void compare_planes(const Volume& volume) {
    ASSERT_EQ(volume.kind(), SampleKind::Int16);
    const auto peer = PeerLinear::New();
    const PeerImage::Pointer image = peer_image(volume);
    peer->SetInputImage(image);
    for (const Seed seed : seeds(20)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        PlaneRequest request = random_plane(random, volume.grid());
        request.size = {160, 160};
        request.spacing = random.real(0.4F, 1.2F);
        request.background = volume.rescale.intercept - 32768 * volume.rescale.slope;
        const Image picture = reformat(volume, request);
        int compared = 0;
        for (int row = 0; row < 160; ++row)
            for (int column = 0; column < 160; ++column) {
                if (picture.stored(column, row) == picture.background) continue;
                const Vec3 at = pixel_position(picture, column, row);
                const PeerImage::PointType point(at.data());
                if (!peer->IsInsideBuffer(point)) continue;
                ++compared;
                ASSERT_NEAR(picture.stored(column, row), peer->Evaluate(point), 4) << column << ' ' << row;
            }
        EXPECT_GT(compared, 2000);
    }
}

}  // namespace

TEST(PeerLinear, RandomlyOrientedPhantom) {
    for (const Seed seed : {Seed{11}, Seed{12}}) {
        Random random(seed);
        Grid grid = random_grid(random);
        grid.size = {110, 120, 90};
        grid.spacing = {1.3, 1.3, 1.9};
        // The head about the middle of the grid.
        const Vec3 middle = grid.centre();
        grid.origin = added(grid.origin, scaled(middle, -1));
        compare_planes(make_phantom(grid, SampleKind::Int16));
    }
}

TEST(PeerLinear, DicomPhantom) {
    const fs::path ct = real_ct();
    if (ct.empty()) GTEST_SKIP() << "the real CT is not here: PeerLinear.DicomPhantom did not run";
    compare_planes(read_volume(ct / "phantom").volume);
}

TEST(PeerLinear, CtHead) {
    const fs::path archive = "/usr/share/doc/invesalius-examples/examples/Cranium.inv3";
    if (!fs::exists(archive))
        GTEST_SKIP() << "the package invesalius-examples is not here: PeerLinear.CtHead did not run";
    const TemporaryFolder folder;
    const std::string unpack = "tar -xOf '" + archive.string() + "' --wildcards '*/matrix.dat' > '" +
                               (folder / "matrix.dat").string() + "'";
    ASSERT_EQ(std::system(unpack.c_str()), 0);
    fs::copy_file(fs::path(RZ_SOURCE_DIR) / "scripts" / "demo-data" / "ct-head.mhd", folder / "ct-head.mhd");
    const Volume volume = read_volume(folder / "ct-head.mhd").volume;
    EXPECT_EQ(volume.grid().size, (std::array<int, 3>{256, 256, 108}));
    compare_planes(volume);
}

}  // namespace rz_test
