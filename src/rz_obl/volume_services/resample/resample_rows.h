#pragma once

namespace rz_obl {

/// A destination volume, and the source that it is sampled from.
struct resample_args {
    /// Source rasters, readable from -1 to the depth.
    const void* const* slices;
    int width;
    int height;
    int depth;
    /// Destination index space to source index space.
    const float (*toSource)[4];
    /// Destination: its dimensions, all of them above 0, and its rasters.
    int columns;
    int rows;
    int planes;
    float* const* output;
    /// The value at one source position, wherever it lies.
    float (*sample)(const void* source, float x, float y, float z);
    const void* source;
};

// Trilinear samples, voxel by voxel: x runs fastest, then y, then z.

void resample_16(const resample_args& args);
void resample_float(const resample_args& args);

// The same bits, eight voxels at once where all of them lie in the interior, in an order that meets source
// samples again while they are in the caches. No raster of the destination may overlap one of the source.
// Need AVX2.

void resample_16_avx2(const resample_args& args);
void resample_float_avx2(const resample_args& args);

}  // namespace rz_obl
