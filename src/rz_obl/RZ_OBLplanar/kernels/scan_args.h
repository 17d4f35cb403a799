#pragma once

#include <cstdint>

namespace rz_obl {

/// The inputs of a scan kernel, in the one order that all kernels share. Sample is the sample of source and
/// output, Step the type of the two steps: int for Q18 (one sample is 262144), float for sample units.
template <class Sample, class Step>
struct scan_args {
    /// Output rows to visit: the height of the raster.
    int rowCount;
    /// Output row stride in samples: the width of the raster.
    int rowStride;
    /// Planes on each side of the plane; 2 x slabSteps + 1 are sampled per pixel.
    int slabSteps;
    /// (first, last) column per row, inclusive. A row is empty unless first < last.
    short* rowSpans;
    /// Output (column, row, 0, 1) to source index coordinates, row vectors.
    const float (*planeToIndex)[4];
    /// Step per output column; three values, the caller's own (the fast mode of maximum and minimum doubles
    /// them).
    Step* columnStep;
    /// Step per slab plane; three values, the caller's own. The first is not negative in a kernel.
    Step* slabStep;
    /// Raster pointers by slice number, readable from -2 to depth + 1.
    Sample* const* slices;
    Sample* output;
    /// Samples per source row: width and stride.
    int sourceWidth;
    int sourceHeight;
    /// The quality that the selection passes on; only the semi-cubic kernels and scan_tricubic read it.
    int quality;
    int* firstRow;
    int* lastRow;
    int* firstColumn;
    int* lastColumn;
    /// Only in kernels that clamp the result.
    bool isSigned;
    int bitDepth;
};

using scan_args_16 = scan_args<short, int>;
/// 8-bit samples are signed or unsigned by isSigned; the raster is bytes.
using scan_args_8 = scan_args<unsigned char, float>;
/// Pixels of three 8-bit channels.
using scan_args_32 = scan_args<std::uint32_t, float>;

}  // namespace rz_obl
