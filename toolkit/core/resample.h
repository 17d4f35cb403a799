#pragma once

#include <optional>

#include "toolkit/core/grid.h"
#include "toolkit/core/memory.h"
#include "toolkit/core/volume.h"

// A volume sampled anew on another grid by RZ_OBLUtils::Resample, trilinearly. 8-bit and 16-bit volumes of at
// least 2 x 2 samples a slice; every function throws Error.
//
// At the rim: the half sample below the first samples of an axis is extrapolated. From the centre of the last
// sample of a row or column on, values run again from the last but one to the last, so that a place exactly
// on the last sample gives the last but one.

namespace rzobl {

/// Samples of single precision, contiguous, i fastest.
struct FloatVolume {
    Grid grid;
    Block block;

    float* raster(int k) const;
};

/// The grid of these spacings over the same extent, to the nearest number of samples, with the same centre.
Grid respaced(const Grid& grid, const Vec3& spacing);

/// Values after rescale. outside: value where the volume does not reach; NaN is one. Default: the volume's
/// padding value, or else its least value. Refuses a grid that lies beside the volume.
FloatVolume resample_float(const Volume& volume, const Grid& grid, const std::optional<double>& outside);

/// Stored samples as the volume has them, rounded to the nearest and cut to what they hold.
Volume resample(const Volume& volume, const Grid& grid, const std::optional<double>& outside);

}  // namespace rzobl
