#pragma once

#include "toolkit/core/volume.h"

namespace rzobl {

/// Eight frames of a made-up angiography, 320 x 320 unsigned samples of 12 bits, one frame a slice: 0 to 3
/// show ribs and spine, 4 to 7 the same with contrast in a vessel tree. Between them the patient moved: what
/// a frame with contrast shows at column c, row r of the bones, one without shows at c + kFramesShift[0], r +
/// kFramesShift[1].
Volume make_frames();

inline constexpr double kFramesShift[2] = {0.4, 2.6};

}  // namespace rzobl
