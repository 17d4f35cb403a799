#include "toolkit/core/resample.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "rz_obl/volume_services/volume_services.h"
#include "toolkit/core/background.h"
#include "toolkit/core/error.h"
#include "toolkit/core/text.h"
#include "toolkit/core/vector.h"

namespace rzobl {

namespace {

std::size_t raster_samples(const Grid& grid) {
    return static_cast<std::size_t>(grid.size[0]) * static_cast<std::size_t>(grid.size[1]);
}

/// Whether a plane along the slices, rows or columns of one has all of the other on its far side.
bool beside(const Grid& one, const Grid& other) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        double least = std::numeric_limits<double>::max(), greatest = -least;
        for (int corner = 0; corner < 8; ++corner) {
            Vec3 index;
            for (std::size_t k = 0; k < 3; ++k) index[k] = corner >> k & 1 ? other.size[k] - 1 : 0;
            const double at = one.toIndex(other.toPhysical(index))[axis];
            least = std::min(least, at);
            greatest = std::max(greatest, at);
        }
        if (least > one.size[axis] - 0.5 || greatest < -0.5) return true;
    }
    return false;
}

void check_request(const Volume& volume, const Grid& grid) {
    volume.grid().check();
    grid.check();
    if (volume.kind() == SampleKind::Rgb)
        throw Error("colours cannot be resampled; a volume of 8-bit or 16-bit samples can");
    if (volume.grid().size[0] < 2 || volume.grid().size[1] < 2)
        throw Error("a volume to resample has at least 2 x 2 samples a slice, not " +
                    std::to_string(volume.grid().size[0]) + " x " + std::to_string(volume.grid().size[1]));
    if (beside(volume.grid(), grid) || beside(grid, volume.grid()))
        throw Error("nothing to resample: the new grid about " + text(grid.centre()) +
                    " lies beside the volume, whose middle is " + text(volume.grid().centre()));
}

/// 8-bit samples as 16-bit ones.
Volume widened(const Volume& volume) {
    if (volume.kind() == SampleKind::Int16) return volume;
    Volume wide = Volume::allocate(volume.grid(), SampleKind::Int16);
    for (int k = 0; k < volume.grid().size[2]; ++k) {
        auto* const to = static_cast<std::int16_t*>(wide.raster(k));
        for (std::size_t i = 0; i < raster_samples(volume.grid()); ++i)
            to[i] = volume.isSigned ? static_cast<const std::int8_t*>(volume.raster(k))[i]
                                    : static_cast<const std::uint8_t*>(volume.raster(k))[i];
    }
    return wide;
}

/// In units of the stored samples.
FloatVolume sampled(const Volume& volume, const Grid& grid, float outside) {
    const Volume wide = widened(volume);
    FloatVolume result{grid,
                       Block(raster_samples(grid) * static_cast<std::size_t>(grid.size[2]) * sizeof(float),
                             "the resampled volume")};
    std::vector<short*> rasters;
    for (int k = 0; k < volume.grid().size[2]; ++k) rasters.push_back(static_cast<short*>(wide.raster(k)));
    std::vector<float*> results;
    for (int k = 0; k < grid.size[2]; ++k) results.push_back(result.raster(k));
    RZ_TVolumeRecord<short> record{nullptr, rasters.data()};
    RZ_TVolumeRecord<float> resultRecord{nullptr, results.data()};
    RZ_TVolume<short> source(volume.grid().box(), &record);
    RZ_TVolume<float> destination(grid.box(), &resultRecord);
    RZ_OBLUtils::Resample(source, destination, outside, 0);
    return result;
}

template <class Sample>
void round_to(const FloatVolume& from, Volume& to) {
    const auto least = static_cast<float>(std::numeric_limits<Sample>::min());
    const auto greatest = static_cast<float>(std::numeric_limits<Sample>::max());
    for (int k = 0; k < from.grid.size[2]; ++k) {
        const float* const value = from.raster(k);
        auto* const sample = static_cast<Sample*>(to.raster(k));
        for (std::size_t i = 0; i < raster_samples(from.grid); ++i)
            sample[i] = static_cast<Sample>(std::lround(std::clamp(value[i], least, greatest)));
    }
}

}  // namespace

float* FloatVolume::raster(int k) const {
    return reinterpret_cast<float*>(block.data()) + raster_samples(grid) * static_cast<std::size_t>(k);
}

Grid respaced(const Grid& grid, const Vec3& spacing) {
    Grid result = grid;
    Vec3 first;
    for (std::size_t k = 0; k < 3; ++k) {
        if (!(spacing[k] > 0) || !std::isfinite(spacing[k]))
            throw Error("the spacing must be three positive numbers of millimetres, not " + text(spacing));
        const double extent = grid.size[k] * grid.spacing[k];
        const double samples = std::max(1.0, std::round(extent / spacing[k]));
        if (!(samples <= 32767))
            throw Error("a spacing of " + text(spacing[k]) + " mm over " + text(extent) + " mm needs " +
                        text(samples) + " samples, more than 32767");
        if (spacing[k] > 2 * extent)
            throw Error("a spacing of " + text(spacing[k]) + " mm is far more than the " + text(extent) +
                        " mm that the volume measures");
        result.size[k] = static_cast<int>(samples);
        result.spacing[k] = spacing[k];
        first[k] = 0.5 * (grid.size[k] - 1) - 0.5 * (samples - 1) * spacing[k] / grid.spacing[k];
    }
    result.origin = grid.toPhysical(first);
    return result;
}

FloatVolume resample_float(const Volume& volume, const Grid& grid, const std::optional<double>& outside) {
    check_request(volume, grid);
    const Rescale& rescale = volume.rescale;
    const double value = outside ? *outside : default_background(volume);
    FloatVolume result =
        sampled(volume, grid, static_cast<float>((value - rescale.intercept) / rescale.slope));
    if (rescale.slope == 1 && rescale.intercept == 0) return result;
    for (int k = 0; k < grid.size[2]; ++k) {
        float* const sample = result.raster(k);
        for (std::size_t i = 0; i < raster_samples(grid); ++i)
            sample[i] =
                static_cast<float>(static_cast<double>(sample[i]) * rescale.slope + rescale.intercept);
    }
    return result;
}

Volume resample(const Volume& volume, const Grid& grid, const std::optional<double>& outside) {
    check_request(volume, grid);
    const int stored = stored_background(volume, outside ? *outside : default_background(volume));
    Volume result = Volume::allocate(grid, volume.kind());
    result.isSigned = volume.isSigned;
    result.bitDepth = volume.bitDepth;
    result.rescale = volume.rescale;
    result.padding = volume.padding;
    const FloatVolume values = sampled(volume, grid, static_cast<float>(stored));
    if (volume.kind() == SampleKind::Int16)
        round_to<std::int16_t>(values, result);
    else if (volume.isSigned)
        round_to<std::int8_t>(values, result);
    else
        round_to<std::uint8_t>(values, result);
    return result;
}

}  // namespace rzobl
