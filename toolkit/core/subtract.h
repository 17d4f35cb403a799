#pragma once

#include <array>

#include "toolkit/core/image.h"
#include "toolkit/core/slice_range.h"
#include "toolkit/core/volume.h"

namespace rzobl {

/// The mean of some slices less the mean of others, which are moved first.
struct SubtractRequest {
    SliceRange minuend;
    SliceRange subtrahend;
    /// Samples: a pixel at column c, row r takes the subtrahend at c + shift[0], r + shift[1]. The whole part
    /// of shift[0] must be 0, since the library moves no columns by whole samples. A fraction of up to 0.001
    /// counts as none.
    std::array<double, 2> shift{0, 0};
    /// Added to the stored differences of unsigned samples, which do not go below 0.
    int offset = 0;
    /// Whole rows in one call, as a viewer does it in a hurry, instead of every sample by the definition. The
    /// arithmetic of the blocks then shows: a mean of 3 or more 16-bit samples is some tenths of a percent
    /// low, one of very many further off; fractions of the shift apply with columns and rows exchanged, to
    /// 8-bit samples by pairs, to signed ones wrongly where a weight reaches one half, and that of columns
    /// not at all where that of rows is none; the bottom row blends with black.
    bool wholeRows = false;
};

/// One slice, as thick as the minuend's range and in its middle, of the volume's kind and sign. firstRow to
/// lastRow of the result are those from which something was subtracted; the others, which the shift moves off
/// the raster, hold the plain mean of the minuend. Throws Error.
Image subtract(const Volume& volume, const SubtractRequest& request);

}  // namespace rzobl
