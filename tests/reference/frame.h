#pragma once

#include <array>
#include <vector>

#include "lower/geometry/box.h"
#include "lower/geometry/plane.h"

namespace rz_reference {

/// What a planar request says about places.
struct FrameRequest {
    const RZ_Box* volumeBox;
    const RZ_BoxParams* volumeParams;
    RZ_PlaneParams plane;
    /// May be null.
    const RZ_BoxParams* clipParams;
    const RZ_Box* outputBox;
    int quality;
    float halfThickness;
};

/// The inputs of a scan, worked out one statement per step. The lower library's operations serve as they
/// stand: they are contracts of their own.
struct Frame {
    int height;
    int width;
    /// Cut to 16 bits.
    int slabSteps;
    std::vector<short> spans;
    float planeToIndex[4][4];
    std::array<int, 3> columnStepQ18;
    std::array<int, 3> slabStepQ18;
    /// The same steps in samples, limited to 512, as the 8-bit and 32-bit kernels take them. The slab step's
    /// first component is made non-negative here.
    std::array<float, 3> columnStepFloat;
    std::array<float, 3> slabStepFloat;
    /// The Q18 form of slabStepFloat.
    std::array<int, 3> slabStepFloatQ18;
    int dominantAxis;
};

Frame make_frame(const FrameRequest& request);

/// Rasters of slices first to last between two guard entries at each end; an entry that is not mapped is
/// null. The table proper starts at entry 2.
template <class Raster>
std::vector<Raster*> make_slice_table(const std::vector<Raster*>& rasters, int first, int last) {
    const int depth = static_cast<int>(rasters.size());
    std::vector<Raster*> table(static_cast<std::size_t>(depth) + 4, nullptr);
    for (int i = first; i <= last; ++i)
        table[static_cast<std::size_t>(i + 2)] = rasters[static_cast<std::size_t>(i)];
    table[1] = table[2];
    table[0] = table[2];
    table[static_cast<std::size_t>(depth + 2)] = table[static_cast<std::size_t>(depth + 1)];
    table[static_cast<std::size_t>(depth + 3)] = table[static_cast<std::size_t>(depth + 1)];
    return table;
}

}  // namespace rz_reference
