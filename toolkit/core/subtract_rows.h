#pragma once

#include <array>

#include "toolkit/core/subtract.h"

// The two ways of subtract(): they fill the samples of image, whose other fields are set.

namespace rzobl {

struct Shift {
    int rows = 0;
    /// Along columns and rows, 0 to 1.
    std::array<float, 2> fractions{0, 0};
};

/// Significant bits of 16-bit samples as a subtraction takes them: at most 15 for unsigned ones, which here
/// never reach further, since with 16 the limit of the result compares as -1.
int subtraction_bits(const Volume& volume);

/// The volume's own samples in one call.
void subtract_whole_rows(const Volume& volume, const SubtractRequest& request, const Shift& shift,
                         Image& image);

/// Sample by sample: strips so narrow that the library runs none of its blocks on them, of samples counted
/// from the least one, so that they are neither negative nor beyond 15 bits.
void subtract_samples(const Volume& volume, const SubtractRequest& request, const Shift& shift, Image& image);

}  // namespace rzobl
