#pragma once

#include <cstddef>

namespace rz_obl {

/// One line of pixels across the curve, all positions in index space.
struct line_args {
    const void* const* rasters;
    int sourceWidth;
    float position[3];
    /// Samples through the thickness per pixel.
    int samples;
    /// From behind a pixel's last sample to the next pixel's first.
    float advance[3];
    /// From one sample to the next.
    float step[3];
    std::ptrdiff_t outputStep;
    /// Pixels are written at outputEnd[-total], outputEnd[-total + outputStep], ... before outputEnd.
    std::ptrdiff_t total;
    /// Cross index of the first pixel: lines drawn together walk side by side.
    int first;
};

/// Lines of adjacent columns; outputEnds point to samples of the kernel's type.
using line_group = void (*)(const line_args* lines, void* const* outputEnds, int count);

/// Lines that a wide kernel draws at once, eight by eight.
constexpr int kMostLines = 64;

// The same bits as one line at a time, a line in each lane. Up to kMostLines lines of one raster table; they
// need AVX2.

void lines_avg_8_avx2(const line_args* lines, void* const* outputEnds, int count);
void lines_avg_16_avx2(const line_args* lines, void* const* outputEnds, int count);
void lines_max_8_avx2(const line_args* lines, void* const* outputEnds, int count);
void lines_max_16_avx2(const line_args* lines, void* const* outputEnds, int count);
void lines_min_8_avx2(const line_args* lines, void* const* outputEnds, int count);
void lines_min_16_avx2(const line_args* lines, void* const* outputEnds, int count);

}  // namespace rz_obl
