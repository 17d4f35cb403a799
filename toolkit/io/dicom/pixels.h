#pragma once

#include <string>
#include <vector>

#include "toolkit/io/dicom/frame.h"
#include "toolkit/io/read_samples.h"

namespace rzobl::dicom {

/// Reads the pixels of slices of one layout, in their order, with one rescale for all: slices that differ in
/// theirs are brought to a common one if integers do that exactly. Padding becomes the least measured value.
/// Throws Error.
StoredSamples read_pixels(const std::vector<Frame>& frames, const std::string& input,
                          std::vector<std::string>& warnings);

/// Throws Error for layouts that cannot be read.
void check_layout(const Frame& frame);

}  // namespace rzobl::dicom
