#pragma once

#include "lower/geometry/box.h"

namespace rz_obl {

/// Narrows the spans to a rectangle of the output raster: the first two axes of clipParams, a box in the same
/// frame as outputBox, with 1 % to spare on each side. Its third axis plays no part.
void clip_row_spans(const RZ_BoxParams& clipParams, const RZ_Box& outputBox, short* spans);

}  // namespace rz_obl
