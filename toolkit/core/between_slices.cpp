#include "toolkit/core/between_slices.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>

#include "rz_obl/rz_obl.h"
#include "toolkit/core/error.h"
#include "toolkit/core/vector.h"

namespace rzobl {

namespace {

/// 16-bit samples are walked in signed fixed point with 18 fraction bits.
constexpr int kMostSamples16 = 8191;

Grid padded(const Grid& grid) {
    Grid wider = grid;
    wider.origin = grid.toPhysical({-1, -1, 0});
    wider.size[0] += 2;
    wider.size[1] += 2;
    return wider;
}

Volume two_slices(Grid grid, const Volume& like) {
    grid.size[2] = 2;
    Volume copies = Volume::allocate(grid, like.kind());
    for (int k = 0; k < 2; ++k) {
        copies.slices()[k]->isSigned = like.isSigned;
        copies.slices()[k]->bitDepth = like.bitDepth;
    }
    return copies;
}

void check_size(const Volume& volume) {
    const Grid& grid = volume.grid();
    grid.check();
    if (grid.size[0] < 2) throw Error("slices of a single column cannot be interpolated between");
    const int most = volume.kind() == SampleKind::Int16 ? kMostSamples16 : 32767;
    if (std::max({grid.size[0] + 2, grid.size[1] + 2, grid.size[2]}) > most)
        throw Error("slices can be interpolated between up to " + std::to_string(most - 2) +
                    " samples along an axis, and this volume has " + std::to_string(grid.size[0]) + " x " +
                    std::to_string(grid.size[1]) + " x " + std::to_string(grid.size[2]));
}

/// Checked before anything is allocated.
const Volume& checked(const Volume& volume) {
    check_size(volume);
    return volume;
}

}  // namespace

BetweenSlices::BetweenSlices(const Volume& volume)
    : volume_(checked(volume)),
      copies_(two_slices(padded(volume.grid()), volume)),
      table_(static_cast<std::size_t>(volume.grid().size[2])),
      padded_(padded(volume.grid())) {}

int BetweenSlices::copy_of(int k) {
    const int copy = k % 2;
    if (held_[copy] == k) return copy;
    held_[copy] = k;
    const std::size_t bytes = bytesPerSample(volume_.kind());
    const int rows = volume_.grid().size[1];
    const std::size_t rowBytes = static_cast<std::size_t>(volume_.grid().size[0]) * bytes;
    const auto* const from = static_cast<const std::byte*>(volume_.raster(k));
    auto* to = static_cast<std::byte*>(copies_.raster(copy));
    for (int row = -1; row <= rows; ++row) {
        const std::byte* const samples =
            from + static_cast<std::size_t>(std::clamp(row, 0, rows - 1)) * rowBytes;
        std::memcpy(to, samples, bytes);
        std::memcpy(to + bytes, samples, rowBytes);
        std::memcpy(to + bytes + rowBytes, samples + rowBytes - bytes, bytes);
        to += rowBytes + 2 * bytes;
    }
    return copy;
}

void BetweenSlices::draw(double index, void* raster) {
    const int below = static_cast<int>(std::floor(index));
    RZ_Slice* const lower = copies_.slices()[copy_of(below)];
    RZ_Slice* const upper = copies_.slices()[copy_of(below + 1)];
    for (int k = 0; k < static_cast<int>(table_.size()); ++k)
        table_[static_cast<std::size_t>(k)] = k <= below ? lower : upper;

    // The plane's second unit is its normal x its first: along the rows, whichever hand the volume has.
    const Grid& grid = volume_.grid();
    const Vec3 across = grid.direction[0], away = cross(across, grid.direction[1]);
    const Vec3 middle = grid.toPhysical({0.5 * (grid.size[0] - 1), 0.5 * (grid.size[1] - 1), index});
    float normal[3], origin[3], unit[3];
    for (std::size_t k = 0; k < 3; ++k) {
        normal[k] = static_cast<float>(away[k]);
        origin[k] = static_cast<float>(middle[k]);
        unit[k] = static_cast<float>(across[k]);
    }
    const double width = grid.spacing[0] * grid.size[0], height = grid.spacing[1] * grid.size[1];
    const double start[3] = {-0.5 * width, -0.5 * height, -0.5};
    const double right[3] = {width, 0, 0}, down[3] = {0, height, 0}, depth[3] = {0, 0, 1};
    const RZ_Box output(grid.size[0], grid.size[1], 1, RZ_BoxParams(start, right, down, depth));

    const RZ_Box volumeBox = padded_.box();
    int firstRow = grid.size[1], lastRow = -1, firstColumn = grid.size[0], lastColumn = -1;
    RZ_PlanarObliqueProjection(table_.data(), volumeBox, volumeBox.params,
                               RZ_PlaneParams(normal, origin, unit), nullptr, static_cast<char*>(raster),
                               output, &firstRow, &lastRow, &firstColumn, &lastColumn, 0, volumeBox.zDim - 1,
                               RZ_OBL_RenditionQuality::Linear, 0, RZ_OBL_RenditionType::Average);
    if (firstRow != 0 || lastRow != grid.size[1] - 1 || firstColumn != 0 || lastColumn != grid.size[0] - 1)
        throw std::logic_error("a slice between two others was not drawn to its edges");
    if (volume_.kind() != SampleKind::Rgb) return;
    // The 32-bit kernels exchange the first and the third channel.
    auto* pixel = static_cast<std::byte*>(raster);
    for (int i = 0; i < grid.size[0] * grid.size[1]; ++i, pixel += 4) std::swap(pixel[0], pixel[2]);
}

}  // namespace rzobl
