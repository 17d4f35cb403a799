#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "rz_obl/rz_oblique/subtraction_plane/remainder_start.h"

namespace rz_obl {

/// Weights of the four neighbours of a shifted sample, as floats and as 16-bit patterns of weight x 65535.
struct ShiftWeights {
    float weight[4];
    std::int16_t pattern[4];
};

ShiftWeights make_shift_weights(float fractionX, float fractionY);

// Row operations on rows of `columns` samples. Blocks are stored whole: up to 3 samples (row_mean_16), 7
// samples (row_mean_8 and subtract_row_16) or 15 samples (subtract_row_8) past the end of the row.

/// Mean of row `row` over the rasters of the list.
void row_mean_16(const std::vector<const void*>& slices, int row, int columns, std::int16_t* destination,
                 bool isSigned);
void row_mean_8(const std::vector<const void*>& slices, int row, int columns, std::uint8_t* destination,
                bool isSigned);

/// Blends a row with the next one.
void shift_row_16(const std::int16_t* current, const std::int16_t* next, int columns,
                  const ShiftWeights& weights, std::int16_t* destination, bool isSigned);
void shift_row_8(const std::uint8_t* current, const std::uint8_t* next, int columns,
                 const ShiftWeights& weights, std::uint8_t* destination, bool isSigned);

/// output -= other, in place; offset only where samples are unsigned.
void subtract_row_16(std::int16_t* output, const std::int16_t* other, int columns, int bitDepth,
                     bool isSigned, std::int16_t offset);
void subtract_row_8(std::uint8_t* output, const std::uint8_t* other, int columns, bool isSigned,
                    std::uint8_t offset);

}  // namespace rz_obl
