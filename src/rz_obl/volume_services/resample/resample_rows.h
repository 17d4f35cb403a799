#pragma once

namespace rz_obl {

/// A row of a destination volume, and the source that it is sampled from.
struct resample_row_args {
    /// Source rasters, readable from -1 to the depth.
    const void* const* slices;
    int width;
    int height;
    int depth;
    /// Destination index space to source index space.
    const float (*toSource)[4];
    int y;
    int z;
    int columns;
    float* output;
    /// The value at one source position, wherever it lies.
    float (*sample)(const void* source, float x, float y, float z);
    const void* source;
};

// Trilinear samples of one row, voxel by voxel.

void resample_row_16(const resample_row_args& args);
void resample_row_float(const resample_row_args& args);

// The same bits, eight voxels at once where all of them lie in the interior. Need AVX2.

void resample_row_16_avx2(const resample_row_args& args);
void resample_row_float_avx2(const resample_row_args& args);

}  // namespace rz_obl
