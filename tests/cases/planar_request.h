#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "lower/geometry/box.h"
#include "lower/geometry/plane.h"
#include "lower/volume/slice.h"
#include "tests/support/branches.h"
#include "tests/support/rasters.h"
#include "tests/support/seeded.h"

namespace rz_test {

/// A volume whose rasters are heap blocks of exactly their size, and the slice objects over them.
struct PlanarVolume {
    RZ_Box box;
    int pixelKind = 0;
    bool isSigned = true;
    int bitDepth = 16;
    /// One of the three is filled, by pixelKind.
    std::vector<SourceRaster<short>> shorts;
    std::vector<SourceRaster<unsigned char>> bytes;
    std::vector<SourceRaster<std::uint32_t>> pixels;
    std::vector<std::unique_ptr<RZ_Slice>> slices;

    std::vector<short*> shortRasters();
    std::vector<RZ_ShortSlice*> shortSlices();
    std::vector<RZ_Slice*> anySlices();
};

/// Slice objects over the rasters that stand in the volume.
void wrap_rasters(PlanarVolume& volume);

/// One request to the planar entry points.
struct PlanarRequest {
    Seed seed = 0;
    PlanarVolume volume;
    RZ_BoxParams volumeParams;
    RZ_PlaneParams plane;
    bool hasClip = false;
    RZ_BoxParams clip;
    RZ_Box outputBox;
    int quality = 4;
    float halfThickness = 0.0F;
    int type = 0;
    std::array<int, 4> bounds{};

    const RZ_BoxParams* clipParams() const { return hasClip ? &clip : nullptr; }
    std::string describe() const;
};

/// Boxes of any orientation and handedness, planes of any direction with exact ties of the index-space
/// normal, slabs, clip boxes, every quality and type and invalid ones. branches: which kinds were made.
PlanarRequest make_planar_request(Seed seed, int pixelKind, Branches& branches);

}  // namespace rz_test
