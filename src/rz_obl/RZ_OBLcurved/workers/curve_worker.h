#pragma once

#include <cstdint>

#include "lower/definitions/coord.h"
#include "lower/geometry/box.h"
#include "rz_obl/RZ_OBLcurved/frame/sweep_spans.h"

namespace rz_obl {

/// The inputs of a curve worker. points, directions and normals are addressed by curve index less
/// firstSample.
struct curve_worker_args {
    int rowStride;
    int halfSamples;
    /// By curve index.
    const SweepSpan* spans;
    /// Physical to index space.
    const float (*toIndex)[4];
    /// Steps in index space, per cross pixel and per thickness sample.
    RZ_3Coord crossStep;
    RZ_3Coord thickStep;
    /// By slice number, readable from -1 to the number of slices.
    const void* const* rasters;
    void* raster;
    int sourceWidth;
    bool transposed;
    const RZ_3Coord* points;
    /// Physical step per cross pixel, where directions is null.
    RZ_3Coord sweepStep;
    /// First and last curve index, inclusive, and the image position of the first.
    std::int16_t from;
    std::int16_t to;
    std::int16_t imagePosition;
    /// Added to a cross index to get its image position.
    std::int16_t rowShift;
    const RZ_3Coord* directions;
    const RZ_3Coord* normals;
    int firstSample;
    float thickness;
    const RZ_Box* volumeBox;
};

// Draw the columns of a range; 8-bit samples are unsigned, 16-bit samples signed. Cancellation is polled up
// to eight times over the range; WKR_CANCEL_EXCEPTION leaves the columns that were drawn.

void curve_avg_8(const curve_worker_args& args);
void curve_avg_16(const curve_worker_args& args);
void curve_max_8(const curve_worker_args& args);
void curve_max_16(const curve_worker_args& args);
void curve_min_8(const curve_worker_args& args);
void curve_min_16(const curve_worker_args& args);

// The same bits, up to 64 columns at once, eight by eight. Need AVX2.

void curve_avg_8_avx2(const curve_worker_args& args);
void curve_avg_16_avx2(const curve_worker_args& args);
void curve_max_8_avx2(const curve_worker_args& args);
void curve_max_16_avx2(const curve_worker_args& args);
void curve_min_8_avx2(const curve_worker_args& args);
void curve_min_16_avx2(const curve_worker_args& args);

}  // namespace rz_obl
